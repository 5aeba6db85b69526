#pragma once

#include <QtGlobal>

#include <optional>

namespace corvid {

/** By how much the key codes of X11 and Wayland exceed the kernel's. */
inline constexpr quint32 evdevOffset = 8;

/** The kernel's code for the key at a virtual key code's position on a US keyboard. Absent for
    codes that no key has. Any thread. */
std::optional<quint32> evdevCode(quint32 virtualKey);

/** The virtual key code of the key that the kernel calls so. Absent for keys that have none,
    modifiers and locks among them. Any thread. */
std::optional<quint32> virtualKey(quint32 evdevCode);

/** xkbcommon's name for the symbol that the key has on a US keyboard, such as "space". Null for
    codes that no key has. Any thread. */
const char *keySymbol(quint32 virtualKey);

} // namespace corvid
