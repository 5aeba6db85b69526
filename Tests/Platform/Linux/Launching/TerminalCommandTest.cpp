#include "Platform/Linux/Launching/TerminalCommand.h"

#include "Worlds/QtPrinters.h"

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

const QStringList program{u"vim"_s, u"a file"_s};

/** The command line as words joined by "|", or "none". */
QString chosen(const QStringList &installed, const QStringList &preferred = {}) {
    const auto command = terminalCommand(
        program, preferred, [&](const QString &name) { return installed.contains(name); });
    return command ? command->join(u'|') : u"none"_s;
}

} // namespace

TEST(TerminalCommand, eachTerminalIsToldInItsOwnDialect) {
    const std::pair<QString, QString> rows[]{
        {u"xdg-terminal-exec"_s, u"xdg-terminal-exec|vim|a file"_s},
        {u"x-terminal-emulator"_s, u"x-terminal-emulator|-e|vim|a file"_s},
        {u"gnome-terminal"_s, u"gnome-terminal|--|vim|a file"_s},
        {u"kgx"_s, u"kgx|-e|vim|a file"_s},
        {u"ptyxis"_s, u"ptyxis|--|vim|a file"_s},
        {u"konsole"_s, u"konsole|-e|vim|a file"_s},
        {u"xfce4-terminal"_s, u"xfce4-terminal|-x|vim|a file"_s},
        {u"mate-terminal"_s, u"mate-terminal|-x|vim|a file"_s},
        {u"lxterminal"_s, u"lxterminal|-e|vim|a file"_s},
        {u"qterminal"_s, u"qterminal|-e|vim|a file"_s},
        {u"kitty"_s, u"kitty|vim|a file"_s},
        {u"alacritty"_s, u"alacritty|-e|vim|a file"_s},
        {u"ghostty"_s, u"ghostty|-e|vim|a file"_s},
        {u"foot"_s, u"foot|vim|a file"_s},
        {u"wezterm"_s, u"wezterm|start|--|vim|a file"_s},
        {u"tilix"_s, u"tilix|-e|vim|a file"_s},
        {u"terminator"_s, u"terminator|-x|vim|a file"_s},
        {u"urxvt"_s, u"urxvt|-e|vim|a file"_s},
        {u"st"_s, u"st|-e|vim|a file"_s},
        {u"xterm"_s, u"xterm|-e|vim|a file"_s},
    };
    for (const auto &[terminal, command] : rows)
        EXPECT_EQ(chosen({terminal}), command);
}

TEST(TerminalCommand, aTerminalThatWouldNotTakeOverTheWorkingFolderIsToldIt) {
    const std::pair<QString, QString> rows[]{
        {u"xdg-terminal-exec"_s, u"xdg-terminal-exec"_s},
        {u"x-terminal-emulator"_s, u"x-terminal-emulator|-e"_s},
        {u"gnome-terminal"_s, u"gnome-terminal|--working-directory=/a %|--"_s},
        {u"kgx"_s, u"kgx|--working-directory=/a %|-e"_s},
        {u"ptyxis"_s, u"ptyxis|--new-window|--working-directory=/a %|--"_s},
        {u"konsole"_s, u"konsole|--workdir|/a %|-e"_s},
        {u"xfce4-terminal"_s, u"xfce4-terminal|--working-directory=/a %|-x"_s},
        {u"mate-terminal"_s, u"mate-terminal|--working-directory=/a %|-x"_s},
        {u"lxterminal"_s, u"lxterminal|--working-directory=/a %|-e"_s},
        {u"qterminal"_s, u"qterminal|--workdir|/a %|-e"_s},
        {u"kitty"_s, u"kitty|--directory|/a %"_s},
        {u"alacritty"_s, u"alacritty|--working-directory|/a %|-e"_s},
        {u"ghostty"_s, u"ghostty|--gtk-single-instance=false|--working-directory=/a %|-e"_s},
        {u"foot"_s, u"foot|--working-directory=/a %"_s},
        {u"wezterm"_s, u"wezterm|start|--cwd|/a %|--"_s},
        {u"tilix"_s, u"tilix|--working-directory=/a %|-e"_s},
        {u"terminator"_s, u"terminator|--working-directory=/a %|-x"_s},
        {u"urxvt"_s, u"urxvt|-e"_s},
        {u"st"_s, u"st|-e"_s},
        {u"xterm"_s, u"xterm|-e"_s},
    };
    for (const auto &[terminal, command] : rows) {
        const auto line = terminalCommand(
            {u"vim"_s}, {}, [&](const QString &name) { return name == terminal; }, u"/a %"_s);
        ASSERT_TRUE(line);
        EXPECT_EQ(line->join(u'|'), command + u"|vim"_s);
    }
}

