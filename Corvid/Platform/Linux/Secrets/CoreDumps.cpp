#include "Platform/Linux/Secrets/CoreDumps.h"

#include "Platform/Linux/Launching/InheritedLimits.h"

namespace corvid {

namespace {

// Too small for any core file. Not 0, which the kernel ignores where it pipes the core to a
// program.
constexpr rlim_t noCore = 1;

} // namespace

void forbidCoreDumps() {
    rlimit limit = {};
    if (getrlimit(RLIMIT_CORE, &limit) != 0)
        return;
    rememberLimit(RLIMIT_CORE, limit);
    // The hard limit stays, for our children.
    if (limit.rlim_max >= noCore)
        limit.rlim_cur = noCore;
    setrlimit(RLIMIT_CORE, &limit);
}

} // namespace corvid
