// The first minute with the program: what the desktop is asked to tell, what the empty panel says,
// and how somebody without a hot key and without a tray gets on.

#include "Base/HotKeyHelp.h"
#include "ScreenReader.h"
#include "Worlds/EventuallyAfter.h"
#include "Worlds/KeyGrabs.h"
#include "Worlds/NotificationService.h"
#include "Worlds/Sway.h"

#include <QJsonArray>

#include <gtest/gtest.h>

#include <linux/input-event-codes.h>

using namespace corvid::test;

namespace {

bool holdsSpace(const XServer &server, std::uint16_t modifiers) {
    return eventually([&] { return isGrabbed(server.display(), KEY_SPACE + 8, modifiers); });
}

/** A newcomer's program on X11, with notifications and a screen reader. */
class FirstStartTest : public ScreenReaderTest {
protected:
    explicit FirstStartTest(XServer::Manager manager = XServer::Manager::None)
        : ScreenReaderTest(manager) {
        QFile::remove(home.path(u".config/Corvid/defaults.json"_s));
    }

    void start(const QStringList &options = {}) {
        QProcessEnvironment environment = home.environment(server.environment());
        environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, bus.address());
        environment.insert(u"QT_LINUX_ACCESSIBILITY_ALWAYS_ON"_s, u"1"_s);
        environment.insert(u"PATH"_s,
                           QStringLiteral(CORVID_BUILD_FOLDER ":") + environment.value(u"PATH"_s));
        environment.remove(u"XDG_CURRENT_DESKTOP"_s);
        makeDependent(program);
        program.setProcessEnvironment(environment);
        program.start(executable, options);
    }
    void end() {
        program.terminate();
        EXPECT_TRUE(program.waitForFinished(30'000));
    }
    bool panelShows() const {
        return eventually([this] { return panelIsVisible(); });
    }
    bool isNoted(const QString &name) const {
        return eventually(
            [&] { return home.defaults()[u"noticesGiven"_s].toArray().contains(name); });
    }
    /** A label of the panel, in sight. */
    void expectLine(const QString &text) const { lineWith({u"label | "_s + text, u"showing"_s}); }

    const QTemporaryDir folder;
    NotificationService notifications{
        folder.filePath(u"calls"_s), NotificationService::withButtons, [this] {
            QProcessEnvironment environment = server.environment();
            environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, bus.address());
            return environment;
        }()};
};

class FirstStartUnderManagerTest : public FirstStartTest,
                                   public ::testing::WithParamInterface<XServer::Manager> {
protected:
    FirstStartUnderManagerTest() : FirstStartTest(GetParam()) {}
};

INSTANTIATE_TEST_SUITE_P(Under, FirstStartUnderManagerTest,
                         ::testing::Values(XServer::Manager::Openbox, XServer::Manager::Xfwm4),
                         [](const auto &manager) {
                             return manager.param == XServer::Manager::Openbox ? "openbox"
                                                                               : "xfwm4";
                         });

} // namespace

TEST_F(FirstStartTest, staysHiddenAndSaysOnceWhichKeyShowsThePanel) {
    start();
    EXPECT_TRUE(notifications.firstNotice().contains(
        u"'Corvid is ready', 'Alt+Space shows it.', ['default', "
        "'Show Corvid', 'show', 'Show Corvid']"_s))
        << qPrintable(notifications.firstNotice());
    EXPECT_FALSE(panelIsVisible());
    EXPECT_TRUE(isNoted(u"ready"_s));
    notifications.pressButton();
    EXPECT_TRUE(panelShows());
    expectLine(u"Type a few letters of an application, or of a project."_s);
    expectLine(u"Type “ai …” to ask a model of your choice."_s);
    expectLine(u"Alt+Space brings this panel back."_s);
    end();
    start();
    EXPECT_TRUE(holdsSpace(server, XCB_MOD_MASK_1));
    press(u"alt+space"_s);
    EXPECT_TRUE(panelShows());
    expectLine(u"Alt+Space brings this panel back."_s);
    EXPECT_EQ(notifications.notices().size(), 1);
}

TEST_F(FirstStartTest, theKeyIsNamedByTheUsersOwnLayout) {
    run(u"setxkbmap"_s, {u"de"_s});
    writeFile(home.path(u".config/Corvid/defaults.json"_s),
              u"{\"hotkeyKeyCode\": 41, \"hotkeyModifiers\": 2304}"_s);
    start({u"--show"_s});
    expectLine(u"Alt+Super+Ö brings this panel back."_s);
}

