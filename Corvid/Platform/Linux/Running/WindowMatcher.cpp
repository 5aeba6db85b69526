#include "Platform/Linux/Running/WindowMatcher.h"

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

// Unit names write "-", and each byte that they may not contain, as "\x2d".
QString withoutUnitEscapes(const QString &text) {
    QByteArray result = text.toUtf8();
    for (qsizetype at = 0; (at = result.indexOf("\\x", at)) >= 0; ++at) {
        bool isHex = false;
        const uint code = result.mid(at + 2, 2).toUInt(&isHex, 16);
        if (isHex && at + 4 <= result.size())
            result.replace(at, 4, QByteArray(1, static_cast<char>(code)));
    }
    return QString::fromUtf8(result);
}

} // namespace

QString applicationOfControlGroup(const QString &controlGroup) {
    const QString unit = controlGroup.trimmed().section(u'/', -1);
    if (!unit.startsWith("app-"_L1))
        return {};
    // Dashes of the id itself are escaped, so the plain ones separate.
    QString name = unit.mid(4);
    if (name.endsWith(".scope"_L1) && name.contains(u'-')) {
        name.truncate(name.lastIndexOf(u'-'));
    } else if (name.endsWith(".service"_L1)) {
        name.chop(8);
        if (const qsizetype at = name.lastIndexOf(u'@'); at >= 0)
            name.truncate(at);
    } else {
        return {};
    }
    return withoutUnitEscapes(name.section(u'-', -1));
}

WindowMatcher::WindowMatcher(const std::vector<DesktopEntry> &entries) {
    for (const DesktopEntry &entry : entries) {
        const auto note = [&](Table &table, const QString &text) {
            const QString key = text.toLower();
            if (!key.isEmpty() && !table.contains(key))
                table.insert(key, {entry.id, entry.path});
        };
        note(byWindowClass_, entry.startupWMClass);
        note(byId_, entry.id);
        note(byPath_, entry.path);
        if (entry.id.contains(u'.'))
            note(byLastComponent_, entry.id.section(u'.', -1));
        note(byProgram_, entry.program);
    }
}

std::optional<WindowMatcher::Match> WindowMatcher::match(const WindowTraits &window) const {
    const std::pair<const Table *, QString> evidence[]{
        {&byWindowClass_, window.windowClass},
        {&byWindowClass_, window.instance},
        {&byId_, window.gtkApplicationId},
        {&byPath_, window.hintedEntry},
        {&byPath_, window.launchedEntry},
        {&byId_, window.windowClass},
        {&byId_, window.instance},
        {&byLastComponent_, window.windowClass},
        {&byLastComponent_, window.instance},
        {&byProgram_, window.windowClass},
        {&byProgram_, window.instance},
        {&byId_, applicationOfControlGroup(window.controlGroup)},
    };
    for (const auto &[table, text] : evidence)
        if (const auto found = table->constFind(text.toLower()); found != table->constEnd())
            return *found;
    return std::nullopt;
}

} // namespace corvid
