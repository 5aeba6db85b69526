#include "Platform/Linux/X11/X11Replies.h"

#include <QGuiApplication>

#include <xcb/shape.h>
#include <xcb/xinput.h>

#include <cstdlib>
#include <cstring>

namespace corvid::x11 {

Connection connectTo(const QByteArray &display, int *screen) {
    if (display.isEmpty())
        return nullptr;
    Connection connection(xcb_connect(display.constData(), screen));
    if (xcb_connection_has_error(connection))
        return nullptr;
    return connection;
}

xcb_connection_t *connectionOfQt() {
    const auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

int screenOfQt() {
    char *host = nullptr;
    int display = 0;
    int screen = 0;
    if (xcb_parse_display(nullptr, &host, &display, &screen))
        std::free(host);
    return screen;
}

xcb_window_t rootOf(xcb_connection_t *connection, int screen) {
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (int i = 0; i < screen && screens.rem > 1; ++i)
        xcb_screen_next(&screens);
    return screens.data->root;
}

void intern(xcb_connection_t *connection,
            std::initializer_list<std::pair<xcb_atom_t *, const char *>> atoms) {
    std::vector<xcb_intern_atom_cookie_t> cookies;
    cookies.reserve(atoms.size());
    for (const auto &[atom, name] : atoms)
        cookies.push_back(
            xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(std::strlen(name)), name));
    auto cookie = cookies.begin();
    for (const auto &[atom, name] : atoms) {
        const Reply<xcb_intern_atom_reply_t> reply(
            xcb_intern_atom_reply(connection, *cookie++, nullptr));
        *atom = reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    }
}

QByteArray bytesOf(const xcb_get_property_reply_t *reply) {
    if (!reply || reply->format != 8)
        return {};
    return {static_cast<const char *>(xcb_get_property_value(reply)),
            xcb_get_property_value_length(reply)};
}

std::vector<std::uint32_t> numbersOf(const xcb_get_property_reply_t *reply) {
    if (!reply || reply->format != 32)
        return {};
    const auto *first = static_cast<const std::uint32_t *>(xcb_get_property_value(reply));
    return {first, first + reply->value_len};
}

QByteArray bytesOf(xcb_connection_t *connection, xcb_get_property_cookie_t cookie) {
    return bytesOf(
        Reply<xcb_get_property_reply_t>(xcb_get_property_reply(connection, cookie, nullptr)).get());
}

std::vector<std::uint32_t> numbersOf(xcb_connection_t *connection,
                                     xcb_get_property_cookie_t cookie) {
    return numbersOf(
        Reply<xcb_get_property_reply_t>(xcb_get_property_reply(connection, cookie, nullptr)).get());
}

void setNumbers(xcb_connection_t *connection, xcb_window_t window, xcb_atom_t property,
                xcb_atom_t type, const std::vector<std::uint32_t> &values) {
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, property, type, 32,
                        static_cast<std::uint32_t>(values.size()), values.data());
}

void tellManager(xcb_connection_t *connection, xcb_window_t root, xcb_window_t window,
                 xcb_atom_t type, std::initializer_list<std::uint32_t> numbers) {
    xcb_client_message_event_t message = {};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = type;
    std::copy(numbers.begin(), numbers.end(), std::begin(message.data.data32));
    xcb_send_event(connection, 0, root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char *>(&message));
}

void selectDeviceEvents(xcb_connection_t *connection, xcb_window_t root, std::uint32_t events) {
    const struct {
        xcb_input_event_mask_t head;
        std::uint32_t events;
    } mask{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, events};
    xcb_input_xi_select_events(connection, root, 1, &mask.head);
    xcb_flush(connection);
}

xcb_window_t makeHiddenWindow(xcb_connection_t *connection, xcb_window_t root) {
    const xcb_window_t window = xcb_generate_id(connection);
    const std::uint32_t values[]{1, XCB_EVENT_MASK_PROPERTY_CHANGE};
    xcb_create_window(connection, 0, window, root, -100, -100, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      XCB_COPY_FROM_PARENT, XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    return window;
}

xcb_timestamp_t serverTime(xcb_connection_t *connection, xcb_window_t hiddenWindow) {
    // Every change of a property is announced with the time, even one that adds nothing.
    xcb_change_property(connection, XCB_PROP_MODE_APPEND, hiddenWindow, XCB_ATOM_WM_NAME,
                        XCB_ATOM_STRING, 8, 0, nullptr);
    xcb_flush(connection);
    while (const Reply<xcb_generic_event_t> event{xcb_wait_for_event(connection)}) {
        const auto &change = as<xcb_property_notify_event_t>(*event);
        if (typeOf(*event) == XCB_PROPERTY_NOTIFY && change.window == hiddenWindow)
            return change.time;
    }
    return XCB_CURRENT_TIME;
}

void shape(xcb_connection_t *connection, std::uint32_t window, std::uint8_t kind,
           const QRegion &region) {
    std::vector<xcb_rectangle_t> rectangles;
    for (const QRect &rectangle : region)
        rectangles.push_back({static_cast<std::int16_t>(rectangle.x()),
                              static_cast<std::int16_t>(rectangle.y()),
                              static_cast<std::uint16_t>(rectangle.width()),
                              static_cast<std::uint16_t>(rectangle.height())});
    xcb_shape_rectangles(connection, XCB_SHAPE_SO_SET, kind, XCB_CLIP_ORDERING_UNSORTED, window, 0,
                         0, static_cast<std::uint32_t>(rectangles.size()), rectangles.data());
}

} // namespace corvid::x11
