#include "Platform/Linux/X11/X11KeyHandover.h"

#include "Platform/Linux/X11/X11Replies.h"

#include <QCoreApplication>

#include <utility>

namespace corvid {

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
