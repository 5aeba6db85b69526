#include "Platform/Linux/Bus/ShortcutTrigger.h"

#include <algorithm>
#include <iterator>

namespace corvid {

namespace {

struct Key {
    quint32 virtualKey;
    const char *name;
};

// Ascending by virtual key code. Desktops know the names of xkbcommon's key symbols.
constexpr Key keys[]{
    {0, "a"},
    {1, "s"},
    {2, "d"},
    {3, "f"},
    {4, "h"},
    {5, "g"},
    {6, "z"},
    {7, "x"},
    {8, "c"},
    {9, "v"},
    {10, "less"},
    {11, "b"},
    {12, "q"},
    {13, "w"},
    {14, "e"},
    {15, "r"},
    {16, "y"},
    {17, "t"},
    {18, "1"},
    {19, "2"},
    {20, "3"},
    {21, "4"},
    {22, "6"},
    {23, "5"},
    {24, "equal"},
    {25, "9"},
    {26, "7"},
    {27, "minus"},
    {28, "8"},
    {29, "0"},
    {30, "bracketright"},
    {31, "o"},
    {32, "u"},
    {33, "bracketleft"},
    {34, "i"},
    {35, "p"},
    {36, "Return"},
    {37, "l"},
    {38, "j"},
    {39, "apostrophe"},
    {40, "k"},
    {41, "semicolon"},
    {42, "backslash"},
    {43, "comma"},
    {44, "slash"},
    {45, "n"},
    {46, "m"},
    {47, "period"},
    {48, "Tab"},
    {49, "space"},
    {50, "grave"},
    {51, "BackSpace"},
    {53, "Escape"},
    {64, "F17"},
    {65, "KP_Decimal"},
    {67, "KP_Multiply"},
    {69, "KP_Add"},
    {75, "KP_Divide"},
    {76, "KP_Enter"},
    {78, "KP_Subtract"},
    {79, "F18"},
    {80, "F19"},
    {81, "KP_Equal"},
    {82, "KP_0"},
    {83, "KP_1"},
    {84, "KP_2"},
    {85, "KP_3"},
    {86, "KP_4"},
    {87, "KP_5"},
    {88, "KP_6"},
    {89, "KP_7"},
    {90, "F20"},
    {91, "KP_8"},
    {92, "KP_9"},
    {96, "F5"},
    {97, "F6"},
    {98, "F7"},
    {99, "F3"},
    {100, "F8"},
    {101, "F9"},
    {103, "F11"},
    {105, "F13"},
    {106, "F16"},
    {107, "F14"},
    {109, "F10"},
    {110, "Menu"},
    {111, "F12"},
    {113, "F15"},
    {114, "Insert"},
    {115, "Home"},
    {116, "Prior"},
    {117, "Delete"},
    {118, "F4"},
    {119, "End"},
    {120, "F2"},
    {121, "Next"},
    {122, "F1"},
    {123, "Left"},
    {124, "Right"},
    {125, "Down"},
    {126, "Up"},
};

} // namespace

std::optional<QByteArray> shortcutTrigger(const HotKey &hotKey) {
    const auto *key = std::ranges::lower_bound(keys, hotKey.keyCode, {}, &Key::virtualKey);
    if (key == std::end(keys) || key->virtualKey != hotKey.keyCode)
        return std::nullopt;
    QByteArray trigger;
    if (hotKey.modifiers & HotKey::control)
        trigger += "CTRL+";
    if (hotKey.modifiers & HotKey::option)
        trigger += "ALT+";
    if (hotKey.modifiers & HotKey::shift)
        trigger += "SHIFT+";
    if (hotKey.modifiers & HotKey::command)
        trigger += "LOGO+";
    return trigger + key->name;
}

} // namespace corvid
