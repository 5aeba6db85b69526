#pragma once

#include <QByteArray>
#include <QRegion>
#include <QScopedPointer>

#include <xcb/xcb.h>

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <utility>
#include <vector>

// What xcb hands out, with an owner and a type.
namespace corvid::x11 {

/** What the server answered; null when it answered with an error or went away. */
template <typename T>
using Reply = std::unique_ptr<T, QScopedPointerPodDeleter>;

struct Disconnect {
    void operator()(xcb_connection_t *connection) const { xcb_disconnect(connection); }
};
/** A connection of our own. */
struct Connection : std::unique_ptr<xcb_connection_t, Disconnect> {
    using unique_ptr::unique_ptr;
    operator xcb_connection_t *() const { return get(); }
};

/** Null when the name is empty or no such display can be reached. `screen` takes the number of the
    display's default screen. */
Connection connectTo(const QByteArray &display, int *screen = nullptr);

/** Qt's own connection; null where the application does not run on X11. */
xcb_connection_t *connectionOfQt();
/** The number of the screen that Qt is on there: the one that $DISPLAY names. */
int screenOfQt();

/** Of this screen, or of the last one when there are fewer. */
xcb_window_t rootOf(xcb_connection_t *connection, int screen);

/** Part of the type of an event that a client has sent. */
inline constexpr std::uint8_t sentByClient = 0x80;

/** The type of an event, whoever sent it. */
inline std::uint8_t typeOf(const xcb_generic_event_t &event) {
    return event.response_type & static_cast<std::uint8_t>(~sentByClient);
}

/** The event as what its type says that it is. */
template <typename T>
const T &as(const xcb_generic_event_t &event) {
    return reinterpret_cast<const T &>(event);
}

/** Looks up atoms by name, all in one round trip; None for those that cannot be had. */
void intern(xcb_connection_t *connection,
            std::initializer_list<std::pair<xcb_atom_t *, const char *>> atoms);

/** How much of a property to ask for that may be long. */
inline constexpr std::uint32_t longestList = 65536; // 32-bit units

/** The value of a property of bytes; empty for none. */
QByteArray bytesOf(const xcb_get_property_reply_t *reply);
/** The value of a property of 32-bit numbers; empty for none. */
std::vector<std::uint32_t> numbersOf(const xcb_get_property_reply_t *reply);

/** Likewise; these wait for the server's answer. */
QByteArray bytesOf(xcb_connection_t *connection, xcb_get_property_cookie_t cookie);
std::vector<std::uint32_t> numbersOf(xcb_connection_t *connection,
                                     xcb_get_property_cookie_t cookie);

/** Replaces a property of 32-bit values. */
void setNumbers(xcb_connection_t *connection, xcb_window_t window, xcb_atom_t property,
                xcb_atom_t type, const std::vector<std::uint32_t> &values);

/** Asks the window manager for something by a message about a window, of these first numbers. */
void tellManager(xcb_connection_t *connection, xcb_window_t root, xcb_window_t window,
                 xcb_atom_t type, std::initializer_list<std::uint32_t> numbers);

/** Asks for these events of all keyboards and pointers, in place of those asked for before. The
    server must have the XInput extension. */
void selectDeviceEvents(xcb_connection_t *connection, xcb_window_t root, std::uint32_t events);

/** A window that is never shown, to send messages from and to ask the server's time with. */
xcb_window_t makeHiddenWindow(xcb_connection_t *connection, xcb_window_t root);

/** The server's present time, in milliseconds; XCB_CURRENT_TIME when the connection is lost. Waits
    for the server. Events that arrive meanwhile are dropped. */
xcb_timestamp_t serverTime(xcb_connection_t *connection, xcb_window_t hiddenWindow);

/** Limits a window to a region: the part of it that is there at all or, by XCB_SHAPE_SK_INPUT, that
    takes clicks. */
void shape(xcb_connection_t *connection, std::uint32_t window, std::uint8_t kind,
           const QRegion &region);

} // namespace corvid::x11
