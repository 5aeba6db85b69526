#pragma once

#include <atomic>
#include <functional>
#include <list>
#include <stop_token>
#include <thread>

namespace corvid {

enum class TaskPriority {
    Normal,
    Utility, ///< yields to everything else that wants the processor
};

/** While there is one, no utility task begins: those that are started meanwhile wait for its end.
    One at a time. */
class UtilityHold {
public:
    UtilityHold();
    ~UtilityHold();
    UtilityHold(const UtilityHold &) = delete;
    UtilityHold &operator=(const UtilityHold &) = delete;
};

/**
 * Background tasks that end with their owner: the destructor asks every task to stop and waits
 * for it. Declare it as the owner's last member, so that tasks never see a half-destroyed owner.
 * Main thread only; the tasks themselves run on threads of their own and hand their result over
 * with QMetaObject::invokeMethod(owner, …, Qt::QueuedConnection).
 */
class TaskGroup {
public:
    /** A task looks at its token at least every few milliseconds and returns when asked to. */
    void start(std::function<void(std::stop_token)> task,
               TaskPriority priority = TaskPriority::Normal);

private:
    struct Task {
        std::atomic<bool> finished = false;
        std::jthread thread;
    };
    std::list<Task> tasks_;
};

} // namespace corvid
