#include "Catalog/ProjectBranches.h"
#include "Fakes/LauncherWorld.h"
#include "Worlds/Wait.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

const AppEntry foo1 = makeApp(u"foo1"_s);
const AppEntry foo2 = makeApp(u"foo2"_s);

KeyPress command(const QString &characters) {
    return {true, false, characters};
}
const KeyPress commandReturn{true, true, {}};
const KeyPress shiftReturn{false, true, {}, true};
const KeyPress shiftDelete{.shift = true, .isDelete = true};
const QString forgotten = u"Forgotten — Undo with Control+Z"_s;

class LauncherViewModelTest : public ::testing::Test {
protected:
    /** foo1, foo2 and the project "foo" for the query "foo": the project last. */
    LauncherWorld world{{foo1, foo2}, {makeProject(u"fooproject"_s)}};
    LauncherViewModel &model = world.model;
};

} // namespace

TEST_F(LauncherViewModelTest, startsEmptyAndWithASession) {
    EXPECT_EQ(model.query(), QString());
    EXPECT_TRUE(model.results().empty());
    EXPECT_EQ(model.selected(), 0);
    EXPECT_FALSE(model.aiMode());
    EXPECT_FALSE(model.aiBusy());
    EXPECT_FALSE(model.session().isNull());
}

TEST_F(LauncherViewModelTest, isUntouchedUntilTheFirstLetterAndNeverAgainAfterTheFirstLaunch) {
    EXPECT_TRUE(model.isUntouched());
    model.setQuery(u"f"_s);
    EXPECT_FALSE(model.isUntouched());
    model.setQuery(QString());
    EXPECT_TRUE(model.isUntouched());
    model.setQuery(u"fooproject"_s);
    model.submit();
    model.setQuery(QString());
    ASSERT_TRUE(model.results().empty()) << "of an application there would be a row";
    EXPECT_FALSE(model.isUntouched());
    world.stats.forgetAll();
    EXPECT_FALSE(model.isUntouched()) << "who forgets is no newcomer";
}

TEST_F(LauncherViewModelTest, returnTakesTheFreeHotKeyWhileUntouched) {
    std::vector<HotKey> taken;
    model.onTakeHotKey = [&](const HotKey &hotKey) { taken.push_back(hotKey); };
    model.submit();
    EXPECT_TRUE(taken.empty()) << "none is free";
    HotKeyHelp help = hotKeyHelp(u"Alt+Space"_s, HotKeyAnswer::Taken, Desktop::Openbox);
    help.free = HotKey{49, HotKey::command};
    model.setHotKeyHelp(help);
    model.submit();
    EXPECT_EQ(taken, (std::vector{HotKey{49, HotKey::command}}));
    EXPECT_EQ(world.hides, 0);
    model.setQuery(u"foo"_s);
    model.submit();
    EXPECT_EQ(taken.size(), 1U);
    EXPECT_EQ(world.actions.size(), 1U) << "Return is the row's";
    model.setQuery(QString());
    model.submit();
    EXPECT_EQ(taken.size(), 1U) << "not untouched any more";
}

TEST_F(LauncherViewModelTest, commandCCopiesTheCompositorsLineWhileUntouched) {
    int copies = 0;
    QObject::connect(&model, &LauncherViewModel::lineCopied, [&copies] { ++copies; });
    EXPECT_TRUE(model.handleKeyEvent({.command = true, .characters = u"c"_s}));
    EXPECT_EQ(copies, 0);
    model.setHotKeyHelp(hotKeyHelp(u"Alt+Space"_s, HotKeyAnswer::NoPortal, Desktop::Sway));
    EXPECT_TRUE(model.handleKeyEvent({.command = true, .characters = u"c"_s}));
    EXPECT_EQ(world.pasteboard.texts, QStringList{u"bindsym Mod1+space exec corvid --toggle"_s});
    EXPECT_EQ(copies, 1);
}

