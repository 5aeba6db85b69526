#include "Base/TaskGroup.h"

#include <condition_variable>
#include <mutex>

#include <sys/resource.h>
#include <unistd.h>

namespace corvid {

namespace {

std::mutex mutex;
std::condition_variable_any released;
bool held = false;

/** Until there is no hold, or the task is asked to stop. */
void awaitRelease(const std::stop_token &stop) {
    std::unique_lock lock(mutex);
    released.wait(lock, stop, [] { return !held; });
}

} // namespace

UtilityHold::UtilityHold() {
    const std::scoped_lock lock(mutex);
    held = true;
}

UtilityHold::~UtilityHold() {
    const std::scoped_lock lock(mutex);
    held = false;
    released.notify_all();
}

void TaskGroup::start(std::function<void(std::stop_token)> task, TaskPriority priority) {
    tasks_.remove_if([](const Task &old) { return old.finished.load(); });
    Task &entry = tasks_.emplace_back();
    entry.thread = std::jthread([&entry, task = std::move(task), priority](std::stop_token stop) {
        constexpr int utilityNiceness = 10;
        if (priority == TaskPriority::Utility) {
            setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), utilityNiceness);
            awaitRelease(stop);
        }
        task(std::move(stop));
        entry.finished = true;
    });
}

} // namespace corvid
