// Several starts of the program on one session bus, with a real X server, bus and window manager.

#include "InstanceWorld.h"

#include <sys/socket.h>
#include <sys/un.h>

using namespace corvid::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/** Somebody else owns the name: what arrives there is traced. */
class ForeignInstanceTest : public SingleInstanceTest {
protected:
    QProcess &own(const QStringList &options = {}) {
        QProcess &service = *processes.emplace_back(std::make_unique<QProcess>());
        makeDependent(service);
        service.setProcessEnvironment(environment);
        service.start(QStringLiteral(CORVID_BUILD_FOLDER "/tests/corvid_bus_services"),
                      options + QStringList{trace, u"app.corvid.Launcher"_s});
        EXPECT_TRUE(service.waitForReadyRead(60'000));
        return service;
    }
    QStringList calls() const { return readFile(trace).split(u'\n', Qt::SkipEmptyParts); }

    const QString trace = folder.filePath(u"calls.trace"_s);
};

} // namespace

TEST_F(SingleInstanceTest, aFirstStartStaysHiddenUntilTheHotKey) {
    const QProcess &first = startHidden();
    // The scans are done long after a panel would have been shown.
    EXPECT_TRUE(eventually(
        [this] { return QFile::exists(folder.filePath(u".local/share/Corvid/catalog.json"_s)); }));
    EXPECT_FALSE(panelIsVisible());
    EXPECT_TRUE(eventually([this] {
        xdotool({u"key"_s, u"alt+k"_s});
        return panelIsVisible();
    }));
    EXPECT_TRUE(runs(first));
}

TEST_F(SingleInstanceTest, aSecondStartShowsThePanelOfTheFirst) {
    const QProcess &first = startHidden();
    for (const QStringList &arguments : {QStringList(), QStringList{u"--show"_s}}) {
        const Ended second = run(arguments);
        EXPECT_EQ(second.exitCode, 0);
        EXPECT_EQ(second.standardOutput + second.standardError, QString());
        EXPECT_TRUE(showsPanel());
        EXPECT_TRUE(panelHasKeyboard());
        EXPECT_EQ(run({u"--toggle"_s}).exitCode, 0);
        EXPECT_TRUE(hidesPanel());
    }
    EXPECT_TRUE(runs(first));
}

TEST_F(SingleInstanceTest, aShownPanelStaysWhenAskedToShowAgain) {
    start({u"--show"_s});
    EXPECT_TRUE(panelHasKeyboard());
    EXPECT_EQ(run({}).exitCode, 0);
    EXPECT_TRUE(panelIsVisible());
}

TEST_F(SingleInstanceTest, aFirstToggleStartsTheInstanceAndShowsItsPanel) {
    const QProcess &first = start({u"--toggle"_s});
    EXPECT_TRUE(panelHasKeyboard());
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(run({u"--toggle"_s}).exitCode, 0);
        EXPECT_TRUE(hidesPanel());
        EXPECT_EQ(run({u"--toggle"_s}).exitCode, 0);
        EXPECT_TRUE(panelHasKeyboard());
    }
    EXPECT_TRUE(runs(first));
}

TEST_F(SingleInstanceTest, theSettingsOfTheFirstAreOpened) {
    startHidden();
    const XClient other(server, {u"other"_s, u"Other"_s, u"--managed"_s});
    const auto settingsHaveKeyboard = [&] {
        return eventually([&] {
            return xdotool({u"getwindowfocus"_s, u"getwindowname"_s}) == u"Corvid Settings"_s;
        });
    };
    EXPECT_EQ(run({u"--settings"_s}).exitCode, 0);
    EXPECT_TRUE(settingsHaveKeyboard());
    EXPECT_FALSE(panelIsVisible());
    xdotool({u"windowactivate"_s, u"--sync"_s, other.window()});
    EXPECT_EQ(run({u"--settings"_s}).exitCode, 0);
    EXPECT_TRUE(settingsHaveKeyboard()) << "and brought to the front again";
}

TEST_F(SingleInstanceTest, stickyOfALaterStartHoldsForThatShowing) {
    startHidden();
    EXPECT_EQ(run({u"--sticky"_s}).exitCode, 0);
    EXPECT_TRUE(panelHasKeyboard());
    const XClient other(server, {u"other"_s, u"Other"_s, u"--managed"_s});
    const auto leave = [&] { xdotool({u"windowfocus"_s, u"--sync"_s, other.window()}); };
    leave();
    // Fulfilled after the loss of the keyboard was noticed.
    EXPECT_EQ(run({u"--settings"_s}).exitCode, 0);
    EXPECT_TRUE(panelIsVisible());
    EXPECT_EQ(run({u"--toggle"_s}).exitCode, 0);
    EXPECT_TRUE(hidesPanel());
    EXPECT_EQ(run({u"--show"_s}).exitCode, 0);
    EXPECT_TRUE(panelHasKeyboard());
    leave();
    EXPECT_TRUE(hidesPanel());
}