TEST(TerminalInFolder, aKnownTerminalIsToldInItsOwnWordsAlone) {
    const std::pair<QString, QString> rows[]{
        {u"/usr/bin/ghostty --gtk-single-instance=true"_s,
         u"/usr/bin/ghostty|--gtk-single-instance=false|--working-directory=/a b"_s},
        {u"wezterm start --cwd ."_s, u"wezterm|start|--cwd|/a b"_s},
        {u"gnome-terminal"_s, u"gnome-terminal|--working-directory=/a b"_s},
        {u"ptyxis --new-window"_s, u"ptyxis|--new-window|--working-directory=/a b"_s},
        {u"xterm -fa Mono"_s, u"xterm|-fa|Mono"_s},
        {u"flatpak run --branch=stable --command=ptyxis app.devsuite.Ptyxis --tab"_s,
         u"flatpak|run|--branch=stable|--command=ptyxis|app.devsuite.Ptyxis|--new-window|"
         "--working-directory=/a b"_s},
        {u"flatpak run --command=strange org.example.Strange -x"_s,
         u"flatpak|run|--command=strange|org.example.Strange|-x"_s},
        {u"flatpak"_s, u"flatpak"_s},
    };
    for (const auto &[line, command] : rows)
        EXPECT_EQ(terminalInFolder(line.split(u' '), u"/a b"_s).join(u'|'), command);
}

TEST(TerminalInFolder, anUnknownTerminalIsToldAsItsEntrySays) {
    const auto told = [](const QString &program, const QString &option) {
        return terminalInFolder({program, u"-n"_s}, u"/a b"_s, option).join(u'|');
    };
    EXPECT_EQ(told(u"rio"_s, u"--dir="_s), u"rio|-n|--dir=/a b");
    EXPECT_EQ(told(u"rio"_s, u"--dir"_s), u"rio|-n|--dir|/a b");
    EXPECT_EQ(told(u"rio"_s, {}), u"rio|-n") << "by the working folder of its process";
    EXPECT_EQ(told(u"kitty"_s, u"--dir="_s), u"kitty|--directory|/a b") << "one that we know";
}

TEST(TerminalCommand, theChooserComesFirstThenTheUsersThenTheDistributionsThenKnownOnes) {
    QStringList installed{u"xdg-terminal-exec"_s,   u"kitty"_s,          u"konsole"_s,
                          u"x-terminal-emulator"_s, u"gnome-terminal"_s, u"xterm"_s};
    const QStringList preferred{u"kitty"_s, u"konsole"_s};
    const char *order[]{"xdg-terminal-exec",   "kitty",          "konsole",
                        "x-terminal-emulator", "gnome-terminal", "xterm"};
    for (const char *terminal : order) {
        EXPECT_EQ(chosen(installed, preferred).section(u'|', 0, 0), QLatin1StringView(terminal));
        installed.removeOne(QLatin1StringView(terminal));
    }
    EXPECT_EQ(chosen(installed, preferred), u"none");
}

TEST(TerminalCommand, aPreferredTerminalMayHaveAFolderAndArguments) {
    EXPECT_EQ(chosen({u"/opt/bin/gnome-terminal"_s}, {u"/opt/bin/gnome-terminal --tab"_s}),
              u"/opt/bin/gnome-terminal|--tab|--|vim|a file");
    EXPECT_EQ(chosen({u"kitty"_s}, {u"kitty -1"_s}), u"kitty|-1|vim|a file");
}

TEST(TerminalCommand, anUnknownPreferredTerminalIsToldByE) {
    EXPECT_EQ(chosen({u"myterm"_s}, {u"myterm"_s}), u"myterm|-e|vim|a file");
}

TEST(TerminalCommand, emptyAndMissingPreferencesArePassedOver) {
    EXPECT_EQ(chosen({u"foot"_s}, {QString(), u" "_s, u"gone"_s}), u"foot|vim|a file");
}

TEST(TerminalCommand, withoutATerminalThereIsNoCommand) {
    EXPECT_EQ(chosen({}), u"none");
    EXPECT_EQ(chosen({u"vim"_s}), u"none");
}
