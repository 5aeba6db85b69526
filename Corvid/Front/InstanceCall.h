#pragma once

#include "Platform/Instance.h"

#include <chrono>
#include <string>
#include <vector>

namespace corvid {

// Knows neither the toolkit nor GLib: a hot key that the desktop binds to a command starts a
// process for every press, which should have little to load.

/** Where the session's Corvid is heard. */
inline constexpr const char *instanceBusName = "app.corvid.Launcher";
inline constexpr const char *instanceObjectPath = "/app/corvid/Launcher";
inline constexpr const char *instanceInterface = "org.freedesktop.Application";

/** How long the bus and the Corvid that runs are waited for. */
inline constexpr std::chrono::seconds busPatience{1};
inline constexpr std::chrono::seconds instancePatience{2};

/** What a wish is called on the bus. */
const char *actionOf(Wish::Kind kind);

/** Where an environment says that the session's bus is; empty where it does not. */
std::string sessionBusAddress(const std::vector<std::string> &environment);

/** Whether there is a bus that does not answer in time. Such a one is put out of bounds for the
    whole process, since the toolkit would wait for it without end. Blocks for as long. */
bool busIsSilent();

enum class CallResult {
    Taken,      ///< it answered to each wish
    Nobody,     ///< no bus, or no Corvid on it
    BusSilent,  ///< a bus that does not answer, and is out of bounds now as above
    Unanswered, ///< one is there, and refuses or does not answer
};

/**
 * Hands the wishes to the session's Corvid, one after the other, with the tokens in our environment
 * by which the desktop lets it come to the front. Blocks while the bus or
 * Corvid does not answer, for as long as it is waited for.
 */
CallResult callInstance(const std::vector<Wish> &wishes);

} // namespace corvid
