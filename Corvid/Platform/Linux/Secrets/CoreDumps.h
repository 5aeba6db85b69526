#pragma once

namespace corvid {

/** Keeps our memory, and with it the user's key, out of core files and away from crash reporters,
    also while we are recognizable. Call it once, at start; what we start is given its limit
    back. */
void forbidCoreDumps();

} // namespace corvid