TEST_F(SingleInstanceTest, aWishNeedsNoDisplay) {
    startHidden();
    const QProcessEnvironment before = environment;
    environment.remove(u"DISPLAY"_s);
    const Ended second = run({u"--show"_s});
    environment = before;
    EXPECT_EQ(second.exitCode, 0);
    EXPECT_TRUE(showsPanel());
}

TEST_F(SingleInstanceTest, ofTwoStartsAtTheSameInstantOneLivesAndShowsItsPanel) {
    for (int round = 0; round < 3; ++round) {
        QProcess &one = start({});
        QProcess &two = start({});
        ASSERT_TRUE(eventually([&] { return runs(one) != runs(two); }));
        EXPECT_TRUE(panelHasKeyboard());
        EXPECT_NE(runs(one), runs(two));
        EXPECT_EQ(ended(runs(one) ? two : one).exitCode, 0);
        QProcess &survivor = runs(one) ? one : two;
        survivor.terminate();
        EXPECT_EQ(ended(survivor).exitCode, 0);
    }
}

TEST_F(SingleInstanceTest, theBusStartsItWithThePanelShown) {
    EXPECT_EQ(call("Activate", g_variant_new("(@a{sv})", nothing("{sv}"))), QString());
    EXPECT_TRUE(panelHasKeyboard());
    EXPECT_EQ(run({u"--toggle"_s}).exitCode, 0);
    EXPECT_TRUE(hidesPanel());
}

TEST_F(SingleInstanceTest, theBusInterfaceIsTheDesktopsOwn) {
    startHidden();
    EXPECT_EQ(activateAction("toggle"), QString());
    EXPECT_TRUE(showsPanel());
    EXPECT_EQ(activateAction("toggle"), QString());
    EXPECT_TRUE(hidesPanel());
    EXPECT_EQ(call("Open", g_variant_new("(@as@a{sv})", nothing("s"), nothing("{sv}"))), QString());
    EXPECT_TRUE(showsPanel());
    EXPECT_EQ(activateAction("settings"), QString());
    EXPECT_EQ(activateAction("show"), QString());
    for (const QString &error :
         {activateAction("quit"), activateAction(""), call("Activate", nullptr),
          call("Activate", g_variant_new("(s)", "x")), call("ActivateAction", nullptr),
          call("Nonsense", nullptr)})
        EXPECT_TRUE(error.contains(u"no such action"_s)) << qPrintable(error);
}

TEST_F(SingleInstanceTest, anInstanceThatHangsIsNotWaitedForWithoutEnd) {
    const QProcess &first = startHidden();
    kill(static_cast<pid_t>(first.processId()), SIGSTOP);
    const Ended second = run({u"--toggle"_s});
    EXPECT_EQ(second.exitCode, 1);
    EXPECT_EQ(second.standardError.count(u'\n'), 1);
    EXPECT_TRUE(second.standardError.contains(u"does not answer"_s));
}

TEST_F(SingleInstanceTest, onAnotherDisplayItCallsTheOneThatRuns) {
    const QProcess &first = startHidden();
    const XServer other;
    const QProcessEnvironment before = environment;
    environment.insert(u"DISPLAY"_s, QString::fromLatin1(other.display()));
    const Ended second = run({u"--show"_s});
    EXPECT_EQ(second.exitCode, 0);
    EXPECT_FALSE(panelIsVisible()) << "not there";
    environment = before;
    EXPECT_TRUE(showsPanel());
    EXPECT_TRUE(runs(first));
}

TEST_F(SingleInstanceTest, itEndsWhenAskedThoughTheXServerHangs) {
    QProcess &first = startHidden();
    EXPECT_TRUE(eventually(
        [this] { return QFile::exists(folder.filePath(u".local/share/Corvid/catalog.json"_s)); }));
    server.pause();
    run({u"--toggle"_s}); // whether it is taken or not, the main thread waits for the server then
    first.terminate();
    EXPECT_TRUE(eventually([&] { return !runs(first); }));
    server.goOn();
}

TEST_F(SingleInstanceTest, whoWaitsForOneThatDiesTakesItsPlace) {
    const QProcess &first = startHidden();
    kill(static_cast<pid_t>(first.processId()), SIGSTOP);
    const QProcess &second = start({u"--toggle"_s});
    kill(static_cast<pid_t>(first.processId()), SIGKILL);
    EXPECT_TRUE(panelHasKeyboard());
    EXPECT_TRUE(runs(second));
}

