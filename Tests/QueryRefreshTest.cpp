#include "Base/Settings.h"
#include "Fakes/LauncherWorld.h"

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

const RoleCatalog::Taxonomy taxonomy{{{u"code-editor"_s, {u"Code Editor"_s, {u"editor"_s}}},
                                      {u"browser"_s, {u"Browser"_s, {u"web browser"_s}}},
                                      {u"game"_s, {u"Games"_s, {}}}},
                                     {}};

QStringList ids(const LauncherWorld &world) {
    QStringList result;
    for (const ResultItem &row : world.model.results())
        result.append(row.id);
    return result;
}

const QStringList fallbackIds{u"web-search"_s, u"ai-fallback"_s};

} // namespace

TEST(QueryRefresh, anEmptyQueryWithoutLaunchesShowsNothing) {
    LauncherWorld world({makeApp(u"Zed"_s)}, {makeProject(u"web"_s)});
    EXPECT_TRUE(world.model.results().empty());
}

TEST(QueryRefresh, anEmptyQueryShowsTheSevenMostLaunchedApplications) {
    std::vector<AppEntry> apps;
    for (int i = 0; i < 10; ++i)
        apps.push_back(makeApp(u"App%1"_s.arg(i)));
    LauncherWorld world(apps, {});
    for (int i = 0; i < 10; ++i)
        world.setLaunches(usageKey(apps[static_cast<std::size_t>(i)]), i + 1);
    world.model.refresh();
    EXPECT_EQ(world.titles(u"  "_s), (QStringList{u"App9"_s, u"App8"_s, u"App7"_s, u"App6"_s,
                                                  u"App5"_s, u"App4"_s, u"App3"_s}));
}

TEST(QueryRefresh, recentApplicationsWithEqualCountsKeepCatalogOrder) {
    const AppEntry a = makeApp(u"A"_s);
    const AppEntry b = makeApp(u"B"_s);
    const AppEntry c = makeApp(u"C"_s);
    LauncherWorld world({a, b, c}, {});
    for (const AppEntry &app : {a, b, c})
        world.setLaunches(usageKey(app), app == c ? 200 : 100);
    world.model.refresh();
    EXPECT_EQ(world.titles(u""_s), (QStringList{u"C"_s, u"A"_s, u"B"_s}));
}

TEST(QueryRefresh, projectsAreNeverRecentApplications) {
    LauncherWorld world({}, {makeProject(u"web"_s)});
    world.setLaunches(usageKey(makeProject(u"web"_s)), 4);
    world.model.refresh();
    EXPECT_TRUE(world.model.results().empty());
}

TEST(QueryRefresh, anExpressionShowsOnlyTheCalculatorRow) {
    LauncherWorld world({makeApp(u"2+3"_s)}, {});
    world.model.setQuery(u" 2+3 "_s);
    ASSERT_EQ(world.model.results().size(), 1U);
    const ResultItem &row = world.model.results().front();
    EXPECT_EQ(row.id, u"math");
    EXPECT_EQ(row.icon, nullptr);
    EXPECT_EQ(row.title, u"= 5");
    EXPECT_EQ(row.subtitle, u"2+3");
    EXPECT_EQ(row.badge, u"Calc");
    EXPECT_EQ(row.action, LauncherAction(CopyAI{u"5"_s}));
    EXPECT_FALSE(row.running);
}

TEST(QueryRefresh, anInQueryNeverReachesTheCalculator) {
    LauncherWorld world({makeApp(u"Zed"_s, {u"code-editor"_s})}, {makeProject(u"1+1"_s)}, taxonomy);
    EXPECT_EQ(world.titles(u"1+1 in zed"_s), (QStringList{u"1+1"_s, u"Zed"_s}));
}

TEST(QueryRefresh, aQueryThatNamesARoleListsEveryApplicationOfItInCatalogOrder) {
    std::vector<AppEntry> apps{makeApp(u"Other"_s)};
    QStringList expected;
    for (int i = 19; i >= 0; --i) {
        apps.push_back(makeApp(u"Editor%1"_s.arg(i), {u"code-editor"_s}));
        expected.append(u"Editor%1"_s.arg(i));
    }
    LauncherWorld world(apps, {makeProject(u"code editor"_s)}, taxonomy);
    world.setLaunches(usageKey(apps.back()), 5);
    EXPECT_EQ(world.titles(u"Code Editor "_s), expected);
    EXPECT_EQ(world.titles(u"EDITOR"_s), expected) << "by an alias";
    EXPECT_EQ(world.model.results().front().subtitle, u"Code Editor");
}

