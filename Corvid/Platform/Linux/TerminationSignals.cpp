#include "Platform/Linux/TerminationSignals.h"

#include <QCoreApplication>

#include <array>
#include <csignal>

#include <sys/eventfd.h>
#include <unistd.h>

namespace corvid {

namespace {

constexpr std::array terminationSignals{SIGTERM, SIGINT, SIGHUP};

int signalled = -1; ///< an eventfd: a signal handler may do next to nothing, but write to that

void noteSignal(int /*signal*/) {
    eventfd_write(signalled, 1);
}

int openEvent() {
    signalled = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (signalled < 0)
        qFatal("no descriptor for signals");
    return signalled;
}

} // namespace

TerminationSignals::TerminationSignals() : notifier_(openEvent(), QSocketNotifier::Read) {
    QObject::connect(&notifier_, &QSocketNotifier::activated, &notifier_, [this] {
        notifier_.setEnabled(false);
        // quit() would ask every window first, and the panel hides where others close.
        QCoreApplication::exit();
    });
    struct sigaction action = {};
    action.sa_handler = noteSignal;
    // The first signal restores the default, so that a second one ends the process at once.
    action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
    for (const int signal : terminationSignals)
        sigaction(signal, &action, nullptr);
}

TerminationSignals::~TerminationSignals() {
    for (const int signal : terminationSignals)
        std::signal(signal, SIG_DFL);
    notifier_.setEnabled(false);
    close(signalled);
}

} // namespace corvid
