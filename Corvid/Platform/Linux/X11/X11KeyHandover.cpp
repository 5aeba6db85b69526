#include "Platform/Linux/X11/X11KeyHandover.h"

#include <QCoreApplication>

#include <xcb/xcb.h>

#include <utility>

namespace corvid {

namespace {

constexpr std::uint8_t eventCode = 0x7f;
constexpr std::uint8_t sentByClient = 0x80;

} // namespace

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
    switch (event->response_type & eventCode) {
    case XCB_FOCUS_IN: {
        const auto &focus = reinterpret_cast<const xcb_focus_in_event_t &>(*event);
        // Neither the end of a grab, nor the pointer resting on one of our windows.
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
        // Only for an event that a client sent does Qt go by the event's own state when it looks
        // for the key's text, which with Control held would not be a letter.
        key.response_type |= sentByClient;
        break;
    }
    default:
        break;
    }
    return false;
}

} // namespace corvid
