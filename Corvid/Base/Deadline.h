#pragma once

#include <chrono>
#include <functional>
#include <thread>

namespace corvid {

/** Calls a function, in a thread of its own, when this object still exists after the time. The
    destructor waits for a call that has begun. */
class Deadline {
public:
    Deadline(std::chrono::milliseconds time, std::function<void()> missed);

private:
    std::jthread thread_;
};

} // namespace corvid
