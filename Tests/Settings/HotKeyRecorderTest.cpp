#include "Settings/HotKeyRecorder.h"

#include "HotKeyManager.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QPushButton>

#include <gtest/gtest.h>

#include <linux/input-event-codes.h>

#include <vector>

using namespace corvid;

namespace {

constexpr quint32 capsLockState = 2;
constexpr quint32 numLockState = 16;

/** As X11 and Wayland tell of a key: evdev's code and 8. */
QKeyEvent pressOf(int position, int key, Qt::KeyboardModifiers modifiers = {}, quint32 state = 0) {
    return {QEvent::KeyPress, key, modifiers, static_cast<quint32>(position + 8), 0, state};
}

std::optional<RecordedKey> recorded(int position, int key, Qt::KeyboardModifiers modifiers = {},
                                    quint32 state = 0) {
    return recordedKey(pressOf(position, key, modifiers, state));
}

class Keys final : public QWidget {
public:
    std::vector<int> pressed;

protected:
    void keyPressEvent(QKeyEvent *event) override { pressed.push_back(event->key()); }
};

struct HotKeyRecorderTest : ::testing::Test {
    void send(int position, int key, Qt::KeyboardModifiers modifiers = {}, quint32 state = 0) {
        QKeyEvent event = pressOf(position, key, modifiers, state);
        QCoreApplication::sendEvent(&keys, &event);
    }

    std::vector<HotKey> hotKeys;
    HotKeyRecorder recorder{[this](const HotKey &hotKey) {
        hotKeys.push_back(hotKey);
        recorder.stop();
    }};
    Keys keys;
};

} // namespace

TEST(RecordedKeyTest, eachModifierIsAFlagOfItsOwn) {
    const std::pair<Qt::KeyboardModifier, ModifierFlag> modifiers[]{
        {Qt::ShiftModifier, ModifierFlag::Shift},
        {Qt::ControlModifier, ModifierFlag::Control},
        {Qt::AltModifier, ModifierFlag::Option},
        {Qt::MetaModifier, ModifierFlag::Command},
        {Qt::KeypadModifier, ModifierFlag::NumericPad}};
    for (const auto &[modifier, flag] : modifiers)
        EXPECT_EQ(recorded(KEY_K, Qt::Key_K, modifier), (RecordedKey{40, flag}));
    EXPECT_EQ(recorded(KEY_K, Qt::Key_K, {}, capsLockState),
              (RecordedKey{40, ModifierFlag::CapsLock}));
    EXPECT_EQ(recorded(KEY_K, Qt::Key_K), (RecordedKey{40, {}}));
}

TEST(RecordedKeyTest, numLockAndTheLevelShiftsAreNone) {
    EXPECT_EQ(recorded(KEY_K, Qt::Key_K, Qt::GroupSwitchModifier, numLockState),
              (RecordedKey{40, {}}));
}

TEST(RecordedKeyTest, functionAndArrowKeysCarryTheFunctionFlag) {
    EXPECT_EQ(recorded(KEY_F1, Qt::Key_F1), (RecordedKey{122, ModifierFlag::Function}));
    EXPECT_EQ(recorded(KEY_F20, Qt::Key_F20), (RecordedKey{90, ModifierFlag::Function}));
    const std::pair<int, std::pair<int, quint32>> arrows[]{{KEY_LEFT, {Qt::Key_Left, 123}},
                                                           {KEY_RIGHT, {Qt::Key_Right, 124}},
                                                           {KEY_DOWN, {Qt::Key_Down, 125}},
                                                           {KEY_UP, {Qt::Key_Up, 126}}};
    for (const auto &[position, key] : arrows)
        EXPECT_EQ(recorded(position, key.first), (RecordedKey{key.second, ModifierFlag::Function}));
    EXPECT_EQ(recorded(KEY_HOME, Qt::Key_Home), (RecordedKey{115, {}}));
    EXPECT_EQ(recorded(KEY_ESC, Qt::Key_Escape), (RecordedKey{53, {}}));
}

TEST(RecordedKeyTest, itIsThePositionThatCountsWhateverTheLayout) {
    EXPECT_EQ(recorded(KEY_Q, Qt::Key_A, Qt::AltModifier)->keyCode, 12U);
    EXPECT_EQ(recorded(KEY_K, Qt::Key(0x41B), Qt::AltModifier)->keyCode, 40U);
}

