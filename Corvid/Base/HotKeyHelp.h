#pragma once

#include "Platform/Desktop.h"
#include "Platform/HotKeyBackend.h"

#include <QString>

#include <optional>

namespace corvid {

/** How a key summons the panel here; or why none does, and what to do. */
struct HotKeyHelp {
    QString name;                       ///< of the combination: "Alt+Space"; empty for none
    std::optional<HotKeyAnswer> answer; ///< whether it could be had; absent while that is not known
    QString why{};                      ///< the reason, a sentence; empty unless it cannot be had
    QString remedy{};                   ///< a sentence; it ends with a colon where `line` follows
    QString line{};                     ///< to be copied to where the remedy says; empty for none
    bool mayTryAnother = false;         ///< another combination may be had in the same way
    std::optional<HotKey> free{};       ///< one that would be had
    QString freeName{};

    bool works() const { return answer == HotKeyAnswer::Obtained; }
    bool operator==(const HotKeyHelp &) const = default;
};

/** What is to be said of a combination of this name on this desktop. Pure. */
HotKeyHelp hotKeyHelp(const QString &name, std::optional<HotKeyAnswer> answer, Desktop desktop);

} // namespace corvid