TEST_F(LauncherViewModelTest, downOnTheLastRowSelectsTheFirst) {
    model.setQuery(u"foo"_s);
    ASSERT_EQ(model.results().size(), 3U);
    model.setSelected(2);
    model.moveSelection(1);
    EXPECT_EQ(model.selected(), 0);
}

TEST_F(LauncherViewModelTest, upOnTheFirstRowSelectsTheLast) {
    model.setQuery(u"foo"_s);
    model.moveSelection(-1);
    EXPECT_EQ(model.selected(), 2);
}

TEST_F(LauncherViewModelTest, onAnEmptyListTheSelectionDoesNotMove) {
    model.moveSelection(1);
    EXPECT_EQ(model.selected(), 0);
}

TEST_F(LauncherViewModelTest, aShrinkingListClampsTheSelectionToItsLastRow) {
    std::vector<AppEntry> apps;
    for (int i = 0; i < 6; ++i)
        apps.push_back(makeApp(i < 3 ? u"abc%1"_s.arg(i) : u"ab%1"_s.arg(i)));
    LauncherWorld wide(apps, {});
    wide.model.setQuery(u"ab"_s);
    ASSERT_EQ(wide.model.results().size(), 6U);
    wide.model.setSelected(4);
    wide.model.setQuery(u"abc"_s);
    ASSERT_EQ(wide.model.results().size(), 3U);
    EXPECT_EQ(wide.model.selected(), 2);
    wide.model.setQuery(u""_s);
    EXPECT_EQ(wide.model.selected(), 0) << "an empty list selects index 0";
}

TEST_F(LauncherViewModelTest, aSelectionStillInRangeSurvivesTyping) {
    model.setQuery(u"fo"_s);
    model.setSelected(1);
    model.setQuery(u"foo"_s);
    EXPECT_EQ(model.selected(), 1);
}

TEST_F(LauncherViewModelTest, returnWithAnEmptyListDoesNothing) {
    model.submit();
    EXPECT_TRUE(world.actions.empty());
    EXPECT_TRUE(world.stats.counts().isEmpty());
    EXPECT_EQ(world.hides, 0);
}

TEST_F(LauncherViewModelTest, returnRecordsTheLaunchThenTheLatchThenActsThenHides) {
    QStringList order;
    model.onAction = [&](const LauncherAction &action) {
        EXPECT_EQ(world.stats.counts().value(usageKey(foo1)), 1);
        EXPECT_EQ(world.stats.latches().value(u"foo1"_s), usageKey(foo1));
        EXPECT_EQ(action, LauncherAction(OpenApp{foo1}));
        order.append(u"action"_s);
    };
    model.onHide = [&] { order.append(u"hide"_s); };
    model.setQuery(u" Foo1 "_s);
    model.submit();
    EXPECT_EQ(order, (QStringList{u"action"_s, u"hide"_s}));
    EXPECT_EQ(world.stats.counts(), (QHash<QString, qint64>{{usageKey(foo1), 1}}));
}

TEST_F(LauncherViewModelTest, returnOnAProjectCountsItsPath) {
    model.setQuery(u"fooproject"_s);
    model.submit();
    EXPECT_EQ(world.stats.counts().value(makeProject(u"fooproject"_s).path), 1);
}

TEST_F(LauncherViewModelTest, returnOnTheWebSearchIsCountedAndLatchedUnderItsId) {
    model.setQuery(u"quux"_s);
    model.submit();
    EXPECT_EQ(world.stats.counts().value(u"web-search"_s), 1);
    EXPECT_EQ(world.stats.latches().value(u"quux"_s), u"web-search");
    ASSERT_EQ(world.actions.size(), 1U);
    EXPECT_TRUE(std::holds_alternative<OpenURL>(world.actions.front()));
    EXPECT_EQ(world.hides, 1);
}

