#pragma once

#include "Platform/Instance.h"

#include <string>
#include <vector>

namespace corvid {

// Knows neither the toolkit nor GLib: a hot key that the desktop binds to a command starts a
// process for every press, which should have little to load.

/** Where the session's Corvid is heard. */
inline constexpr const char *instanceBusName = "app.corvid.Launcher";
inline constexpr const char *instanceObjectPath = "/app/corvid/Launcher";
inline constexpr const char *instanceInterface = "org.freedesktop.Application";

/** What a wish is called on the bus. */
const char *actionOf(Wish::Kind kind);

/** How the desktop lets a program that was started by the user come to the front. Each is empty
    where there is none. */
struct ActivationToken {
    std::string wayland;
    std::string x11;

    /** The one that we were started with. It stays there for the toolkit, which uses it up for our
        first window; no program that we start is given it. */
    static ActivationToken fromEnvironment();
};

enum class CallResult {
    Taken,      ///< it answered to each wish
    Nobody,     ///< no bus, or no Corvid on it
    Unanswered, ///< one is there, and refuses or does not answer
};

/**
 * Hands the wishes to the session's Corvid, one after the other. Blocks, for a second at most while
 * the bus does not answer, and for two while Corvid does not. A bus that does not answer is out of
 * bounds afterwards for the whole process, as the toolkit would wait for it without end.
 */
CallResult callInstance(const std::vector<Wish> &wishes, const ActivationToken &token);

} // namespace corvid
