#include "Base/VirtualKeys.h"

#include "HotKeyManager.h"
#include "Worlds/QtPrinters.h"

#include <QSet>

#include <gtest/gtest.h>

#include <linux/input-event-codes.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

// What is printed on the key, virtual key code, the kernel's code.
struct Row {
    const char *key;
    quint32 virtualKey;
    quint32 evdev;
};

constexpr Row rows[]{
    {"A", 0, KEY_A},
    {"S", 1, KEY_S},
    {"D", 2, KEY_D},
    {"F", 3, KEY_F},
    {"H", 4, KEY_H},
    {"G", 5, KEY_G},
    {"Z", 6, KEY_Z},
    {"X", 7, KEY_X},
    {"C", 8, KEY_C},
    {"V", 9, KEY_V},
    {"< beside the left Shift", 10, KEY_102ND},
    {"B", 11, KEY_B},
    {"Q", 12, KEY_Q},
    {"W", 13, KEY_W},
    {"E", 14, KEY_E},
    {"R", 15, KEY_R},
    {"Y", 16, KEY_Y},
    {"T", 17, KEY_T},
    {"1", 18, KEY_1},
    {"2", 19, KEY_2},
    {"3", 20, KEY_3},
    {"4", 21, KEY_4},
    {"6", 22, KEY_6},
    {"5", 23, KEY_5},
    {"=", 24, KEY_EQUAL},
    {"9", 25, KEY_9},
    {"7", 26, KEY_7},
    {"-", 27, KEY_MINUS},
    {"8", 28, KEY_8},
    {"0", 29, KEY_0},
    {"]", 30, KEY_RIGHTBRACE},
    {"O", 31, KEY_O},
    {"U", 32, KEY_U},
    {"[", 33, KEY_LEFTBRACE},
    {"I", 34, KEY_I},
    {"P", 35, KEY_P},
    {"Return", 36, KEY_ENTER},
    {"L", 37, KEY_L},
    {"J", 38, KEY_J},
    {"'", 39, KEY_APOSTROPHE},
    {"K", 40, KEY_K},
    {";", 41, KEY_SEMICOLON},
    {"backslash", 42, KEY_BACKSLASH},
    {",", 43, KEY_COMMA},
    {"/", 44, KEY_SLASH},
    {"N", 45, KEY_N},
    {"M", 46, KEY_M},
    {".", 47, KEY_DOT},
    {"Tab", 48, KEY_TAB},
    {"Space", 49, KEY_SPACE},
    {"`", 50, KEY_GRAVE},
    {"Backspace", 51, KEY_BACKSPACE},
    {"Esc", 53, KEY_ESC},
    {"keypad .", 65, KEY_KPDOT},
    {"keypad *", 67, KEY_KPASTERISK},
    {"keypad +", 69, KEY_KPPLUS},
    {"keypad /", 75, KEY_KPSLASH},
    {"keypad Enter", 76, KEY_KPENTER},
    {"keypad -", 78, KEY_KPMINUS},
    {"keypad 0", 82, KEY_KP0},
    {"keypad 1", 83, KEY_KP1},
    {"keypad 2", 84, KEY_KP2},
    {"keypad 3", 85, KEY_KP3},
    {"keypad 4", 86, KEY_KP4},
    {"keypad 5", 87, KEY_KP5},
    {"keypad 6", 88, KEY_KP6},
    {"keypad 7", 89, KEY_KP7},
    {"keypad 8", 91, KEY_KP8},
    {"keypad 9", 92, KEY_KP9},
    {"F1", 122, KEY_F1},
    {"F2", 120, KEY_F2},
    {"F3", 99, KEY_F3},
    {"F4", 118, KEY_F4},
    {"F5", 96, KEY_F5},
    {"F6", 97, KEY_F6},
    {"F7", 98, KEY_F7},
    {"F8", 100, KEY_F8},
    {"F9", 101, KEY_F9},
    {"F10", 109, KEY_F10},
    {"F11", 103, KEY_F11},
    {"F12", 111, KEY_F12},
    {"Insert", 114, KEY_INSERT},
    {"Home", 115, KEY_HOME},
    {"Page Up", 116, KEY_PAGEUP},
    {"Delete", 117, KEY_DELETE},
    {"End", 119, KEY_END},
    {"Page Down", 121, KEY_PAGEDOWN},
    {"left", 123, KEY_LEFT},
    {"right", 124, KEY_RIGHT},
    {"down", 125, KEY_DOWN},
    {"up", 126, KEY_UP},
};

std::optional<quint32> evdevCode(quint32 code) {
    const VirtualKey *key = findKey(&VirtualKey::code, code);
    return key ? std::optional(key->evdev) : std::nullopt;
}

std::optional<quint32> virtualKey(quint32 evdev) {
    const VirtualKey *key = findKey(&VirtualKey::evdev, evdev);
    return key ? std::optional(key->code) : std::nullopt;
}

} // namespace

TEST(VirtualKeysTest, eachKeyIsAtItsPositionOnAUsKeyboard) {
    for (const Row &row : rows) {
        EXPECT_EQ(evdevCode(row.virtualKey), row.evdev) << row.key;
        EXPECT_EQ(virtualKey(row.evdev), row.virtualKey) << row.key;
    }
}

TEST(VirtualKeysTest, codesThatNoKeyHasAreAbsent) {
    for (const quint32 code : {52U, 127U, 128U, 0xFFFFFFFFU})
        EXPECT_EQ(evdevCode(code), std::nullopt) << code;
    EXPECT_EQ(virtualKey(0), std::nullopt);
    EXPECT_EQ(virtualKey(0xFFFFFFFFU), std::nullopt);
}

TEST(VirtualKeysTest, modifiersAndLocksAreNoHotKeys) {
    for (const quint32 code :
         {KEY_LEFTSHIFT, KEY_RIGHTSHIFT, KEY_LEFTCTRL, KEY_RIGHTCTRL, KEY_LEFTALT, KEY_RIGHTALT,
          KEY_LEFTMETA, KEY_RIGHTMETA, KEY_CAPSLOCK, KEY_NUMLOCK, KEY_SCROLLLOCK})
        EXPECT_EQ(virtualKey(code), std::nullopt) << code;
}

TEST(VirtualKeysTest, noTwoKeysShareACode) {
    QSet<quint32> taken;
    for (quint32 code = 0; code < 256; ++code) {
        if (const auto evdev = evdevCode(code)) {
            EXPECT_FALSE(taken.contains(*evdev)) << code;
            taken.insert(*evdev);
            EXPECT_EQ(virtualKey(*evdev), code);
        }
    }
    EXPECT_GE(taken.size(), qsizetype(std::size(rows)));
}

TEST(VirtualKeysTest, everyKeyWithANameHasAPosition) {
    int named = 0;
    for (quint32 code = 0; code < 256; ++code) {
        if (HotKeyManager::describe(code, 0).startsWith(" Key "_L1))
            continue;
        ++named;
        EXPECT_TRUE(evdevCode(code)) << code;
    }
    EXPECT_EQ(named, 64);
}