TEST_F(LauncherViewModelTest, returnOnTheAiFallbackRecordsNothingAndStays) {
    model.setQuery(u"quux"_s);
    model.setSelected(1);
    model.submit();
    EXPECT_TRUE(world.stats.counts().isEmpty());
    EXPECT_TRUE(world.stats.latches().isEmpty());
    EXPECT_TRUE(world.actions.empty());
    EXPECT_EQ(world.hides, 0);
}

TEST_F(LauncherViewModelTest, returnOnAiAloneDoesNothing) {
    model.setQuery(u" AI "_s);
    model.submit();
    EXPECT_TRUE(world.actions.empty());
    EXPECT_EQ(world.hides, 0);
}

TEST_F(LauncherViewModelTest, returnOnTheAskRowRecordsNothingAndStays) {
    model.setQuery(u"ai hello"_s);
    model.submit();
    EXPECT_TRUE(world.actions.empty());
    EXPECT_TRUE(world.stats.counts().isEmpty());
    EXPECT_EQ(world.hides, 0);
}

TEST_F(LauncherViewModelTest, returnOnTheSetUpRowOpensTheSettings) {
    model.setQuery(u"ai hello"_s);
    model.setSelected(1);
    model.submit();
    EXPECT_EQ(world.actions, std::vector<LauncherAction>{OpenSettings{}});
    EXPECT_TRUE(world.stats.counts().isEmpty());
}

TEST_F(LauncherViewModelTest, theLastProjectIsReopenedWhateverIsSelected) {
    for (const QString &query : {u"last project"_s, u" Open Last Project "_s}) {
        world.actions.clear();
        model.setQuery(query);
        model.setSelected(1);
        model.submit();
        EXPECT_EQ(world.actions, std::vector<LauncherAction>{OpenLastProject{}});
    }
    EXPECT_TRUE(world.stats.counts().isEmpty());
    EXPECT_EQ(world.hides, 2);
}

TEST_F(LauncherViewModelTest, aSelectionOutOfRangeSubmitsNothing) {
    model.setQuery(u"foo"_s);
    for (const int index : {-1, 3}) {
        model.setSelected(index);
        model.submit();
        EXPECT_FALSE(model.handleKeyEvent(command(u"4"_s)));
    }
    EXPECT_TRUE(world.actions.empty());
}

TEST_F(LauncherViewModelTest, keysWithoutCommandAreNotConsumed) {
    model.setQuery(u"foo"_s);
    EXPECT_FALSE(model.handleKeyEvent({false, false, u"1"_s}));
    EXPECT_FALSE(model.handleKeyEvent({false, true, {}}));
    EXPECT_FALSE(model.handleKeyEvent({false, false, u"c"_s}));
    EXPECT_TRUE(world.actions.empty());
}

TEST_F(LauncherViewModelTest, shiftReturnOpensAnApplicationInANewWindowAndIsRecordedLikeReturn) {
    model.setQuery(u" FOO"_s);
    EXPECT_TRUE(model.handleKeyEvent(shiftReturn));
    EXPECT_EQ(world.actions, (std::vector<LauncherAction>{OpenApp{foo1, OpenApp::Window::New}}));
    EXPECT_EQ(world.hides, 1);
    EXPECT_EQ(world.stats.counts().value(usageKey(foo1)), 1);
    EXPECT_EQ(world.defaults.value(u"queryLatches"_s), (QJsonObject{{u"foo"_s, usageKey(foo1)}}));
}

TEST_F(LauncherViewModelTest, shiftReturnOnAnyOtherRowDoesWhatReturnDoes) {
    for (const QString &query : {u"2+3"_s, u"fooproject"_s, u"no such thing"_s}) {
        model.setQuery(query);
        model.submit();
        EXPECT_TRUE(model.handleKeyEvent(shiftReturn));
        ASSERT_EQ(world.actions.size(), 2U) << qPrintable(query);
        EXPECT_EQ(world.actions[0], world.actions[1]) << qPrintable(query);
        world.actions.clear();
    }
    model.setQuery(u"ai question"_s);
    EXPECT_TRUE(model.handleKeyEvent(shiftReturn));
    EXPECT_TRUE(world.actions.empty());
}