TEST_P(FirstStartUnderManagerTest, aTakenKeyIsSaidToBeAndAFreeOneIsTakenByReturn) {
    ASSERT_TRUE(holdsSpace(server, XCB_MOD_MASK_1)) << "the window manager, for its menu";
    start();
    EXPECT_TRUE(notifications.firstNotice().contains(
        u"'Corvid is ready, without a hot key', 'The desktop does not give Corvid Alt+Space. "
        "Super+Space is free: show Corvid, and press Return.'"_s))
        << qPrintable(notifications.firstNotice());
    EXPECT_FALSE(panelIsVisible());
    EXPECT_TRUE(isNoted(u"taken"_s));
    notifications.pressButton();
    EXPECT_TRUE(eventually([this] { return panelHasKeyboard(); }));
    expectLine(u"The desktop does not give Corvid Alt+Space. Return takes Super+Space instead."_s);
    press(u"Return"_s);
    EXPECT_TRUE(holdsSpace(server, XCB_MOD_MASK_4));
    expectLine(u"Super+Space brings this panel back."_s);
    EXPECT_TRUE(eventually([this] {
        return home.defaults()[u"hotkeyKeyCode"_s] == 49 &&
               home.defaults()[u"hotkeyModifiers"_s] == 0x100;
    }));
    press(u"Escape"_s);
    EXPECT_TRUE(eventually([this] { return !panelIsVisible(); }));
    EXPECT_TRUE(eventuallyAfter([this] { press(u"super+space"_s); },
                                [this] { return panelHasKeyboard(); }));
    EXPECT_EQ(notifications.notices().size(), 1) << "it works now";
}

TEST_P(FirstStartUnderManagerTest, theSettingsAreFoundInTheListWithoutTrayAndHotKey) {
    QFile::copy(QStringLiteral(CORVID_BUILD_FOLDER "/../packaging/app.corvid.Launcher.desktop"),
                home.path(u".local/share/applications/app.corvid.Launcher.desktop"_s));
    start({u"--show"_s});
    EXPECT_TRUE(eventually([this] { return panelHasKeyboard(); }));
    ASSERT_TRUE(home.waitForCatalogs());
    type(u"corvid settings"_s);
    lineWith({u"Settings, Action"_s, u"selected"_s});
    press(u"Return"_s);
    EXPECT_TRUE(eventually([this] {
        return xdotool({u"getwindowfocus"_s, u"getwindowname"_s}) == u"Corvid Settings";
    }));
}

TEST(FirstStartOnSwayTest, theLineToBindAKeyIsNamedAndWorks) {
    Home home;
    QFile::remove(home.path(u".config/Corvid/defaults.json"_s));
    Sway::giveAway(home.path({}));
    const Sway sway({u"output * bg #ff00ff solid_color"_s, u"output * mode 1280x800"_s});
    QProcessEnvironment environment = home.environment(sway.environment());
    for (const QString &name : {u"WAYLAND_DISPLAY"_s, u"DBUS_SESSION_BUS_ADDRESS"_s})
        environment.insert(name, sway.environment().value(name));
    environment.remove(u"XDG_CURRENT_DESKTOP"_s);
    const NotificationService notifications(
        sway.path(u"notices"_s), NotificationService::withButtons, environment, Sway::prepare);
    QProcess program;
    Sway::prepare(program);
    program.setProcessEnvironment(environment);
    program.start(executable, {});

    EXPECT_TRUE(notifications.firstNotice().contains(
        u"'Corvid is ready, without a hot key', 'No portal runs here that could give Corvid "
        "Alt+Space. Click here, or run corvid: it says what to do.'"_s))
        << qPrintable(notifications.firstNotice());
    const QString line = u"bindsym Mod1+space exec corvid --toggle"_s;
    sway.tell(QString(line).replace(u"exec corvid"_s, u"exec "_s + executable));
    const auto panelIsVisible = [&] { return qRed(sway.picture().pixel(400, 560)) < 128; };
    // Its card is dark, the desktop is not once it is painted.
    EXPECT_TRUE(eventually([&] { return !panelIsVisible(); }));
    EXPECT_TRUE(eventuallyAfter([&] { sway.press(u"space"_s, u"alt"_s); }, panelIsVisible));
    program.terminate();
    EXPECT_TRUE(program.waitForFinished(30'000));
}

TEST(FirstStartOnSwayTest, theLineReplacesNothingInTheConfigurationThatSwayComesWith) {
    const Sway sway;
    const QByteArray itsOwn = readFile(u"/etc/sway/config"_s).toUtf8();
    ASSERT_FALSE(itsOwn.isEmpty());
    const QString line =
        corvid::hotKeyHelp({}, corvid::HotKeyAnswer::NoPortal, corvid::Desktop::Sway).line + u'\n';
    const auto wordsAbout = [&](const QString &added) {
        const QString file = sway.path(u"theirs.conf"_s);
        writeFile(file, QString::fromUtf8(itsOwn) + u'\n' + added);
        Sway::giveAway(file);
        QProcess validation;
        Sway::prepare(validation);
        validation.setProcessEnvironment(sway.environment());
        validation.setProcessChannelMode(QProcess::MergedChannels);
        validation.start(u"sway"_s, {u"--debug"_s, u"--validate"_s, u"--config"_s, file});
        EXPECT_TRUE(validation.waitForFinished(60'000));
        return validation.readAll();
    };
    EXPECT_FALSE(wordsAbout(line).contains("Overwriting binding"));
    EXPECT_TRUE(wordsAbout(line + line.chopped(1) + u"x\n"_s).contains("Overwriting binding"));
}
