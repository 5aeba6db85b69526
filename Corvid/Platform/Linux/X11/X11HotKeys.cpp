#include "Platform/Linux/X11/X11HotKeys.h"

#include "Platform/Linux/X11/X11KeyGrab.h"

#include <algorithm>
#include <array>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace corvid {

using namespace std::chrono;

X11HotKeys::X11HotKeys(QByteArray display, milliseconds patience)
    : display_(std::move(display)), patience_(patience),
      wakeDescriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

X11HotKeys::~X11HotKeys() {
    release();
    thread_.request_stop();
    wake();
    if (thread_.joinable())
        thread_.join();
    close(wakeDescriptor_);
}

void X11HotKeys::grab(const HotKey &hotKey, Callbacks callbacks) {
    makeWish(hotKey, std::move(callbacks));
    if (!thread_.joinable())
        thread_ = std::jthread([this](const std::stop_token &stop) { run(stop); });
}

void X11HotKeys::release() {
    makeWish(std::nullopt, {});
}

void X11HotKeys::dealtWith(quint32 time, NextKeys nextKeys) {
    if (nextKeys == NextKeys::WhoHasTheKeyboard) {
        letGo(time);
        return;
    }
    std::uint16_t modifiers = 0;
    {
        const std::scoped_lock lock(mutex_);
        modifiers = pressModifiers_;
    }
    handover_.await(modifiers, [this, time] { letGo(time); });
}

void X11HotKeys::letGo(quint32 time) {
    {
        const std::scoped_lock lock(mutex_);
        letGo_ = time;
    }
    wake();
}

void X11HotKeys::makeWish(std::optional<HotKey> hotKey, Callbacks callbacks) {
    {
        const std::scoped_lock lock(mutex_);
        wish_ = {hotKey, std::move(callbacks), wish_.number + 1};
    }
    wake();
}

void X11HotKeys::run(const std::stop_token &stop) {
    std::unique_ptr<X11KeyGrab> keyGrab;
    std::uint64_t granted = 0;
    const auto tell = [&](const auto &what) {
        const std::scoped_lock lock(mutex_);
        if (wish_.hotKey && wish_.number == granted)
            what(wish_.callbacks);
    };
    const auto answer = [&](bool obtained) {
        tell([obtained](const Callbacks &callbacks) { callbacks.answered(obtained); });
    };
    // The latest press, and until when the keys after it are kept back.
    std::uint32_t lastPress = 0;
    std::optional<steady_clock::time_point> deadline;
    const auto press = [&](const X11KeyGrab::Press &event) {
        lastPress = event.time;
        deadline = steady_clock::now() + patience_;
        tell([&](const Callbacks &callbacks) {
            pressModifiers_ = event.modifiers;
            callbacks.pressed(event.time);
        });
    };
    while (!stop.stop_requested()) {
        eventfd_t count = 0;
        eventfd_read(wakeDescriptor_, &count);
        std::optional<HotKey> wanted;
        std::optional<quint32> letGo;
        bool changed = false;
        {
            const std::scoped_lock lock(mutex_);
            letGo = std::exchange(letGo_, std::nullopt);
            changed = std::exchange(granted, wish_.number) != wish_.number;
            wanted = wish_.hotKey;
        }
        if (changed && wanted) {
            if (!keyGrab)
                keyGrab = X11KeyGrab::connect(display_);
            answer(keyGrab && keyGrab->grab(*wanted));
        } else if (changed && keyGrab) {
            keyGrab->release();
        }
        const bool tooLate = deadline && steady_clock::now() >= *deadline;
        if (tooLate || letGo == lastPress) {
            deadline.reset();
            if (keyGrab && letGo == lastPress)
                keyGrab->letGo(lastPress);
            else if (keyGrab)
                keyGrab->discard(lastPress);
        }
        if (keyGrab) {
            // Before sleeping too: an answer may have brought events along, which the descriptor
            // no longer announces.
            const X11KeyGrab::Events events = keyGrab->takeEvents(press);
            if (events.connectionLost) {
                keyGrab.reset();
                answer(false);
            } else if (events.regrabbed) {
                answer(*events.regrabbed);
            }
        }
        std::array<pollfd, 2> sources{
            {{wakeDescriptor_, POLLIN, 0}, {keyGrab ? keyGrab->fileDescriptor() : -1, POLLIN, 0}}};
        // Rounded up, so that it does not wake before the deadline.
        const auto timeout =
            deadline ? std::max(0ms, ceil<milliseconds>(*deadline - steady_clock::now())) : -1ms;
        poll(sources.data(), sources.size(), static_cast<int>(timeout.count()));
    }
}

void X11HotKeys::wake() const {
    eventfd_write(wakeDescriptor_, 1);
}

} // namespace corvid
