#include "Platform/Linux/ExitDeadline.h"

#include <unistd.h>

namespace corvid {

void ExitDeadline::start(std::chrono::milliseconds time, int exitCode) {
    thread_ = std::jthread([this, time, exitCode](const std::stop_token &stop) {
        std::unique_lock lock(mutex_);
        lifted_.wait_for(lock, stop, time, [] { return false; });
        if (!stop.stop_requested())
            _exit(exitCode);
    });
}

} // namespace corvid
