// The whole program on a Wayland compositor that has no layer shell: it runs on XWayland.

#include "DesktopTest.h"
#include "Worlds/Mutter.h"
#include "Worlds/ShortcutsPortal.h"

#include <QStandardPaths>

#include <gtest/gtest.h>

using namespace corvid::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class XWaylandTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (QStandardPaths::findExecutable(u"mutter"_s).isEmpty())
            GTEST_SKIP() << "mutter is not installed";
        mutter.emplace();
    }
    void TearDown() override {
        const bool ran = program.state() == QProcess::Running;
        program.terminate();
        if (!program.waitForFinished(30'000))
            program.kill();
        program.waitForFinished();
        EXPECT_TRUE(!ran || program.exitStatus() == QProcess::NormalExit);
    }

    QProcessEnvironment environment() const {
        const QProcessEnvironment session = mutter->environment();
        QProcessEnvironment result = home.environment(session);
        for (const QString &name : {u"WAYLAND_DISPLAY"_s, u"DBUS_SESSION_BUS_ADDRESS"_s})
            result.insert(name, session.value(name));
        return result;
    }
    void launch(const QStringList &options = {}) {
        makeDependent(program);
        program.setProcessEnvironment(environment());
        program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        program.start(executable, options);
        EXPECT_TRUE(home.waitForCatalogs());
    }
    QString run(const QString &tool, const QStringList &arguments) const {
        QProcess process;
        process.setProcessEnvironment(environment());
        process.start(tool, arguments);
        process.waitForFinished();
        return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
    }
    QString xdotool(const QStringList &arguments) const { return run(u"xdotool"_s, arguments); }
    QString panel() const {
        return xdotool({u"search"_s, u"--onlyvisible"_s, u"--name"_s, u"^Corvid$"_s});
    }
    bool appears() const {
        return eventually([this] {
            return xdotool({u"getwindowfocus"_s, u"getwindowname"_s}) == u"Corvid";
        });
    }
    bool disappears() const {
        return eventually([this] { return panel().isEmpty(); });
    }

    Home home;
    std::optional<Mutter> mutter;
    QProcess program;
};

const QString asksForTheKey = u"BindShortcuts toggle-ALT+k ALT+k"_s;

} // namespace

TEST_F(XWaylandTest, thePanelIsPlacedAndHasTheKeyboardEachTime) {
    launch();
    for (int round = 0; round < 3; ++round) {
        run(executable, {u"--toggle"_s});
        ASSERT_TRUE(appears());
        const QString geometry = xdotool({u"getwindowgeometry"_s, u"--shell"_s, panel()});
        for (const QString &line : {u"X=310"_s, u"Y=176"_s, u"WIDTH=660"_s, u"HEIGHT=440"_s})
            EXPECT_TRUE(geometry.contains(line)) << qPrintable(geometry);
        run(executable, {u"--toggle"_s});
        EXPECT_TRUE(disappears());
    }
}

TEST_F(XWaylandTest, whatIsTypedStartsAnApplicationThatIsNotToldOfOurChoice) {
    launch({u"--show"_s});
    ASSERT_TRUE(appears());
    xdotool({u"key"_s, u"Shift_L"_s});
    xdotool({u"type"_s, u"--delay"_s, u"1"_s, u"frobn"_s});
    xdotool({u"key"_s, u"Return"_s});
    const Trace trace(home.path(u"app.trace"_s));
    EXPECT_EQ(trace.arguments(), asItsEntrySays);
    for (const QString &name : {u"QT_QPA_PLATFORM"_s, u"QT_WAYLAND_USE_BYPASSWINDOWMANAGERHINT"_s})
        EXPECT_EQ(trace.variable(name), std::nullopt) << qPrintable(name);
    EXPECT_EQ(trace.variable(u"WAYLAND_DISPLAY"_s), u"wayland-test");
    EXPECT_TRUE(disappears());
}

TEST_F(XWaylandTest, thePortalsKeyShowsAndHidesIt) {
    ShortcutsPortal portal({}, mutter->environment());
    launch();
    ASSERT_TRUE(portal.hears(asksForTheKey));
    for (int round = 0; round < 2; ++round) {
        portal.tell("press");
        portal.tell("release");
        EXPECT_TRUE(appears());
        portal.tell("press");
        portal.tell("release");
        EXPECT_TRUE(disappears());
    }
}

TEST_F(XWaylandTest, thePanelCarriesTheTokenOfThePress) {
    ShortcutsPortal portal({}, mutter->environment());
    launch();
    ASSERT_TRUE(portal.hears(asksForTheKey));
    portal.tell("press of-the-press_TIME0");
    ASSERT_TRUE(appears());
    EXPECT_TRUE(run(u"xprop"_s, {u"-id"_s, panel(), u"_NET_STARTUP_ID"_s})
                    .contains(u"\"of-the-press_TIME0\""_s));
    portal.tell("release");
    portal.tell("press");
    ASSERT_TRUE(disappears());
    run(executable, {u"--toggle"_s});
    ASSERT_TRUE(appears());
    EXPECT_FALSE(run(u"xprop"_s, {u"-id"_s, panel(), u"_NET_STARTUP_ID"_s}).contains(u"press"_s));
}

TEST_F(XWaylandTest, theKeyIsNotTakenFromX11WindowsOnly) {
    ShortcutsPortal portal({u"--refuses"_s}, mutter->environment());
    launch({u"--show"_s});
    ASSERT_TRUE(appears());
    ASSERT_TRUE(portal.hears(u"Session.Close"_s));
    xdotool({u"key"_s, u"Shift_L"_s});
    xdotool({u"key"_s, u"Escape"_s});
    ASSERT_TRUE(disappears());
    xdotool({u"key"_s, u"alt+k"_s});
    EXPECT_FALSE(eventually([this] { return !panel().isEmpty(); }, 500));
}
