#include "Platform/Linux/Launching/DefaultTerminal.h"

#include "Base/Locations.h"
#include "Base/RegularFile.h"
#include "Platform/Linux/DesktopSettings.h"
#include "Platform/Linux/Launching/TerminalCommand.h"

#include <QFileInfo>
#include <QProcess>

#include <algorithm>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 largestTerminalList = 64 * 1024;

// Debian's alternatives lead to a script beside a terminal that does not take xterm's arguments.
QString programBehind(const QString &executable) {
    const QString name = QFileInfo(executable).canonicalFilePath().section(u'/', -1);
    constexpr auto wrapper = ".wrapper"_L1;
    return name.endsWith(wrapper) ? name.chopped(wrapper.size()) : name;
}

} // namespace

QStringList preferredTerminalIds(const QByteArray &list) {
    constexpr auto suffix = ".desktop"_L1;
    QStringList ids;
    for (const QByteArray &line : list.split('\n')) {
        // An id may have a sign in front of it and an action behind it; "-" takes one out.
        QString id = QString::fromUtf8(line).section(u':', 0, 0).trimmed();
        if (id.startsWith(u'+'))
            id.remove(0, 1);
        if (id.endsWith(suffix) && !id.startsWith(u'-') && !id.startsWith(u'#'))
            ids.append(id.chopped(suffix.size()));
    }
    return ids;
}

QStringList preferredTerminalIds() {
    QStringList names;
    for (const QString &desktop : desktopsettings::names())
        if (!desktop.contains(u'/'))
            names.append(desktop.toLower() + "-xdg-terminals.list"_L1);
    names.append(u"xdg-terminals.list"_s);
    QStringList ids;
    for (const QString &folder :
         QStringList(locations::configuration()) + locations::systemConfiguration()) {
        for (const QString &name : std::as_const(names))
            if (const auto list = readRegularFile(folder + u'/' + name, largestTerminalList))
                ids += preferredTerminalIds(*list);
    }
    return ids;
}

std::optional<Workspace::Terminal>
defaultTerminal(const std::vector<DesktopEntry> &entries, const QStringList &ids,
                const QStringList &preferred,
                const std::function<QString(const QString &program)> &executable) {
    std::vector<Workspace::Terminal> terminals;
    QStringList terminalIds;
    QStringList programs;
    for (const DesktopEntry &entry : entries) {
        if (!entry.categories.contains("TerminalEmulator"_L1))
            continue;
        terminals.push_back({entry.name, entry.path});
        terminalIds.append(entry.id);
        programs.append(entry.program);
    }
    for (const QString &id : ids)
        if (const qsizetype at = terminalIds.indexOf(id); at >= 0)
            return terminals[static_cast<std::size_t>(at)];
    for (const QString &line : terminalsInOrder(preferred)) {
        const QString path = executable(QProcess::splitCommand(line).value(0));
        if (path.isEmpty())
            continue;
        const QString own = path.section(u'/', -1);
        const QString behind = programBehind(path);
        for (const QString &program : {own, behind})
            if (const qsizetype at = programs.indexOf(program); at >= 0)
                return terminals[static_cast<std::size_t>(at)];
        return Workspace::Terminal{own == "x-terminal-emulator"_L1 ? behind : own, path};
    }
    return terminals.empty() ? std::nullopt : std::optional(terminals.front());
}

} // namespace corvid
