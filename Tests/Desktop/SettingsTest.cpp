// The settings as a person uses them: a real X server with a window manager and real keys.

#include "DesktopTest.h"
#include "Worlds/EventuallyAfter.h"
#include "Worlds/FileChooser.h"

#include <QDirIterator>
#include <QJsonArray>

#include <gtest/gtest.h>

using namespace corvid::test;
using namespace Qt::Literals::StringLiterals;

namespace {

const QString settings = u"Corvid Settings"_s;

[[maybe_unused]] auto *const sessionBus = ::testing::AddGlobalTestEnvironment(new PrivateBus);

class SettingsTest : public DesktopTest {
protected:
    bool settingsHaveKeyboard() const {
        return eventually([this] {
            return xdotool({u"getwindowfocus"_s, u"getwindowname"_s}) == settings;
        });
    }
    bool settingsAreVisible() const {
        return !xdotool({u"search"_s, u"--onlyvisible"_s, u"--name"_s, settings}).isEmpty();
    }
    /** Starts with the settings and another window, which had the keyboard before. */
    void openSettings() {
        makeDependent(program);
        program.setProcessEnvironment(environment());
        program.start(executable, {u"--settings"_s});
        ASSERT_TRUE(settingsHaveKeyboard());
    }
    /** The program's: without a bus. */
    virtual QProcessEnvironment environment() const {
        return home.environment(server.environment());
    }
    void chooseSetUpAI() const {
        type(u"ai x"_s);
        press(u"Down"_s); // from the row that asks
        press(u"Return"_s);
    }
    void focusOther() {
        // The window manager may still be about to give the keyboard to the settings.
        EXPECT_TRUE(eventually([this] {
            xdotool({u"windowactivate"_s, u"--sync"_s, other.window()});
            return xdotool({u"getwindowfocus"_s, u"getwindowname"_s}) != settings;
        }));
    }
    bool stored(int keyCode, int modifiers) const {
        return eventually([&] {
            return home.defaults()[u"hotkeyKeyCode"_s] == keyCode &&
                   home.defaults()[u"hotkeyModifiers"_s] == modifiers;
        });
    }
    /** Opens the settings anew each time, so that the keyboard is on the button that records. */
    void record(const QString &keys, int keyCode, int modifiers) {
        press(u"space"_s);
        // The hot key of before is given back in the background.
        EXPECT_TRUE(eventually([&] {
            press(keys);
            return eventually([&] { return home.defaults()[u"hotkeyKeyCode"_s] == keyCode; }, 300);
        })) << qPrintable(keys);
        EXPECT_TRUE(stored(keyCode, modifiers)) << qPrintable(keys);
    }
    /** With Return, which is for the default button. */
    void save() {
        press(u"Return"_s);
        EXPECT_TRUE(eventually([this] { return !settingsAreVisible(); }));
    }
    /** The program takes its hot key in the background, so a first press may come too early. */
    bool panelComesBy(const QString &keys) const {
        return eventuallyAfter([&] { press(keys); }, [this] { return panelHasKeyboard(); });
    }
    void expectPanelBy(const QString &keys) {
        EXPECT_TRUE(panelComesBy(keys)) << qPrintable(keys);
        press(u"Escape"_s);
        EXPECT_TRUE(eventually([this] { return !panelIsVisible(); }));
    }

