#include "Platform/Linux/Running/WindowMatcher.h"

#include "Catalog/ProgramName.h"

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

QString key(const QString &text) {
    return text.toLower();
}

QString withoutUnitEscapes(const QString &text) {
    QByteArray result;
    for (qsizetype i = 0; i < text.size(); ++i) {
        bool isHex = false;
        const uint code = QStringView(text).mid(i + 2, 2).toUInt(&isHex, 16);
        if (QStringView(text).mid(i).startsWith(u"\\x") && isHex && i + 4 <= text.size()) {
            result += static_cast<char>(code);
            i += 3;
        } else {
            result += QString(text[i]).toUtf8();
        }
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
    const auto note = [](Table &table, const QString &text, qsizetype index) {
        if (!text.isEmpty() && !table.contains(key(text)))
            table.insert(key(text), index);
    };
    for (const DesktopEntry &entry : entries) {
        const qsizetype index = entries_.size();
        entries_.append({entry.id, entry.path});
        note(byWindowClass_, entry.startupWMClass, index);
        note(byId_, entry.id, index);
        note(byPath_, entry.path, index);
        if (entry.id.contains(u'.'))
            note(byLastComponent_, entry.id.section(u'.', -1), index);
        if (const auto program = programName(entry.exec))
            note(byProgram_, *program, index);
    }
}

std::optional<WindowMatcher::Match> WindowMatcher::match(const WindowTraits &window) const {
    const auto index = indexOf(window);
    return index ? std::optional(entries_[*index]) : std::nullopt;
}

std::optional<qsizetype> WindowMatcher::indexOf(const WindowTraits &window) const {
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
        if (!text.isEmpty())
            if (const auto found = table->constFind(key(text)); found != table->constEnd())
                return *found;
    return std::nullopt;
}

} // namespace corvid
