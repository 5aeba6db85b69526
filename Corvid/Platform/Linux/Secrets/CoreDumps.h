#pragma once

namespace corvid {

/** Keeps our memory, and with it the user's key, out of core files and away from crash reporters.
    Call it once, at start. Unlike making the process undumpable, this leaves /proc/<pid> readable,
    by which desktop portals recognize who calls them. */
void forbidCoreDumps();

/** Undoes it for a program that we start. For use between fork and exec: async-signal-safe. */
void allowCoreDumpsInChild();

} // namespace corvid
