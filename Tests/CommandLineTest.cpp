#include "CommandLine.h"

#include "QtPrinters.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

TEST(CommandLine, withoutArgumentsAsksForNothing) {
    const CommandLine line = parseCommandLine({});
    EXPECT_FALSE(line.show || line.sticky || line.toggle || line.settings || line.isDiagnostic());
    EXPECT_EQ(line.text, CommandLine::Text::None);
    EXPECT_EQ(line.error, std::nullopt);
    EXPECT_TRUE(line.wishes().empty());
}

TEST(CommandLine, takesEachOptionWhereverItStands) {
    const CommandLine line = parseCommandLine(
        {u"--sticky"_s, u"--bench"_s, u"--toggle"_s, u"--query"_s, u"a b"_s, u"--show"_s});
    EXPECT_TRUE(line.sticky);
    EXPECT_TRUE(line.bench);
    EXPECT_TRUE(line.toggle);
    EXPECT_TRUE(line.show);
    EXPECT_EQ(line.query, u"a b"_s);
    EXPECT_EQ(line.error, std::nullopt);
    EXPECT_TRUE(parseCommandLine({u"--settings"_s}).settings);
}

TEST(CommandLine, anOptionMayBeRepeated) {
    EXPECT_TRUE(parseCommandLine({u"--show"_s, u"--show"_s}).show);
    EXPECT_EQ(parseCommandLine({u"--show"_s, u"--show"_s}).error, std::nullopt);
}

TEST(CommandLine, queryAsTheLastArgumentIsIgnored) {
    const CommandLine line = parseCommandLine({u"--show"_s, u"--query"_s});
    EXPECT_EQ(line.query, std::nullopt);
    EXPECT_FALSE(line.isDiagnostic());
    EXPECT_TRUE(line.show);
    EXPECT_EQ(line.error, std::nullopt);
}

TEST(CommandLine, whatFollowsQueryIsATextWhateverItLooksLike) {
    for (const QString &text : {u"--show"_s, u"--help"_s, u"--query"_s, u"-platform"_s,
                                u"--nonsense"_s, u"-1+2"_s, QString(u""_s)}) {
        const CommandLine line = parseCommandLine({u"--query"_s, text});
        EXPECT_EQ(line.query, text);
        EXPECT_FALSE(line.show);
        EXPECT_EQ(line.text, CommandLine::Text::None);
        EXPECT_EQ(line.error, std::nullopt);
        EXPECT_TRUE(line.isDiagnostic());
    }
}

TEST(CommandLine, theFirstQueryCounts) {
    const CommandLine line =
        parseCommandLine({u"--query"_s, u"a"_s, u"--query"_s, u"b"_s, u"--query"_s});
    EXPECT_EQ(line.query, u"a"_s);
    EXPECT_EQ(line.error, std::nullopt);
}

TEST(CommandLine, anUnknownOptionIsNamed) {
    for (const QString &option :
         {u"--nonsense"_s, u"--Show"_s, u"--showing"_s, u"--sho"_s, u"-show"_s, u"--query=x"_s,
          u"-h"_s, u"--"_s, u"-"_s, u"-platform"_s, u"--style"_s, u"-qwindowgeometry"_s})
        EXPECT_EQ(parseCommandLine({u"--show"_s, option}).error, u"unknown option "_s + option);
}

TEST(CommandLine, aStrayArgumentIsNamed) {
    EXPECT_EQ(parseCommandLine({u"firefox"_s}).error, u"unexpected argument firefox"_s);
    EXPECT_EQ(parseCommandLine({u"--show"_s, u""_s}).error, u"unexpected argument "_s);
    EXPECT_EQ(parseCommandLine({u"%1"_s}).error, u"unexpected argument %1"_s);
}

TEST(CommandLine, helpAndVersionAndTheFirstMistakeDecideInTheirOrder) {
    EXPECT_EQ(parseCommandLine({u"--show"_s, u"--help"_s, u"--nonsense"_s}).text,
              CommandLine::Text::Help);
    EXPECT_EQ(parseCommandLine({u"--help"_s, u"--nonsense"_s}).error, std::nullopt);
    EXPECT_EQ(parseCommandLine({u"--version"_s, u"--help"_s}).text, CommandLine::Text::Version);
    EXPECT_EQ(parseCommandLine({u"--nonsense"_s, u"--help"_s}).text, CommandLine::Text::None);
    EXPECT_EQ(parseCommandLine({u"--nonsense"_s, u"--help"_s}).error,
              u"unknown option --nonsense"_s);
}

TEST(CommandLine, optionsForTheOneThatRunsAreWishes) {
    const Wish show{Wish::Kind::Show, false};
    const Wish toggle{Wish::Kind::Toggle, false};
    const Wish settings{Wish::Kind::OpenSettings, false};
    EXPECT_EQ(parseCommandLine({u"--show"_s}).wishes(), std::vector{show});
    EXPECT_EQ(parseCommandLine({u"--toggle"_s}).wishes(), std::vector{toggle});
    EXPECT_EQ(parseCommandLine({u"--settings"_s}).wishes(), std::vector{settings});
    EXPECT_EQ(parseCommandLine({u"--settings"_s, u"--show"_s}).wishes(),
              (std::vector{show, settings}));
    EXPECT_EQ(parseCommandLine({u"--toggle"_s, u"--show"_s}).wishes(), std::vector{show})
        << "who says show does not want it hidden";
}

TEST(CommandLine, stickyGoesWithShowing) {
    EXPECT_EQ(parseCommandLine({u"--sticky"_s, u"--show"_s}).wishes(),
              (std::vector{Wish{Wish::Kind::Show, true}}));
    EXPECT_EQ(parseCommandLine({u"--toggle"_s, u"--sticky"_s}).wishes(),
              (std::vector{Wish{Wish::Kind::Toggle, true}}));
    EXPECT_TRUE(parseCommandLine({u"--sticky"_s}).wishes().empty());
    EXPECT_EQ(parseCommandLine({u"--sticky"_s}).wishesOfRunning(),
              (std::vector{Wish{Wish::Kind::Show, true}}));
}

TEST(CommandLine, withoutAWishTheOneThatRunsShowsItself) {
    EXPECT_EQ(parseCommandLine({}).wishesOfRunning(), (std::vector{Wish{Wish::Kind::Show, false}}));
    EXPECT_EQ(parseCommandLine({u"--toggle"_s}).wishesOfRunning(),
              (std::vector{Wish{Wish::Kind::Toggle, false}}));
    EXPECT_EQ(parseCommandLine({u"--settings"_s}).wishesOfRunning(),
              (std::vector{Wish{Wish::Kind::OpenSettings, false}}));
}

TEST(CommandLine, theHelpNamesEveryOptionInAtMost80Columns) {
    const QString help = helpText();
    for (const QString &option : {u"--show"_s, u"--toggle"_s, u"--settings"_s, u"--sticky"_s,
                                  u"--query TEXT"_s, u"--bench"_s, u"--help"_s, u"--version"_s})
        EXPECT_TRUE(help.contains(u"\n  "_s + option + u' ')) << qPrintable(option);
    for (const QString &line : help.split(u'\n'))
        EXPECT_LE(line.size(), 80) << qPrintable(line);
    EXPECT_TRUE(help.endsWith(u"\n"_s));
}

TEST(CommandLine, theVersionIsTheProjects) {
    static const QRegularExpression form(u"^Corvid \\d+\\.\\d+\\.\\d+\\n$"_s);
    EXPECT_TRUE(form.match(versionText()).hasMatch()) << qPrintable(versionText());
}
