#include "Base/TaskGroup.h"

#include <sys/resource.h>
#include <unistd.h>

namespace corvid {

void TaskGroup::start(std::function<void(std::stop_token)> task, TaskPriority priority) {
    tasks_.remove_if([](const Task &old) { return old.finished.load(); });
    Task &entry = tasks_.emplace_back();
    entry.thread = std::jthread([&entry, task = std::move(task), priority](std::stop_token stop) {
        constexpr int utilityNiceness = 10;
        if (priority == TaskPriority::Utility)
            setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), utilityNiceness);
        task(std::move(stop));
        entry.finished = true;
    });
}

} // namespace corvid
