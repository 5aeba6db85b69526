#include "AppDelegate.h"

#include "Fakes/FakeAppearanceSettings.h"
#include "Fakes/FakeClickMonitor.h"
#include "Fakes/FakeFolderDialog.h"
#include "Fakes/FakeHotKeyBackend.h"
#include "Fakes/FakeInstance.h"
#include "Fakes/FakeNotifier.h"
#include "Fakes/FakePanelSurface.h"
#include "Fakes/FakeSystemLog.h"
#include "Fakes/FakeTrayWatch.h"
#include "Fakes/LauncherWorld.h"
#include "Front/CommandLine.h"
#include "HotKeyManager.h"
#include "Panel/SearchField.h"
#include "Panel/Style.h"
#include "Program/StatusItem.h"
#include "SettingsView.h"
#include "Worlds/Wait.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QKeyEvent>
#include <QLineEdit>
#include <QScreen>
#include <QTemporaryDir>
#include <QTimer>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>

#include <sys/syscall.h>
#include <unistd.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

/** How long the machine has slept. */
std::atomic<std::time_t> secondsAsleep = 0;

} // namespace

// The whole process asks this instead of the C library's.
extern "C" [[gnu::visibility("default")]] int clock_gettime(clockid_t clock,
                                                            timespec *time) noexcept {
    const long result = syscall(SYS_clock_gettime, clock, time);
    if (result == 0 && clock == CLOCK_BOOTTIME)
        time->tv_sec += secondsAsleep;
    return static_cast<int>(result);
}

namespace {

// The process-wide stores are made once, so all tests here share one defaults table.
FakeUserDefaults &sharedDefaults() {
    static FakeUserDefaults defaults;
    UserDefaults::installStandard(&defaults);
    return defaults;
}

class AppDelegateTest : public ::testing::Test {
protected:
    AppDelegateTest() {
        qputenv("XDG_DATA_HOME", folder.path().toLocal8Bit());
        workspace.setGenericIcon(std::make_shared<const QImage>(1, 1, QImage::Format_ARGB32));
        for (const QString &key : {u"launchCounts"_s, u"queryLatches"_s, u"lastProject"_s,
                                   u"hotkeyKeyCode"_s, u"hotkeyModifiers"_s, u"noticesGiven"_s,
                                   u"projectRoots"_s, u"aiEnabled"_s, u"aiBaseURL"_s, u"aiModel"_s})
            defaults.set(key, QJsonValue(QJsonValue::Undefined));
        writeCache(locations::cacheFile(u"catalog.json"_s),
                   std::vector<AppEntry>{zed, makeApp(u"Other"_s)});
        writeCache(locations::cacheFile(u"projects.json"_s), std::vector<ProjectEntry>{web});
    }

    void launch(const std::vector<std::string> &arguments = {}) {
        delegate.applicationDidFinishLaunching(parseCommandLine(arguments));
    }
    void pressHotKey() {
        hotKeyBackend.press();
        QCoreApplication::sendPostedEvents();
    }
    bool settingsAreShown() {
        return delegate.settingsWindow() && delegate.settingsWindow()->isVisible();
    }
    QJsonValue lastProject() const { return defaults.value(u"lastProject"_s); }

    QTemporaryDir folder;
    AppEntry zed = makeApp(u"Zed"_s, {u"code-editor"_s});
    ProjectEntry web = makeProject(u"web"_s);
    FakeUserDefaults &defaults = sharedDefaults();
    FakeWorkspace workspace;
    FakePasteboard pasteboard;
    FakeSecretStore secrets;
    FakeSystemLog log;
    FakeDesktopEntries entries;
    FakeVolumes volumes;
    FakePanelSurface panelSurface;
    FakeClickMonitor clickMonitor;
    FakeHotKeyBackend hotKeyBackend;
    HotKeyManager hotKeys{hotKeyBackend};
    FakeInstance instance;
    FakeTrayWatch tray;
    FakeAppearanceSettings appearance;
    FakeFolderDialog folderDialog;
    AIService ai{defaults, &secrets};
    FakeSessionControl session;
    FakeNotifier notifier;
    BootClock::time_point now{std::chrono::hours(1)};
    std::optional<AppDelegate> owned{
        std::in_place,
        AppDelegate::Platform{defaults, workspace, pasteboard, secrets, log, entries, volumes,
                              panelSurface, &clickMonitor, hotKeys, instance, tray, appearance,
                              folderDialog, ai, session, notifier, [this] { return now; }}};
    AppDelegate &delegate = *owned;
};

using AppDelegateDeathTest = AppDelegateTest;

} // namespace

TEST_F(AppDelegateTest, startUpShowsTheCachedCatalogsAtOnce) {
    launch();
    delegate.viewModel().setQuery(u"ze"_s);
    EXPECT_EQ(delegate.viewModel().results().front().title, u"Zed");
    EXPECT_FALSE(delegate.panel()->isVisible());
}