TEST_F(LauncherViewModelTest, returnAndOtherKeysWithShiftAreLeftToTheField) {
    model.setQuery(u"foo"_s);
    EXPECT_FALSE(model.handleKeyEvent({false, true, {}}));
    EXPECT_FALSE(model.handleKeyEvent({false, false, u"A"_s, true}));
    EXPECT_TRUE(world.actions.empty());
}

TEST_F(LauncherViewModelTest, shiftDeleteForgetsTheRowWhichSaysSoWhereItStands) {
    world.setLaunches(usageKey(foo2), 5);
    world.setLatch(u"foo"_s, usageKey(foo2));
    model.setQuery(u"foo"_s);
    ASSERT_EQ(model.results()[0].title, u"foo2");
    EXPECT_TRUE(model.handleKeyEvent(shiftDelete));
    EXPECT_TRUE(world.stats.counts().isEmpty());
    EXPECT_TRUE(world.stats.latches().isEmpty());
    EXPECT_EQ(model.results()[0].title, u"foo2") << "it stays until the next key";
    EXPECT_EQ(model.results()[0].subtitle, forgotten);
    model.refresh();
    ASSERT_EQ(model.results()[1].title, u"foo2") << "a scan may have ended";
    EXPECT_EQ(model.results()[1].subtitle, forgotten);
}

TEST_F(LauncherViewModelTest, theListFollowsWhatWasForgottenAndTheSelectionItsRow) {
    world.setLaunches(usageKey(foo2), 5);
    model.setQuery(u"foo"_s);
    model.handleKeyEvent(shiftDelete);
    model.followForgotten();
    ASSERT_EQ(model.results()[1].title, u"foo2");
    EXPECT_EQ(model.results()[1].subtitle, foo2.path);
    EXPECT_EQ(model.selected(), 1);
    EXPECT_FALSE(model.handleKeyEvent(command(u"z"_s))) << "it is the field's again";
}

TEST_F(LauncherViewModelTest, commandZPutsBackExactlyWhatWasForgotten) {
    world.setLaunches(usageKey(foo2), 5);
    world.setLatch(u"foo"_s, usageKey(foo2));
    model.setQuery(u"foo"_s);
    const auto counts = world.stats.counts();
    const auto latches = world.stats.latches();
    model.handleKeyEvent(shiftDelete);
    model.handleKeyEvent(shiftDelete); // held down
    EXPECT_TRUE(model.handleKeyEvent(command(u"z"_s)));
    EXPECT_EQ(world.stats.counts(), counts);
    EXPECT_EQ(world.stats.latches(), latches);
    EXPECT_EQ(model.results()[0].title, u"foo2");
    EXPECT_EQ(model.results()[0].subtitle, foo2.path);
    EXPECT_FALSE(model.handleKeyEvent(command(u"z"_s)));
}

TEST_F(LauncherViewModelTest, aRowOfWhichNothingWasLearntSaysThat) {
    world.setLaunches(usageKey(foo2), 5);
    model.setQuery(u"foo"_s);
    model.setSelected(1);
    EXPECT_TRUE(model.handleKeyEvent(shiftDelete));
    EXPECT_EQ(model.results()[1].subtitle, u"Nothing was learnt about this yet");
    EXPECT_FALSE(model.handleKeyEvent(command(u"z"_s)));
    EXPECT_EQ(world.stats.counts().size(), 1);
}

TEST_F(LauncherViewModelTest, returnOpensTheForgottenRowThatIsSeen) {
    world.setLaunches(usageKey(foo2), 5);
    model.setQuery(u"foo"_s);
    model.handleKeyEvent(shiftDelete);
    model.submit();
    EXPECT_EQ(world.actions, std::vector<LauncherAction>{OpenApp{foo2}});
    EXPECT_EQ(world.stats.counts(), (QHash<QString, qint64>{{usageKey(foo2), 1}}));
    EXPECT_FALSE(model.handleKeyEvent(command(u"z"_s)));
}

