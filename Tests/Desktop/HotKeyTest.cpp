// No key is lost: what a person types after the hot key lands in the search field, in order and
// completely, however fast it comes. The whole program with real key presses.

#include "Worlds/KeyGrabs.h"
#include "Worlds/LaunchWorld.h"
#include "Worlds/WindowBefore.h"
#include "Worlds/XServer.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <string_view>

using namespace corvid::test;
using namespace Qt::Literals::StringLiterals;

namespace {

const QString executable = QStringLiteral(CORVID_BUILD_FOLDER "/corvid");

// Modifiers of a hot key, as they are stored.
constexpr int super = 0x100;
constexpr int alt = 0x800;
constexpr int control = 0x1000;

const Keys hotKey{altKey, kKey, -kKey, -altKey};
const Keys submit = stroke(returnKey);
constexpr int rounds = 20;

class HotKeyTest : public ::testing::TestWithParam<const char *> {
protected:
    HotKeyTest() {
        QProcessEnvironment environment = server.environment();
        environment.insert(u"NO_AT_BRIDGE"_s, u"1"_s);
        const bool isOpenbox = std::string_view(GetParam()) == "openbox";
        if (!isOpenbox) { // it reads its settings over the session bus
            managersBus_.emplace(QStringList{u"org.xfce.Xfconf"_s}, environment);
            environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, managersBus_->address());
        }
        manager_.setProcessEnvironment(environment);
        makeDependent(manager_);
        manager_.start(isOpenbox ? u"openbox"_s : u"xfwm4"_s,
                       {isOpenbox ? u"--sm-disable"_s : u"--compositor=off"_s});
        EXPECT_TRUE(manager_.waitForStarted());
        // While a window manager starts it may leave a window alone until the next one wakes it.
        // All of them stay: it may take one for an earlier one of the same number that is gone.
        EXPECT_TRUE(eventually([this] {
            other = windows_.emplace_back(std::make_unique<WindowBefore>(server.display())).get();
            return eventually([this] { return other->hasKeyboard(); }, 500);
        })) << "no window manager";
    }
    ~HotKeyTest() override {
        stop();
        server.endServer();
        manager_.waitForFinished();
    }

    void start(int modifiers = alt) {
        writeFile(defaults(), u"{\"hotkeyKeyCode\": 40, \"hotkeyModifiers\": %1}"_s.arg(modifiers));
        QProcessEnvironment environment = server.environment();
        environment.insert(u"HOME"_s, home_.path());
        environment.insert(u"XDG_DATA_DIRS"_s, home_.path());
        // Without a word, a bus would be started for it, and stay.
        environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, u"disabled:"_s);
        for (const QString &name : {u"XDG_DATA_HOME"_s, u"XDG_CONFIG_HOME"_s, u"QT_QPA_PLATFORM"_s})
            environment.remove(name);
        program.setProcessEnvironment(environment);
        makeDependent(program);
        program.start(executable, {});
        const Keys modifierKey{modifiers == alt     ? altKey
                               : modifiers == super ? superKey
                                                    : controlKey};
        const std::uint16_t mask = modifiers == alt     ? XCB_MOD_MASK_1
                                   : modifiers == super ? XCB_MOD_MASK_4
                                                        : XCB_MOD_MASK_CONTROL;
        ASSERT_TRUE(eventually([&] { return isGrabbed(server.display(), kKey, mask); }));
        other->press({modifierKey.front(), kKey, -kKey, -modifierKey.front()});
        ASSERT_TRUE(eventually([this] { return other->panelHasKeyboard(); }));
        other->press(stroke(escapeKey));
        ASSERT_TRUE(eventually([this] { return other->hasKeyboard(); }));
        other->forgetKeys();
    }

    void stop() {
        program.terminate();
        if (!program.waitForFinished(30'000))
            program.kill();
        program.waitForFinished();
    }

    void xdotool(const QStringList &arguments) const {
        QProcess tool;
        tool.setProcessEnvironment(server.environment());
        tool.start(u"xdotool"_s, arguments);
        EXPECT_TRUE(tool.waitForFinished());
    }

    void pressAndExpect(const Keys &keys, const QString &text) {
        other->press(keys);
        expect(text);
    }
    /** That Return was pressed on exactly this text, and who had the keyboard before and has it
        again got none of it. */
    void expect(const QString &text) {
        ASSERT_TRUE(eventually([&] { return queries().contains(text); }))
            << qPrintable(text) << " is not among " << qPrintable(queries().join(u' '));
        ASSERT_TRUE(eventually([this] { return other->hasKeyboard(); }));
        for (const int key : other->keys())
            ASSERT_TRUE(isNoLetter(key)) << key;
        typeElsewhere();
    }
    /** What a person typed there last, a window manager may think of when the panel wants the
        focus. */
    void typeElsewhere() {
        other->press(stroke(KEY_1 + codeOffset));
        ASSERT_TRUE(eventually([this] { return !other->keys().empty(); }));
    }
    void signalManager(int signal) const { kill(static_cast<pid_t>(manager_.processId()), signal); }
    QStringList queries() const {
        return QJsonDocument::fromJson(readFile(defaults()).toUtf8())
            .object()[u"queryLatches"_s]
            .toObject()
            .keys();
    }

    XServer server{XServer::Manager::None};
    WindowBefore *other = nullptr;
    QProcess program;

private:
    QString defaults() const { return home_.filePath(u".config/Corvid/defaults.json"_s); }

    QTemporaryDir home_;
    std::optional<BusOfServices> managersBus_;
    QProcess manager_;
    std::vector<std::unique_ptr<WindowBefore>> windows_;
};

INSTANTIATE_TEST_SUITE_P(Under, HotKeyTest, ::testing::Values("openbox", "xfwm4"),
                         [](const auto &tested) { return std::string(tested.param); });

} // namespace

