#pragma once

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

#include <functional>

namespace corvid::test {

/** Runs the event loop until the condition holds; false when it does not within the deadline,
    which is generous, so that only a defect or a dying machine reaches it. */
inline bool eventually(const std::function<bool()> &condition, int deadlineMs = 30'000) {
    constexpr int pauseMs = 5; // conditions may look at files and processes, which send no events
    const QDeadlineTimer deadline(deadlineMs);
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QEventLoop loop;
        QTimer::singleShot(pauseMs, &loop, &QEventLoop::quit);
        loop.exec();
    }
    return true;
}

} // namespace corvid::test
