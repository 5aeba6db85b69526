#pragma once

#include "Platform/Linux/Icons/PictureProcess.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <mutex>
#include <thread>

namespace corvid {

/**
 * Has foreign pictures drawn one after the other, in a process that lives while there is something
 * to draw and a few seconds longer. Any thread.
 */
class PictureQueue {
public:
    /** `store` is called on the queue's thread: when nothing is left to draw, and now and then
        while there is. */
    PictureQueue(QString program, std::function<void()> store);
    ~PictureQueue() { end(); }
    PictureQueue(const PictureQueue &) = delete;
    PictureQueue &operator=(const PictureQueue &) = delete;

    /** Blocks until its turn has come. */
    DrawnPicture draw(QByteArray bytes, bool isDrawing, int edge);

    /** From now on nothing is drawn, and nobody who waits for a picture waits any longer. */
    void end();

private:
    struct Job {
        QByteArray bytes;
        bool isDrawing;
        int edge;
        std::promise<DrawnPicture> result{};
    };

    void run();
    void drawAll(std::unique_lock<std::mutex> &lock);

    const QString program_;
    const std::function<void()> store_;
    const FileDescriptor interruption_; ///< readable once we end

    std::mutex mutex_; ///< guards what follows
    std::condition_variable changed_;
    std::deque<Job> jobs_;
    bool runs_ = false; ///< there is a thread that takes jobs
    bool ended_ = false;
    std::jthread thread_;
};

} // namespace corvid
