#include "Platform/Linux/X11/X11HotKeys.h"

#include "Platform/Linux/X11/X11Replies.h"
#include "Worlds/EventLoop.h"
#include "Worlds/QtPrinters.h"
#include "Worlds/ThreadWakes.h"
#include "Worlds/XServer.h"

#include <QDir>
#include <QFile>

#include <linux/input-event-codes.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <memory>
#include <optional>

using namespace corvid;
using namespace corvid::test;
using corvid::x11::Reply;
using namespace std::chrono_literals;

namespace {

// X key codes of positions on the keyboard.
constexpr int offset = 8;
constexpr int spaceKey = KEY_SPACE + offset;
constexpr int aKey = KEY_A + offset;
constexpr int bKey = KEY_B + offset;
constexpr int jKey = KEY_J + offset;
constexpr int altKey = KEY_LEFTALT + offset;
constexpr int superKey = KEY_LEFTMETA + offset;
constexpr int controlKey = KEY_LEFTCTRL + offset;
constexpr int shiftKey = KEY_LEFTSHIFT + offset;
constexpr int capsLockKey = KEY_CAPSLOCK + offset;
constexpr int numLockKey = KEY_NUMLOCK + offset;

constexpr HotKey optionSpace{49, HotKey::option};
constexpr HotKey commandJ{38, HotKey::command};

/** Some other program: may hold keys, and has a window with the keyboard focus. */
class OtherProgram {
public:
    explicit OtherProgram(const XServer &server)
        : connection_(xcb_connect(server.display().constData(), nullptr)) {
        EXPECT_EQ(xcb_connection_has_error(connection_), 0);
        root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
    }
    OtherProgram(const OtherProgram &) = delete;
    OtherProgram &operator=(const OtherProgram &) = delete;
    ~OtherProgram() { xcb_disconnect(connection_); }

    bool canGrab(int key, std::uint16_t modifiers) {
        const Reply<xcb_generic_error_t> error(xcb_request_check(
            connection_,
            xcb_grab_key_checked(connection_, 0, root_, modifiers, static_cast<xcb_keycode_t>(key),
                                 XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC)));
        return !error;
    }
    void releaseKeys() {
        xcb_ungrab_key(connection_, XCB_GRAB_ANY, root_, XCB_MOD_MASK_ANY);
        roundTrip();
    }

    void takeFocus() {
        const xcb_window_t window = xcb_generate_id(connection_);
        const std::uint32_t values[]{1, XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_FOCUS_CHANGE |
                                            XCB_EVENT_MASK_EXPOSURE};
        xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window, root_, 0, 0, 100, 100, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                          XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
        xcb_map_window(connection_, window);
        xcb_set_input_focus(connection_, XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
        roundTrip();
    }
    /** Whether a window manager has come up so far that it takes care of a window. */
    bool isManaged() {
        const xcb_window_t window = xcb_generate_id(connection_);
        const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window, root_, 0, 0, 100, 100, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK,
                          &mask);
        xcb_map_window(connection_, window);
        return eventually([this] {
            takeEvents();
            return managed_;
        });
    }
    /** Key codes pressed while the window had the focus. */
    const std::vector<int> &keys() {
        takeEvents();
        return keys_;
    }
    void forgetKeys() {
        takeEvents();
        keys_.clear();
    }
    /** How often another program took the whole keyboard from the window. */
    int keyboardGrabs() {
        takeEvents();
        return keyboardGrabs_;
    }

private:
    void roundTrip() {
        const Reply<xcb_get_input_focus_reply_t> reply(
            xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
    }
    void takeEvents() {
        roundTrip();
        while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection_)}) {
            if (event->response_type == XCB_KEY_PRESS)
                keys_.push_back(reinterpret_cast<xcb_key_press_event_t &>(*event).detail);
            else if (event->response_type == XCB_FOCUS_OUT &&
                     reinterpret_cast<xcb_focus_out_event_t &>(*event).mode == XCB_NOTIFY_MODE_GRAB)
                ++keyboardGrabs_;
            else if (event->response_type == XCB_REPARENT_NOTIFY)
                managed_ = true;
        }
    }

    xcb_connection_t *connection_;
    xcb_window_t root_;
    std::vector<int> keys_;
    int keyboardGrabs_ = 0;
    bool managed_ = false;
};