TEST_F(AppDelegateTest, theFreshScanReplacesTheCachedCatalogAndRefreshes) {
    launch();
    delegate.viewModel().setQuery(u"ze"_s);
    EXPECT_TRUE(waitUntil([&] {
        return delegate.viewModel().results().front().id == u"web-search"_s;
    })) << "the faked desktop has no applications";
}

TEST_F(AppDelegateTest, aKeyThatArrivesWhileAQueryIsShownChangesItsList) {
    launch();
    delegate.viewModel().setQuery(u"ai"_s);
    EXPECT_EQ(delegate.viewModel().results().size(), 1U);
    secrets.set(u"ai-api-key"_s, u"secret"_s);
    secrets.onChange();
    EXPECT_TRUE(delegate.viewModel().results().empty());
}

TEST_F(AppDelegateTest, aKeyThatArrivesWhileTheSettingsAreShownIsInTheirField) {
    launch({"--settings"});
    const auto fields = delegate.settingsWindow()->findChildren<QLineEdit *>();
    const auto key = std::ranges::find(fields, QLineEdit::Password, &QLineEdit::echoMode);
    ASSERT_NE(key, fields.end());
    EXPECT_EQ((*key)->text(), QString());
    secrets.set(u"ai-api-key"_s, u"secret"_s);
    secrets.onChange();
    EXPECT_EQ((*key)->text(), u"secret");
    (*key)->setText(u"other"_s);
    delegate.settingsWindow()->save();
    EXPECT_EQ(secrets.get(u"ai-api-key"_s), u"other");
}

TEST_F(AppDelegateTest, aKeyThatArrivesAfterTheDelegateIsGoneDoesNothing) {
    launch();
    delegate.viewModel().setQuery(u"ai"_s);
    owned.reset();
    secrets.onChange();
}

TEST_F(AppDelegateTest, showOptionShowsThePanelAtStart) {
    launch({"--show"});
    EXPECT_TRUE(delegate.panel()->isVisible());
}

TEST_F(AppDelegateTest, thePanelIsCentredWithItsTopAt22PercentOfTheVisibleHeight) {
    launch({"--show"});
    const QRect visible = QGuiApplication::primaryScreen()->availableGeometry();
    const QRect panel = delegate.panel()->geometry();
    EXPECT_EQ(panel.size(), QSize(660, 440));
    EXPECT_NEAR(panel.x(), visible.x() + (visible.width() - 660) / 2.0, 1);
    EXPECT_NEAR(panel.y(), visible.y() + 0.22 * visible.height(), 1);
}

TEST_F(AppDelegateTest, theFirstShowStartsAfreshAndOneSoonAfterAHideDoesNot) {
    launch();
    delegate.viewModel().setQuery(u"stale"_s);
    delegate.show();
    EXPECT_EQ(delegate.viewModel().query(), QString());
    delegate.viewModel().setQuery(u"zed"_s);
    delegate.hide();
    EXPECT_FALSE(delegate.panel()->isVisible());
    delegate.show();
    EXPECT_EQ(delegate.viewModel().query(), u"zed");
}

TEST_F(AppDelegateTest, afterMoreThanTenSecondsAShowStartsAfresh) {
    using namespace std::chrono_literals;
    launch();
    for (const auto &[pause, query] : {std::pair{10'000ms, u"zed"_s}, {10'001ms, QString()}}) {
        delegate.show();
        delegate.viewModel().setQuery(u"zed"_s);
        delegate.hide();
        now += pause;
        delegate.show();
        EXPECT_EQ(delegate.viewModel().query(), query);
        delegate.hide();
    }
}

TEST_F(AppDelegateTest, whatWasClonedWhileThePanelWasHiddenIsFoundAtALaterShowing) {
    const auto clone = [this](const QString &name) {
        ASSERT_TRUE(QDir().mkpath(folder.filePath(u"src/"_s + name)));
        ASSERT_TRUE(QFile(folder.filePath(u"src/%1/Makefile"_s.arg(name))).open(QFile::WriteOnly));
    };
    const auto finds = [this](const QString &name) {
        delegate.viewModel().setQuery(name);
        return waitUntil([&] { return delegate.viewModel().results().front().title == name; });
    };
    defaults.set(u"projectRoots"_s, QJsonArray{folder.filePath(u"src"_s)});
    clone(u"earlier"_s);
    launch();
    EXPECT_TRUE(finds(u"earlier"_s));
    clone(u"later"_s);
    now += std::chrono::seconds(31);
    delegate.show();
    EXPECT_TRUE(finds(u"later"_s));
    defaults.set(u"projectRoots"_s, QJsonValue(QJsonValue::Undefined));
}