TEST(QueryRefresh, anApplicationThatHasARoleTwiceIsListedOnce) {
    LauncherWorld world({makeApp(u"Zed"_s, {u"code-editor"_s, u"code-editor"_s})}, {}, taxonomy);
    EXPECT_EQ(world.titles(u"code editor"_s), QStringList{u"Zed"_s});
}

TEST(QueryRefresh, aRoleWithoutApplicationsShowsTheFallback) {
    LauncherWorld world({makeApp(u"Browser Tool"_s)}, {}, taxonomy);
    world.model.setQuery(u"browser"_s);
    EXPECT_EQ(ids(world), fallbackIds);
}

TEST(QueryRefresh, aRowOfAnApplication) {
    const AppEntry zed = makeApp(u"Zed"_s);
    LauncherWorld world({zed}, {});
    world.workspace.running = {zed.bundleID};
    world.model.setQuery(u"zed"_s);
    const ResultItem &row = world.model.results().front();
    EXPECT_EQ(row.id, usageKey(zed));
    EXPECT_NE(row.icon, nullptr);
    EXPECT_EQ(row.title, u"Zed");
    EXPECT_EQ(row.subtitle, zed.path);
    EXPECT_EQ(row.badge, u"App");
    EXPECT_EQ(row.action, LauncherAction(OpenApp{zed}));
    EXPECT_TRUE(row.running);
}

TEST(QueryRefresh, aRowOfAProject) {
    const ProjectEntry web = makeProject(u"web"_s, {u"git"_s, u"js"_s});
    LauncherWorld world({}, {web});
    world.model.setQuery(u"web"_s);
    const ResultItem &row = world.model.results().front();
    EXPECT_EQ(row.id, web.path);
    EXPECT_NE(row.icon, nullptr);
    EXPECT_EQ(row.title, u"web");
    EXPECT_EQ(row.subtitle, u"~/Code/web");
    EXPECT_EQ(row.badge, u"git · js");
    EXPECT_EQ(row.action, LauncherAction(OpenProject{web, std::nullopt}));
    EXPECT_FALSE(row.running);
}

TEST(QueryRefresh, aProjectWithoutStackIsBadgedProject) {
    LauncherWorld world({}, {makeProject(u"web"_s)});
    world.model.setQuery(u"web"_s);
    EXPECT_EQ(world.model.results().front().badge, u"Project");
}

TEST(QueryRefresh, onlyTheHomeFolderItselfIsShownAsTilde) {
    const ProjectEntry beside{u"web"_s, locations::home() + u"2/web"_s, {}};
    LauncherWorld world({}, {beside});
    world.model.setQuery(u"web"_s);
    EXPECT_EQ(world.model.results().front().subtitle, beside.path);
}

TEST(QueryRefresh, aSearchShowsNineRowsAtMost) {
    std::vector<AppEntry> apps;
    std::vector<ProjectEntry> projectList;
    for (int i = 0; i < 20; ++i) {
        apps.push_back(makeApp(u"foo%1"_s.arg(i)));
        projectList.push_back(makeProject(u"foo%1"_s.arg(i)));
    }
    LauncherWorld world(apps, projectList);
    EXPECT_EQ(world.titles(u"foo"_s).size(), 9);
}

TEST(QueryRefresh, rowsAreRankedByScoreAndTiesKeepTheirOrder) {
    LauncherWorld world({makeApp(u"xfoo"_s), makeApp(u"food"_s),
                         makeApp(u"other"_s, {}, {u"foo"_s}), makeApp(u"fool"_s),
                         makeApp(u"foo"_s)},
                        {makeProject(u"foo"_s), makeProject(u"fooz"_s)});
    // 1000, 950 (project), 900 (alias), 800, 800 (catalog order), 700 (project), 600
    EXPECT_EQ(world.titles(u"foo"_s), (QStringList{u"foo"_s, u"foo"_s, u"other"_s, u"food"_s,
                                                   u"fool"_s, u"fooz"_s, u"xfoo"_s}));
}

TEST(QueryRefresh, anEquallyMatchedApplicationStandsBeforeAProject) {
    LauncherWorld world({makeApp(u"web"_s)}, {makeProject(u"web"_s)});
    world.model.setQuery(u"web"_s);
    EXPECT_EQ(ids(world), (QStringList{usageKey(makeApp(u"web"_s)), makeProject(u"web"_s).path}));
}

