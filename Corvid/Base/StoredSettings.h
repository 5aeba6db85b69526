#pragma once

#include <QString>

#include <optional>

namespace corvid {

class UserDefaults;

/** How the user's choices read from the defaults, each call afresh. Main thread only. */
namespace settings {

/** True when absent; else whether it is true or a number other than 0. */
bool aiEnabled(const UserDefaults &defaults);

/** As entered; the OpenAI API's address when absent or no text. */
QString aiBaseURL(const UserDefaults &defaults);

/** As entered; "gpt-4o-mini" when absent or no text. */
QString aiModel(const UserDefaults &defaults);

/** One of the two numbers of the hot key. Absent when there is none, which 0 and anything but an
    integer count as. A number that is no 32-bit one is fatal. */
std::optional<quint32> hotkeyKeyCode(const UserDefaults &defaults);
std::optional<quint32> hotkeyModifiers(const UserDefaults &defaults);

} // namespace settings

} // namespace corvid
