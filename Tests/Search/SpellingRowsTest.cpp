#include "Search/SpellingRows.h"

#include "Fakes/SearchWorld.h"

#include <gtest/gtest.h>

using namespace corvid;
using namespace corvid::test;
using namespace Qt::Literals::StringLiterals;

namespace {

SearchWorld desktop() {
    return {{describedApp(u"Café Manager"_s, ""), describedApp(u"Firefox ESR"_s, "browser"),
             describedApp(u"Visual Studio Code"_s, "", {u"vscode"_s}),
             describedApp(u"Çeviri Aracı"_s, "")},
            {projectNamed(u"dot-files"_s)}};
}

} // namespace

TEST(SpellingRows, accentsNeedNotBeTyped) {
    SearchWorld world = desktop();
    EXPECT_EQ(world.titles(spellingRows, u"cafe"_s), QStringList{u"Café Manager"_s});
    EXPECT_EQ(world.titles(spellingRows, u"cevi arac"_s), QStringList{u"Çeviri Aracı"_s});
    EXPECT_EQ(world.titles(spellingRows, u"Fírefox"_s), QStringList{u"Firefox ESR"_s});
}

TEST(SpellingRows, oneSlipInOneWordOfANameOrAnAliasIsForgiven) {
    SearchWorld world = desktop();
    EXPECT_EQ(world.titles(spellingRows, u"fierfox"_s), QStringList{u"Firefox ESR"_s});
    EXPECT_EQ(world.titles(spellingRows, u"visaul studio"_s), QStringList{u"Visual Studio Code"_s});
    EXPECT_EQ(world.titles(spellingRows, u"vscdoe"_s), QStringList{u"Visual Studio Code"_s});
    EXPECT_EQ(world.titles(spellingRows, u"cafá"_s), QStringList{u"Café Manager"_s});
    EXPECT_EQ(world.titles(spellingRows, u"dot fiels"_s), QStringList{u"dot-files"_s});
    EXPECT_EQ(world.titles(spellingRows, u"fiirefox"_s), QStringList{u"Firefox ESR"_s});
    EXPECT_EQ(world.titles(spellingRows, u"firrefox"_s), QStringList{u"Firefox ESR"_s});
    EXPECT_EQ(world.titles(spellingRows, u"visaul stuido"_s), QStringList()) << "two slips";
    EXPECT_EQ(world.titles(spellingRows, u"fierf"_s), QStringList()) << "whole words only";
    EXPECT_EQ(world.titles(spellingRows, u"browsre"_s), QStringList())
        << "what only describes it is no name";
}

TEST(SpellingRows, fewerThanFourLettersAreNotGuessedAt) {
    SearchWorld world({describedApp(u"Zed"_s, ""), describedApp(u"Tör"_s, "")}, {});
    EXPECT_EQ(world.titles(spellingRows, u"zde"_s), QStringList());
    EXPECT_EQ(world.titles(spellingRows, u"tor"_s), QStringList());
    EXPECT_EQ(world.titles(spellingRows, u"zedd"_s), QStringList{u"Zed"_s});
}

TEST(SpellingRows, lessSlipsThenNamesThenTheSameFirstLetterThenLaunchesComeFirst) {
    SearchWorld world({describedApp(u"Mork"_s, ""), describedApp(u"X"_s, "", {u"wörk"_s}),
                       describedApp(u"Word"_s, ""), describedApp(u"Wark"_s, ""),
                       describedApp(u"Y"_s, "", {u"wirk"_s})},
                      {});
    world.stats.recordLaunch(usageKey(world.apps[3]));
    EXPECT_EQ(world.titles(spellingRows, u"work"_s),
              (QStringList{u"X"_s, u"Wark"_s, u"Word"_s, u"Mork"_s, u"Y"_s}));
}