/** A hot key and what it said. */
class Registration {
public:
    HotKeyBackend::Callbacks callbacks() {
        return {[this](quint32 time) {
                    lastTime = time;
                    ++presses;
                },
                [this](HotKeyAnswer answer) {
                    lastAnswer = answer;
                    ++answers;
                },
                [this](const HotKey &hotKey) {
                    freeCode = hotKey.keyCode;
                    freeModifiers = hotKey.modifiers;
                },
                alternatives};
    }
    /** Whether the first answer was that it was obtained. */
    bool obtained() const {
        EXPECT_TRUE(eventually([this] { return answers == 1; }));
        return lastAnswer == HotKeyAnswer::Obtained;
    }
    bool pressed(int times) const {
        return eventually([&] { return presses >= times; }) && presses == times;
    }

    std::vector<HotKey> alternatives;
    std::atomic<quint32> freeCode = 0;
    std::atomic<quint32> freeModifiers = 0;
    std::atomic<int> presses = 0;
    std::atomic<quint32> lastTime = 0;
    std::atomic<int> answers = 0;
    std::atomic<HotKeyAnswer> lastAnswer = HotKeyAnswer::Silent;
};

class X11HotKeysTest : public ::testing::Test {
protected:
    bool grab(const HotKey &hotKey) {
        registration_.presses = 0;
        registration_.answers = 0;
        hotKeys_->grab(hotKey, registration_.callbacks());
        return registration_.obtained();
    }
    /** As if there were no deadline. */
    void bePatient() { hotKeys_.emplace(server_.display(), 1h); }
    static QString run(const XServer &server, const QString &program,
                       const QStringList &arguments) {
        QProcess process;
        process.setProcessEnvironment(server.environment());
        process.start(program, arguments);
        EXPECT_TRUE(process.waitForFinished());
        EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().constData();
        return QString::fromLatin1(process.readAllStandardOutput());
    }
    /** Positive codes go down, negative ones up. */
    void keys(const std::vector<int> &codes) const {
        QStringList arguments;
        for (const int code : codes)
            arguments << (code > 0 ? u"keydown"_s : u"keyup"_s) << QString::number(std::abs(code));
        run(server_, u"xdotool"_s, arguments);
    }
    void pressWith(int modifier, int key) const { keys({modifier, key, -key, -modifier}); }
    /** That so many presses were told; the last one is dealt with. */
    bool pressed(int times) {
        const bool result = registration_.pressed(times);
        hotKeys_->dealtWith(registration_.lastTime, NextKeys::WhoHasTheKeyboard);
        return result;
    }
    /** That a combination is dead shows in that the next live one is the only press. */
    void pressThatDoesNothing(int modifier, int key) const { pressWith(modifier, key); }

    XServer server_{XServer::Manager::None};
    Registration registration_;
    std::optional<X11HotKeys> hotKeys_{std::in_place, server_.display()};
};

} // namespace

TEST_F(X11HotKeysTest, eachPressIsToldOnceWithItsTime) {
    ASSERT_TRUE(grab(optionSpace));
    pressWith(altKey, spaceKey);
    ASSERT_TRUE(registration_.pressed(1));
    const quint32 first = registration_.lastTime;
    hotKeys_->dealtWith(first, NextKeys::WhoHasTheKeyboard);
    EXPECT_NE(first, 0U);
    pressWith(altKey, spaceKey);
    EXPECT_TRUE(pressed(2));
    EXPECT_GE(registration_.lastTime, first);
}

