// A window for tests of what runs on an X11 display:
//
//   corvid_x11_client <instance> <class> [--gtk-id <id>] [--no-pid] [--managed]
//                     [--fullscreen] [--dock <strut>]
//
// prints the window's number once it is mapped (with --managed: once a window manager has put it
// into a frame), and ends when it is killed or loses the display. It tells the window manager of
// every key that the user presses in it. A dock reserves room: twelve numbers with commas between
// them, as in _NET_WM_STRUT_PARTIAL.

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

xcb_atom_t atom(xcb_connection_t *connection, const char *name) {
    xcb_intern_atom_reply_t *reply = xcb_intern_atom_reply(
        connection,
        xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(std::strlen(name)), name),
        nullptr);
    const xcb_atom_t result = reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    std::free(reply);
    return result;
}

std::vector<std::uint32_t> numbers(const char *text) {
    std::vector<std::uint32_t> result;
    char *end = nullptr;
    for (; *text; text = *end ? end + 1 : end)
        result.push_back(static_cast<std::uint32_t>(std::strtoul(text, &end, 10)));
    return result;
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 3)
        return 2;
    xcb_connection_t *connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection))
        return 1;
    const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    const xcb_window_t window = xcb_generate_id(connection);
    const std::uint32_t values[]{screen->white_pixel,
                                 XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_KEY_PRESS};
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, 100, 100, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
                      XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, values);

    const auto text = [&](xcb_atom_t property, xcb_atom_t type, const std::string &value) {
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, property, type, 8,
                            static_cast<std::uint32_t>(value.size()), value.data());
    };
    text(XCB_ATOM_WM_CLASS, XCB_ATOM_STRING,
         std::string(argv[1]) + '\0' + std::string(argv[2]) + '\0');
    const auto atoms = [&](const char *property, const char *value) {
        const xcb_atom_t number = atom(connection, value);
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, atom(connection, property),
                            XCB_ATOM_ATOM, 32, 1, &number);
    };
    bool tellsPid = true;
    std::uint8_t awaited = XCB_MAP_NOTIFY;
    for (int i = 3; i < argc; ++i) {
        if (std::strcmp(argv[i], "--no-pid") == 0)
            tellsPid = false;
        else if (std::strcmp(argv[i], "--managed") == 0)
            awaited = XCB_REPARENT_NOTIFY;
        else if (std::strcmp(argv[i], "--fullscreen") == 0)
            atoms("_NET_WM_STATE", "_NET_WM_STATE_FULLSCREEN");
        else if (std::strcmp(argv[i], "--dock") == 0 && i + 1 < argc) {
            atoms("_NET_WM_WINDOW_TYPE", "_NET_WM_WINDOW_TYPE_DOCK");
            const std::vector<std::uint32_t> strut = numbers(argv[++i]);
            xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window,
                                atom(connection, "_NET_WM_STRUT_PARTIAL"), XCB_ATOM_CARDINAL, 32,
                                static_cast<std::uint32_t>(strut.size()), strut.data());
        } else if (std::strcmp(argv[i], "--gtk-id") == 0 && i + 1 < argc)
            text(atom(connection, "_GTK_APPLICATION_ID"), atom(connection, "UTF8_STRING"),
                 argv[++i]);
    }
    if (tellsPid) {
        const auto pid = static_cast<std::uint32_t>(getpid());
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window,
                            atom(connection, "_NET_WM_PID"), XCB_ATOM_CARDINAL, 32, 1, &pid);
    }
    xcb_map_window(connection, window);
    xcb_flush(connection);
    while (xcb_generic_event_t *event = xcb_wait_for_event(connection)) {
        const int type = event->response_type & 0x7f;
        if (type == awaited) {
            std::printf("%u\n", window);
            std::fflush(stdout);
        }
        if (type == XCB_KEY_PRESS) {
            const xcb_timestamp_t time =
                reinterpret_cast<const xcb_key_press_event_t *>(event)->time;
            xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window,
                                atom(connection, "_NET_WM_USER_TIME"), XCB_ATOM_CARDINAL, 32, 1,
                                &time);
            xcb_flush(connection);
        }
        std::free(event);
    }
    xcb_disconnect(connection);
    return 0;
}