TEST_F(AppDelegateTest, eachShowingReadsTheBranchesOfTheProjectsInSightAnew) {
    const auto checkOut = [this](const QByteArray &branch) {
        QDir(web.path).mkpath(u".git"_s);
        QFile head(web.path + "/.git/HEAD"_L1);
        ASSERT_TRUE(head.open(QIODevice::WriteOnly));
        head.write("ref: refs/heads/" + branch);
    };
    const auto shows = [this](const QString &branch) {
        return waitUntil([&] {
            const Rows &rows = delegate.viewModel().results();
            return !rows.empty() && rows.front().branch == branch;
        });
    };
    checkOut("main");
    launch({"--show"});
    delegate.viewModel().setQuery(u"web"_s);
    EXPECT_TRUE(shows(u"main"_s));
    delegate.hide();
    checkOut("other");
    delegate.show();
    EXPECT_TRUE(shows(u"other"_s));
    EXPECT_TRUE(QDir(web.path).removeRecursively());
}

TEST_F(AppDelegateTest, thatNothingWasShownForAWhileIsTold) {
    int idle = 0;
    delegate.onIdle = [&] { ++idle; };
    launch();
    EXPECT_TRUE(waitUntil([&] { return idle == 1; }));
    delegate.show();
    delegate.hide();
    now += std::chrono::seconds(11);
    EXPECT_TRUE(waitUntil([&] { return idle == 2; }));
}

TEST_F(AppDelegateTest, aCloseByTheWindowManagerIsAHide) {
    launch({"--show"});
    delegate.viewModel().setQuery(u"zed"_s);
    delegate.panel()->close();
    EXPECT_FALSE(delegate.panel()->isVisible());
    delegate.show();
    EXPECT_EQ(delegate.viewModel().query(), u"zed");
}

TEST_F(AppDelegateTest, clicksElsewhereAreWatchedOnlyWhileThePanelIsShown) {
    launch();
    EXPECT_EQ(clickMonitor.installed, 0);
    delegate.show();
    EXPECT_EQ(clickMonitor.installed, 1);
    delegate.show();
    EXPECT_EQ(clickMonitor.installed, 1) << "in place of the one before";
    delegate.hide();
    EXPECT_EQ(clickMonitor.installed, 0);
}

TEST_F(AppDelegateTest, aClickOutsideThePanelHidesItStickyOrNotAndOneInsideDoesNot) {
    launch({"--show", "--sticky"});
    const QRect frame = delegate.panel()->frameGeometry();
    for (const QPoint &inside : {frame.topLeft(), frame.center(), frame.bottomRight()}) {
        clickMonitor.click(inside);
        QCoreApplication::sendPostedEvents();
        EXPECT_TRUE(delegate.panel()->isVisible());
    }
    clickMonitor.click(frame.topLeft() - QPoint(1, 0));
    EXPECT_TRUE(delegate.panel()->isVisible()) << "not amid the window system's event";
    QCoreApplication::sendPostedEvents();
    EXPECT_FALSE(delegate.panel()->isVisible());
}

TEST_F(AppDelegateTest, aClickOutsideCountsForTheShowingThatItFellInto) {
    launch({"--show"});
    now += std::chrono::seconds(1);
    clickMonitor.click({-1, -1});
    delegate.hide();
    now += std::chrono::seconds(10);
    QCoreApplication::sendPostedEvents();
    delegate.viewModel().setQuery(u"zed"_s);
    delegate.show();
    EXPECT_EQ(delegate.viewModel().query(), u"zed") << "hidden ten seconds ago, not just now";
}

TEST_F(AppDelegateTest, thePanelIsFreshWhenTheMachineHasSleptInTheMeantime) {
    owned.emplace(AppDelegate::Platform{defaults, workspace, pasteboard, secrets, log, entries,
                                        volumes, panelSurface, &clickMonitor, hotKeys, instance,
                                        tray, appearance, folderDialog, ai, session, notifier});
    launch({"--show"});
    delegate.viewModel().setQuery(u"zed"_s);
    delegate.hide();
    delegate.show();
    EXPECT_EQ(delegate.viewModel().query(), u"zed");
    delegate.hide();
    secondsAsleep = 11;
    delegate.show();
    EXPECT_EQ(delegate.viewModel().query(), QString());
}

TEST_F(AppDelegateTest, withoutAMonitorThePanelIsShownAllTheSame) {
    clickMonitor.refuses = true;
    launch({"--show"});
    EXPECT_TRUE(delegate.panel()->isVisible());
    delegate.hide();
    EXPECT_FALSE(delegate.panel()->isVisible());
}

TEST_F(AppDelegateTest, thePanelIsReadiedBeforeEachShowWithTheTimeOfWhatSummonedIt) {
    launch();
    hotKeyBackend.press(4711);
    QCoreApplication::sendPostedEvents();
    delegate.hide();
    delegate.show();
    using Prepared = FakePanelSurface::Prepared;
    EXPECT_EQ(panelSurface.prepared, (std::vector<Prepared>{{.visible = false, .time = 4711},
                                                            {.visible = false, .time = 0}}));
}

