#pragma once

#include <sys/resource.h>

namespace corvid {

/** Notes a limit that this process was started with, before it is changed. At start, while there
    are neither threads nor children. */
void rememberLimit(int resource, const rlimit &limit);

/** Gives this process back the limits that were noted. For use between fork and exec:
    async-signal-safe. */
void restoreLimits();

} // namespace corvid