TEST_F(LauncherViewModelTest, anotherTextAndANewShowingEndTheOffer) {
    const auto forget = [this] {
        world.setLaunches(usageKey(foo2), 5);
        model.setQuery(u"foo"_s);
        model.handleKeyEvent(shiftDelete);
    };
    forget();
    model.setQuery(u"foo2"_s);
    EXPECT_EQ(model.results()[0].subtitle, foo2.path);
    EXPECT_FALSE(model.handleKeyEvent(command(u"z"_s)));
    forget();
    model.reset();
    EXPECT_FALSE(model.handleKeyEvent(command(u"z"_s)));
}

TEST_F(LauncherViewModelTest, anEmptyListForgetsNothing) {
    world.setLaunches(usageKey(foo2), 5);
    model.setQuery(u"ai"_s);
    model.setSelected(7);
    EXPECT_TRUE(model.handleKeyEvent(shiftDelete));
    EXPECT_EQ(world.stats.counts().size(), 1);
}

TEST_F(LauncherViewModelTest, commandDigitSubmitsThatRow) {
    model.setQuery(u"foo"_s);
    EXPECT_TRUE(model.handleKeyEvent(command(u"2"_s)));
    EXPECT_EQ(world.actions, std::vector<LauncherAction>{OpenApp{foo2}});
}

TEST_F(LauncherViewModelTest, commandDigitBeyondTheRowsIsNotConsumed) {
    model.setQuery(u"quux"_s);
    ASSERT_EQ(model.results().size(), 2U);
    EXPECT_FALSE(model.handleKeyEvent(command(u"3"_s)));
    EXPECT_FALSE(model.handleKeyEvent(command(u"0"_s)));
    EXPECT_FALSE(model.handleKeyEvent(command(u"x"_s)));
    EXPECT_TRUE(world.actions.empty());
    EXPECT_EQ(model.selected(), 0);
}

TEST_F(LauncherViewModelTest, commandReturnRevealsTheSelectedPathAndHides) {
    model.setQuery(u"foo1"_s);
    EXPECT_TRUE(model.handleKeyEvent(commandReturn));
    EXPECT_EQ(world.workspace.revealed, QStringList{foo1.path});
    EXPECT_EQ(world.hides, 1);
    EXPECT_TRUE(world.stats.counts().isEmpty());
}

TEST_F(LauncherViewModelTest, commandReturnRevealsAProjectsFolder) {
    model.setQuery(u"fooproject"_s);
    EXPECT_TRUE(model.handleKeyEvent(commandReturn));
    EXPECT_EQ(world.workspace.revealed, QStringList{makeProject(u"fooproject"_s).path});
}

TEST_F(LauncherViewModelTest, commandReturnWithoutAPathIsConsumedAndDoesNothing) {
    model.setQuery(u"quux"_s);
    EXPECT_TRUE(model.handleKeyEvent(commandReturn));
    EXPECT_TRUE(world.workspace.calls.isEmpty());
    EXPECT_EQ(world.hides, 0);
}

TEST_F(LauncherViewModelTest, commandCCopiesTheSelectedPath) {
    model.setQuery(u"foo1"_s);
    EXPECT_TRUE(model.handleKeyEvent(command(u"C"_s)));
    EXPECT_EQ(world.pasteboard.texts, QStringList{foo1.path});
    EXPECT_EQ(world.hides, 0);
}

TEST_F(LauncherViewModelTest, commandCOnACalculatorRowIsConsumedAndChangesNothing) {
    model.setQuery(u"2+3"_s);
    EXPECT_TRUE(model.handleKeyEvent(command(u"c"_s)));
    EXPECT_TRUE(world.pasteboard.texts.isEmpty());
}