TEST_P(HotKeyTest, theHotKeyAndTwelveLettersAtOnce) {
    ASSERT_NO_FATAL_FAILURE(start());
    for (int round = 0; round < rounds; ++round) {
        const QString letters = twelveLetters(round);
        ASSERT_NO_FATAL_FAILURE(pressAndExpect(hotKey + typing(letters) + submit, letters));
    }
}

TEST_P(HotKeyTest, theHotKeyAndTwelveLettersFromAToolThatWaitsForNothing) {
    ASSERT_NO_FATAL_FAILURE(start());
    for (int round = 0; round < rounds; ++round) {
        const QString letters = twelveLetters(round);
        QStringList arguments{u"key"_s, u"--delay"_s, u"0"_s, u"alt+k"_s};
        for (const QChar letter : letters)
            arguments << QString(letter);
        xdotool(arguments << u"Return"_s);
        ASSERT_NO_FATAL_FAILURE(expect(letters));
    }
}

TEST_P(HotKeyTest, onALoadedMachineLettersLandInThePanelOrNowhere) {
    ASSERT_NO_FATAL_FAILURE(start());
    std::array<QProcess, 4> load;
    for (QProcess &process : load) {
        makeDependent(process);
        process.start(u"sh"_s, {u"-c"_s, u"while :; do :; done"_s});
        ASSERT_TRUE(process.waitForStarted());
    }
    QStringList texts;
    for (int round = 0; round < rounds; ++round) {
        texts.append(twelveLetters(round));
        other->press(hotKey + typing(texts.back()) + submit);
        // A panel that came too late for the letters has got no Return either, and stays.
        ASSERT_TRUE(eventually([&] {
            if (other->panelHasKeyboard()) {
                other->press(stroke(escapeKey));
                return true;
            }
            return queries().contains(texts.back());
        }));
        ASSERT_TRUE(eventually([this] { return other->hasKeyboard(); }));
        for (const int key : other->keys())
            ASSERT_TRUE(isNoLetter(key)) << key;
        typeElsewhere();
    }
    for (QProcess &process : load) {
        process.kill();
        process.waitForFinished();
    }
    stop();
    const QStringList landed = queries();
    for (const QString &query : landed)
        EXPECT_TRUE(texts.contains(query)) << qPrintable(query) << " is a part of a text";
}

TEST_P(HotKeyTest, lettersForAPanelThatComesTooLateGoNowhere) {
    ASSERT_NO_FATAL_FAILURE(start());
    signalManager(SIGSTOP); // which lets no window appear
    other->press(hotKey + typing(u"meanwhile"_s) + submit);
    // Until the keyboard is there again, which is given up to the window before.
    ASSERT_TRUE(eventually([this] {
        other->press(stroke(KEY_1 + codeOffset));
        return !other->keys().empty() && other->keys().back() == KEY_1 + codeOffset;
    }));
    for (const int key : other->keys())
        EXPECT_TRUE(isNoLetter(key)) << key;
    signalManager(SIGCONT);
    EXPECT_TRUE(eventually([this] { return other->panelHasKeyboard(); }));
    ASSERT_NO_FATAL_FAILURE(pressAndExpect(typing(u"afterwards"_s) + submit, u"afterwards"_s));
    EXPECT_FALSE(queries().contains(u"meanwhile"_s));
}

