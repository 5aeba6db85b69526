#pragma once

#include <chrono>
#include <ctime>

namespace corvid {

/** Time that nobody can set and that goes on while the machine sleeps, when
    std::chrono::steady_clock stands still. */
struct BootClock {
    using duration = std::chrono::nanoseconds;
    using rep = duration::rep;
    using period = duration::period;
    using time_point = std::chrono::time_point<BootClock>;
    static constexpr bool is_steady = true;

    static time_point now() {
        timespec time = {};
        clock_gettime(CLOCK_BOOTTIME, &time);
        return time_point(std::chrono::seconds(time.tv_sec) +
                          std::chrono::nanoseconds(time.tv_nsec));
    }
};

} // namespace corvid
