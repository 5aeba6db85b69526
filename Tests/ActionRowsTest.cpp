#include "Fakes/LauncherWorld.h"

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

QStringList ids(const LauncherWorld &world) {
    QStringList result;
    for (const ResultItem &row : world.model.results())
        result.append(row.id);
    return result;
}

AppEntry withActions(AppEntry app, const QStringList &actions) {
    for (const QString &action : actions)
        app.actions.append({action.toLower().replace(u' ', u'-'), action});
    return app;
}

} // namespace

TEST(ActionRows, aRowOfAnAction) {
    const AppEntry fox = withActions(makeApp(u"Firefox"_s), {u"New Private Window"_s});
    LauncherWorld world({fox}, {});
    world.workspace.running = {fox.bundleID};
    world.model.setQuery(u"firefox private"_s);
    EXPECT_EQ(ids(world), (QStringList{usageKey(fox) + u"|action|new-private-window"_s,
                                       u"web-search"_s, u"ai-fallback"_s}));
    const ResultItem &row = world.model.results().front();
    EXPECT_NE(row.icon, nullptr);
    EXPECT_EQ(row.title, u"New Private Window");
    EXPECT_EQ(row.subtitle, u"Firefox");
    EXPECT_EQ(row.badge, u"Action");
    EXPECT_EQ(row.action, LauncherAction(RunAction{fox.path, u"new-private-window"_s}));
    EXPECT_FALSE(row.running);
}

TEST(ActionRows, theRowOfAnActionHasThePathAndTheIconOfItsApplication) {
    const AppEntry fox = withActions(makeApp(u"Firefox"_s), {u"New Private Window"_s});
    EXPECT_EQ(pathOf(RunAction{fox.path, u"x"_s}), fox.path);
    EXPECT_EQ(iconPathOf(RunAction{fox.path, u"x"_s}), fox.path);
}

TEST(ActionRows, actionsStandAfterWhatIsFoundByItsName) {
    LauncherWorld world({withActions(makeApp(u"Fox"_s), {u"Window"_s}), makeApp(u"Xwindow"_s)},
                        {makeProject(u"windows"_s)});
    EXPECT_EQ(world.titles(u"window"_s), (QStringList{u"windows"_s, u"Xwindow"_s, u"Window"_s}));
    EXPECT_EQ(world.model.results().back().badge, u"Action");
}

TEST(ActionRows, actionsFillTheListToNineAndLeaveRoomForTheFallback) {
    QStringList many;
    for (int i = 0; i < 12; ++i)
        many.append(u"Open Number%1"_s.arg(i));
    LauncherWorld world({withActions(makeApp(u"Fox"_s), many)}, {makeProject(u"open"_s)});
    EXPECT_EQ(world.titles(u"open"_s), QStringList{u"open"_s} + many.mid(0, 8));
    EXPECT_EQ(world.titles(u"fox num"_s),
              many.mid(0, 7) +
                  (QStringList{u"Search Google for “fox num”"_s, u"Ask AI: fox num"_s}));
}

TEST(ActionRows, theActionChosenBeforeForATextStandsFirstThenTheMoreUsedOnes) {
    const AppEntry one = withActions(makeApp(u"One"_s), {u"New Window"_s, u"New Page"_s});
    const AppEntry two = withActions(makeApp(u"Two"_s), {u"New Letter"_s});
    LauncherWorld world({one, two}, {});
    const auto titles = [&] { return world.titles(u"new"_s).mid(0, 3); };
    EXPECT_EQ(titles(), (QStringList{u"New Window"_s, u"New Page"_s, u"New Letter"_s}));
    world.setLaunches(usageKey(two), 2);
    world.model.refresh();
    EXPECT_EQ(titles(), (QStringList{u"New Letter"_s, u"New Window"_s, u"New Page"_s}));
    world.setLaunches(usageKey(one) + u"|action|new-page"_s, 1);
    world.model.refresh();
    EXPECT_EQ(titles(), (QStringList{u"New Page"_s, u"New Letter"_s, u"New Window"_s}));
    world.setLatch(u"new"_s, usageKey(one) + u"|action|new-window"_s);
    world.model.refresh();
    EXPECT_EQ(titles(), (QStringList{u"New Window"_s, u"New Page"_s, u"New Letter"_s}));
}

TEST(ActionRows, actionsAreListedInASearchOnly) {
    LauncherWorld world({withActions(makeApp(u"Zed"_s, {u"code-editor"_s}), {u"Editor"_s})},
                        {makeProject(u"web"_s)},
                        {{{u"code-editor"_s, {u"Code Editor"_s, {u"editor"_s}}}}, {}});
    EXPECT_EQ(world.titles(u"editor"_s), QStringList{u"Zed"_s}) << "the name of a role";
    EXPECT_EQ(world.titles(u"web in zed"_s), (QStringList{u"web"_s, u"Zed"_s}));
}