TEST(PanelOrigin, isOnTheScreenUnderThePointerElseOnTheFirst) {
    const ScreenArea first{{0, 0, 1920, 1080}, {0, 30, 1920, 1000}};
    const ScreenArea second{{1920, 0, 1280, 1024}, {2000, 0, 1200, 1024}};
    const QSize panel(660, 440);
    EXPECT_EQ(panelOrigin({10, 10}, {first, second}, panel), QPoint(630, 250));
    EXPECT_EQ(panelOrigin({2500, 10}, {first, second}, panel), QPoint(2270, 225));
    EXPECT_EQ(panelOrigin({-5, 10}, {first, second}, panel), QPoint(630, 250));
    EXPECT_EQ(panelOrigin({10, 10}, {}, panel), std::nullopt);
}

TEST_F(AppDelegateTest, losingTheKeyboardHidesUnlessSticky) {
    launch({"--show"});
    ASSERT_TRUE(delegate.panel()->onResignKey);
    delegate.panel()->onResignKey();
    EXPECT_FALSE(delegate.panel()->isVisible());
}

TEST_F(AppDelegateTest, aStickyPanelKeepsNoWatchOnTheKeyboard) {
    launch({"--show", "--sticky"});
    EXPECT_FALSE(delegate.panel()->onResignKey);
}

TEST_F(AppDelegateTest, withoutAnOptionItStartsHidden) {
    launch();
    EXPECT_FALSE(delegate.panel()->isVisible());
    EXPECT_TRUE(workspace.calls.isEmpty());
}

TEST_F(AppDelegateTest, aFirstToggleShowsThePanel) {
    launch({"--toggle"});
    EXPECT_TRUE(delegate.panel()->isVisible());
}

TEST_F(AppDelegateTest, theSettingsOptionOpensTheSettingsAtStart) {
    launch({"--settings"});
    EXPECT_TRUE(settingsAreShown());
    EXPECT_FALSE(delegate.panel()->isVisible());
}

TEST_F(AppDelegateTest, wishesOfOtherProcessesAreFulfilled) {
    launch();
    instance.arrive({Wish::Kind::Show});
    EXPECT_TRUE(delegate.panel()->isVisible());
    instance.arrive({Wish::Kind::Show});
    EXPECT_TRUE(delegate.panel()->isVisible());
    instance.arrive({Wish::Kind::Toggle});
    EXPECT_FALSE(delegate.panel()->isVisible());
    instance.arrive({Wish::Kind::Toggle});
    EXPECT_TRUE(delegate.panel()->isVisible());
    EXPECT_FALSE(settingsAreShown());
    instance.arrive({Wish::Kind::OpenSettings});
    EXPECT_TRUE(settingsAreShown());
}

TEST_F(AppDelegateTest, aWishToShowStickilyHoldsUntilThePanelHides) {
    launch();
    instance.arrive({Wish::Kind::Show, true});
    delegate.panel()->onResignKey();
    EXPECT_TRUE(delegate.panel()->isVisible());
    delegate.hide();
    delegate.show();
    delegate.panel()->onResignKey();
    EXPECT_FALSE(delegate.panel()->isVisible());
}

TEST_F(AppDelegateTest, aStickyToggleThatHidesLeavesTheNextShowingAlone) {
    launch({"--show"});
    instance.arrive({Wish::Kind::Toggle, true});
    EXPECT_FALSE(delegate.panel()->isVisible());
    delegate.show();
    delegate.panel()->onResignKey();
    EXPECT_FALSE(delegate.panel()->isVisible());
}

TEST_F(AppDelegateTest, aSubmittedRowIsOpenedAndThePanelHides) {
    launch({"--show"});
    delegate.viewModel().setQuery(u"zed"_s);
    delegate.viewModel().submit();
    EXPECT_EQ(workspace.openedApplications, (std::vector<FakeWorkspace::Opened>{{{}, zed.path}}));
    EXPECT_FALSE(delegate.panel()->isVisible());
}

TEST_F(AppDelegateTest, aNewWindowIsAskedOfTheApplicationInsteadOfTheOneItHas) {
    delegate.performAction(OpenApp{zed, OpenApp::Window::New});
    EXPECT_EQ(workspace.newWindows, QStringList{zed.path});
    EXPECT_TRUE(workspace.openedApplications.empty());
}

TEST_F(AppDelegateTest, anApplicationThatDoesNotOpenIsNeitherShownNorLogged) {
    workspace.openingError = u"broken"_s;
    delegate.performAction(OpenApp{zed});
    EXPECT_TRUE(log.lines.isEmpty());
    EXPECT_TRUE(defaults.value(u"launchCounts"_s).isUndefined()) << "counted on submission only";
}

TEST_F(AppDelegateTest, aProjectOpenedInAnEditorIsTheLastProject) {
    delegate.performAction(OpenProject{web, zed});
    EXPECT_EQ(workspace.openedFiles, (std::vector<FakeWorkspace::Opened>{{{web.path}, zed.path}}));
    EXPECT_EQ(lastProject(), (QJsonObject{{u"project"_s, web.path}, {u"editor"_s, zed.path}}));
}

