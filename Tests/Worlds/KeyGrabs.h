#pragma once

#include <QByteArray>

#include <cstdint>
#include <cstdlib>
#include <memory>

#include <xcb/xcb.h>

namespace corvid::test {

/** Whether some program of the display holds the key with exactly these modifiers (XCB_MOD_MASK_…)
    for the whole screen. `key`: an X key code. */
inline bool isGrabbed(const QByteArray &display, std::uint8_t key, std::uint16_t modifiers) {
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection(
        xcb_connect(display.constData(), nullptr), &xcb_disconnect);
    if (xcb_connection_has_error(connection.get()) != 0)
        return false;
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data->root;
    // The only way to ask is to take it: for a moment in which nobody else can find it taken.
    xcb_grab_server(connection.get());
    const xcb_void_cookie_t request = xcb_grab_key_checked(
        connection.get(), 0, root, modifiers, key, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    xcb_ungrab_key(connection.get(), key, root, modifiers);
    xcb_ungrab_server(connection.get());
    const std::unique_ptr<xcb_generic_error_t, decltype(&std::free)> refused(
        xcb_request_check(connection.get(), request), &std::free);
    return refused && refused->error_code == XCB_ACCESS;
}

} // namespace corvid::test
