#pragma once

#include "Platform/HotKeyBackend.h"

#include <QByteArray>

#include <optional>

namespace corvid {

/** A combination as desktops write it for their global shortcuts: "ALT+space", the key by the name
    of the symbol that it has on a US keyboard. Absent for key codes that no key has. Any thread. */
std::optional<QByteArray> shortcutTrigger(const HotKey &hotKey);

} // namespace corvid
