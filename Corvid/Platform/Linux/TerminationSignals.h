#pragma once

#include <QtGlobal>

#include <chrono>
#include <mutex>
#include <thread>

namespace corvid {

/**
 * Turns SIGTERM, SIGINT and SIGHUP into an orderly end of the event loop, so that what waits to be
 * written is written and what was grabbed is released. A second signal ends the process at once.
 *
 * A thread of its own waits for them, so that neither a main thread that hangs nor a lack of
 * descriptors keeps the process: from the first signal on, it has until the patience is over. One
 * per process; constructed before any other thread, which would get the signals else.
 */
class TerminationSignals {
public:
    static constexpr std::chrono::seconds usualPatience{4};

    explicit TerminationSignals(std::chrono::seconds patience = usualPatience);
    /** From here on a signal ends the process at once. */
    ~TerminationSignals();
    Q_DISABLE_COPY_MOVE(TerminationSignals)

    /** There is an application object, whose event loop a signal ends; before that, a signal ends
        the process at once. */
    void loopBegins() { enter(Phase::Loop); }
    /** The process is about to end: a first signal changes nothing but that the patience counts
        from it. */
    void loopHasEnded() { enter(Phase::End); }
    /** Whether there was one. */
    bool received() const;

private:
    enum class Phase { Start, Loop, End };

    void enter(Phase phase);
    bool takeFirst();
    void wait();

    const std::chrono::seconds patience_;
    mutable std::mutex mutex_; ///< guards what follows
    Phase phase_ = Phase::Start;
    bool received_ = false;

    std::thread thread_;
};

} // namespace corvid