TEST_F(AppDelegateTest, aProjectOpenedWithoutAnEditorLeavesTheLastProjectAlone) {
    delegate.performAction(OpenProject{web, std::nullopt});
    EXPECT_EQ(workspace.opened, QStringList{web.path});
    EXPECT_TRUE(lastProject().isUndefined());
    defaults.set(u"lastProject"_s, QJsonObject{{u"project"_s, u"/x"_s}});
    delegate.performAction(OpenProject{web, std::nullopt});
    EXPECT_EQ(lastProject(), (QJsonObject{{u"project"_s, u"/x"_s}}));
}

TEST_F(AppDelegateTest, copyingReplacesThePasteboardAlsoWithAnEmptyText) {
    delegate.performAction(CopyAI{u"5"_s});
    delegate.performAction(CopyAI{QString()});
    EXPECT_EQ(pasteboard.texts, (QStringList{u"5"_s, QString()}));
}

TEST_F(AppDelegateTest, askingNeverComesThisFar) {
    delegate.performAction(AskAI{u"question"_s});
    EXPECT_TRUE(workspace.calls.isEmpty());
    EXPECT_TRUE(pasteboard.texts.isEmpty());
}

TEST_F(AppDelegateTest, anAddressOpensAndOneThatDoesNotParseDoesNot) {
    delegate.performAction(OpenURL{u"https://example.com/search?q=a%20b&c"_s});
    ASSERT_EQ(workspace.urls.size(), 1U);
    EXPECT_EQ(workspace.urls.front().toEncoded(), "https://example.com/search?q=a%20b&c");
    delegate.performAction(OpenURL{u"http://[broken"_s});
    delegate.performAction(OpenURL{QString()});
    EXPECT_EQ(workspace.urls.size(), 1U);
}

TEST_F(AppDelegateTest, theLastProjectReopensInItsEditor) {
    launch();
    defaults.set(u"lastProject"_s, QJsonObject{{u"project"_s, web.path}, {u"editor"_s, zed.path}});
    delegate.performAction(OpenLastProject{});
    EXPECT_EQ(workspace.openedFiles, (std::vector<FakeWorkspace::Opened>{{{web.path}, zed.path}}));
}

TEST_F(AppDelegateTest, theLastProjectOfAnUninstalledEditorOpensInTheFileManager) {
    launch();
    const QJsonObject stored{{u"project"_s, web.path}, {u"editor"_s, u"/gone.app"_s}};
    defaults.set(u"lastProject"_s, stored);
    delegate.performAction(OpenLastProject{});
    EXPECT_EQ(workspace.opened, QStringList{web.path});
    EXPECT_EQ(lastProject(), stored) << "reopening does not rewrite it";
}

TEST_F(AppDelegateTest, aMalformedLastProjectDoesNothing) {
    launch();
    for (const QJsonValue &stored :
         {QJsonValue(QJsonValue::Undefined), QJsonValue(7),
          QJsonValue(QJsonObject{{u"project"_s, web.path}}),
          QJsonValue(QJsonObject{{u"editor"_s, zed.path}}),
          QJsonValue(QJsonObject{{u"project"_s, web.path}, {u"editor"_s, 7}}),
          QJsonValue(QJsonObject{{u"project"_s, 7}, {u"editor"_s, zed.path}})}) {
        defaults.set(u"lastProject"_s, stored);
        delegate.performAction(OpenLastProject{});
    }
    EXPECT_TRUE(workspace.calls.isEmpty());
}

TEST_F(AppDelegateTest, whatTheSessionCanDoIsAskedEachTimeThePanelIsShown) {
    launch();
    EXPECT_EQ(session.asked, 0);
    delegate.show();
    EXPECT_EQ(session.asked, 0) << "the panel does not wait for it";
    EXPECT_TRUE(waitUntil([this] { return session.asked == 1; }));
    delegate.viewModel().setQuery(u"reboot"_s);
    EXPECT_EQ(session.asked, 1) << "not for what is typed";
    EXPECT_EQ(delegate.viewModel().results().front().id, u"web-search");
    session.answer({SessionCommand::Restart});
    EXPECT_EQ(delegate.viewModel().results().front().id, u"session-restart");
    delegate.hide();
    delegate.show();
    EXPECT_TRUE(waitUntil([this] { return session.asked == 2; }));
}

TEST_F(AppDelegateTest, aCommandToTheSessionIsCarriedOut) {
    delegate.performAction(ControlSession{SessionCommand::Suspend});
    EXPECT_EQ(session.carriedOut, std::vector{SessionCommand::Suspend});
}

TEST_F(AppDelegateTest, hidingTakesAQuestionBack) {
    launch();
    session.able = {SessionCommand::ShutDown};
    delegate.show();
    delegate.viewModel().setQuery(u"poweroff"_s);
    delegate.viewModel().submit();
    EXPECT_TRUE(delegate.viewModel().results().front().title.contains(u'?'));
    delegate.hide();
    delegate.show();
    EXPECT_EQ(delegate.viewModel().results().front().title, u"Shut Down");
    EXPECT_TRUE(session.carriedOut.empty());
}