    XClient other{server, {u"other"_s, u"Other"_s, u"--managed"_s}};
};

/** With the services of a session bus. */
class SettingsOnBusTest : public SettingsTest {
protected:
    QProcessEnvironment environment() const override {
        QProcessEnvironment result = SettingsTest::environment();
        result.insert(u"DBUS_SESSION_BUS_ADDRESS"_s,
                      qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"));
        return result;
    }
    int openAgain() {
        QProcess second;
        second.setProcessEnvironment(environment());
        second.start(executable, {u"--settings"_s});
        second.waitForFinished();
        return second.exitCode();
    }
    void quit() {
        program.terminate();
        EXPECT_TRUE(program.waitForFinished());
    }
};

/** A keyring that is unlocked, as after logging in. Its files are below the program's home. */
class Keyring {
public:
    explicit Keyring(const QProcessEnvironment &environment, const QString &controlFolder)
        : environment_(environment) {
        makeDependent(daemon_);
        daemon_.setProcessEnvironment(environment);
        daemon_.start(u"gnome-keyring-daemon"_s,
                      {u"--foreground"_s, u"--unlock"_s, u"--components=secrets"_s,
                       u"--control-directory="_s + controlFolder});
        daemon_.write("password");
        daemon_.closeWriteChannel();
        // Asked earlier, the bus would start another one.
        EXPECT_TRUE(eventually([this] {
            return ask(u"org.freedesktop.DBus"_s, {u"/"_s, u"org.freedesktop.DBus.NameHasOwner"_s,
                                                   u"string:org.freedesktop.secrets"_s})
                .contains("boolean true");
        }));
        EXPECT_TRUE(eventually([this] {
            return ask(u"org.freedesktop.secrets"_s,
                       {u"/org/freedesktop/secrets/collection/login"_s,
                        u"org.freedesktop.DBus.Peer.Ping"_s})
                .contains("method return");
        }));
    }
    Keyring(const Keyring &) = delete;
    Keyring &operator=(const Keyring &) = delete;
    ~Keyring() {
        daemon_.terminate();
        daemon_.waitForFinished();
    }

    QByteArray key() const {
        return run(u"secret-tool"_s, {u"lookup"_s, u"service"_s, u"app.corvid.launcher"_s,
                                      u"account"_s, u"ai-api-key"_s});
    }

private:
    QByteArray ask(const QString &service, const QStringList &arguments) const {
        return run(u"dbus-send"_s,
                   QStringList{u"--session"_s, u"--print-reply"_s, u"--dest="_s + service} +
                       arguments);
    }
    QByteArray run(const QString &program, const QStringList &arguments) const {
        QProcess process;
        process.setProcessEnvironment(environment_);
        process.start(program, arguments);
        process.waitForFinished();
        return process.readAllStandardOutput();
    }