TEST(RecordedKeyTest, modifiersAndLocksAreNoKeysWhereverTheyAre) {
    const std::pair<int, int> keys[]{
        {KEY_LEFTSHIFT, Qt::Key_Shift},       {KEY_LEFTCTRL, Qt::Key_Control},
        {KEY_LEFTALT, Qt::Key_Alt},           {KEY_RIGHTALT, Qt::Key_AltGr},
        {KEY_LEFTMETA, Qt::Key_Meta},         {KEY_LEFTMETA, Qt::Key_Super_L},
        {KEY_CAPSLOCK, Qt::Key_CapsLock},     {KEY_NUMLOCK, Qt::Key_NumLock},
        {KEY_SCROLLLOCK, Qt::Key_ScrollLock}, {KEY_ESC, Qt::Key_CapsLock},
        {KEY_ENTER, Qt::Key_Control}};
    for (const auto &[position, key] : keys)
        EXPECT_EQ(recorded(position, key, Qt::AltModifier), std::nullopt) << key;
}

TEST(RecordedKeyTest, aKeyWithoutANumberCannotBeRecorded) {
    EXPECT_EQ(recorded(KEY_PLAYPAUSE, Qt::Key_MediaPlay, Qt::AltModifier), std::nullopt);
    EXPECT_EQ(recordedKey(QKeyEvent(QEvent::KeyPress, Qt::Key_K, Qt::AltModifier)), std::nullopt);
}

TEST_F(HotKeyRecorderTest, nothingIsRecordedBeforeTheStartOrAfterTheStop) {
    send(KEY_K, Qt::Key_K, Qt::AltModifier);
    recorder.start();
    recorder.stop();
    send(KEY_K, Qt::Key_K, Qt::AltModifier);
    EXPECT_TRUE(hotKeys.empty());
    EXPECT_EQ(keys.pressed, (std::vector<int>{Qt::Key_K, Qt::Key_K}));
}

TEST_F(HotKeyRecorderTest, aPlainKeyReachesItsWindowAndRecordingGoesOn) {
    recorder.start();
    send(KEY_K, Qt::Key_K);
    EXPECT_EQ(keys.pressed, std::vector<int>{Qt::Key_K});
    EXPECT_TRUE(recorder.active());
    EXPECT_TRUE(hotKeys.empty());
}

TEST_F(HotKeyRecorderTest, aCombinationIsRecordedAndReachesNoWindow) {
    recorder.start();
    send(KEY_LEFTALT, Qt::Key_Alt);
    send(KEY_K, Qt::Key_K, Qt::AltModifier | Qt::MetaModifier);
    EXPECT_EQ(hotKeys, (std::vector<HotKey>{{40, 0x900}}));
    EXPECT_EQ(keys.pressed, std::vector<int>{Qt::Key_Alt});
}

TEST_F(HotKeyRecorderTest, flagsWithoutABitOfTheirOwnMakeACombinationWithNoModifiers) {
    recorder.start();
    send(KEY_K, Qt::Key_K, {}, capsLockState);
    recorder.start();
    send(KEY_LEFT, Qt::Key_Left);
    recorder.start();
    send(KEY_KP5, Qt::Key_5, Qt::KeypadModifier);
    EXPECT_EQ(hotKeys, (std::vector<HotKey>{{40, 0}, {123, 0}, {87, 0}}));
}

TEST_F(HotKeyRecorderTest, aCombinationIsNoShortcutWhileRecording) {
    const auto isOverridden = [this](Qt::KeyboardModifiers modifiers) {
        QKeyEvent event(QEvent::ShortcutOverride, Qt::Key_S, modifiers, KEY_S + 8, 0, 0);
        event.ignore();
        QCoreApplication::sendEvent(&keys, &event);
        return event.isAccepted();
    };
    EXPECT_FALSE(isOverridden(Qt::AltModifier));
    recorder.start();
    EXPECT_TRUE(isOverridden(Qt::AltModifier));
    EXPECT_FALSE(isOverridden({}));
    EXPECT_TRUE(hotKeys.empty());
}