TEST(QueryRefresh, noMatchAtAllShowsExactlyTheTwoFallbackRows) {
    LauncherWorld world({makeApp(u"Zed"_s)}, {makeProject(u"web"_s)});
    world.model.setQuery(u" Q & A+ü "_s);
    ASSERT_EQ(ids(world), fallbackIds);
    const ResultItem &search = world.model.results()[0];
    EXPECT_EQ(search.title, u"Search Google for “Q & A+ü”");
    EXPECT_EQ(search.subtitle, u"Opens in your default browser");
    EXPECT_EQ(search.badge, u"Web");
    EXPECT_EQ(search.icon, nullptr);
    EXPECT_EQ(search.action,
              LauncherAction(OpenURL{u"https://www.google.com/search?q=Q%20&%20A+%C3%BC"_s}));
    const ResultItem &ask = world.model.results()[1];
    EXPECT_EQ(ask.title, u"Ask AI: Q & A+ü");
    EXPECT_EQ(ask.subtitle, u"Streams an answer from your endpoint");
    EXPECT_EQ(ask.badge, u"AI");
    EXPECT_EQ(ask.icon, nullptr);
    EXPECT_EQ(ask.action, LauncherAction(AskAI{u"Q & A+ü"_s}));
}

TEST(QueryRefresh, theAiFallbackIsListedWithAiSwitchedOffToo) {
    LauncherWorld world({}, {});
    world.defaults.set(u"aiEnabled"_s, false);
    world.model.setQuery(u"quux"_s);
    EXPECT_EQ(ids(world), fallbackIds);
}

TEST(QueryRefresh, aChosenApplicationStandsFirstForThatQueryEvenIfItNoLongerMatches) {
    const AppEntry chosen = makeApp(u"Unrelated"_s);
    LauncherWorld world({makeApp(u"xfoo"_s), chosen}, {});
    world.setLatch(u"foo"_s, usageKey(chosen));
    EXPECT_EQ(world.titles(u" FOO "_s), (QStringList{u"xfoo"_s, u"Unrelated"_s}))
        << "600 for the contained name, 500 for the latch alone";
    EXPECT_EQ(world.titles(u"fo"_s), QStringList{u"xfoo"_s}) << "latched for its own query only";
}

TEST(QueryRefresh, aLatchAddsFiveHundredToAMatch) {
    const AppEntry chosen = makeApp(u"xfoo"_s);
    LauncherWorld world({makeApp(u"foo"_s), chosen}, {});
    EXPECT_EQ(world.titles(u"foo"_s), (QStringList{u"foo"_s, u"xfoo"_s}));
    world.setLatch(u"foo"_s, usageKey(chosen));
    world.model.refresh();
    EXPECT_EQ(world.titles(u"foo"_s), (QStringList{u"xfoo"_s, u"foo"_s}));
}

TEST(QueryRefresh, aLatchThatNamesAProjectChangesNothing) {
    LauncherWorld world({makeApp(u"foo"_s)}, {makeProject(u"foo"_s)});
    world.setLatch(u"foo"_s, makeProject(u"foo"_s).path);
    world.model.setQuery(u"foo"_s);
    EXPECT_EQ(ids(world).front(), usageKey(makeApp(u"foo"_s)));
}

TEST(QueryRefresh, applicationsOfALooselyMatchedRoleFollowWithTwoHundredPoints) {
    const AppEntry fox = makeApp(u"Fox"_s, {u"browser"_s});
    LauncherWorld world({fox, makeApp(u"browse"_s)}, {makeProject(u"brows"_s)}, taxonomy);
    world.workspace.running = {fox.bundleID};
    EXPECT_EQ(world.titles(u"brows"_s), (QStringList{u"brows"_s, u"browse"_s, u"Fox"_s}));
    const ResultItem &row = world.model.results().back();
    EXPECT_EQ(row.subtitle, fox.path);
    EXPECT_FALSE(row.running) << "such a row carries no running mark";
}

TEST(QueryRefresh, anApplicationIsNotListedTwiceForItsNameAndItsRole) {
    LauncherWorld world({makeApp(u"Browsie"_s, {u"browser"_s})}, {}, taxonomy);
    EXPECT_EQ(world.titles(u"brows"_s), QStringList{u"Browsie"_s});
}

