// The hot key of a Wayland session in the whole program: from a scripted portal, and from KDE's
// real one with its daemon of global shortcuts, which takes the keys of an X server of its own.

#include "Worlds/ShortcutsPortal.h"
#include "DesktopTest.h"
#include "Platform/Linux/Bus/PortalHotKeys.h"
#include "Worlds/KeyGrabs.h"
#include "Worlds/Sway.h"

#include <QStandardPaths>

#include <gtest/gtest.h>

#include <linux/input-event-codes.h>
#include <thread>

using namespace corvid::test;
using namespace Qt::Literals::StringLiterals;

namespace {

const QStringList settings{u"output * bg #ff00ff solid_color"_s, u"output * mode 1280x800"_s};
const QRect place(310, 176, 660, 440);

class ShortcutsPortalTest : public ::testing::Test {
protected:
    ShortcutsPortalTest() { Sway::giveAway(home.path({})); }
    ~ShortcutsPortalTest() override {
        const bool ran = program.state() == QProcess::Running;
        end(program);
        EXPECT_TRUE(!ran || program.exitStatus() == QProcess::NormalExit);
        for (auto service = services_.rbegin(); service != services_.rend(); ++service)
            end(**service);
    }

    /** Of a session bus with everything of one desktop. */
    QProcessEnvironment environment() const {
        const QProcessEnvironment session = sway.environment();
        QProcessEnvironment result = home.environment(session);
        for (const QString &name : {u"WAYLAND_DISPLAY"_s, u"DBUS_SESSION_BUS_ADDRESS"_s})
            result.insert(name, session.value(name));
        return result;
    }
    void launch() {
        Sway::prepare(program);
        program.setProcessEnvironment(environment());
        program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        program.start(executable, {u"--sticky"_s});
        EXPECT_TRUE(home.waitForCatalogs());
    }
    /** Returns when the name is on the bus. */
    void serve(const QString &executablePath, const QString &name,
               const QProcessEnvironment &where) {
        QProcess &service = *services_.emplace_back(std::make_unique<QProcess>());
        Sway::prepare(service);
        service.setProcessEnvironment(where);
        service.setStandardOutputFile(QProcess::nullDevice());
        service.setStandardErrorFile(QProcess::nullDevice());
        service.start(executablePath, {});
        EXPECT_TRUE(eventually([&] {
            return sway
                .run(u"dbus-send"_s,
                     {u"--session"_s, u"--print-reply"_s, u"--dest=org.freedesktop.DBus"_s, u"/"_s,
                      u"org.freedesktop.DBus.NameHasOwner"_s, u"string:"_s + name})
                .contains("true");
        })) << qPrintable(name);
    }

    bool appears() const {
        return eventually([this] { return panelIsVisible(); });
    }
    bool disappears() const {
        return eventually([this] { return !panelIsVisible(); });
    }
    // Its card is dark, what is around it is magenta.
    bool panelIsVisible() const { return qRed(sway.picture().pixel(place.center())) < 128; }

