#include "SearchEngine.h"

#include "Fakes/FakeUserDefaults.h"
#include "Search/SearchIndex.h"

#include <QJsonObject>

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

AppEntry app(const QString &name, const QStringList &aliases = {}) {
    return {name, u"id."_s + name, u"/Applications/"_s + name + u".app"_s, {}, aliases, {}};
}

ProjectEntry project(const QString &name) {
    return {name, u"/p/"_s + name, {}};
}

class SearchEngineTest : public ::testing::Test {
protected:
    qint64 score(const char16_t *query, const AppEntry &entry) {
        return scoreIn(SearchIndex(std::vector{entry}), query);
    }
    qint64 score(const char16_t *query, const ProjectEntry &entry) {
        return scoreIn(SearchIndex(std::vector{entry}), query);
    }
    void setLaunches(const QString &key, qint64 count) {
        defaults.set(u"launchCounts"_s, QJsonObject{{key, count}});
    }

    FakeUserDefaults defaults;
    UsageStats stats{defaults};

private:
    qint64 scoreIn(SearchIndex index, const char16_t *query) {
        index.updateUsage(stats);
        return index.score(PreparedQuery(QString::fromUtf16(query)), 0);
    }
};

struct FuzzyRow {
    const char *rule;
    const char16_t *query;
    const char16_t *target;
    std::optional<qint64> score;
};

class Fuzzy : public ::testing::TestWithParam<FuzzyRow> {};

TEST_P(Fuzzy, scores) {
    const FuzzyRow &row = GetParam();
    EXPECT_EQ(SearchEngine::fuzzy(QString::fromUtf16(row.query), QString::fromUtf16(row.target)),
              row.score);
}

const FuzzyRow fuzzyRows[] = {
    {"emptyQueryNeverMatches", u"", u"abc", std::nullopt},
    {"queryLongerThanTargetNeverMatches", u"abc", u"ab", std::nullopt},
    {"adjacentCharactersFormARun", u"ab", u"ab", 3 + 5 + 30},
    {"aGapBreaksTheRun", u"ab", u"axb", 3 + 3 + 29},
    {"aRunOfThree", u"abc", u"abc", 3 + 5 + 7 + 30},
    {"aNewRunStartsAtOne", u"abcd", u"abxcd", 3 + 5 + 3 + 5 + 29},
    {"longTargetGetsNoLengthBonus", u"ab", u"ab0123456789012345678901234567890123456789", 8},
    {"bonusReachesZeroAtThirtyExtraCharacters", u"ab", u"ab012345678901234567890123456789", 8},
    {"oneLessThanThirtyExtraCharactersLeavesOnePoint", u"ab", u"ab01234567890123456789012345678",
     9},
    {"letterCaseDoesNotMatter", u"VS", u"vs", 38},
    {"orderMatters", u"ba", u"ab", std::nullopt},
    {"everyCharacterMustBeFound", u"abz", u"abc", std::nullopt},
    {"noWordStartBonus", u"b", u"a b", 3 + 28},
    {"noPenaltyForALateFirstMatch", u"c", u"abc", 3 + 28},
    {"greedyTakesTheFirstPossiblePosition", u"ab", u"axab", 3 + 3 + 28},
    {"aRepeatedCharacterIsNotMatchedTwice", u"aa", u"a", std::nullopt},
    {"spacesAreCharactersAndNotTrimmed", u" a", u"a", std::nullopt},
    {"composedMatchesDecomposed", u"caf\u00e9", u"CAFE\u0301", 3 + 5 + 7 + 9 + 30},
    {"aLetterIsNotPartOfAnAccentedOne", u"e", u"e\u0301", std::nullopt},
    {"aClusterCountsAsOneCharacter", u"\U0001F44D\U0001F3FD", u"a\U0001F44D\U0001F3FDb", 3 + 28},
    {"aClusterIsNotMatchedByItsPart", u"\U0001F44D", u"\U0001F44D\U0001F3FD", std::nullopt},
    {"dottedCapitalIIsOneCharacter", u"\u0130", u"\u0130", 33},
    {"sharpSStaysItself", u"stra\u00dfe", u"STRA\u00dfE", 3 + 5 + 7 + 9 + 11 + 13 + 30},
    {"ideographs", u"\u65e5\u8a9e", u"\u65e5\u672c\u8a9e", 3 + 3 + 29},
};

INSTANTIATE_TEST_SUITE_P(SearchEngine, Fuzzy, ::testing::ValuesIn(fuzzyRows),
                         [](const auto &row) { return row.param.rule; });

} // namespace

