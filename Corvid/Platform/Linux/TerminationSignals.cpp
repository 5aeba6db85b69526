#include "Platform/Linux/TerminationSignals.h"

#include <QCoreApplication>

#include <array>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace corvid {

namespace {

constexpr std::array terminationSignals{SIGTERM, SIGINT, SIGHUP};

int writeEnd = -1;

void noteSignal(int /*signal*/) {
    const char byte = 0;
    // A full pipe wakes the loop just as well, and nothing could be done about an error here.
    [[maybe_unused]] const ssize_t written = write(writeEnd, &byte, 1);
}

int openPipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        qFatal("no pipe for signals");
    writeEnd = ends[1];
    return ends[0];
}

} // namespace

TerminationSignals::TerminationSignals()
    : readEnd_(openPipe()), notifier_(readEnd_, QSocketNotifier::Read) {
    QObject::connect(&notifier_, &QSocketNotifier::activated, &notifier_, [this] {
        notifier_.setEnabled(false);
        // quit() would ask every window first, and the panel hides where others close.
        QCoreApplication::exit();
    });
    struct sigaction action = {};
    action.sa_handler = noteSignal;
    // With the default back in place, whoever is impatient is heard the second time.
    action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
    for (const int signal : terminationSignals)
        sigaction(signal, &action, nullptr);
}

TerminationSignals::~TerminationSignals() {
    for (const int signal : terminationSignals)
        std::signal(signal, SIG_DFL);
    close(readEnd_);
    close(writeEnd);
    writeEnd = -1;
}

} // namespace corvid