TEST_P(HotKeyTest, lettersThatComeBeforeTheHotKeyIsReleasedArePlainText) {
    for (const auto &[modifiers, modifier] :
         {std::pair{alt, altKey}, {super, superKey}, {control, controlKey}}) {
        ASSERT_NO_FATAL_FAILURE(start(modifiers));
        // None that is a combination of its own with one of the modifiers: K is the hot key again,
        // and openbox takes Super with D and E.
        for (const QString &letters : {u"abcfghijlmno"_s, u"zyxwvutsrqpo"_s}) {
            ASSERT_NO_FATAL_FAILURE(pressAndExpect(Keys{modifier, kKey} + typing(letters.left(6)) +
                                                       Keys{-kKey} + typing(letters.mid(6)) +
                                                       submit + Keys{-modifier},
                                                   letters))
                << modifiers;
        }
        stop();
    }
}

TEST_P(HotKeyTest, capsLockAndNumLockDoNotMatter) {
    ASSERT_NO_FATAL_FAILURE(start());
    int round = 0;
    for (const int lock : {capsLockKey, numLockKey, capsLockKey}) { // Caps, both, Num
        other->press(stroke(lock));
        for (int i = 0; i < 3; ++i) {
            const QString letters = twelveLetters(++round);
            ASSERT_NO_FATAL_FAILURE(pressAndExpect(hotKey + typing(letters) + submit, letters))
                << lock;
        }
    }
}

TEST_P(HotKeyTest, lettersArriveInTheSecondLayoutThatIsInUse) {
    QString keys = u"abdefghijlmn"_s;
    QString letters = u"фивуапршодьт"_s;
    ASSERT_NO_FATAL_FAILURE(start(control));
    QProcess layouts;
    layouts.setProcessEnvironment(server.environment());
    layouts.start(u"setxkbmap"_s, {u"us,ru"_s, u"-option"_s, u"grp:caps_toggle"_s});
    ASSERT_TRUE(layouts.waitForFinished());
    other->press(stroke(capsLockKey));
    // The other programs hear of the new keyboard some time after. Each attempt is a query of its
    // own, whichever letters it has become, and the next one begins when it has ended.
    for (bool heard = false; !heard; heard = queries().contains(letters)) {
        keys = keys.mid(1) + keys.first(1);
        letters = letters.mid(1) + letters.first(1);
        const qsizetype before = queries().size();
        other->press(Keys{controlKey, kKey, -kKey, -controlKey} + typing(keys) + submit);
        ASSERT_TRUE(eventually([&] { return queries().size() > before; }));
        ASSERT_TRUE(eventually([this] { return other->hasKeyboard(); }));
    }
    ASSERT_NO_FATAL_FAILURE(pressAndExpect(Keys{controlKey, kKey} + typing(keys.right(6)) + submit +
                                               Keys{-kKey, -controlKey},
                                           letters.right(6)));
}

TEST_P(HotKeyTest, showingHidingAndShowingAtOnce) {
    ASSERT_NO_FATAL_FAILURE(start());
    for (int round = 0; round < rounds; ++round) {
        const QString letters = twelveLetters(round);
        ASSERT_NO_FATAL_FAILURE(
            pressAndExpect(hotKey + hotKey + hotKey + typing(letters) + submit, letters));
    }
}

TEST_P(HotKeyTest, aStoppedProgramGetsItsKeysWhenItRunsOn) {
    ASSERT_NO_FATAL_FAILURE(start());
    kill(static_cast<pid_t>(program.processId()), SIGSTOP);
    other->press(hotKey + typing(u"meanwhile"_s) + submit);
    EXPECT_EQ(other->keys(), Keys{altKey});
    kill(static_cast<pid_t>(program.processId()), SIGCONT);
    ASSERT_NO_FATAL_FAILURE(expect(u"meanwhile"_s));
}

TEST_P(HotKeyTest, aProgramThatDiesGivesTheKeyboardBack) {
    ASSERT_NO_FATAL_FAILURE(start());
    kill(static_cast<pid_t>(program.processId()), SIGSTOP);
    other->press(hotKey + typing(u"ab"_s));
    EXPECT_EQ(other->keys(), Keys{altKey});
    program.kill();
    EXPECT_TRUE(eventually([this] {
        return other->keys() == Keys{altKey, KEY_A + codeOffset, KEY_B + codeOffset};
    }));
}