TEST_F(LauncherViewModelTest, escapeHides) {
    model.cancel();
    EXPECT_EQ(world.hides, 1);
}

TEST_F(LauncherViewModelTest, escapeInAnAnswerLeavesItAndASecondOneHides) {
    model.setQuery(u"foo"_s);
    model.setAiMode(true);
    model.setAiResponse(u"text"_s);
    model.cancel();
    EXPECT_FALSE(model.aiMode());
    EXPECT_EQ(model.aiResponse(), QString());
    EXPECT_EQ(model.query(), u"foo");
    EXPECT_EQ(model.results().size(), 3U);
    EXPECT_EQ(world.hides, 0);
    model.cancel();
    EXPECT_EQ(world.hides, 1);
}

TEST_F(LauncherViewModelTest, resetBeginsANewShowing) {
    model.setQuery(u"foo"_s);
    model.setSelected(2);
    model.setAiMode(true);
    model.setAiResponse(u"text"_s);
    model.setAiQuestion(u"question"_s);
    model.setAiBusy(true);
    const QUuid before = model.session();
    model.reset();
    EXPECT_EQ(model.query(), QString());
    EXPECT_EQ(model.selected(), 0);
    EXPECT_FALSE(model.aiMode());
    EXPECT_EQ(model.aiResponse(), QString());
    EXPECT_EQ(model.aiQuestion(), QString());
    EXPECT_FALSE(model.aiBusy());
    EXPECT_NE(model.session(), before);
}

TEST_F(LauncherViewModelTest, theDisplayIsFlushedInALaterTurnOfTheLoop) {
    int flushes = 0;
    QObject::connect(&model, &LauncherViewModel::displayFlushRequested, [&] { ++flushes; });
    model.setQuery(u"foo"_s);
    EXPECT_EQ(flushes, 0);
    EXPECT_TRUE(waitUntil([&] { return flushes > 0; }));
}

TEST_F(LauncherViewModelTest, anIconThatArrivesIsPutIntoTheRowsThatShowItsPath) {
    model.setQuery(u"foo"_s);
    const Image icon = fakeImage();
    int published = 0;
    QObject::connect(&model, &LauncherViewModel::rowChanged, [&] { ++published; });
    model.updateIcon(foo2.path, icon);
    EXPECT_EQ(model.results()[1].icon, icon);
    EXPECT_NE(model.results()[0].icon, icon);
    EXPECT_EQ(published, 1);
    model.updateIcon(u"/elsewhere"_s, icon);
    EXPECT_EQ(published, 1);
    model.updateIcon(locations::home(), icon);
    EXPECT_EQ(model.results()[2].icon, icon) << "projects carry the home folder's icon";
}

TEST_F(LauncherViewModelTest, aBranchThatArrivesIsPutIntoTheRowsOfItsProjectBesideTheSubtitle) {
    model.setQuery(u"foo"_s);
    const QString subtitle = model.results()[2].subtitle;
    const auto &project = std::get<OpenProject>(model.results()[2].action).project;
    QList<int> changed;
    QObject::connect(&model, &LauncherViewModel::rowChanged, [&](int row) { changed.append(row); });
    model.updateBranch(project.path, u"main"_s);
    EXPECT_EQ(model.results()[2].branch, u"main");
    EXPECT_EQ(model.results()[2].subtitle, subtitle);
    model.updateBranch(u"/elsewhere"_s, u"main"_s);
    EXPECT_EQ(changed, QList<int>{2});
}