TEST_F(AppDelegateTest, anActionOfAnApplicationIsRun) {
    delegate.performAction(RunAction{zed.path, u"quiet"_s});
    EXPECT_EQ(workspace.calls, QStringList(u"runAction "_s + zed.path + u" quiet"_s));
}

TEST_F(AppDelegateTest, whenTheKeyringsPromptIsGoneThePanelComesBackWithTheQuestion) {
    launch();
    secrets.set(u"ai-api-key"_s, u"sk"_s);
    secrets.isLocked = true;
    secrets.userUnlocks = false;
    delegate.show();
    delegate.viewModel().setQuery(u"ai why"_s);
    delegate.viewModel().submit();
    delegate.panel()->onResignKey();
    EXPECT_FALSE(delegate.panel()->isVisible()) << "to the prompt";
    now += std::chrono::minutes(1); // as long as it takes to find the password
    EXPECT_TRUE(waitUntil([&] { return delegate.panel()->isVisible(); }));
    EXPECT_EQ(delegate.viewModel().query(), u"ai why");
    EXPECT_TRUE(delegate.viewModel().aiMode());
}

TEST_F(AppDelegateTest, theSettingsHaveOneWindowThatIsMadeWhenItIsFirstOpened) {
    launch();
    EXPECT_EQ(delegate.settingsWindow(), nullptr);
    delegate.performAction(OpenSettings{});
    SettingsView *window = delegate.settingsWindow();
    ASSERT_TRUE(settingsAreShown());
    delegate.openSettings();
    EXPECT_EQ(delegate.settingsWindow(), window);
    EXPECT_TRUE(window->close());
    EXPECT_FALSE(settingsAreShown());
    delegate.openSettings();
    EXPECT_EQ(delegate.settingsWindow(), window);
    EXPECT_TRUE(settingsAreShown());
    EXPECT_EQ(panelSurface.claims, 3) << "each time it is to have the keyboard";
}

TEST_F(AppDelegateTest, theSettingsWindowIsTitledClosableCentredAndOfFixedSize) {
    launch({"--settings"});
    const SettingsView &window = *delegate.settingsWindow();
    EXPECT_EQ(window.windowTitle(), u"Corvid Settings");
    EXPECT_EQ(window.size(), QSize(480, 420));
    EXPECT_EQ(window.minimumSize(), window.maximumSize());
    EXPECT_TRUE(window.windowFlags() & Qt::WindowTitleHint);
    EXPECT_TRUE(window.windowFlags() & Qt::WindowCloseButtonHint);
    EXPECT_FALSE(window.windowFlags() & Qt::WindowMinMaxButtonsHint);
    const QPoint middle = QGuiApplication::primaryScreen()->availableGeometry().center();
    EXPECT_LE((window.geometry().center() - middle).manhattanLength(), 8) << "but for its frame";
}

TEST_F(AppDelegateTest, aSettingsWindowThatTheUserMovedStaysThere) {
    launch({"--settings"});
    delegate.settingsWindow()->move(3, 5);
    delegate.settingsWindow()->close();
    delegate.openSettings();
    EXPECT_EQ(delegate.settingsWindow()->pos(), QPoint(3, 5));
}

TEST_F(AppDelegateTest, aNewHotKeyInTheSettingsWorksAtOnceAndThePresentOneRestsMeanwhile) {
    launch({"--settings"});
    delegate.settingsWindow()->startRecording();
    EXPECT_EQ(hotKeyBackend.grabbed, std::nullopt);
    QKeyEvent press(QEvent::KeyPress, Qt::Key_K, Qt::MetaModifier, 45, 'k', 0);
    QCoreApplication::sendEvent(delegate.settingsWindow(), &press);
    EXPECT_EQ(hotKeyBackend.grabbed, (HotKey{40, HotKey::command}));
    EXPECT_EQ(hotKeyBackend.grabs.size(), 2U) << "registered once";
    pressHotKey();
    EXPECT_TRUE(delegate.panel()->isVisible());
}

TEST_F(AppDelegateTest, aCancelledRecordingBringsTheHotKeyBack) {
    launch({"--settings"});
    SettingsView &view = *delegate.settingsWindow();
    view.startRecording();
    view.stopRecording();
    EXPECT_EQ(hotKeyBackend.grabbed, (HotKey{49, 0x800}));
    pressHotKey();
    EXPECT_TRUE(delegate.panel()->isVisible());
}

TEST_F(AppDelegateTest, theSettingsWindowFollowsTheDesktopsColoursAndFont) {
    launch({"--settings"});
    const SettingsView &window = *delegate.settingsWindow();
    EXPECT_FALSE(style::isDark(window.palette()));
    appearance.appearance.colorScheme = ColorScheme::Dark;
    appearance.appearance.fontFamily = u"DejaVu Serif"_s;
    appearance.onChange();
    EXPECT_TRUE(style::isDark(window.palette()));
    EXPECT_TRUE(style::isDark(window.findChild<QLineEdit *>()->palette()));
    EXPECT_EQ(window.findChild<QLineEdit *>()->font().family(), u"DejaVu Serif");
    appearance.appearance = {};
    appearance.onChange();
    EXPECT_FALSE(style::isDark(window.palette()));
}