TEST(QueryRefresh, aSearchMatchesAliases) {
    LauncherWorld world({makeApp(u"Visual Studio Code"_s, {}, {u"vsc"_s})}, {});
    EXPECT_EQ(world.titles(u"vsc"_s), QStringList{u"Visual Studio Code"_s});
}

TEST(QueryRefresh, whatTheQueryNamesBesidesStandsBehindWhatIsFoundByItsName) {
    AppEntry connections = makeApp(u"Connections"_s);
    connections.words = "network wifi";
    LauncherWorld world({connections, makeApp(u"Windfin"_s)}, {});
    EXPECT_EQ(world.titles(u"wifi"_s), (QStringList{u"Windfin"_s, u"Connections"_s}));
    world.model.setQuery(u"network"_s);
    EXPECT_EQ(ids(world), QStringList{usageKey(connections)} + fallbackIds);
}

TEST(QueryRefresh, onlyASearchShowsWhatTheQueryNamesBesides) {
    AppEntry described = makeApp(u"Zed"_s, {u"game"_s});
    described.words = "browser web quux 2 3 ai";
    LauncherWorld world({described}, {}, taxonomy);
    for (const QString &query : {u"browser"_s, u"web in quux"_s}) {
        world.model.setQuery(query);
        EXPECT_EQ(ids(world), fallbackIds) << qPrintable(query);
    }
    world.model.setQuery(u"2 - 3"_s);
    EXPECT_EQ(ids(world), QStringList{u"math"_s});
    EXPECT_EQ(world.titles(u"ai quux"_s).contains(u"Zed"_s), false);
    EXPECT_EQ(world.titles(u"quux"_s).front(), u"Zed");
}

TEST(QueryRefresh, aSearchShowsNineRowsAtMostWhateverIsNamedBesides) {
    std::vector<AppEntry> apps;
    for (int i = 0; i < 20; ++i) {
        apps.push_back(makeApp(u"App%1"_s.arg(i)));
        apps.back().words = "sound";
    }
    LauncherWorld world(apps, {});
    EXPECT_EQ(world.titles(u"sound"_s).size(), 9) << "seven and the fallback";
    apps.push_back(makeApp(u"Sounder"_s));
    LauncherWorld more(apps, {});
    EXPECT_EQ(more.titles(u"sound"_s).size(), 9);
    EXPECT_EQ(more.titles(u"sound"_s).front(), u"Sounder");
}

TEST(QueryRefresh, aMisspeltNameIsTriedOnlyWhereNothingElseIsFound) {
    AppEntry described = makeApp(u"Other"_s);
    described.words = "fierfox";
    LauncherWorld world({makeApp(u"Firefox"_s)}, {});
    world.model.setQuery(u"fierfox"_s);
    EXPECT_EQ(ids(world), QStringList{usageKey(makeApp(u"Firefox"_s))} + fallbackIds);
    LauncherWorld more({makeApp(u"Firefox"_s), described}, {});
    more.model.setQuery(u"fierfox"_s);
    EXPECT_EQ(ids(more), QStringList{usageKey(described)} + fallbackIds);
}

TEST(QueryRefresh, whatWasChosenAmongTheRowsBehindIsRememberedForItsQuery) {
    AppEntry connections = makeApp(u"Connections"_s);
    connections.words = "wifi";
    LauncherWorld world({makeApp(u"Windfin"_s), connections}, {});
    world.titles(u"wifi"_s);
    world.model.setSelected(1);
    world.model.submit();
    world.model.refresh();
    EXPECT_EQ(world.titles(u"wifi"_s), (QStringList{u"Connections"_s, u"Windfin"_s}));
    EXPECT_EQ(world.stats.counts().value(usageKey(connections)), 1);
}

TEST(QueryRefresh, theLastProjectIsNamedBehindWhatASearchFinds) {
    const ProjectEntry named = makeProject(u"last project"_s);
    LauncherWorld world({makeApp(u"Zed"_s)}, {named});
    settings::setLastProject(world.defaults, {u"/p/web"_s, makeApp(u"Zed"_s).path});
    world.model.setQuery(u"last project"_s);
    EXPECT_EQ(ids(world), (QStringList{named.path, u"last-project"_s}));
    world.model.submit();
    EXPECT_EQ(world.actions, std::vector<LauncherAction>{OpenLastProject{}});
}

