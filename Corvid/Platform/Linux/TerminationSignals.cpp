#include "Platform/Linux/TerminationSignals.h"

#include <QCoreApplication>

#include <cerrno>
#include <csignal>
#include <ctime>

#include <unistd.h>

namespace corvid {

namespace {

const sigset_t terminationSignals = [] {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        sigaddset(&signals, signal);
    return signals;
}();

// As if nobody had waited for it. Unlike a call of exit it needs nothing of any other thread.
void endBy(int signal) {
    std::signal(signal, SIG_DFL);
    pthread_sigmask(SIG_UNBLOCK, &terminationSignals, nullptr);
    raise(signal);
    _exit(1); // for the first process of a container, which signals do not end
}

// The next one, or -1 when none comes in time.
int await(const timespec *time, siginfo_t &info) {
    int signal = -1;
    do { // a process that is stopped and continued waits anew
        signal = sigtimedwait(&terminationSignals, &info, time);
    } while (signal < 0 && errno == EINTR);
    return signal;
}

} // namespace

TerminationSignals::TerminationSignals(std::chrono::seconds patience) : patience_(patience) {
    pthread_sigmask(SIG_BLOCK, &terminationSignals, nullptr);
    thread_ = std::thread([this] { wait(); });
}

TerminationSignals::~TerminationSignals() {
    pthread_kill(thread_.native_handle(), SIGHUP); // any of those that it awaits
    thread_.join();
    pthread_sigmask(SIG_UNBLOCK, &terminationSignals, nullptr);
}

bool TerminationSignals::received() const {
    const std::lock_guard lock(mutex_);
    return received_;
}

void TerminationSignals::enter(Phase phase) {
    const std::lock_guard lock(mutex_);
    phase_ = phase;
}

// False when there is nothing to be ended in an orderly way yet.
bool TerminationSignals::takeFirst() {
    const std::lock_guard lock(mutex_);
    received_ = true;
    // quit() would ask every window first, and the panel hides where others close.
    if (phase_ == Phase::Loop)
        QMetaObject::invokeMethod(
            qApp, [] { QCoreApplication::exit(); }, Qt::QueuedConnection);
    return phase_ != Phase::Start;
}

void TerminationSignals::wait() {
    siginfo_t info = {};
    // Of all in this process, only the destructor sends any.
    const auto isDestructors = [&info] { return info.si_pid == getpid(); };
    const int first = await(nullptr, info);
    if (isDestructors())
        return;
    if (takeFirst()) {
        const timespec patience{patience_.count(), 0};
        if (await(&patience, info) > 0 && isDestructors())
            return;
    }
    endBy(first);
}

} // namespace corvid