TEST_F(X11HotKeysTest, itFiresWithCapsLockAndNumLockOn) {
    ASSERT_TRUE(grab(optionSpace));
    int presses = 0;
    for (const int lock : {capsLockKey, numLockKey, capsLockKey}) { // Caps, both, Num
        keys({lock, -lock});
        pressWith(altKey, spaceKey);
        EXPECT_TRUE(pressed(++presses)) << lock;
    }
}

TEST_F(X11HotKeysTest, everyModifierIsTheKeyOfItsName) {
    const std::pair<quint32, int> modifiers[]{{HotKey::command, superKey},
                                              {HotKey::shift, shiftKey},
                                              {HotKey::option, altKey},
                                              {HotKey::control, controlKey}};
    for (const auto &[modifier, key] : modifiers) {
        ASSERT_TRUE(grab({38, modifier}));
        for (const auto &other : modifiers) {
            pressWith(other.second, jKey);
            if (other.second == key) {
                EXPECT_TRUE(pressed(1)) << modifier;
            }
        }
        keys({jKey, -jKey});
        keys({altKey, superKey, jKey, -jKey, -superKey, -altKey});
        pressWith(key, jKey);
        EXPECT_TRUE(pressed(2)) << modifier;
    }
}

TEST_F(X11HotKeysTest, allModifiersTogether) {
    ASSERT_TRUE(grab({38, 0x1B00}));
    keys({controlKey, altKey, shiftKey, superKey, jKey, -jKey, -superKey, -shiftKey, -altKey,
          -controlKey});
    EXPECT_TRUE(pressed(1));
}

TEST_F(X11HotKeysTest, aKeyWithoutModifiersCanBeGrabbed) {
    ASSERT_TRUE(grab({105, 0})); // F13
    const int f13 = KEY_F13 + offset;
    keys({f13, -f13});
    EXPECT_TRUE(pressed(1));
}

TEST_F(X11HotKeysTest, holdingTheKeyDownFiresOnce) {
    OtherProgram program(server_);
    program.takeFocus();
    ASSERT_TRUE(grab(optionSpace));
    keys({altKey, spaceKey});
    EXPECT_TRUE(pressed(1));
    // Each repeat takes the keyboard for a moment, which shows that it does repeat.
    ASSERT_TRUE(eventually([&] { return program.keyboardGrabs() >= 5; }));
    keys({-spaceKey, spaceKey, -spaceKey, -altKey});
    EXPECT_TRUE(pressed(2)) << "the second press comes after the release";
    EXPECT_TRUE(program.keys() == std::vector<int>{altKey}) << "repeats are no input either";
}

TEST_F(X11HotKeysTest, aCombinationThatIsStillHeldWhenRegisteredFiresAtTheNextPress) {
    OtherProgram program(server_);
    program.takeFocus();
    keys({altKey, spaceKey});
    ASSERT_TRUE(grab(optionSpace));
    ASSERT_TRUE(eventually([&] { return program.keyboardGrabs() >= 2; }));
    EXPECT_EQ(registration_.presses, 0);
    keys({-spaceKey, spaceKey, -spaceKey, -altKey});
    EXPECT_TRUE(pressed(1));
}

TEST_F(X11HotKeysTest, whatIsTypedBeforeTheHotKeyIsReleasedReachesTheFocusedWindow) {
    OtherProgram program(server_);
    program.takeFocus();
    ASSERT_TRUE(grab(commandJ));
    keys({superKey, jKey});
    ASSERT_TRUE(pressed(1));
    // The keyboard is given back at once, though not in the instant of the press.
    ASSERT_TRUE(eventually([&] { return program.keyboardGrabs() == 1; }));
    keys({aKey, -aKey, -superKey, bKey, -bKey, -jKey});
    EXPECT_TRUE(eventually([&] { return program.keys().size() >= 3; }));
    EXPECT_TRUE((program.keys() == std::vector<int>{superKey, aKey, bKey}));
}

