#pragma once

#include <QByteArray>

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

// What xcb hands out, with an owner and a type.
namespace corvid::x11 {

struct Free {
    void operator()(void *memory) const { std::free(memory); }
};
template <typename T>
using Reply = std::unique_ptr<T, Free>;

/** Tells events apart, whoever sent them. */
inline std::uint8_t typeOf(const xcb_generic_event_t &event) {
    constexpr std::uint8_t sentBit = 0x80;
    return event.response_type & static_cast<std::uint8_t>(~sentBit);
}

/** The event as what its type says that it is. */
template <typename T>
T as(const xcb_generic_event_t &event) {
    T result;
    std::memcpy(&result, &event, sizeof result);
    return result;
}

/** The value of a property of bytes; empty for none. */
inline QByteArray bytesOf(const xcb_get_property_reply_t *reply) {
    if (!reply || reply->format != 8)
        return {};
    return {static_cast<const char *>(xcb_get_property_value(reply)),
            xcb_get_property_value_length(reply)};
}

/** The value of a property of 32-bit numbers; empty for none. */
inline std::vector<std::uint32_t> numbersOf(const xcb_get_property_reply_t *reply) {
    if (!reply || reply->format != 32)
        return {};
    std::vector<std::uint32_t> numbers(
        static_cast<std::size_t>(xcb_get_property_value_length(reply)) / sizeof(std::uint32_t));
    // An empty vector has no address to copy to.
    if (!numbers.empty())
        std::memcpy(numbers.data(), xcb_get_property_value(reply),
                    numbers.size() * sizeof(std::uint32_t));
    return numbers;
}

/** A window that is never shown, to send messages from and to ask the server's time with. */
inline xcb_window_t makeHiddenWindow(xcb_connection_t *connection, xcb_window_t root) {
    const xcb_window_t window = xcb_generate_id(connection);
    const std::uint32_t values[]{1, XCB_EVENT_MASK_PROPERTY_CHANGE};
    xcb_create_window(connection, 0, window, root, -100, -100, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      XCB_COPY_FROM_PARENT, XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    return window;
}

/** The server's present time, in milliseconds; XCB_CURRENT_TIME when the connection is lost. Waits
    for the server. Events that arrive meanwhile go to `other`. */
template <typename Function>
xcb_timestamp_t serverTime(xcb_connection_t *connection, xcb_window_t hiddenWindow,
                           const Function &other) {
    // Every change of a property is announced with the time, even one that adds nothing.
    xcb_change_property(connection, XCB_PROP_MODE_APPEND, hiddenWindow, XCB_ATOM_WM_NAME,
                        XCB_ATOM_STRING, 8, 0, nullptr);
    xcb_flush(connection);
    while (const Reply<xcb_generic_event_t> event{xcb_wait_for_event(connection)}) {
        if (typeOf(*event) == XCB_PROPERTY_NOTIFY) {
            const auto change = as<xcb_property_notify_event_t>(*event);
            if (change.window == hiddenWindow)
                return change.time;
        }
        other(*event);
    }
    return XCB_CURRENT_TIME;
}

} // namespace corvid::x11