    Home home;
    Sway sway{settings};
    QProcess program;

private:
    static void end(QProcess &process) {
        process.terminate();
        if (!process.waitForFinished(30'000))
            process.kill();
        process.waitForFinished();
    }

    std::vector<std::unique_ptr<QProcess>> services_;
};

class KdePortalTest : public ShortcutsPortalTest {
protected:
    void SetUp() override {
        if (find(daemon_).isEmpty())
            daemon_ = u"kglobalacceld"_s; // as Plasma 6 calls it
        for (QString *part : {&daemon_, &backend_, &portal_}) {
            const QString found = find(*part);
            if (found.isEmpty())
                GTEST_SKIP() << qPrintable(*part) << " is not installed";
            *part = found;
        }
        QProcessEnvironment kde = sway.environment();
        kde.remove(u"WAYLAND_DISPLAY"_s);
        kde.insert(u"DISPLAY"_s, QString::fromLatin1(keyboard.display()));
        kde.insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
        kde.insert(u"XDG_CURRENT_DESKTOP"_s, u"KDE"_s);
        kde.insert(u"XDG_DATA_DIRS"_s, u"/usr/share"_s);
        kde.insert(u"QT_QUICK_BACKEND"_s, u"software"_s); // the server may draw nothing else
        // Newer portals hear only programs that are installed.
        const QString data = sway.path(u".local"_s);
        writeFile(data + u"/share/applications/app.corvid.Launcher.desktop"_s,
                  u"[Desktop Entry]\nType=Application\nName=Corvid\nExec=%1\n"_s.arg(executable));
        Sway::giveAway(data);
        serve(daemon_, u"org.kde.kglobalaccel"_s, kde);
        serve(backend_, u"org.freedesktop.impl.portal.desktop.kde"_s, kde);
        serve(portal_, u"org.freedesktop.portal.Desktop"_s, kde);
    }

    /** Returns what it ended with. */
    int xdotool(const QStringList &arguments) const {
        QProcess tool;
        tool.setProcessEnvironment(keyboard.environment());
        tool.start(u"xdotool"_s, arguments);
        EXPECT_TRUE(tool.waitForFinished());
        return tool.exitCode();
    }
    /** Newer backends ask the user whether a program may have the key. Says yes. */
    void agree() const {
        if (xdotool({u"search"_s, u"--onlyvisible"_s, u"--class"_s,
                     u"^xdg-desktop-portal-kde$"_s}) == 0)
            xdotool({u"key"_s, u"Return"_s});
    }
    /** Lets so much time pass before that it is a press of its own: the daemon takes the keyboard's
        keys from an X server here, and may miss that the one before was released. */
    void pressAnew(const QStringList &arguments) const {
        std::this_thread::sleep_for(corvid::PortalHotKeys::usualRepeat);
        xdotool(arguments);
    }
    /** Presses when the key is taken, until when it would do nothing. Again, should nothing come of
        it: the daemon takes the key before the portal knows whose it is. */
    bool summon(const QString &keys, int key, std::uint16_t modifiers) const {
        const bool taken = eventually([&] {
            agree();
            return isGrabbed(keyboard.display(), static_cast<std::uint8_t>(key + 8), modifiers);
        });
        return taken && eventually([&] {
                   pressAnew({u"key"_s, keys});
                   return eventually([this] { return panelIsVisible(); }, 10'000);
               });
    }

    XServer keyboard; // its manager gives what the backend asks the keyboard

private:
    static QString find(const QString &program) {
        return QStandardPaths::findExecutable(program, {u"/usr/bin"_s, u"/usr/libexec"_s,
                                                        u"/usr/lib/x86_64-linux-gnu/libexec"_s,
                                                        u"/usr/lib/aarch64-linux-gnu/libexec"_s});
    }

    QString daemon_ = u"kglobalaccel5"_s;
    QString backend_ = u"xdg-desktop-portal-kde"_s;
    QString portal_ = u"xdg-desktop-portal"_s;
};

} // namespace

TEST_F(ShortcutsPortalTest, theKeyShowsAndHidesThePanel) {
    ShortcutsPortal portal({}, sway.environment(), Sway::prepare);
    launch();
    ASSERT_TRUE(portal.hears(u"BindShortcuts toggle-ALT+k ALT+k"_s));
    for (int round = 0; round < 2; ++round) {
        portal.tell("press");
        portal.tell("release");
        EXPECT_TRUE(appears());
        portal.tell("press");
        portal.tell("release");
        EXPECT_TRUE(disappears());
    }
}

TEST_F(ShortcutsPortalTest, whatIsTypedThenGoesToThePanel) {
    ShortcutsPortal portal({}, sway.environment(), Sway::prepare);
    launch();
    ASSERT_TRUE(portal.hears(u"BindShortcuts toggle-ALT+k ALT+k"_s));
    portal.tell("press");
    ASSERT_TRUE(appears());
    sway.type(u"frobn"_s);
    sway.press(u"Return"_s);
    EXPECT_EQ(Trace(home.path(u"app.trace"_s)).arguments(), asItsEntrySays);
}

TEST_F(ShortcutsPortalTest, aPortalThatStartsAgainGivesTheKeyAgain) {
    launch();
    for (int round = 0; round < 2; ++round) {
        ShortcutsPortal portal({}, sway.environment(), Sway::prepare);
        ASSERT_TRUE(portal.hears(u"BindShortcuts toggle-ALT+k ALT+k"_s));
        portal.tell("press");
        EXPECT_TRUE(appears());
        portal.tell("release");
        portal.tell("press");
        EXPECT_TRUE(disappears());
    }
}

TEST_F(ShortcutsPortalTest, withoutOneASecondProcessStillTogglesIt) {
    ShortcutsPortal portal({u"--without"_s}, sway.environment(), Sway::prepare);
    launch();
    QProcess other;
    Sway::prepare(other);
    other.setProcessEnvironment(environment());
    other.start(executable, {u"--toggle"_s});
    ASSERT_TRUE(other.waitForFinished());
    EXPECT_EQ(other.exitCode(), 0);
    EXPECT_TRUE(appears());
}

TEST_F(KdePortalTest, aRealKeyShowsAndHidesThePanel) {
    launch();
    ASSERT_TRUE(summon(u"alt+k"_s, KEY_K, XCB_MOD_MASK_1));
    for (int round = 0; round < 2; ++round) {
        pressAnew({u"key"_s, u"alt+k"_s});
        EXPECT_TRUE(disappears());
        pressAnew({u"key"_s, u"alt+k"_s});
        EXPECT_TRUE(appears());
    }
}

TEST_F(KdePortalTest, aHeldKeyIsOnePress) {
    launch();
    ASSERT_TRUE(summon(u"alt+k"_s, KEY_K, XCB_MOD_MASK_1));
    pressAnew({u"keydown"_s, u"alt"_s, u"keydown"_s, u"k"_s});
    EXPECT_TRUE(disappears());
    // Repeated, the key would bring it back.
    EXPECT_FALSE(eventually([this] { return panelIsVisible(); }, 1'500));
    xdotool({u"keyup"_s, u"k"_s, u"keyup"_s, u"alt"_s});
    EXPECT_TRUE(summon(u"alt+k"_s, KEY_K, XCB_MOD_MASK_1));
}

TEST_F(KdePortalTest, anotherCombinationIsTakenByTheNextStart) {
    launch();
    ASSERT_TRUE(summon(u"alt+k"_s, KEY_K, XCB_MOD_MASK_1));
    program.terminate();
    ASSERT_TRUE(program.waitForFinished());
    writeFile(home.path(u".config/Corvid/defaults.json"_s),
              u"{\"hotkeyKeyCode\": 38, \"hotkeyModifiers\": 256}"_s);
    Sway::giveAway(home.path({}));
    launch();
    ASSERT_TRUE(summon(u"super+j"_s, KEY_J, XCB_MOD_MASK_4));
    xdotool({u"key"_s, u"alt+k"_s});
    EXPECT_FALSE(eventually([this] { return !panelIsVisible(); }, 500)) << "the one before";
    pressAnew({u"key"_s, u"super+j"_s});
    EXPECT_TRUE(disappears());
}