TEST_F(X11HotKeysTest, whatFollowsAPressGoesToWhoHasTheKeyboardWhenItIsDealtWith) {
    bePatient();
    OtherProgram before(server_);
    before.takeFocus();
    ASSERT_TRUE(grab(optionSpace));
    keys({altKey, spaceKey, -spaceKey, -altKey, aKey, -aKey, bKey, -bKey});
    ASSERT_TRUE(registration_.pressed(1));
    OtherProgram shown(server_);
    shown.takeFocus();
    EXPECT_TRUE(shown.keys().empty());
    hotKeys_->dealtWith(registration_.lastTime, NextKeys::WhoHasTheKeyboard);
    EXPECT_TRUE(eventually([&] { return shown.keys().size() >= 2; }));
    EXPECT_TRUE((shown.keys() == std::vector<int>{aKey, bKey}));
    EXPECT_TRUE(before.keys() == std::vector<int>{altKey});
}

TEST_F(X11HotKeysTest, whatFollowsAPressThatIsNotDealtWithInTimeGoesNowhere) {
    hotKeys_.emplace(server_.display(), 500ms);
    OtherProgram program(server_);
    program.takeFocus();
    ASSERT_TRUE(grab(optionSpace));
    for (const int press : {1, 2}) {
        // The second hot key is among what goes nowhere.
        keys({altKey, spaceKey, -spaceKey, -altKey, aKey, -aKey, altKey, spaceKey, -spaceKey,
              -altKey});
        ASSERT_TRUE(registration_.pressed(press));
        // The keyboard is there again.
        EXPECT_TRUE(eventually([&] {
            keys({bKey, -bKey});
            return std::ranges::count(program.keys(), bKey) > 0;
        }));
        EXPECT_EQ(std::ranges::count(program.keys(), aKey), 0);
        EXPECT_EQ(std::ranges::count(program.keys(), spaceKey), 0);
        EXPECT_EQ(registration_.presses, press);
        program.forgetKeys();
    }
}

TEST_F(X11HotKeysTest, aHotKeyThatIsHeldWhileItsKeysGoNowhereFiresAgainOnlyWhenItWasReleased) {
    hotKeys_.emplace(server_.display(), 20ms);
    OtherProgram program(server_);
    program.takeFocus();
    ASSERT_TRUE(grab(optionSpace));
    keys({altKey, spaceKey, aKey, -aKey});
    ASSERT_TRUE(registration_.pressed(1));
    EXPECT_TRUE(eventually([&] {
        keys({bKey, -bKey});
        return std::ranges::count(program.keys(), bKey) > 0;
    }));
    keys({-spaceKey, -altKey});
    pressWith(altKey, spaceKey);
    EXPECT_TRUE(pressed(2));
}

TEST_F(X11HotKeysTest, aPressBeforeTheEarlierOneIsDealtWithIsAPressOfItsOwn) {
    bePatient();
    OtherProgram program(server_);
    program.takeFocus();
    ASSERT_TRUE(grab(optionSpace));
    keys({altKey, spaceKey, -spaceKey, aKey, -aKey, spaceKey, -spaceKey, -altKey, bKey, -bKey});
    ASSERT_TRUE(registration_.pressed(1));
    const quint32 first = registration_.lastTime;
    hotKeys_->dealtWith(first, NextKeys::WhoHasTheKeyboard);
    EXPECT_TRUE(registration_.pressed(2));
    hotKeys_->dealtWith(first, NextKeys::WhoHasTheKeyboard);
    EXPECT_FALSE(eventually([&] { return std::ranges::count(program.keys(), bKey) > 0; }, 100))
        << "dealing with the first press does not let go what follows the second";
    EXPECT_TRUE(pressed(2));
    EXPECT_TRUE(eventually([&] { return program.keys().size() >= 3; }));
    EXPECT_TRUE((program.keys() == std::vector<int>{altKey, aKey, bKey}));
}

