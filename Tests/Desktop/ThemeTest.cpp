// The settings' window in the colours of a desktop that tells them by its X11 settings daemon
// alone.

#include "DesktopTest.h"
#include "Platform/Linux/X11/X11Replies.h"

#include <gtest/gtest.h>

#include <csignal>

using namespace corvid;
using namespace corvid::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class ThemeTest : public DesktopTest {
protected:
    ~ThemeTest() override { stopDaemon(); }

    void publish(const QString &theme) const {
        writeFile(configuration(), u"Net/ThemeName \"%1\"\n"_s.arg(theme));
    }
    void startDaemon() {
        makeDependent(daemon_);
        daemon_.setProcessEnvironment(server.environment());
        daemon_.start(u"xsettingsd"_s, {u"-c"_s, configuration()});
        ASSERT_TRUE(daemon_.waitForStarted());
    }
    void stopDaemon() {
        daemon_.kill();
        daemon_.waitForFinished();
    }
    void openSettings(const QString &desktop = {}) {
        makeDependent(program);
        QProcessEnvironment environment = home.environment(server.environment());
        environment.insert(u"XDG_CURRENT_DESKTOP"_s, desktop);
        program.setProcessEnvironment(environment);
        program.start(executable, {u"--settings"_s});
        ASSERT_TRUE(eventually([this] { return lightness() >= 0; }));
    }
    bool becomesDark() const {
        return eventually([this] { return lightness() >= 0 && lightness() < 90; });
    }
    bool becomesLight() const {
        return eventually([this] { return lightness() > 180; });
    }
    void changeTo(const QString &theme) {
        publish(theme);
        kill(static_cast<pid_t>(daemon_.processId()), SIGHUP);
    }

private:
    QString configuration() const { return home.path(u"xsettingsd.conf"_s); }
    /** Of the window's ground, 0 to 255; below 0 while there is none. */
    int lightness() const {
        const QString window =
            xdotool({u"search"_s, u"--onlyvisible"_s, u"--name"_s, u"^Corvid Settings$"_s});
        const x11::Connection connection = x11::connectTo(server.display());
        const x11::Reply<xcb_get_image_reply_t> pixel(
            xcb_get_image_reply(connection,
                                xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP,
                                              window.toUInt(), 4, 400, 1, 1, ~0U),
                                nullptr));
        return pixel ? xcb_get_image_data(pixel.get())[1] : -1;
    }

    QProcess daemon_;
};

} // namespace

TEST_F(ThemeTest, aDarkThemeMakesTheSettingsDarkAndTheyFollowItLive) {
    publish(u"Greybird"_s);
    startDaemon();
    openSettings();
    EXPECT_TRUE(becomesLight());
    changeTo(u"Greybird-dark"_s);
    EXPECT_TRUE(becomesDark());
    changeTo(u"Adwaita"_s);
    EXPECT_TRUE(becomesLight());
}

TEST_F(ThemeTest, aDaemonThatStartsLaterIsHeardAndOneThatEndsCountsNoMore) {
    openSettings();
    EXPECT_TRUE(becomesLight());
    publish(u"Arc-Dark"_s);
    startDaemon();
    EXPECT_TRUE(becomesDark());
    stopDaemon();
    EXPECT_TRUE(becomesLight());
}

// GTK would weigh more than the whole rest of the program.
TEST_F(ThemeTest, noThemeOfTheToolkitsIsLoadedOnADesktopOfGtks) {
    openSettings(u"XFCE"_s);
    const QString loaded = readFile(u"/proc/%1/maps"_s.arg(program.processId()));
    EXPECT_TRUE(loaded.contains("libqxcb.so"_L1));
    EXPECT_FALSE(loaded.contains("/platformthemes/"_L1));
    EXPECT_FALSE(loaded.contains("libgtk-3"_L1));
}
