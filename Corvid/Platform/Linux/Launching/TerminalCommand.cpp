#include "Platform/Linux/Launching/TerminalCommand.h"

#include <QProcess>

#include <algorithm>
#include <array>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Terminal {
    QLatin1StringView name;
    QLatin1StringView execute;      ///< arguments between the terminal and a program, by spaces
    QLatin1StringView folder = {};  ///< that name the folder, "%", by spaces; empty for none
    QLatin1StringView command = {}; ///< what the other arguments belong to; empty for none
};

// The first two speak for the user or the distribution; the desktops' own terminals come before
// those that somebody installed in addition, and xterm, which is often just there, comes last.
// One that runs as a single process must be told the folder, for the others it does no harm.
constexpr std::array knownTerminals{
    Terminal{"xdg-terminal-exec"_L1, ""_L1},
    Terminal{"x-terminal-emulator"_L1, "-e"_L1},
    Terminal{"gnome-terminal"_L1, "--"_L1, "--working-directory=%"_L1},
    Terminal{"kgx"_L1, "-e"_L1, "--working-directory=%"_L1},
    Terminal{"ptyxis"_L1, "--"_L1, "--new-window --working-directory=%"_L1},
    Terminal{"konsole"_L1, "-e"_L1, "--workdir %"_L1},
    Terminal{"xfce4-terminal"_L1, "-x"_L1, "--working-directory=%"_L1},
    Terminal{"mate-terminal"_L1, "-x"_L1, "--working-directory=%"_L1},
    Terminal{"lxterminal"_L1, "-e"_L1, "--working-directory=%"_L1},
    Terminal{"qterminal"_L1, "-e"_L1, "--workdir %"_L1},
    Terminal{"kitty"_L1, ""_L1, "--directory %"_L1},
    Terminal{"alacritty"_L1, "-e"_L1, "--working-directory %"_L1},
    Terminal{"ghostty"_L1, "-e"_L1, "--gtk-single-instance=false --working-directory=%"_L1},
    Terminal{"foot"_L1, ""_L1, "--working-directory=%"_L1},
    Terminal{"wezterm"_L1, "--"_L1, "--cwd %"_L1, "start"_L1},
    Terminal{"tilix"_L1, "-e"_L1, "--working-directory=%"_L1},
    Terminal{"terminator"_L1, "-x"_L1, "--working-directory=%"_L1},
    Terminal{"urxvt"_L1, "-e"_L1},
    Terminal{"st"_L1, "-e"_L1},
    Terminal{"xterm"_L1, "-e"_L1},
};

constexpr Terminal unknownTerminal{""_L1, "-e"_L1};

/** Null for one that we do not know. */
const Terminal *knownTerminal(const QString &program) {
    const QString name = program.section(u'/', -1);
    const auto *known = std::find_if(knownTerminals.begin(), knownTerminals.end(),
                                     [&](const Terminal &t) { return name == t.name; });
    return known == knownTerminals.end() ? nullptr : known;
}

QStringList splitWords(QLatin1StringView text) {
    return QString(text).split(u' ', Qt::SkipEmptyParts);
}

QStringList folderOptions(const Terminal &terminal, const QString &folder) {
    QStringList arguments = splitWords(terminal.folder);
    for (QString &argument : arguments)
        argument.replace(u'%', folder);
    return arguments;
}

/** What runs a program, without its arguments, and the program's name. */
struct TerminalStart {
    QStringList line;
    QString program;
};

TerminalStart startOf(const QStringList &line) {
    constexpr auto command = "--command="_L1;
    if (line.first().section(u'/', -1) != "flatpak"_L1)
        return {line.first(1), line.first()};
    // flatpak run [options] --command=<program> [options] <application id> [arguments]
    QString program;
    for (qsizetype i = 2; i < line.size(); ++i) {
        if (line[i].startsWith(command))
            program = line[i].sliced(command.size());
        if (!line[i].startsWith(u'-'))
            return {line.first(i + 1), program};
    }
    return {line, program};
}

} // namespace

std::optional<QStringList> terminalCommand(const QStringList &program, const QStringList &preferred,
                                           const std::function<bool(const QString &)> &installed,
                                           const QString &folder) {
    // Only the chooser comes before what the user prefers.
    const QStringList candidates =
        QStringList(knownTerminals.front().name) + terminalsInOrder(preferred);
    for (const QString &line : candidates) {
        const QStringList terminal = QProcess::splitCommand(line);
        if (terminal.isEmpty() || !installed(terminal.first()))
            continue;
        const Terminal *const known = knownTerminal(terminal.first());
        const Terminal &dialect = known ? *known : unknownTerminal;
        const QStringList there = folder.isEmpty() ? QStringList() : folderOptions(dialect, folder);
        return terminal + splitWords(dialect.command) + there + splitWords(dialect.execute) +
               program;
    }
    return std::nullopt;
}

QStringList terminalsInOrder(const QStringList &preferred) {
    QStringList terminals = preferred;
    for (const Terminal &terminal : knownTerminals)
        terminals.append(terminal.name);
    terminals.removeAt(preferred.size());
    return terminals;
}

QStringList terminalInFolder(const QStringList &line, const QString &folder,
                             const QString &folderOption) {
    const TerminalStart start = startOf(line);
    const Terminal *const known = knownTerminal(start.program);
    if (known && !known->folder.isEmpty())
        return start.line + splitWords(known->command) + folderOptions(*known, folder);
    if (known || folderOption.isEmpty())
        return line;
    return line + (folderOption.endsWith(u'=') ? QStringList{folderOption + folder}
                                               : QStringList{folderOption, folder});
}

} // namespace corvid
