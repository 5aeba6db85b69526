#include "Platform/Linux/Secrets/CoreDumps.h"

#include <sys/resource.h>

#include <optional>

namespace corvid {

namespace {

// The limit of who started us. Written before there are threads or children.
std::optional<rlimit> inherited;

// Too small for any file; and unlike 0 the kernel heeds it for crash reporters that it pipes to.
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
