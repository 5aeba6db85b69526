#include "Platform/Linux/Icons/PictureQueue.h"

#include <chrono>
#include <utility>

#include <sys/eventfd.h>
#include <sys/resource.h>
#include <unistd.h>

namespace corvid {

using namespace std::chrono_literals;

namespace {

constexpr auto idleTime = 2s;   // after which the process ends
constexpr auto storeTime = 10s; // after which what was drawn is stored while more is drawn
constexpr int niceness = 10;    // inherited by the process

} // namespace

PictureQueue::PictureQueue(QString program, std::function<void()> store)
    : program_(std::move(program)), store_(std::move(store)),
      interruption_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

DrawnPicture PictureQueue::draw(QByteArray bytes, bool isDrawing, int edge) {
    std::future<DrawnPicture> result;
    {
        const std::scoped_lock lock(mutex_);
        if (ended_ || program_.isEmpty())
            return {};
        jobs_.push_back({std::move(bytes), isDrawing, edge});
        result = jobs_.back().result.get_future();
        if (!std::exchange(runs_, true))
            thread_ = std::jthread([this] { run(); }); // the last one has nothing left to do
    }
    changed_.notify_one();
    return result.get();
}

void PictureQueue::end() {
    std::jthread last;
    {
        const std::scoped_lock lock(mutex_);
        ended_ = true;
        eventfd_write(interruption_.number(), 1);
        last = std::move(thread_);
    }
    changed_.notify_one();
}

void PictureQueue::run() {
    setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), niceness);
    std::unique_lock lock(mutex_);
    while (!ended_ && !jobs_.empty()) {
        drawAll(lock);
        if (ended_)
            break;
        lock.unlock();
        store_();
        lock.lock();
    }
    for (Job &job : jobs_)
        job.result.set_value({});
    jobs_.clear();
    runs_ = false;
}

// Returns when nothing has come for a while.
void PictureQueue::drawAll(std::unique_lock<std::mutex> &lock) {
    PictureProcess process(program_, interruption_.number());
    auto stored = std::chrono::steady_clock::now();
    const auto hasWork = [this] { return ended_ || !jobs_.empty(); };
    while (changed_.wait_for(lock, idleTime, hasWork) && !ended_) {
        Job job = std::move(jobs_.front());
        jobs_.pop_front();
        lock.unlock();
        job.result.set_value(process.draw(job.bytes, job.isDrawing, job.edge));
        if (const auto now = std::chrono::steady_clock::now(); now - stored > storeTime) {
            store_();
            stored = now;
        }
        lock.lock();
    }
}

} // namespace corvid
