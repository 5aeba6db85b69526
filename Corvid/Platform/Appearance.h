#pragma once

#include "Platform/Port.h"

#include <QString>

#include <functional>
#include <optional>

namespace corvid {

enum class ColorScheme { NoPreference, Dark, Light };

/** What the user chose for all programs of the desktop. */
struct Appearance {
    std::optional<quint32> accent; ///< 0xRRGGBB; absent where the desktop has no such choice
    QString fontFamily;            ///< of the user interface; empty: what Qt takes from the desktop
    bool highContrast = false;
    bool motion = true;                                  ///< false: no animations
    ColorScheme colorScheme = ColorScheme::NoPreference; ///< of ordinary windows

    bool operator==(const Appearance &) const = default;
};

/** The desktop's settings for the look of programs. Main thread only. */
class AppearanceSettings : public Port {
public:
    /** What is known by now; the defaults above until the desktop has answered. Never waits. */
    virtual Appearance current() const = 0;

    /** Called from the event loop whenever current() has become another one. */
    std::function<void()> onChange;
};

} // namespace corvid