TEST(QueryRefresh, anInQueryListsProjectsForTheEditorAndTheEditorAlone) {
    const AppEntry cursor = makeApp(u"Cursor"_s, {u"code-editor"_s});
    const ProjectEntry front = makeProject(u"frontend"_s);
    LauncherWorld world({cursor}, {makeProject(u"backend"_s), front}, taxonomy);
    world.workspace.running = {cursor.bundleID};
    EXPECT_EQ(world.titles(u"front in cur"_s), (QStringList{u"frontend"_s, u"Cursor"_s}));
    const ResultItem &project = world.model.results()[0];
    EXPECT_EQ(project.id, front.path);
    EXPECT_EQ(project.badge, u"Open in Cursor");
    EXPECT_EQ(project.subtitle, u"~/Code/frontend");
    EXPECT_EQ(project.action, LauncherAction(OpenProject{front, cursor}));
    EXPECT_FALSE(project.running);
    const ResultItem &alone = world.model.results()[1];
    EXPECT_EQ(alone.id, usageKey(cursor) + u"|solo"_s);
    EXPECT_EQ(alone.subtitle, u"Open without a project");
    EXPECT_EQ(alone.badge, u"App");
    EXPECT_EQ(alone.action, LauncherAction(OpenApp{cursor}));
    EXPECT_TRUE(alone.running);
}

TEST(QueryRefresh, anInQueryShowsEightProjectsAtMost) {
    std::vector<ProjectEntry> projectList;
    for (int i = 0; i < 20; ++i)
        projectList.push_back(makeProject(u"web%1"_s.arg(i)));
    LauncherWorld world({makeApp(u"Zed"_s, {u"code-editor"_s})}, projectList, taxonomy);
    EXPECT_EQ(world.titles(u"web in zed"_s).size(), 9) << "eight and the editor alone";
}

TEST(QueryRefresh, anUnknownEditorIsTheDefaultEditorAndHasNoRowOfItsOwn) {
    LauncherWorld world({makeApp(u"Zed"_s, {u"code-editor"_s})}, {makeProject(u"web"_s)}, taxonomy);
    EXPECT_EQ(world.titles(u"web in quux"_s), QStringList{u"web"_s});
    EXPECT_EQ(world.model.results().front().badge, u"Open in default editor");
    EXPECT_EQ(world.model.results().front().action,
              LauncherAction(OpenProject{makeProject(u"web"_s), std::nullopt}));
}

TEST(QueryRefresh, terminalAndShellMeanTheUsersTerminalWhereNoApplicationAnswersToThem) {
    const AppEntry kitty = makeApp(u"Kitty"_s, {u"terminal"_s});
    const ProjectEntry web = makeProject(u"web"_s);
    LauncherWorld world({kitty}, {web}, taxonomy);
    EXPECT_EQ(world.titles(u"web in terminal"_s), QStringList{u"web"_s});
    const auto badge = [&] { return world.model.results().front().badge; };
    EXPECT_EQ(badge(), u"Open in default editor") << "not found yet";
    ASSERT_EQ(world.workspace.terminalSeekers.size(), 1);
    world.workspace.terminalSeekers.front()({{u"Kitty!"_s, kitty.path}});
    EXPECT_EQ(badge(), u"Open in Kitty") << "as the catalog names it";
    for (const QString &query : {u"web in shell"_s, u"web in  SHELL "_s, u"web in Terminal"_s}) {
        EXPECT_EQ(world.titles(query), QStringList{u"web"_s}) << "no row of its own";
        EXPECT_EQ(badge(), u"Open in Kitty");
        EXPECT_EQ(world.model.results().front().action, LauncherAction(OpenProject{web, kitty}));
    }
    world.titles(u"web in shel"_s);
    EXPECT_EQ(badge(), u"Open in default editor");
    EXPECT_EQ(world.workspace.terminalSeekers.size(), 1) << "once in a showing";
    world.model.lookUpAgain();
    world.titles(u"web in t"_s);
    EXPECT_EQ(world.workspace.terminalSeekers.size(), 2);
}