TEST_F(LauncherViewModelTest, aProjectsRowHasTheBranchThatIsKnownAndAnotherShowingReadsItAgain) {
    // Where a scan finds it, too: its result may come at any time.
    const ProjectEntry project = makeProject(u"quux"_s);
    const QDir folder(project.path);
    const auto checkOut = [&](const QByteArray &branch) {
        folder.mkpath(u".git"_s);
        QFile head(folder.filePath(u".git/HEAD"_s));
        ASSERT_TRUE(head.open(QIODevice::WriteOnly));
        head.write("ref: refs/heads/" + branch);
    };
    checkOut("main");
    LauncherWorld own({}, {project});
    ProjectBranches branches(own.volumes);
    own.model.branches = &branches;
    QObject::connect(&branches, &ProjectBranches::arrived, &own.model,
                     &LauncherViewModel::updateBranch);
    own.model.setQuery(u"quux"_s);
    EXPECT_EQ(own.model.results().front().branch, QString());
    const Rows &rows = own.model.results();
    const auto shows = [&](const QString &branch) {
        return waitUntil([&] { return !rows.empty() && rows.front().branch == branch; });
    };
    EXPECT_TRUE(shows(u"main"_s));
    checkOut("other");
    own.model.refresh();
    EXPECT_EQ(rows.front().branch, u"main") << "what is known is there at once";
    own.model.lookUpAgain();
    EXPECT_TRUE(shows(u"other"_s));
    EXPECT_TRUE(QDir(folder).removeRecursively());
}

TEST_F(LauncherViewModelTest, aiIsEnabledUnlessSwitchedOff) {
    EXPECT_TRUE(model.aiEnabled());
    world.defaults.set(u"aiEnabled"_s, false);
    EXPECT_FALSE(model.aiEnabled());
    world.defaults.set(u"aiEnabled"_s, true);
    EXPECT_TRUE(model.aiEnabled());
}

TEST_F(LauncherViewModelTest, withoutCallbacksNothingBreaks) {
    model.onAction = nullptr;
    model.onHide = nullptr;
    model.setQuery(u"foo"_s);
    model.submit();
    model.cancel();
    EXPECT_EQ(world.stats.counts().size(), 1);
}

TEST_F(LauncherViewModelTest, theSelectedRowsItemStaysSelectedWhenTheListsBehindItChange) {
    world.setLaunches(usageKey(foo1), 2);
    world.setLaunches(usageKey(foo2), 1);
    model.refresh();
    model.setSelected(1);
    ASSERT_EQ(model.results()[1].id, usageKey(foo2));
    world.setLaunches(usageKey(foo2), 3);
    QStringList seen;
    QObject::connect(&model, &LauncherViewModel::resultsChanged, [&] {
        seen.append(model.results()[static_cast<std::size_t>(model.selected())].id);
    });
    int moves = 0;
    QObject::connect(&model, &LauncherViewModel::selectedChanged, [&moves] { ++moves; });
    model.refreshInPlace();
    EXPECT_EQ(model.selected(), 0);
    EXPECT_EQ(moves, 1);
    EXPECT_EQ(seen, QStringList{usageKey(foo2)}) << "no other row is seen selected in between";
}

TEST_F(LauncherViewModelTest, aSelectedItemThatIsListedNoLongerLeavesTheSelectionInItsPlace) {
    world.setLaunches(usageKey(foo1), 2);
    world.setLaunches(usageKey(foo2), 1);
    model.refresh();
    model.setSelected(0);
    world.setLaunches(usageKey(foo1), 0);
    model.refreshInPlace();
    EXPECT_EQ(model.selected(), 0);
    EXPECT_EQ(model.results().front().id, usageKey(foo2));
    world.setLaunches(usageKey(foo1), 2);
    model.refresh();
    model.setSelected(1);
    world.setLaunches(usageKey(foo2), 0);
    model.refreshInPlace();
    EXPECT_EQ(model.selected(), 0) << "of the last row";
}

TEST_F(LauncherViewModelTest, aQuestionsRowsStayWhenTheListsChange) {
    model.setQuery(u"ai why"_s);
    int changes = 0;
    QObject::connect(&model, &LauncherViewModel::resultsChanged, [&changes] { ++changes; });
    model.refreshInPlace();
    EXPECT_EQ(changes, 0);
}
