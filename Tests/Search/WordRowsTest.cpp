#include "Search/WordRows.h"

#include "Fakes/SearchWorld.h"

#include <gtest/gtest.h>

using namespace corvid;
using namespace corvid::test;
using namespace Qt::Literals::StringLiterals;

namespace {

SearchWorld desktop() {
    return {{describedApp(u"Connections"_s, "network wireless wifi"),
             describedApp(u"Global Theme"_s, "theme look dark light"),
             describedApp(u"Display"_s, "screen resolution refresh rate"),
             describedApp(u"Visual Studio Code"_s, "text editor", {u"vscode"_s})},
            {projectNamed(u"design-system"_s), projectNamed(u"Wi-Fi driver"_s)}};
}

} // namespace

TEST(WordRows, whatDescribesAnApplicationFindsItInAnyOrderAndByBeginnings) {
    SearchWorld world = desktop();
    EXPECT_EQ(world.titles(wordRows, u"dark theme"_s), QStringList{u"Global Theme"_s});
    EXPECT_EQ(world.titles(wordRows, u"theme DARK"_s), QStringList{u"Global Theme"_s});
    EXPECT_EQ(world.titles(wordRows, u"ref res"_s), QStringList{u"Display"_s});
    EXPECT_EQ(world.titles(wordRows, u"vscode editor"_s), QStringList{u"Visual Studio Code"_s});
    EXPECT_EQ(world.titles(wordRows, u"code visual"_s), QStringList{u"Visual Studio Code"_s});
}

TEST(WordRows, everyWordMustBeThereAndNoneIsGuessed) {
    SearchWorld world = desktop();
    EXPECT_EQ(world.titles(wordRows, u"dark room"_s), QStringList());
    EXPECT_EQ(world.titles(wordRows, u"da"_s), QStringList());
    EXPECT_EQ(world.titles(wordRows, u"esolution"_s), QStringList());
    EXPECT_EQ(world.titles(wordRows, u"wreless"_s), QStringList());
    EXPECT_EQ(world.titles(wordRows, u"&"_s), QStringList());
}

TEST(WordRows, hyphensAndBlanksAreAlike) {
    SearchWorld world = desktop();
    EXPECT_EQ(world.titles(wordRows, u"system design"_s), QStringList{u"design-system"_s});
    EXPECT_EQ(world.titles(wordRows, u"design-system"_s), QStringList{u"design-system"_s});
    EXPECT_EQ(world.titles(wordRows, u"wi-fi"_s),
              (QStringList{u"Wi-Fi driver"_s, u"Connections"_s}));
    EXPECT_EQ(world.titles(wordRows, u"wi fi"_s),
              (QStringList{u"Wi-Fi driver"_s, u"Connections"_s}));
}

TEST(WordRows, wholeWordsComeBeforeBeginningsThenNamesBeforeDescriptions) {
    SearchWorld world({describedApp(u"A"_s, "soundcard"), describedApp(u"B"_s, "x sound"),
                       describedApp(u"C"_s, "", {u"sound"_s}), describedApp(u"D"_s, "sound"),
                       describedApp(u"Big Sound"_s, ""), describedApp(u"Sounds"_s, "")},
                      {projectNamed(u"sound"_s)});
    EXPECT_EQ(
        world.titles(wordRows, u"sound"_s),
        (QStringList{u"sound"_s, u"Big Sound"_s, u"C"_s, u"D"_s, u"B"_s, u"Sounds"_s, u"A"_s}));
}

TEST(WordRows, launchesDecideBetweenEqualFinds) {
    SearchWorld world({describedApp(u"A"_s, "sound"), describedApp(u"B"_s, "sound"),
                       describedApp(u"C"_s, "sounds")},
                      {});
    EXPECT_EQ(world.titles(wordRows, u"sound"_s), (QStringList{u"A"_s, u"B"_s, u"C"_s}));
    world.stats.recordLaunch(usageKey(world.apps[1]));
    world.stats.recordLaunch(usageKey(world.apps[2]));
    EXPECT_EQ(world.titles(wordRows, u"sound"_s), (QStringList{u"B"_s, u"A"_s, u"C"_s}));
}

TEST(WordRows, rowsAreThoseOfTheEntriesSoThatCountsAndChoicesWork) {
    SearchWorld world = desktop();
    world.running.insert(u"id.Connections"_s);
    const Rows apps = wordRows(parseQuery(u"wireless"_s, world.roles), world.sources());
    ASSERT_EQ(apps.size(), 1U);
    EXPECT_EQ(apps[0].id, usageKey(world.apps[0]));
    EXPECT_EQ(apps[0].badge, u"App");
    EXPECT_EQ(apps[0].action, LauncherAction(OpenApp{world.apps[0]}));
    EXPECT_TRUE(apps[0].running);
    const Rows projects = wordRows(parseQuery(u"driver"_s, world.roles), world.sources());
    ASSERT_EQ(projects.size(), 1U);
    EXPECT_EQ(projects[0].id, u"/p/Wi-Fi driver");
    EXPECT_EQ(projects[0].badge, u"Project");
}
