// Stands in for a tray of the older kind, which embeds X11 windows: prints "ready" once it is the
// display's tray, then a line "item <window>" for each icon that asks to be embedded. Ends when it
// is killed.

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

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

} // namespace

int main() {
    xcb_connection_t *connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(connection))
        return 1;
    const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    const xcb_window_t window = xcb_generate_id(connection);
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, 100, 24, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, 0, nullptr);
    xcb_map_window(connection, window);
    const xcb_atom_t tray = atom(connection, "_NET_SYSTEM_TRAY_S0");
    const xcb_atom_t opcode = atom(connection, "_NET_SYSTEM_TRAY_OPCODE");
    xcb_set_selection_owner(connection, window, tray, XCB_CURRENT_TIME);

    xcb_client_message_event_t announcement{};
    announcement.response_type = XCB_CLIENT_MESSAGE;
    announcement.format = 32;
    announcement.window = screen->root;
    announcement.type = atom(connection, "MANAGER");
    announcement.data.data32[1] = tray;
    announcement.data.data32[2] = window;
    xcb_send_event(connection, 0, screen->root, XCB_EVENT_MASK_STRUCTURE_NOTIFY,
                   reinterpret_cast<const char *>(&announcement));
    xcb_flush(connection);
    std::puts("ready");
    std::fflush(stdout);

    while (xcb_generic_event_t *event = xcb_wait_for_event(connection)) {
        const auto *message = reinterpret_cast<const xcb_client_message_event_t *>(event);
        constexpr std::uint32_t requestDock = 0;
        if ((event->response_type & 0x7f) == XCB_CLIENT_MESSAGE && message->type == opcode &&
            message->data.data32[1] == requestDock) {
            xcb_reparent_window(connection, message->data.data32[2], window, 0, 0);
            xcb_map_window(connection, message->data.data32[2]);
            xcb_flush(connection);
            std::printf("item %u\n", message->data.data32[2]);
            std::fflush(stdout);
        }
        std::free(event);
    }
    xcb_disconnect(connection);
    return 0;
}
