#include "Front/CommandLine.h"

#include <gtest/gtest.h>

#include <regex>
#include <sstream>

using namespace corvid;
using namespace std::string_literals;

namespace {

std::string helpText() {
    return parseCommandLine({"--help"s}).text;
}

std::string versionText() {
    return parseCommandLine({"--version"s}).text;
}

} // namespace

TEST(CommandLine, withoutArgumentsAsksForNothing) {
    const CommandLine line = parseCommandLine({});
    EXPECT_FALSE(line.show || line.sticky || line.toggle || line.settings || line.isDiagnostic());
    EXPECT_EQ(line.text, nullptr);
    EXPECT_EQ(line.error, std::nullopt);
    EXPECT_TRUE(line.wishes().empty());
}

TEST(CommandLine, takesEachOptionWhereverItStands) {
    const CommandLine line =
        parseCommandLine({"--sticky"s, "--bench"s, "--toggle"s, "--query"s, "a b"s, "--show"s});
    EXPECT_TRUE(line.sticky);
    EXPECT_TRUE(line.bench);
    EXPECT_TRUE(line.toggle);
    EXPECT_TRUE(line.show);
    EXPECT_EQ(line.query, "a b"s);
    EXPECT_EQ(line.error, std::nullopt);
    EXPECT_TRUE(parseCommandLine({"--settings"s}).settings);
}

TEST(CommandLine, anOptionMayBeRepeated) {
    EXPECT_TRUE(parseCommandLine({"--show"s, "--show"s}).show);
    EXPECT_EQ(parseCommandLine({"--show"s, "--show"s}).error, std::nullopt);
}

TEST(CommandLine, queryAsTheLastArgumentIsIgnored) {
    const CommandLine line = parseCommandLine({"--show"s, "--query"s});
    EXPECT_EQ(line.query, std::nullopt);
    EXPECT_FALSE(line.isDiagnostic());
    EXPECT_TRUE(line.show);
    EXPECT_EQ(line.error, std::nullopt);
}

TEST(CommandLine, whatFollowsQueryIsATextWhateverItLooksLike) {
    for (const std::string &text :
         {"--show"s, "--help"s, "--query"s, "-platform"s, "--nonsense"s, "-1+2"s, ""s}) {
        const CommandLine line = parseCommandLine({"--query"s, text});
        EXPECT_EQ(line.query, text);
        EXPECT_FALSE(line.show);
        EXPECT_EQ(line.text, nullptr);
        EXPECT_EQ(line.error, std::nullopt);
        EXPECT_TRUE(line.isDiagnostic());
    }
}

TEST(CommandLine, theFirstQueryCounts) {
    const CommandLine line = parseCommandLine({"--query"s, "a"s, "--query"s, "b"s, "--query"s});
    EXPECT_EQ(line.query, "a"s);
    EXPECT_EQ(line.error, std::nullopt);
}

TEST(CommandLine, anUnknownOptionIsNamed) {
    for (const std::string &option :
         {"--nonsense"s, "--Show"s, "--showing"s, "--sho"s, "-show"s, "--query=x"s, "-h"s, "--"s,
          "-"s, "-platform"s, "--style"s, "-qwindowgeometry"s})
        EXPECT_EQ(parseCommandLine({"--show"s, option}).error, "unknown option "s + option);
}

TEST(CommandLine, aStrayArgumentIsNamed) {
    EXPECT_EQ(parseCommandLine({"firefox"s}).error, "unexpected argument firefox"s);
    EXPECT_EQ(parseCommandLine({"--show"s, ""s}).error, "unexpected argument "s);
    EXPECT_EQ(parseCommandLine({"%1"s}).error, "unexpected argument %1"s);
}

TEST(CommandLine, helpAndVersionAndTheFirstMistakeDecideInTheirOrder) {
    EXPECT_EQ(parseCommandLine({"--show"s, "--help"s, "--nonsense"s}).text, helpText());
    EXPECT_EQ(parseCommandLine({"--help"s, "--nonsense"s}).error, std::nullopt);
    EXPECT_EQ(parseCommandLine({"--version"s, "--help"s}).text, versionText());
    EXPECT_EQ(parseCommandLine({"--nonsense"s, "--help"s}).text, nullptr);
    EXPECT_EQ(parseCommandLine({"--nonsense"s, "--help"s}).error, "unknown option --nonsense"s);
}