TEST(QueryRefresh, aTerminalThatIsNoApplicationOfTheCatalogIsOneByItsProgram) {
    LauncherWorld world({makeApp(u"Zed"_s, {u"code-editor"_s})}, {makeProject(u"web"_s)}, taxonomy);
    world.titles(u"web in shell"_s);
    ASSERT_EQ(world.workspace.terminalSeekers.size(), 1);
    world.workspace.terminalSeekers.front()({{u"xterm"_s, u"/usr/bin/xterm"_s}});
    EXPECT_EQ(world.model.results().front().badge, u"Open in xterm");
    const AppEntry xterm{u"xterm"_s, {}, u"/usr/bin/xterm"_s, {u"terminal"_s}, {}, {}};
    EXPECT_EQ(world.model.results().front().action,
              LauncherAction(OpenProject{makeProject(u"web"_s), xterm}));
}

TEST(QueryRefresh, anApplicationThatAnswersToTheWordComesBeforeTheUsersTerminal) {
    const AppEntry terminal = makeApp(u"Terminal"_s, {u"terminal"_s});
    LauncherWorld world({terminal}, {makeProject(u"web"_s)}, taxonomy);
    EXPECT_EQ(world.titles(u"web in terminal"_s), (QStringList{u"web"_s, u"Terminal"_s}));
    ASSERT_EQ(world.workspace.terminalSeekers.size(), 1);
    world.workspace.terminalSeekers.front()({{u"xterm"_s, u"/usr/bin/xterm"_s}});
    EXPECT_EQ(world.model.results().front().action,
              LauncherAction(OpenProject{makeProject(u"web"_s), terminal}));
}

TEST(QueryRefresh, withoutATerminalTheDefaultEditorStays) {
    LauncherWorld world({}, {makeProject(u"web"_s)}, taxonomy);
    world.titles(u"web in shell"_s);
    ASSERT_EQ(world.workspace.terminalSeekers.size(), 1);
    world.workspace.terminalSeekers.front()(std::nullopt);
    EXPECT_EQ(world.model.results().front().badge, u"Open in default editor");
}

TEST(QueryRefresh, noOtherQueryLooksForATerminal) {
    LauncherWorld world({}, {makeProject(u"web"_s)}, taxonomy);
    for (const QString &query : {u"terminal"_s, u"web"_s, u"web in zed"_s, u"shell"_s})
        world.titles(query);
    EXPECT_TRUE(world.workspace.terminalSeekers.empty());
}

TEST(QueryRefresh, anInQueryThatMatchesNothingShowsTheFallbackForTheWholeQuery) {
    LauncherWorld world({}, {});
    EXPECT_EQ(world.titles(u"web in quux"_s).front(), u"Search Google for “web in quux”");
}

TEST(QueryRefresh, aCodeEditorIsPreferredToABetterMatchOfAnotherRole) {
    const AppEntry terminal = makeApp(u"term"_s, {u"game"_s});
    const AppEntry editor = makeApp(u"termedit"_s, {u"code-editor"_s});
    LauncherWorld world({terminal, editor}, {makeProject(u"web"_s)}, taxonomy);
    EXPECT_EQ(world.titles(u"web in term"_s), (QStringList{u"web"_s, u"termedit"_s}));
}

TEST(QueryRefresh, withoutAMatchingCodeEditorTheBestOfAnyRoleIsUsed) {
    AppEntry withoutRole = makeApp(u"term"_s);
    withoutRole.path += u'2';
    LauncherWorld world(
        {withoutRole, makeApp(u"xterm"_s, {u"game"_s}), makeApp(u"term"_s, {u"game"_s})},
        {makeProject(u"web"_s)}, taxonomy);
    EXPECT_EQ(world.titles(u"web in term"_s), (QStringList{u"web"_s, u"term"_s}));
    EXPECT_EQ(world.model.results()[1].action,
              LauncherAction(OpenApp{makeApp(u"term"_s, {u"game"_s})}));
}

TEST(QueryRefresh, anApplicationWithoutAnyRoleIsNoEditor) {
    LauncherWorld world({makeApp(u"Zed"_s)}, {makeProject(u"web"_s)}, taxonomy);
    EXPECT_EQ(world.titles(u"web in zed"_s), QStringList{u"web"_s});
}

TEST(QueryRefresh, usageChoosesBetweenEqualEditors) {
    const AppEntry second = makeApp(u"edit2"_s, {u"code-editor"_s});
    LauncherWorld world({makeApp(u"edit1"_s, {u"code-editor"_s}), second}, {makeProject(u"web"_s)},
                        taxonomy);
    world.setLaunches(usageKey(second), 1);
    EXPECT_EQ(world.titles(u"web in edit"_s).back(), u"edit2");
}