    QProcessEnvironment environment_;
    QProcess daemon_;
};

} // namespace

TEST_F(SettingsTest, theWindowHasTheProgramsIcon) {
    const QString icons = home.path(u".local/share/icons/hicolor"_s);
    QDir().mkpath(icons + u"/scalable/apps"_s);
    const QString icon = u"/app.corvid.Launcher.svg"_s;
    ASSERT_TRUE(QFile::copy(QStringLiteral(CORVID_BUILD_FOLDER "/../packaging/icons") + icon,
                            icons + u"/scalable/apps"_s + icon));
    openSettings();
    EXPECT_TRUE(run(u"xprop"_s, {u"-name"_s, settings, u"_NET_WM_ICON"_s}).contains(u"Icon ("_s));
}

TEST_F(SettingsTest, aHotKeyWithSuperIsRecordedSavedAndSummonsThePanel) {
    ASSERT_NO_FATAL_FAILURE(openSettings());
    record(u"super+j"_s, 38, 0x100);
    save();
    expectPanelBy(u"super+j"_s);
    EXPECT_EQ(home.defaults()[u"aiModel"_s].toString(), u"gpt-4o-mini");
    press(u"alt+k"_s);
    EXPECT_TRUE(eventually([this] { return !panelIsVisible(); })) << "the one before is gone";
}

TEST_F(SettingsTest, aHotKeyWithAltWorksBeforeItIsSaved) {
    ASSERT_NO_FATAL_FAILURE(openSettings());
    record(u"alt+shift+j"_s, 38, 0xA00);
    EXPECT_TRUE(panelComesBy(u"alt+shift+j"_s));
}

TEST_F(SettingsTest, aMnemonicIsRecordedInsteadOfDone) {
    ASSERT_NO_FATAL_FAILURE(openSettings());
    record(u"alt+s"_s, 1, 0x800);
    EXPECT_TRUE(settingsAreVisible()) << "Save";
    EXPECT_TRUE(panelComesBy(u"alt+s"_s));
}

TEST_F(SettingsTest, theHotKeyItselfDoesNotFireWhileRecordingAndCanBeRecordedAgain) {
    ASSERT_NO_FATAL_FAILURE(openSettings());
    record(u"ctrl+j"_s, 38, 0x1000);
    press(u"space"_s);
    // It fires until it is given back in the background; recorded, it is stored as before.
    xdotool({u"sleep"_s, u"0.3"_s, u"key"_s, u"ctrl+j"_s});
    EXPECT_FALSE(panelIsVisible());
    EXPECT_TRUE(settingsHaveKeyboard());
    EXPECT_TRUE(stored(38, 0x1000));
    expectPanelBy(u"ctrl+j"_s);
}

TEST_F(SettingsTest, aCancelledRecordingLeavesTheHotKeyAsItWas) {
    ASSERT_NO_FATAL_FAILURE(openSettings());
    press(u"space"_s);
    press(u"space"_s);
    expectPanelBy(u"alt+k"_s);
    EXPECT_TRUE(stored(40, 0x800));
}

TEST_F(SettingsTest, anArrowAloneIsACombinationForWhichAltStands) {
    ASSERT_NO_FATAL_FAILURE(openSettings());
    record(u"Left"_s, 123, 0);
    expectPanelBy(u"alt+Left"_s);
}

TEST_F(SettingsTest, aPlainLetterPassesAndWithCapsLockOnItIsACombination) {
    ASSERT_NO_FATAL_FAILURE(openSettings());
    press(u"space"_s);
    // Into the model's field, over what it holds.
    xdotool({u"key"_s, u"Tab"_s, u"Tab"_s, u"Tab"_s, u"j"_s, u"h"_s});
    press(u"Caps_Lock"_s);
    press(u"j"_s);
    press(u"Caps_Lock"_s);
    EXPECT_TRUE(stored(38, 0));
    save();
    EXPECT_TRUE(eventually([this] { return home.defaults()[u"aiModel"_s] == u"jh"_s; }));
    expectPanelBy(u"alt+j"_s);
}

TEST_F(SettingsTest, theRowThatSetsUpAIOpensThemInFront) {
    launch();
    chooseSetUpAI();
    EXPECT_TRUE(settingsHaveKeyboard());
    EXPECT_FALSE(panelIsVisible());
}

TEST_F(SettingsTest, openingThemAgainBringsThemToTheFrontWithTheKeyboard) {
    ASSERT_NO_FATAL_FAILURE(openSettings());
    focusOther();
    EXPECT_TRUE(panelComesBy(u"alt+k"_s));
    chooseSetUpAI();
    EXPECT_TRUE(settingsHaveKeyboard());
}

TEST_F(SettingsTest, openingThemSaysNothingOnStandardError) {
    ASSERT_NO_FATAL_FAILURE(openSettings());
    save();
    program.terminate();
    EXPECT_TRUE(program.waitForFinished());
    QStringList lines =
        QString::fromUtf8(program.readAllStandardError()).split(u'\n', Qt::SkipEmptyParts);
    lines.removeIf([](const QString &line) { return line.contains(u"XDG_RUNTIME_DIR"_s); });
    EXPECT_EQ(lines, QStringList()) << "the toolkit complains";
}

TEST_F(SettingsTest, theWindowHasItsSizeAndItsPlaceAmidTheScreen) {
    ASSERT_NO_FATAL_FAILURE(openSettings());
    const QStringList geometry =
        xdotool({u"search"_s, u"--name"_s, settings, u"getwindowgeometry"_s, u"--shell"_s})
            .split(u'\n');
    EXPECT_TRUE(geometry.contains(u"WIDTH=480"_s) && geometry.contains(u"HEIGHT=420"_s));
    const auto number = [&](const QString &name) {
        return geometry.filter(name).value(0).section(u'=', 1).toInt();
    };
    constexpr int frame = 45; // of which this tool counts some twice
    EXPECT_NEAR(number(u"X="_s), (800 - 480) / 2, frame);
    EXPECT_NEAR(number(u"Y="_s), (600 - 420) / 2, frame);
}

TEST_F(SettingsOnBusTest, theKeyIsInTheKeyringAfterSaveAndInNoFileAndAnEmptyFieldLeavesIt) {
    const Keyring keyring(environment(), home.path(u"control"_s));
    const QByteArray key = "sk-typed-0123456789";
    const auto enterKey = [this](const QString &text) {
        for (int i = 0; i < 4; ++i) // from the button on which the keyboard is at first
            press(u"Tab"_s);
        press(u"ctrl+a"_s);
        press(u"BackSpace"_s);
        if (!text.isEmpty())
            type(text);
        save();
    };
    ASSERT_NO_FATAL_FAILURE(openSettings());
    enterKey(QString::fromUtf8(key));
    EXPECT_TRUE(eventually([&] { return keyring.key() == key; }));
    EXPECT_EQ(openAgain(), 0);
    ASSERT_TRUE(settingsHaveKeyboard());
    enterKey(QString());
    quit(); // returns when all is stored
    EXPECT_EQ(keyring.key(), key);
    EXPECT_EQ(home.defaults()[u"aiModel"_s].toString(), u"gpt-4o-mini") << "saved all the same";
    int files = 0;
    QDirIterator all(home.path({}), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (all.hasNext()) {
        QFile file(all.next());
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        EXPECT_FALSE(file.readAll().contains(key)) << qPrintable(file.fileName());
        ++files;
    }
    EXPECT_GE(files, 5) << "among them the settings, both caches and the keyring";
}

TEST_F(SettingsOnBusTest, foldersComeFromTheDesktopsOwnDialogAboveTheWindow) {
    FileChooser chooser(3, environment());
    ASSERT_NO_FATAL_FAILURE(openSettings());
    press(u"alt+a"_s);
    ASSERT_TRUE(chooser.was(u"OpenFile"_s));
    const QString window = xdotool({u"search"_s, u"--name"_s, settings});
    EXPECT_TRUE(chooser.told().contains(u"('x11:%1'"_s.arg(window.toULongLong(), 0, 16)))
        << qPrintable(chooser.told());
    chooser.answer("0 file:///one file:///t%20wo");
    const QJsonValue roots = QJsonArray{home.path(u"Code"_s), u"/one"_s, u"/t wo"_s};
    EXPECT_TRUE(eventually([&] { return home.defaults()[u"projectRoots"_s] == roots; }));
}

TEST_F(SettingsOnBusTest, theTraysMenuOpensThemInFront) {
    QProcess tray;
    makeDependent(tray);
    tray.setProcessEnvironment(environment());
    tray.start(QStringLiteral(CORVID_BUILD_FOLDER "/tests/corvid_status_watcher"), {});
    QString told;
    makeDependent(program);
    program.setProcessEnvironment(environment());
    ASSERT_TRUE(tray.waitForReadyRead(60'000));
    program.start(executable, {u"--show"_s});
    ASSERT_TRUE(eventually([&] {
        told += QString::fromUtf8(tray.readAllStandardOutput());
        return told.contains(u"item "_s);
    }));
    const QString item = told.section(u"item "_s, 1).section(u'\n', 0, 0);
    const auto askMenu = [&](const QStringList &arguments) {
        QProcess process;
        process.setProcessEnvironment(environment());
        process.start(u"dbus-send"_s, QStringList{u"--session"_s, u"--print-reply"_s,
                                                  u"--dest="_s + item, u"/MenuBar"_s} +
                                          arguments);
        process.waitForFinished();
        return QString::fromUtf8(process.readAllStandardOutput());
    };
    const QString layout = askMenu({u"com.canonical.dbusmenu.GetLayout"_s, u"int32:0"_s,
                                    u"int32:-1"_s, u"array:string:label"_s});
    const QString before = layout.section(u"Settings…"_s, 0, 0);
    const QString number = before.sliced(before.lastIndexOf(u"int32 "_s) + 6).section(u'\n', 0, 0);
    for (int round = 0; round < 2; ++round) {
        focusOther();
        askMenu({u"com.canonical.dbusmenu.Event"_s, u"int32:"_s + number, u"string:clicked"_s,
                 u"variant:string:"_s, u"uint32:0"_s});
        EXPECT_TRUE(settingsHaveKeyboard()) << round;
    }
    tray.kill();
    tray.waitForFinished();
}
