#include "Platform/Linux/Running/WindowMatcher.h"

#include <QFile>
#include <QList>

#include <algorithm>

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

QByteArray contentsOf(const QString &path) {
    constexpr qint64 longest = 1024 * 1024;
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.read(longest) : QByteArray();
}

/** The bundle that a program belongs to; empty for none. */
QString bundleOf(const QString &program) {
    constexpr auto programs = ".app/Contents/MacOS/"_L1;
    const qsizetype at = program.lastIndexOf(programs);
    return at < 0 || !program.startsWith(u'/') ? QString() : program.left(at + 4);
}

} // namespace

void addTraits(const ProcessRecord &process, WindowTraits &traits) {
    traits.controlGroup = QString::fromUtf8(process.controlGroups).section(u'\n', 0, 0);

    // Children inherit the variables, so they count only together with the process's own number.
    QByteArray entry;
    bool launched = false;
    const QList<QByteArray> environment = process.environment.split('\0');
    for (const QByteArray &variable : environment) {
        if (variable.startsWith("GIO_LAUNCHED_DESKTOP_FILE="))
            entry = variable.mid(QByteArrayView("GIO_LAUNCHED_DESKTOP_FILE=").size());
        else if (variable == "GIO_LAUNCHED_DESKTOP_FILE_PID=" + QByteArray::number(process.pid))
            launched = true;
    }
    if (launched)
        traits.launchedEntry = QFile::decodeName(entry);

    // A bundle's program may be a script, which its interpreter has as an argument.
    traits.bundle = bundleOf(process.program);
    const QList<QByteArray> arguments = process.arguments.split('\0');
    for (qsizetype i = 0; i < 2 && traits.bundle.isEmpty(); ++i)
        traits.bundle = bundleOf(QFile::decodeName(arguments.value(i)));
}

void addProcessTraits(qint64 pid, WindowTraits &traits) {
    if (pid <= 0)
        return;
    const QString process = "/proc/"_L1 + QString::number(pid);
    addTraits({pid, contentsOf(process + "/cgroup"_L1), contentsOf(process + "/environ"_L1),
               contentsOf(process + "/cmdline"_L1), QFile::symLinkTarget(process + "/exe"_L1)},
              traits);
}

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
    candidates_.reserve(entries.size());
    for (const DesktopEntry &entry : entries)
        candidates_.push_back({{entry.id, entry.path}, entry.startupWMClass, entry.program});
}

std::optional<WindowMatcher::Match> WindowMatcher::match(const WindowTraits &window) const {
    using Claim = QStringView (*)(const Candidate &);
    const Claim windowClass = [](const Candidate &from) { return QStringView(from.windowClass); };
    const Claim id = [](const Candidate &from) { return QStringView(from.entry.id); };
    const Claim path = [](const Candidate &from) { return QStringView(from.entry.path); };
    const Claim program = [](const Candidate &from) { return QStringView(from.program); };
    const Claim lastComponent = [](const Candidate &from) { // "Nautilus" of "org.gnome.Nautilus"
        const qsizetype dot = from.entry.id.lastIndexOf(u'.');
        return dot < 0 ? QStringView() : QStringView(from.entry.id).sliced(dot + 1);
    };
    const struct {
        Claim claim;
        QString text;
    } allEvidence[]{
        {windowClass, window.windowClass},
        {windowClass, window.instance},
        {id, window.gtkApplicationId},
        {path, window.hintedEntry},
        {path, window.launchedEntry},
        {id, window.windowClass},
        {id, window.instance},
        {lastComponent, window.windowClass},
        {lastComponent, window.instance},
        {program, window.windowClass},
        {program, window.instance},
        {id, applicationOfControlGroup(window.controlGroup)},
    };
    for (const auto &evidence : allEvidence) {
        if (evidence.text.isEmpty())
            continue;
        const auto found = std::ranges::find_if(candidates_, [&](const Candidate &candidate) {
            return evidence.claim(candidate).compare(evidence.text, Qt::CaseInsensitive) == 0;
        });
        if (found != candidates_.end())
            return found->entry;
    }
    return std::nullopt;
}

} // namespace corvid
