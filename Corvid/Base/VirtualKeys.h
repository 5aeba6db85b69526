#pragma once

#include <QtGlobal>

namespace corvid {

/** By how much the key codes of X11 and Wayland exceed the kernel's. */
inline constexpr quint32 evdevOffset = 8;

/** A key that may be a hot key; modifiers and locks are none. */
struct VirtualKey {
    quint32 code;               ///< virtual key code: the position on a US keyboard
    quint32 evdev;              ///< the kernel's code
    const char *symbol;         ///< xkbcommon's name of its symbol on a US keyboard, as "space"
    const char *name = nullptr; ///< shown to the user, in UTF-8; null when it has none
};

/** The key whose field, `code` or `evdev`, has a value. Null when there is none. Any thread. */
const VirtualKey *findKey(quint32 VirtualKey::*field, quint32 value);

} // namespace corvid
