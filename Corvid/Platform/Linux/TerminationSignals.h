#pragma once

#include <QSocketNotifier>

namespace corvid {

/**
 * Turns SIGTERM, SIGINT and SIGHUP into an orderly end of the event loop, so that what waits to be
 * written is written and what was grabbed is released. One per process, on the main thread, after
 * the application object. A second signal ends the process at once.
 */
class TerminationSignals {
public:
    TerminationSignals();
    ~TerminationSignals();
    Q_DISABLE_COPY_MOVE(TerminationSignals)

private:
    QSocketNotifier notifier_;
};

} // namespace corvid
