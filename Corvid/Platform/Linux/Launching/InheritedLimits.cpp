#include "Platform/Linux/Launching/InheritedLimits.h"

#include <array>
#include <optional>

namespace corvid {

namespace {

std::array<std::optional<rlimit>, RLIM_NLIMITS> inherited; ///< by resource

} // namespace

void rememberLimit(int resource, const rlimit &limit) {
    inherited[static_cast<std::size_t>(resource)] = limit;
}

void restoreLimits() {
    int resource = 0;
    for (const std::optional<rlimit> &limit : inherited) {
        if (limit)
            setrlimit(static_cast<__rlimit_resource>(resource), &*limit);
        ++resource;
    }
}

} // namespace corvid