TEST_F(X11HotKeysTest, releasingOrReplacingLetsTheKeysGo) {
    bePatient();
    OtherProgram program(server_);
    program.takeFocus();
    ASSERT_TRUE(grab(optionSpace));
    keys({altKey, spaceKey, -spaceKey, -altKey, aKey, -aKey});
    ASSERT_TRUE(registration_.pressed(1));
    ASSERT_TRUE(grab(commandJ));
    EXPECT_TRUE(eventually([&] { return std::ranges::count(program.keys(), aKey) == 1; }));
    keys({superKey, jKey, -jKey, -superKey, bKey, -bKey});
    ASSERT_TRUE(registration_.pressed(1));
    hotKeys_->release();
    EXPECT_TRUE(eventually([&] { return std::ranges::count(program.keys(), bKey) == 1; }));
}

TEST_F(X11HotKeysTest, destroyingItLetsTheKeysGo) {
    bePatient();
    OtherProgram program(server_);
    program.takeFocus();
    ASSERT_TRUE(grab(optionSpace));
    keys({altKey, spaceKey, -spaceKey, -altKey, aKey, -aKey});
    ASSERT_TRUE(registration_.pressed(1));
    hotKeys_.reset();
    EXPECT_TRUE(eventually([&] { return std::ranges::count(program.keys(), aKey) == 1; }));
}

TEST_F(X11HotKeysTest, replacingItAtRunTimeEndsTheOldCombination) {
    ASSERT_TRUE(grab(optionSpace));
    ASSERT_TRUE(grab(commandJ));
    pressThatDoesNothing(altKey, spaceKey);
    pressWith(superKey, jKey);
    EXPECT_TRUE(pressed(1));
    OtherProgram program(server_);
    EXPECT_TRUE(program.canGrab(spaceKey, XCB_MOD_MASK_1));
    EXPECT_FALSE(program.canGrab(jKey, XCB_MOD_MASK_4));
}

TEST_F(X11HotKeysTest, releasingGivesItBackAndItCanBeHadAgain) {
    ASSERT_TRUE(grab(optionSpace));
    OtherProgram program(server_);
    EXPECT_FALSE(program.canGrab(spaceKey, XCB_MOD_MASK_1));
    hotKeys_->release();
    EXPECT_TRUE(eventually([&] { return program.canGrab(spaceKey, XCB_MOD_MASK_1); }));
    EXPECT_TRUE(program.canGrab(spaceKey, XCB_MOD_MASK_ANY));
    program.releaseKeys();
    EXPECT_TRUE(grab(optionSpace));
    pressWith(altKey, spaceKey);
    EXPECT_TRUE(pressed(1));
}

TEST_F(X11HotKeysTest, destroyingItGivesItBack) {
    ASSERT_TRUE(grab(optionSpace));
    hotKeys_.reset();
    OtherProgram program(server_);
    EXPECT_TRUE(eventually([&] { return program.canGrab(spaceKey, XCB_MOD_MASK_ANY); }));
}

TEST_F(X11HotKeysTest, aTakenCombinationIsSaidToBeTakenAndDoesNoHarm) {
    OtherProgram program(server_);
    ASSERT_TRUE(program.canGrab(spaceKey, XCB_MOD_MASK_1));
    EXPECT_FALSE(grab(optionSpace));
    pressThatDoesNothing(altKey, spaceKey);
    EXPECT_TRUE(grab(commandJ)) << "another one can be had all the same";
    pressWith(superKey, jKey);
    EXPECT_TRUE(pressed(1));
    program.releaseKeys();
    EXPECT_TRUE(grab(optionSpace));
}

TEST_F(X11HotKeysTest, aCombinationTakenWithOneOfTheLocksOnlyIsTaken) {
    OtherProgram program(server_);
    ASSERT_TRUE(program.canGrab(spaceKey, XCB_MOD_MASK_1 | XCB_MOD_MASK_LOCK));
    EXPECT_FALSE(grab(optionSpace));
    EXPECT_TRUE(program.canGrab(spaceKey, XCB_MOD_MASK_1)) << "nothing of it is kept";
}

