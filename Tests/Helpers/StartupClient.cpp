// A program as a desktop starts it:
//
//   corvid_startup_client window <name> <gate> [<startup id>]
//
// waits for the file <gate>, maps a window with the startup id that it was given (in its
// environment or as an argument) and the time in it, writes the window's number to <gate>.window,
// and ends with the display.
//
//   corvid_startup_client listen
//
// prints every startup notification message, one a line.

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <string_view>
#include <unistd.h>

namespace {

xcb_atom_t atom(xcb_connection_t *connection, std::string_view name) {
    xcb_intern_atom_reply_t *reply = xcb_intern_atom_reply(
        connection,
        xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data()),
        nullptr);
    const xcb_atom_t result = reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    std::free(reply);
    return result;
}

int listen(xcb_connection_t *connection, xcb_window_t root) {
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(connection, root, XCB_CW_EVENT_MASK, &mask);
    const xcb_atom_t begin = atom(connection, "_NET_STARTUP_INFO_BEGIN");
    const xcb_atom_t more = atom(connection, "_NET_STARTUP_INFO");
    std::puts("listening");
    std::fflush(stdout);
    std::map<xcb_window_t, std::string> messages;
    while (xcb_generic_event_t *event = xcb_wait_for_event(connection)) {
        xcb_client_message_event_t part;
        std::memcpy(&part, event, sizeof part);
        std::free(event);
        if ((part.response_type & 0x7f) != XCB_CLIENT_MESSAGE ||
            (part.type != begin && part.type != more))
            continue;
        std::string &message = messages[part.window];
        if (part.type == begin)
            message.clear();
        const auto *text = reinterpret_cast<const char *>(part.data.data8);
        const std::size_t size = strnlen(text, sizeof part.data.data8);
        message.append(text, size);
        if (size == sizeof part.data.data8)
            continue;
        std::puts(message.c_str());
        std::fflush(stdout);
    }
    return 0;
}

int showWindow(xcb_connection_t *connection, const xcb_screen_t &screen, const std::string &name,
               const std::string &gate, const std::string &startupId) {
    while (access(gate.c_str(), F_OK) != 0)
        usleep(5'000);
    const xcb_window_t window = xcb_generate_id(connection);
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, screen.root, 0, 0, 100, 100, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen.root_visual, 0, nullptr);
    const auto text = [&](xcb_atom_t property, xcb_atom_t type, const std::string &value) {
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, property, type, 8,
                            static_cast<std::uint32_t>(value.size()), value.data());
    };
    text(XCB_ATOM_WM_NAME, XCB_ATOM_STRING, name);
    text(XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, name + '\0' + name + '\0');
    if (const std::size_t at = startupId.rfind("_TIME"); at != std::string::npos) {
        text(atom(connection, "_NET_STARTUP_ID"), atom(connection, "UTF8_STRING"), startupId);
        const auto time =
            static_cast<std::uint32_t>(std::strtoul(startupId.c_str() + at + 5, nullptr, 10));
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window,
                            atom(connection, "_NET_WM_USER_TIME"), XCB_ATOM_CARDINAL, 32, 1, &time);
    }
    xcb_map_window(connection, window);
    xcb_flush(connection);
    if (FILE *file = std::fopen((gate + ".window.part").c_str(), "w")) {
        std::fprintf(file, "%u", window);
        std::fclose(file);
        std::rename((gate + ".window.part").c_str(), (gate + ".window").c_str());
    }
    while (xcb_generic_event_t *event = xcb_wait_for_event(connection))
        std::free(event);
    return 0;
}

} // namespace

int main(int argc, char **argv) {
    xcb_connection_t *connection = xcb_connect(nullptr, nullptr);
    if (argc < 2 || xcb_connection_has_error(connection))
        return 1;
    const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    int result = 2;
    if (std::strcmp(argv[1], "listen") == 0) {
        result = listen(connection, screen->root);
    } else if (argc > 3) {
        const char *given = std::getenv("DESKTOP_STARTUP_ID");
        result = showWindow(connection, *screen, argv[2], argv[3],
                            argc > 4 ? argv[4]
                            : given  ? given
                                     : "");
    }
    xcb_disconnect(connection);
    return result;
}