TEST_F(AppDelegateTest, queryAsTheLastArgumentIsIgnored) {
    launch({"--query"});
    EXPECT_EQ(delegate.viewModel().query(), QString());
}

TEST_F(AppDelegateTest, theHotKeyIsOptionSpaceUnlessAnotherIsStored) {
    launch();
    EXPECT_EQ(hotKeyBackend.grabbed, (HotKey{49, 0x800}));
    defaults.set(u"hotkeyKeyCode"_s, 40);
    defaults.set(u"hotkeyModifiers"_s, 0x1100);
    delegate.applyHotkey();
    EXPECT_EQ(hotKeyBackend.grabbed, (HotKey{40, 0x1100}));
    EXPECT_EQ(hotKeyBackend.replacedWithoutRelease, 0);
}

TEST_F(AppDelegateTest, aFirstStartStaysHiddenAndSaysHowToShowThePanel) {
    QFile::remove(locations::cacheFile(u"catalog.json"_s));
    QFile::remove(locations::cacheFile(u"projects.json"_s));
    launch();
    hotKeyBackend.callbacks.answered(HotKeyAnswer::Obtained);
    QCoreApplication::sendPostedEvents();
    EXPECT_FALSE(delegate.panel()->isVisible());
    ASSERT_EQ(notifier.given.size(), 1U);
    EXPECT_EQ(notifier.given.front().title, u"Corvid is ready");
    notifier.given.front().chosen();
    EXPECT_TRUE(delegate.panel()->isVisible());
}

TEST_F(AppDelegateTest, aStartWithListsOfAnEarlierOneIsNotTheFirst) {
    launch();
    hotKeyBackend.callbacks.answered(HotKeyAnswer::Obtained);
    QCoreApplication::sendPostedEvents();
    EXPECT_TRUE(notifier.given.empty());
}

TEST_F(AppDelegateTest, whoSeesThePanelOrTheSettingsIsNotNotified) {
    launch({"--show"});
    hotKeyBackend.callbacks.answered(HotKeyAnswer::Taken);
    QCoreApplication::sendPostedEvents();
    EXPECT_TRUE(notifier.given.empty());
    EXPECT_EQ(delegate.viewModel().hotKeyHelp().answer, HotKeyAnswer::Taken) << "the panel says it";
    now += std::chrono::minutes(1);
    delegate.hide();
    delegate.openSettings();
    hotKeyBackend.callbacks.answered(HotKeyAnswer::Refused);
    QCoreApplication::sendPostedEvents();
    EXPECT_TRUE(notifier.given.empty());
}

TEST_F(AppDelegateTest, aFreeHotKeyThatIsTakenWorksAtOnceAndIsStored) {
    launch({"--show"});
    hotKeyBackend.callbacks.foundFree({49, HotKey::command});
    hotKeyBackend.callbacks.answered(HotKeyAnswer::Taken);
    QCoreApplication::sendPostedEvents();
    delegate.viewModel().submit();
    EXPECT_EQ(hotKeyBackend.grabbed, (HotKey{49, HotKey::command}));
    EXPECT_EQ(defaults.value(u"hotkeyKeyCode"_s), 49);
    EXPECT_EQ(defaults.value(u"hotkeyModifiers"_s), 0x100);
    EXPECT_TRUE(delegate.panel()->isVisible());
    hotKeyBackend.callbacks.answered(HotKeyAnswer::Obtained);
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(delegate.viewModel().hotKeyHelp().name, u"Super+Space");
    EXPECT_TRUE(delegate.viewModel().hotKeyHelp().works());
}

TEST_F(AppDelegateTest, aStoredKeyCode0IsSpace) {
    defaults.set(u"hotkeyKeyCode"_s, 0);
    defaults.set(u"hotkeyModifiers"_s, 0x100);
    launch();
    EXPECT_EQ(hotKeyBackend.grabbed, (HotKey{49, 0x100}));
}

TEST_F(AppDelegateTest, storedModifiers0AreOption) {
    defaults.set(u"hotkeyKeyCode"_s, 96);
    defaults.set(u"hotkeyModifiers"_s, 0);
    launch();
    EXPECT_EQ(hotKeyBackend.grabbed, (HotKey{96, 0x800}));
}

TEST_F(AppDelegateTest, aStoredHotKeyOfAWrongTypeReadsAs0) {
    for (const QJsonValue &wrong :
         {QJsonValue(u"40"_s), QJsonValue(true), QJsonValue(QJsonValue::Null),
          QJsonValue(QJsonArray{40}), QJsonValue(QJsonObject{{u"a"_s, 1}}), QJsonValue(40.5)}) {
        defaults.set(u"hotkeyKeyCode"_s, wrong);
        defaults.set(u"hotkeyModifiers"_s, wrong);
        delegate.applyHotkey();
        EXPECT_EQ(hotKeyBackend.grabbed, (HotKey{49, 0x800}));
    }
}

