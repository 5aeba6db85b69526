#include "Platform/Linux/Secrets/CoreDumps.h"

#include <sys/resource.h>

#include <optional>

namespace corvid {

namespace {

// What this process was started with. Written before there are threads or children.
std::optional<rlimit> inherited;

// Too small for any core file. Not 0, which the kernel ignores where it pipes the core to a
// program.
constexpr rlim_t noCore = 1;

} // namespace

void forbidCoreDumps() {
    rlimit limit = {};
    if (getrlimit(RLIMIT_CORE, &limit) != 0)
        return;
    inherited = limit;
    // The hard limit stays, for our children.
    if (limit.rlim_max >= noCore)
        limit.rlim_cur = noCore;
    setrlimit(RLIMIT_CORE, &limit);
}

void allowCoreDumpsInChild() {
    if (inherited)
        setrlimit(RLIMIT_CORE, &*inherited);
}

} // namespace corvid