TEST(QueryRefresh, aiAloneShowsNoRowWhenAKeyIsStored) {
    LauncherWorld world({makeApp(u"ai"_s)}, {});
    world.secrets.secrets.insert(u"ai-api-key"_s, u"secret"_s);
    for (const QString &query : {u"ai"_s, u" AI "_s, u"ai  "_s}) {
        world.model.setQuery(query);
        EXPECT_TRUE(world.model.results().empty()) << qPrintable(query);
        EXPECT_EQ(world.model.statusText(), u"Ask AI  ·  Return to send");
    }
}

TEST(QueryRefresh, aiAloneShowsTheSetUpRowWhenNoKeyIsStored) {
    LauncherWorld world({}, {});
    world.model.setQuery(u"ai"_s);
    ASSERT_EQ(ids(world), QStringList{u"ai-setup"_s});
    const ResultItem &row = world.model.results().front();
    EXPECT_EQ(row.title, u"Set up AI");
    EXPECT_EQ(row.subtitle, u"Add an OpenAI-compatible API key in Settings");
    EXPECT_EQ(row.badge, u"Setup");
    EXPECT_EQ(row.action, LauncherAction(OpenSettings{}));
}

TEST(QueryRefresh, aQuestionShowsTheAskRow) {
    LauncherWorld world({}, {});
    world.secrets.secrets.insert(u"ai-api-key"_s, u"secret"_s);
    world.model.setQuery(u" Ai  Hello "_s);
    ASSERT_EQ(ids(world), QStringList{u"ai-ask"_s});
    const ResultItem &row = world.model.results().front();
    EXPECT_EQ(row.title, u"Ask AI: Hello");
    EXPECT_EQ(row.subtitle, u"Streams an answer from your endpoint");
    EXPECT_EQ(row.badge, u"AI");
    EXPECT_EQ(row.action, LauncherAction(CopyAI{QString()}));
    world.secrets.secrets.clear();
    world.model.refresh();
    EXPECT_EQ(ids(world), (QStringList{u"ai-ask"_s, u"ai-setup"_s}));
}

TEST(QueryRefresh, wordsThatBeginWithAiAreNoQuestion) {
    LauncherWorld world({makeApp(u"airflow"_s)}, {});
    EXPECT_EQ(world.titles(u"air"_s), QStringList{u"airflow"_s});
    EXPECT_EQ(world.model.statusText(), QString());
}

TEST(QueryRefresh, theStatusTextGoesWithTheQuestion) {
    LauncherWorld world({}, {});
    world.model.setQuery(u"ai x"_s);
    world.model.setQuery(u"x"_s);
    EXPECT_EQ(world.model.statusText(), QString());
}

TEST(QueryRefresh, aLaunchIsSeenByTheVeryNextRefresh) {
    const AppEntry second = makeApp(u"foob"_s);
    LauncherWorld world({makeApp(u"fooa"_s), second}, {});
    EXPECT_EQ(world.titles(u"foo"_s).front(), u"fooa");
    world.stats.recordLaunch(usageKey(second));
    world.model.refresh();
    EXPECT_EQ(world.model.results().front().title, u"foob");
}

TEST(QueryRefresh, beforeTheCatalogsAreThereTheListIsEmpty) {
    LauncherWorld world({makeApp(u"Zed"_s)}, {});
    world.model.catalog = nullptr;
    world.model.setQuery(u"zed"_s);
    EXPECT_TRUE(world.model.results().empty());
}

TEST(QueryRefresh, thePublishedListFollowsEveryChangeOfTheQueryOnce) {
    LauncherWorld world({makeApp(u"Zed"_s)}, {});
    int published = 0;
    QObject::connect(&world.model, &LauncherViewModel::resultsChanged, [&] { ++published; });
    world.model.setQuery(u"z"_s);
    EXPECT_EQ(published, 1);
    world.model.setQuery(u"z"_s);
    EXPECT_EQ(published, 1) << "the same text is no change";
}

TEST(QueryRefresh, veryLongQueriesAndNamesAreHarmless) {
    LauncherWorld world({makeApp(QString(10'000, u'é'))}, {makeProject(QString(10'000, u'x'))});
    EXPECT_EQ(world.titles(QString(200, u'é')).size(), 1);
    EXPECT_EQ(world.titles(QString(10'000, u'é')).size(), 2) << "names end behind 256 characters";
    EXPECT_EQ(world.titles(QString(20'000, u'q')).size(), 2);
}