TEST_F(X11HotKeysTest, aWindowManagersOwnCombinationIsTaken) {
    server_.startManager(); // openbox opens a window's menu with Alt+Space
    OtherProgram program(server_);
    ASSERT_TRUE(program.isManaged());
    EXPECT_FALSE(grab(optionSpace));
    EXPECT_TRUE(grab(commandJ));
    pressWith(superKey, jKey);
    EXPECT_TRUE(pressed(1));
}

TEST_F(X11HotKeysTest, theFirstFreeCombinationIsFoundInPlaceOfATakenOneAndNotKept) {
    registration_.alternatives = {commandJ, {49, HotKey::command}, {49, HotKey::control}};
    OtherProgram program(server_);
    ASSERT_TRUE(program.canGrab(spaceKey, XCB_MOD_MASK_1));
    ASSERT_TRUE(program.canGrab(jKey, XCB_MOD_MASK_4));
    EXPECT_FALSE(grab(optionSpace));
    EXPECT_EQ(registration_.freeCode, 49U);
    EXPECT_EQ(registration_.freeModifiers, HotKey::command);
    EXPECT_TRUE(program.canGrab(spaceKey, XCB_MOD_MASK_4));
}

TEST_F(X11HotKeysTest, noneIsFoundWhereTheCombinationIsHadOrNoneIsFree) {
    registration_.alternatives = {commandJ};
    EXPECT_TRUE(grab(optionSpace));
    EXPECT_EQ(registration_.freeCode, 0U);
    OtherProgram program(server_);
    ASSERT_TRUE(program.canGrab(spaceKey, XCB_MOD_MASK_CONTROL));
    ASSERT_TRUE(program.canGrab(jKey, XCB_MOD_MASK_4));
    EXPECT_FALSE(grab({49, HotKey::control}));
    EXPECT_EQ(registration_.freeCode, 0U);
}

TEST_F(X11HotKeysTest, theKeysPositionCountsWhateverTheLayout) {
    ASSERT_TRUE(grab({6, HotKey::option})); // Z on a US keyboard
    const int z = KEY_Z + offset;
    int presses = 0;
    for (const QString &layout : {u"de"_s, u"fr"_s, u"ru"_s, u"us(dvorak)"_s}) {
        run(server_, u"setxkbmap"_s, {layout});
        pressWith(altKey, z);
        EXPECT_TRUE(pressed(++presses)) << qPrintable(layout);
    }
    ASSERT_TRUE(grab(optionSpace)) << "and grabbed under another layout";
    pressWith(altKey, spaceKey);
    EXPECT_TRUE(pressed(1));
}

TEST_F(X11HotKeysTest, itFiresInASecondLayoutThatAKeySwitchesTo) {
    run(server_, u"setxkbmap"_s, {u"us,ru"_s, u"-option"_s, u"grp:caps_toggle"_s});
    ASSERT_TRUE(grab(optionSpace));
    for (const int press : {1, 2, 3}) {
        keys({capsLockKey, -capsLockKey});
        pressWith(altKey, spaceKey);
        EXPECT_TRUE(pressed(press));
    }
}

TEST_F(X11HotKeysTest, itFollowsAModifierThatMovesToAnotherKey) {
    ASSERT_TRUE(grab({38, HotKey::option}));
    run(server_, u"setxkbmap"_s, {u"us"_s, u"-option"_s, u"altwin:swap_alt_win"_s});
    // The exchange reaches us as an event of its own, some time after.
    EXPECT_TRUE(eventually([&] {
        pressWith(superKey, jKey);
        hotKeys_->dealtWith(registration_.lastTime, NextKeys::WhoHasTheKeyboard);
        return registration_.presses > 0;
    }));
}