TEST(SearchEngineFuzzy, veryLongNamesMatch) {
    const QString name = QString(9'999, u'é') + u'z';
    EXPECT_EQ(SearchEngine::fuzzy(u"z"_s, name), 3);
}

TEST_F(SearchEngineTest, appTiersStandInOrder) {
    EXPECT_EQ(score(u"zed", app(u"Zed"_s)), 1000);
    EXPECT_EQ(score(u"ze", app(u"Zed"_s)), 800);
    EXPECT_EQ(score(u"ed", app(u"Zed"_s)), 600);
    EXPECT_EQ(score(u"zd", app(u"Zed"_s)), 300 + 3 + 3 + 29);
    EXPECT_EQ(score(u"zx", app(u"Zed"_s)), 0);
}

TEST_F(SearchEngineTest, aliasTiersStandInOrder) {
    const AppEntry code = app(u"Visual"_s, {u"vscode"_s});
    EXPECT_EQ(score(u"vscode", code), 900);
    EXPECT_EQ(score(u"vsc", code), 750);
    EXPECT_EQ(score(u"vcode", code), 350 + 3 + 3 + 5 + 7 + 9 + 29);
}

TEST_F(SearchEngineTest, anAliasThatMerelyContainsTheQueryOnlyMatchesAsASubsequence) {
    EXPECT_EQ(score(u"code", app(u"X"_s, {u"vscode"_s})), 350 + 24 + 28);
}

TEST_F(SearchEngineTest, theBestOfNameAndAliasesCounts) {
    EXPECT_EQ(score(u"zed", app(u"Zed Preview"_s, {u"zed"_s})), 900);
    EXPECT_EQ(score(u"zed", app(u"Zed"_s, {u"zed editor"_s})), 1000);
    EXPECT_EQ(score(u"zed", app(u"Other"_s, {u"zed editor"_s, u"zed"_s})), 900);
}

TEST_F(SearchEngineTest, rolesAndIdentifiersAreNotMatched) {
    AppEntry entry = app(u"Zed"_s);
    entry.roles = {u"browser"_s};
    EXPECT_EQ(score(u"browser", entry), 0);
    EXPECT_EQ(score(u"id.zed", entry), 0);
}

TEST_F(SearchEngineTest, theQueryIsTrimmedAndLowerCased) {
    EXPECT_EQ(score(u"  SAF ", app(u"Safari"_s)), 800);
    setLaunches(usageKey(app(u"Safari"_s)), 2);
    EXPECT_EQ(score(u"  SAF ", app(u"Safari"_s)), 830);
    EXPECT_EQ(score(u"  WE ", project(u"Web"_s)), 750);
}

TEST_F(SearchEngineTest, projectTiersStandBelowTheApplications) {
    EXPECT_EQ(score(u"web", project(u"web"_s)), 1000);
    EXPECT_EQ(score(u"we", project(u"web"_s)), 750);
    EXPECT_EQ(score(u"eb", project(u"web"_s)), 550);
    EXPECT_EQ(score(u"wb", project(u"web"_s)), 280 + 3 + 3 + 29);
    EXPECT_EQ(score(u"wx", project(u"web"_s)), 0);
}

TEST_F(SearchEngineTest, eachLaunchAddsFifteenPoints) {
    setLaunches(usageKey(app(u"Zed"_s)), 3);
    EXPECT_EQ(score(u"ze", app(u"Zed"_s)), 845);
    setLaunches(usageKey(project(u"web"_s)), 3);
    EXPECT_EQ(score(u"we", project(u"web"_s)), 795);
}

TEST_F(SearchEngineTest, twelveLaunchesCountAsMuchAsTen) {
    setLaunches(usageKey(app(u"Zed"_s)), 10);
    EXPECT_EQ(score(u"ze", app(u"Zed"_s)), 950);
    setLaunches(usageKey(app(u"Zed"_s)), 12);
    EXPECT_EQ(score(u"ze", app(u"Zed"_s)), 950);
}

TEST_F(SearchEngineTest, noBoostForANonMatch) {
    setLaunches(usageKey(app(u"Zed"_s)), 10);
    EXPECT_EQ(score(u"quux", app(u"Zed"_s)), 0);
    setLaunches(usageKey(project(u"web"_s)), 10);
    EXPECT_EQ(score(u"quux", project(u"web"_s)), 0);
}

TEST_F(SearchEngineTest, aBoostedPrefixRisesAboveAnExactAlias) {
    setLaunches(usageKey(app(u"Zed"_s)), 10);
    EXPECT_GT(score(u"ze", app(u"Zed"_s)), score(u"ze", app(u"Other"_s, {u"ze"_s})));
}

TEST_F(SearchEngineTest, aBoostedFuzzyMatchStaysBelowAnExactName) {
    setLaunches(usageKey(app(u"zxed"_s)), 1000);
    EXPECT_LT(score(u"zed", app(u"zxed"_s)), score(u"zed", app(u"zed"_s)));
}

TEST(SearchEngineDeathTest, aLaunchCountThatOverflowsIsAFatalStop) {
    EXPECT_EQ(SearchEngine::usageBoost(0x7fff'ffff), 150);
    EXPECT_DEATH(SearchEngine::usageBoost(0x7fff'ffff'ffff'ffff), "overflows the usage boost");
}

TEST(ParseInQuery, splitsProjectAndEditor) {
    EXPECT_EQ(SearchEngine::parseInQuery(u"web in zed"_s),
              (SearchEngine::InQuery{u"web"_s, u"zed"_s}));
}

TEST(ParseInQuery, bothPartsAreLowerCasedAndTrimmed) {
    EXPECT_EQ(SearchEngine::parseInQuery(u"  My Web  in  VS Code "_s),
              (SearchEngine::InQuery{u"my web"_s, u"vs code"_s}));
    EXPECT_EQ(SearchEngine::parseInQuery(u"WEB IN ZED"_s),
              (SearchEngine::InQuery{u"web"_s, u"zed"_s}));
}

TEST(ParseInQuery, everyOtherFormIsNone) {
    for (const QString &query : {u"in zed"_s, u"web in"_s, u"web in "_s, u" in zed"_s, u"web"_s,
                                 u""_s, u"a in b in c"_s, u"inside"_s, u"web  in\tzed"_s})
        EXPECT_FALSE(SearchEngine::parseInQuery(query)) << qPrintable(query);
}