TEST_F(SingleInstanceTest, processesThatOnlyAnswerAreTheirOwn) {
    QProcess &query = start({u"--query"_s, u"2+3"_s, u"--show"_s});
    EXPECT_TRUE(showsPanel());
    EXPECT_FALSE(hasOwner());
    const QProcess &first = startHidden();
    EXPECT_TRUE(runs(query));
    QByteArray printed;
    EXPECT_TRUE(eventually(
        [&] { return (printed += query.readAllStandardError()).contains("-- end --\n"); }));
    const Ended bench = run({u"--bench"_s});
    EXPECT_EQ(bench.exitCode, 0);
    EXPECT_TRUE(bench.standardError.startsWith(u"n=200 "_s));
    EXPECT_TRUE(runs(first));
}

TEST_F(SingleInstanceTest, withoutABusItSimplyRuns) {
    environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, noBus);
    const QProcess &one = start({u"--show"_s});
    EXPECT_TRUE(panelHasKeyboard());
    EXPECT_TRUE(runs(one));
}

TEST_F(SingleInstanceTest, aBusThatHangsDelaysTheStartByALittleOnly) {
    const QString path = folder.filePath(u"hanging"_s);
    const int socketFile = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, qPrintable(path), sizeof address.sun_path);
    ASSERT_EQ(bind(socketFile, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    ASSERT_EQ(listen(socketFile, 8), 0);
    environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, u"unix:path="_s + path);
    EXPECT_EQ(run({u"--bench"_s}).exitCode, 0);
    QProcess &one = start({u"--show"_s});
    EXPECT_TRUE(panelHasKeyboard());
    one.terminate();
    EXPECT_EQ(ended(one).exitCode, 0) << "nor the end";
    close(socketFile);
}

TEST_F(SingleInstanceTest, itOutlivesTheBus) {
    const QProcess &first = start({u"--show"_s});
    EXPECT_TRUE(panelHasKeyboard());
    bus.end();
    xdotool({u"key"_s, u"Escape"_s});
    EXPECT_TRUE(hidesPanel());
    EXPECT_TRUE(eventually([this] {
        xdotool({u"key"_s, u"alt+k"_s});
        return panelIsVisible();
    }));
    EXPECT_TRUE(runs(first));
}

TEST_F(SingleInstanceTest, helpVersionAndMistakesNeedNeitherDisplayNorBus) {
    environment.remove(u"DISPLAY"_s);
    environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, noBus);
    const Ended help = run({u"--help"_s});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_TRUE(help.standardOutput.startsWith(u"Usage: corvid"_s));
    EXPECT_EQ(help.standardError, QString());
    const Ended version = run({u"--version"_s});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_TRUE(version.standardOutput.startsWith(u"Corvid "_s));
    EXPECT_EQ(version.standardError, QString());
    for (const QString &mistake : {u"--nonsense"_s, u"stray"_s}) {
        const Ended refused = run({mistake});
        EXPECT_EQ(refused.exitCode, 2);
        EXPECT_EQ(refused.standardOutput, QString());
        const QStringList lines = refused.standardError.split(u'\n');
        EXPECT_TRUE(lines[0].contains(mistake));
        EXPECT_EQ(lines.mid(1), (QStringList{u"Try 'corvid --help'."_s, QString()}));
    }
}

TEST_F(ForeignInstanceTest, theWishAndTheTokensTravel) {
    own();
    environment.insert(u"XDG_ACTIVATION_TOKEN"_s, u"wayland-1"_s);
    environment.insert(u"DESKTOP_STARTUP_ID"_s, u"x_TIME1"_s);
    EXPECT_EQ(run({}).exitCode, 0);
    environment.remove(u"DESKTOP_STARTUP_ID"_s);
    EXPECT_EQ(run({u"--toggle"_s}).exitCode, 0);
    environment.remove(u"XDG_ACTIVATION_TOKEN"_s);
    EXPECT_EQ(run({u"--settings"_s, u"--show"_s, u"--sticky"_s}).exitCode, 0);
    const QString prefix = u"org.freedesktop.Application."_s;
    EXPECT_EQ(calls(), (QStringList{prefix + u"Activate ({'activation-token': <'wayland-1'>, "
                                             "'desktop-startup-id': <'x_TIME1'>},)"_s,
                                    prefix + u"ActivateAction ('toggle', [], "
                                             "{'activation-token': <'wayland-1'>})"_s,
                                    prefix + u"ActivateAction ('show', [<true>], {})"_s,
                                    prefix + u"ActivateAction ('settings', [], {})"_s}));
}

TEST_F(ForeignInstanceTest, aRefusalIsNoAnswer) {
    own({u"--fail"_s});
    const Ended refused = run({u"--show"_s});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_TRUE(refused.standardError.contains(u"does not answer"_s));
}
