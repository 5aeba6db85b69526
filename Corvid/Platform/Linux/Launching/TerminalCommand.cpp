#include "Platform/Linux/Launching/TerminalCommand.h"

#include <QProcess>

#include <algorithm>
#include <array>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Terminal {
    QLatin1StringView name;
    QLatin1StringView execute; ///< arguments between the terminal and the program, by spaces
};

// The first two speak for the user or the distribution; the desktops' own terminals come before
// those that somebody installed in addition, and xterm, which is often just there, comes last.
constexpr std::array knownTerminals{
    Terminal{"xdg-terminal-exec"_L1, ""_L1},
    Terminal{"x-terminal-emulator"_L1, "-e"_L1},
    Terminal{"gnome-terminal"_L1, "--"_L1},
    Terminal{"kgx"_L1, "-e"_L1},
    Terminal{"ptyxis"_L1, "--"_L1},
    Terminal{"konsole"_L1, "-e"_L1},
    Terminal{"xfce4-terminal"_L1, "-x"_L1},
    Terminal{"mate-terminal"_L1, "-x"_L1},
    Terminal{"lxterminal"_L1, "-e"_L1},
    Terminal{"qterminal"_L1, "-e"_L1},
    Terminal{"kitty"_L1, ""_L1},
    Terminal{"alacritty"_L1, "-e"_L1},
    Terminal{"ghostty"_L1, "-e"_L1},
    Terminal{"foot"_L1, ""_L1},
    Terminal{"wezterm"_L1, "start --"_L1},
    Terminal{"tilix"_L1, "-e"_L1},
    Terminal{"terminator"_L1, "-x"_L1},
    Terminal{"urxvt"_L1, "-e"_L1},
    Terminal{"st"_L1, "-e"_L1},
    Terminal{"xterm"_L1, "-e"_L1},
};

QStringList executeArguments(const QString &terminal) {
    const QString name = terminal.section(u'/', -1);
    const auto *known = std::find_if(knownTerminals.begin(), knownTerminals.end(),
                                     [&](const Terminal &t) { return name == t.name; });
    if (known == knownTerminals.end())
        return {u"-e"_s};
    return QString(known->execute).split(u' ', Qt::SkipEmptyParts);
}

} // namespace

std::optional<QStringList> terminalCommand(const QStringList &program, const QStringList &preferred,
                                           const std::function<bool(const QString &)> &installed) {
    QStringList candidates;
    for (const Terminal &terminal : knownTerminals)
        candidates.append(terminal.name);
    // Only the chooser comes before what the user prefers.
    candidates = candidates.first(1) + preferred + candidates.sliced(1);
    for (const QString &line : std::as_const(candidates)) {
        const QStringList terminal = QProcess::splitCommand(line);
        if (!terminal.isEmpty() && installed(terminal.first()))
            return terminal + executeArguments(terminal.first()) + program;
    }
    return std::nullopt;
}

} // namespace corvid