TEST(CommandLine, optionsForTheOneThatRunsAreWishes) {
    const Wish show{Wish::Kind::Show, false};
    const Wish toggle{Wish::Kind::Toggle, false};
    const Wish settings{Wish::Kind::OpenSettings, false};
    EXPECT_EQ(parseCommandLine({"--show"s}).wishes(), std::vector{show});
    EXPECT_EQ(parseCommandLine({"--toggle"s}).wishes(), std::vector{toggle});
    EXPECT_EQ(parseCommandLine({"--settings"s}).wishes(), std::vector{settings});
    EXPECT_EQ(parseCommandLine({"--settings"s, "--show"s}).wishes(), (std::vector{show, settings}));
    EXPECT_EQ(parseCommandLine({"--toggle"s, "--show"s}).wishes(), std::vector{show})
        << "who says show does not want it hidden";
}

TEST(CommandLine, stickyGoesWithShowing) {
    EXPECT_EQ(parseCommandLine({"--sticky"s, "--show"s}).wishes(),
              (std::vector{Wish{Wish::Kind::Show, true}}));
    EXPECT_EQ(parseCommandLine({"--toggle"s, "--sticky"s}).wishes(),
              (std::vector{Wish{Wish::Kind::Toggle, true}}));
    EXPECT_TRUE(parseCommandLine({"--sticky"s}).wishes().empty());
    EXPECT_EQ(parseCommandLine({"--sticky"s}).wishesOfRunning(),
              (std::vector{Wish{Wish::Kind::Show, true}}));
}

TEST(CommandLine, forgettingGoesWithNothingButYes) {
    EXPECT_TRUE(parseCommandLine({"--forget"s}).forget);
    EXPECT_FALSE(parseCommandLine({"--forget"s}).yes);
    EXPECT_TRUE(parseCommandLine({"--yes"s, "--forget"s}).yes);
    EXPECT_EQ(parseCommandLine({"--yes"s, "--forget"s}).error, std::nullopt);
    EXPECT_EQ(parseCommandLine({"--yes"s}).error, "--yes goes with --forget"s);
    for (const std::string &other :
         {"--show"s, "--toggle"s, "--settings"s, "--sticky"s, "--bench"s})
        EXPECT_EQ(parseCommandLine({other, "--forget"s}).error, "--forget goes with --yes alone"s);
    EXPECT_NE(parseCommandLine({"--forget"s, "--show"s, "--help"s}).text, nullptr);
}

TEST(CommandLine, withoutAWishTheOneThatRunsShowsItself) {
    EXPECT_EQ(parseCommandLine({}).wishesOfRunning(), (std::vector{Wish{Wish::Kind::Show, false}}));
    EXPECT_EQ(parseCommandLine({"--toggle"s}).wishesOfRunning(),
              (std::vector{Wish{Wish::Kind::Toggle, false}}));
    EXPECT_EQ(parseCommandLine({"--settings"s}).wishesOfRunning(),
              (std::vector{Wish{Wish::Kind::OpenSettings, false}}));
}

TEST(CommandLine, theHelpNamesEveryOptionInAtMost80Columns) {
    const std::string help = helpText();
    for (const std::string &option :
         {"--show"s, "--toggle"s, "--settings"s, "--sticky"s, "--query TEXT"s, "--bench"s,
          "--forget"s, "--yes"s, "--help"s, "--version"s})
        EXPECT_NE(help.find("\n  " + option + ' '), std::string::npos) << option;
    std::istringstream lines(help);
    for (std::string line; std::getline(lines, line);)
        EXPECT_LE(line.size(), 80U) << line;
    EXPECT_TRUE(help.ends_with('\n'));
}

TEST(CommandLine, theVersionIsTheProjects) {
    EXPECT_TRUE(std::regex_match(versionText(), std::regex(R"(Corvid \d+\.\d+\.\d+\n)")))
        << versionText();
}
