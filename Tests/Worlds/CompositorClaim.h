#pragma once

#include <QByteArray>

#include <cstdlib>
#include <xcb/xcb.h>

namespace corvid::test {

/** As long as it is there, other programs believe that a compositor runs. It composes nothing. */
class CompositorClaim {
public:
    explicit CompositorClaim(const QByteArray &display)
        : connection_(xcb_connect(display.constData(), nullptr)) {
        const char name[] = "_NET_WM_CM_S0";
        xcb_intern_atom_reply_t *atom = xcb_intern_atom_reply(
            connection_, xcb_intern_atom(connection_, 0, sizeof name - 1, name), nullptr);
        const xcb_window_t window = xcb_generate_id(connection_);
        const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data;
        xcb_create_window(connection_, 0, window, screen->root, 0, 0, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_ONLY, screen->root_visual, 0, nullptr);
        xcb_set_selection_owner(connection_, window, atom->atom, XCB_CURRENT_TIME);
        std::free(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_),
                                            nullptr)); // a round trip
        std::free(atom);
    }
    CompositorClaim(const CompositorClaim &) = delete;
    CompositorClaim &operator=(const CompositorClaim &) = delete;
    ~CompositorClaim() { xcb_disconnect(connection_); }

private:
    xcb_connection_t *connection_;
};

} // namespace corvid::test
