#include "Platform/Linux/X11HotKeys.h"

#include "Platform/Linux/X11KeyGrab.h"

#include <array>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace corvid {

X11HotKeys::X11HotKeys(QByteArray display)
    : display_(std::move(display)), wakeDescriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

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
    const auto press = [&](std::uint32_t time) {
        tell([time](const Callbacks &callbacks) { callbacks.pressed(time); });
    };
    while (!stop.stop_requested()) {
        eventfd_t count = 0;
        eventfd_read(wakeDescriptor_, &count);
        std::optional<HotKey> wanted;
        bool changed = false;
        {
            const std::scoped_lock lock(mutex_);
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
        poll(sources.data(), sources.size(), -1);
    }
}

void X11HotKeys::wake() const {
    eventfd_write(wakeDescriptor_, 1);
}

} // namespace corvid
