#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QTimer>

#include <chrono>
#include <functional>

namespace corvid {

/** Runs the event loop until the condition holds. False when it does not by the deadline. */
inline bool waitUntil(const std::function<bool()> &condition,
                      std::chrono::milliseconds deadline = std::chrono::seconds(30)) {
    const QDeadlineTimer timer(deadline);
    // Wakes the loop for conditions that no event announces.
    QTimer tick;
    tick.start(std::chrono::milliseconds(5));
    while (!condition()) {
        if (timer.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    }
    return true;
}

} // namespace corvid
