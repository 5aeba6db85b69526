#include "Platform/Linux/X11/X11HotKeys.h"

#include "Platform/Linux/X11/X11KeyGrab.h"

#include <QCoreApplication>

#include <algorithm>
#include <array>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace corvid {

using namespace std::chrono_literals;

/** What the thread does, and its own state. */
class X11HotKeys::Worker {
public:
    explicit Worker(X11HotKeys &owner) : owner_(owner) {}

    void run(const std::stop_token &stop) {
        while (!stop.stop_requested()) {
            takeWishes();
            // What was to wake it for that may just have been taken.
            if (stop.stop_requested())
                break;
            stopKeepingBack();
            // Before sleeping: the answer to a request may have brought events along, which the
            // descriptor no longer announces.
            takeEvents();
            sleep();
        }
    }

private:
    using Clock = std::chrono::steady_clock;

    void takeWishes() {
        eventfd_t count = 0;
        eventfd_read(owner_.wakeDescriptor_, &count);
        std::optional<HotKey> wanted;
        bool changed = false;
        {
            const std::scoped_lock lock(owner_.mutex_);
            dealtWith_ = std::exchange(owner_.letGo_, std::nullopt);
            changed = std::exchange(granted_, owner_.wish_.number) != owner_.wish_.number;
            wanted = owner_.wish_.hotKey;
        }
        if (changed && wanted) {
            if (!keyGrab_) {
                if (auto connection = x11::connectTo(owner_.display_))
                    keyGrab_.emplace(std::move(connection));
            }
            if (keyGrab_)
                answerGrab(keyGrab_->grab(*wanted));
            else
                answer(HotKeyAnswer::NotOffered);
        } else if (changed && keyGrab_) {
            keyGrab_->release();
        }
    }

    // Once the latest press has been dealt with, or has waited for that too long.
    void stopKeepingBack() {
        const bool inTime = dealtWith_ == lastPress_;
        if (!inTime && (!deadline_ || Clock::now() < *deadline_))
            return;
        deadline_.reset();
        if (keyGrab_ && inTime)
            keyGrab_->letGo();
        else if (keyGrab_)
            keyGrab_->discard();
    }

    void takeEvents() {
        if (!keyGrab_)
            return;
        const X11KeyGrab::Events events =
            keyGrab_->takeEvents([this](const X11KeyGrab::Press &press) { pressed(press); });
        if (events.connectionLost) {
            keyGrab_.reset();
            answer(HotKeyAnswer::NotOffered);
        } else if (events.regrabbed) {
            answerGrab(*events.regrabbed);
        }
    }

    void sleep() const {
        std::array<pollfd, 2> sources{{{owner_.wakeDescriptor_, POLLIN, 0},
                                       {keyGrab_ ? keyGrab_->fileDescriptor() : -1, POLLIN, 0}}};
        // Rounded up, so that it does not wake before the deadline.
        const auto timeout = deadline_ ? std::max(0ms, std::chrono::ceil<std::chrono::milliseconds>(
                                                           *deadline_ - Clock::now()))
                                       : -1ms;
        poll(sources.data(), sources.size(), static_cast<int>(timeout.count()));
    }

    void pressed(const X11KeyGrab::Press &press) {
        lastPress_ = press.time;
        deadline_ = Clock::now() + owner_.patience_;
        tell([&](const Callbacks &callbacks) {
            owner_.pressModifiers_ = press.modifiers;
            callbacks.pressed(press.time);
        });
    }

    void answerGrab(bool obtained) {
        if (!obtained)
            lookForFree();
        answer(obtained ? HotKeyAnswer::Obtained : HotKeyAnswer::Taken);
    }

    void lookForFree() {
        std::vector<HotKey> alternatives;
        tell([&](const Callbacks &callbacks) { alternatives = callbacks.alternatives; });
        if (const std::optional<HotKey> free = keyGrab_->firstFree(alternatives))
            tell([&](const Callbacks &callbacks) { callbacks.foundFree(*free); });
    }

    void answer(HotKeyAnswer answer) {
        tell([answer](const Callbacks &callbacks) { callbacks.answered(answer); });
    }

    // Unless the combination was released or replaced meanwhile.
    template <typename Function>
    void tell(const Function &what) {
        const std::scoped_lock lock(owner_.mutex_);
        if (owner_.wish_.hotKey && owner_.wish_.number == granted_)
            what(owner_.wish_.callbacks);
    }

    X11HotKeys &owner_;
    std::optional<X11KeyGrab> keyGrab_; ///< absent until it is needed, and without a display
    std::uint64_t granted_ = 0;         ///< the number of the wish that was last seen to
    std::uint32_t lastPress_ = 0;
    /** Until when the keys that follow the latest press are kept back; absent while they are not.
     */
    std::optional<Clock::time_point> deadline_;
    std::optional<quint32> dealtWith_; ///< the press that was just said to be dealt with
};

X11HotKeys::X11HotKeys(QByteArray display, std::chrono::milliseconds patience)
    : display_(std::move(display)), patience_(patience),
      wakeDescriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

X11HotKeys::~X11HotKeys() {
    thread_.request_stop();
    release(); // wakes it
    if (thread_.joinable())
        thread_.join();
    close(wakeDescriptor_);
}

void X11HotKeys::grab(const HotKey &hotKey, Callbacks callbacks) {
    makeWish(hotKey, std::move(callbacks));
    if (!thread_.joinable())
        thread_ = std::jthread([this](const std::stop_token &stop) { Worker(*this).run(stop); });
}

void X11HotKeys::release() {
    makeWish(std::nullopt, {});
}

void X11HotKeys::dealtWith(quint32 time, NextKeys nextKeys) {
    if (nextKeys == NextKeys::WhoHasTheKeyboard)
        letGo(time);
    else
        handover_.await(pressModifiers_, [this, time] { letGo(time); });
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

void X11HotKeys::wake() const {
    eventfd_write(wakeDescriptor_, 1);
}

X11KeyHandover::X11KeyHandover() {
    QCoreApplication::instance()->installNativeEventFilter(this);
}

void X11KeyHandover::await(std::uint16_t modifiers, std::function<void()> arrived) {
    held_ = modifiers;
    arrived_ = std::move(arrived);
}

bool X11KeyHandover::nativeEventFilter(const QByteArray &eventType, void *message,
                                       qintptr * /*result*/) {
    if (eventType != "xcb_generic_event_t")
        return false;
    auto *event = static_cast<xcb_generic_event_t *>(message);
    switch (x11::typeOf(*event)) {
    case XCB_FOCUS_IN: {
        const auto &focus = x11::as<xcb_focus_in_event_t>(*event);
        // The end of a grab and a pointer above one of our windows are no arrival.
        if (arrived_ && focus.mode != XCB_NOTIFY_MODE_UNGRAB &&
            focus.detail != XCB_NOTIFY_DETAIL_POINTER)
            std::exchange(arrived_, {})();
        break;
    }
    case XCB_KEY_PRESS:
    case XCB_KEY_RELEASE: {
        auto &key = reinterpret_cast<xcb_key_press_event_t &>(*event);
        held_ &= key.state;
        if (held_ == 0)
            break;
        key.state = static_cast<std::uint16_t>(key.state & ~held_);
        // Else Qt would take the modifiers from the keyboard's own state when it works out the
        // key's text, and with Control held that is no letter.
        key.response_type |= x11::sentByClient;
        break;
    }
    default:
        break;
    }
    return false;
}

} // namespace corvid
