#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace corvid {

/**
 * Sees to it that a process that wants to end does so. Its threads are waited for, and one of them
 * may be waiting itself, in the kernel, for a file system that does not answer any more.
 */
class ExitDeadline {
public:
    ExitDeadline() = default;
    ExitDeadline(const ExitDeadline &) = delete;
    ExitDeadline &operator=(const ExitDeadline &) = delete;
    /** Lifts the deadline. */
    ~ExitDeadline() = default;

    /** When this object still exists after the time, the process ends with the code, at once and
        whatever else it is doing. Once only. */
    void start(std::chrono::milliseconds time, int exitCode);

private:
    std::mutex mutex_;
    std::condition_variable_any lifted_;
    std::jthread thread_; // last: it ends before what it uses
};

} // namespace corvid
