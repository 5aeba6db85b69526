#pragma once

namespace corvid {

/** Keeps our memory, and with it the user's key, out of core files and away from crash reporters.
    Once, at start. Other than making the process undumpable this leaves /proc/<pid> readable, by
    which desktop portals recognize who speaks to them. */
void forbidCoreDumps();

/** Undoes it for a program that we start: between fork and exec, async-signal-safe. */
void allowCoreDumpsInChild();

} // namespace corvid