TEST_F(AppDelegateTest, theLargestStoredHotKeyIsTaken) {
    defaults.set(u"hotkeyKeyCode"_s, 4294967295.0);
    defaults.set(u"hotkeyModifiers"_s, 4294967295.0);
    delegate.applyHotkey();
    EXPECT_EQ(hotKeyBackend.grabbed, (HotKey{4294967295U, 4294967295U}));
}

TEST_F(AppDelegateDeathTest, aStoredHotKeyOutOfRangeIsFatal) {
    const std::pair<QJsonValue, const char *> values[]{{QJsonValue(-1), "-1;"},
                                                       {QJsonValue(4294967296.0), "4294967296;"},
                                                       {QJsonValue(1e300), "1e\\+300;"},
                                                       {QJsonValue(-0.5), "-0\\.5;"}};
    for (const QString &key : {u"hotkeyKeyCode"_s, u"hotkeyModifiers"_s}) {
        for (const auto &[value, text] : values) {
            defaults.set(key, value);
            EXPECT_DEATH(delegate.applyHotkey(), key.toStdString() + " is " + text);
        }
        defaults.set(key, QJsonValue(QJsonValue::Undefined));
    }
}

TEST_F(AppDelegateTest, theHotKeyShowsThePanelAndHidesIt) {
    launch();
    pressHotKey();
    EXPECT_TRUE(delegate.panel()->isVisible());
    pressHotKey();
    EXPECT_FALSE(delegate.panel()->isVisible());
    pressHotKey();
    EXPECT_TRUE(delegate.panel()->isVisible());
}

TEST_F(AppDelegateTest, whatIsTypedAfterTheHotKeyIsForThePanelThatItShows) {
    launch();
    pressHotKey();
    ASSERT_EQ(hotKeyBackend.said.size(), 1U);
    EXPECT_EQ(hotKeyBackend.said.back().second, NextKeys::OurNextWindow);
    pressHotKey();
    ASSERT_EQ(hotKeyBackend.said.size(), 2U);
    EXPECT_EQ(hotKeyBackend.said.back().second, NextKeys::WhoHasTheKeyboard) << "when it hides";
}

TEST_F(AppDelegateTest, aHotKeyAfterTheDelegateIsGoneDoesNothing) {
    launch();
    owned.reset();
    pressHotKey();
    EXPECT_TRUE(hotKeyBackend.grabbed);
}

TEST_F(AppDelegateTest, processesThatOnlyAnswerLeaveTheHotKeyAlone) {
    launch({"--query", "zed"});
    launch({"--bench"});
    EXPECT_TRUE(hotKeyBackend.grabs.empty());
    launch({"--query", "zed", "--show"});
    EXPECT_EQ(hotKeyBackend.grabs.size(), 1U);
}

TEST_F(AppDelegateTest, theStatusItemsMenuShowsAndOpensTheSettingsAndQuits) {
    launch();
    ASSERT_TRUE(waitUntil([&] { return bool(tray.there); }));
    tray.there();
    const QList<QAction *> menu = delegate.statusItem()->menu()->actions();
    menu.at(0)->trigger();
    EXPECT_TRUE(delegate.panel()->isVisible());
    EXPECT_FALSE(settingsAreShown());
    menu.at(2)->trigger();
    EXPECT_TRUE(settingsAreShown());
    QTimer::singleShot(0, menu.at(4), &QAction::trigger);
    EXPECT_EQ(QCoreApplication::exec(), 0);
}

TEST_F(AppDelegateTest, processesThatOnlyAnswerHaveNoStatusItem) {
    launch({"--query", "zed"});
    EXPECT_EQ(delegate.statusItem(), nullptr);
    launch({"--bench"});
    EXPECT_EQ(delegate.statusItem(), nullptr);
    launch({"--query", "zed", "--show"});
    EXPECT_NE(delegate.statusItem(), nullptr);
}

TEST_F(AppDelegateTest, aChangedAppearanceReachesThePanel) {
    appearance.appearance.highContrast = true;
    launch();
    EXPECT_EQ(style::secondary(), style::primary());
    appearance.appearance = {};
    appearance.appearance.accent = 0x884422;
    appearance.appearance.fontFamily = u"DejaVu Serif"_s;
    appearance.onChange();
    EXPECT_NE(style::secondary(), style::primary());
    EXPECT_EQ(SearchField::current()->font().family(), u"DejaVu Serif");
    EXPECT_EQ(SearchField::current()->palette().color(QPalette::Highlight),
              QColor(0x88, 0x44, 0x22));
    style::setAppearance({});
}

TEST_F(AppDelegateTest, theHotKeyIsReleasedAtTermination) {
    launch();
    QTimer::singleShot(0, qApp, &QCoreApplication::quit);
    QCoreApplication::exec();
    EXPECT_EQ(hotKeyBackend.grabbed, std::nullopt);
    EXPECT_EQ(hotKeyBackend.releases, 1);
}