TEST_F(X11HotKeysTest, itFollowsModifiersThatGetAnotherMeaning) {
    // Alt and Num Lock exchange what they set.
    ASSERT_TRUE(grab(optionSpace));
    QString map =
        run(server_, u"xkbcomp"_s, {u"-xkb"_s, QString::fromLatin1(server_.display()), u"-"_s});
    QFile file(QDir::temp().filePath(u"corvid-%1.xkb"_s.arg(getpid())));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    map.replace("modifier_map Mod1"_L1, "modifier_map OTHER"_L1)
        .replace("modifier_map Mod2"_L1, "modifier_map Mod1"_L1)
        .replace("modifier_map OTHER"_L1, "modifier_map Mod2"_L1)
        .replace("modifiers=Mod1"_L1, "modifiers=Mod2"_L1)
        .replace("modifiers= Mod1"_L1, "modifiers= Mod2"_L1);
    file.write(map.toLatin1());
    file.close();
    run(server_, u"xkbcomp"_s,
        {u"-w"_s, u"0"_s, file.fileName(), QString::fromLatin1(server_.display())});
    EXPECT_TRUE(eventually([&] { return registration_.answers == 2; })) << "grabbed anew";
    EXPECT_EQ(registration_.lastAnswer, HotKeyAnswer::Obtained);
    file.remove();
    OtherProgram program(server_);
    EXPECT_FALSE(program.canGrab(spaceKey, XCB_MOD_MASK_2));
    EXPECT_TRUE(program.canGrab(spaceKey, XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1));
    pressWith(altKey, spaceKey);
    EXPECT_TRUE(pressed(1));
}

TEST_F(X11HotKeysTest, aKeyThatDoesNotExistCannotBeHad) {
    EXPECT_FALSE(grab({127, HotKey::option}));
    EXPECT_FALSE(grab({4294967295U, HotKey::option}));
}

TEST_F(X11HotKeysTest, whenTheDisplayGoesTheCombinationIsLost) {
    ASSERT_TRUE(grab(optionSpace));
    server_.endServer();
    EXPECT_TRUE(eventually([&] { return registration_.answers == 2; }));
    EXPECT_EQ(registration_.lastAnswer, HotKeyAnswer::NotOffered);
}

TEST_F(X11HotKeysTest, noCallbackRunsAfterTheRelease) {
    for (int i = 0; i < 20; ++i) {
        auto registration = std::make_unique<Registration>();
        hotKeys_->grab(optionSpace, registration->callbacks());
        hotKeys_->release();
        registration.reset(); // a late callback would write into it
    }
    EXPECT_TRUE(grab(optionSpace));
}

TEST_F(X11HotKeysTest, destroyingItInTheMiddleOfThingsEndsAtOnce) {
    for (int i = 0; i < 20; ++i) {
        hotKeys_.emplace(server_.display());
        hotKeys_->grab(optionSpace, registration_.callbacks());
    }
    hotKeys_.emplace(server_.display()); // asks for nothing
    hotKeys_.reset();
}

TEST(X11HotKeysWithoutDisplayTest, nothingCanBeHad) {
    for (const QByteArray &display :
         {QByteArray(), QByteArray(":987654"), QByteArray("nonsense")}) {
        X11HotKeys hotKeys(display);
        Registration registration;
        hotKeys.grab(optionSpace, registration.callbacks());
        EXPECT_FALSE(registration.obtained()) << display.constData();
        EXPECT_EQ(registration.lastAnswer, HotKeyAnswer::NotOffered);
        hotKeys.release();
    }
}

TEST_F(X11HotKeysTest, nothingWakesItWhileOtherKeysAreTyped) {
    const ThreadWakes wakes;
    ASSERT_TRUE(grab(optionSpace));
    pressWith(altKey, spaceKey);
    ASSERT_TRUE(pressed(1));
    qint64 before = -1;
    EXPECT_TRUE(eventually([&] { // a busy machine may let it see to the press late
        before = wakes.count();
        return !eventually([&] { return wakes.count() != before; }, 200);
    }));
    keys({jKey, -jKey, spaceKey, -spaceKey, altKey, -altKey});
    EXPECT_FALSE(eventually([&] { return wakes.count() != before; }, 500));
}
