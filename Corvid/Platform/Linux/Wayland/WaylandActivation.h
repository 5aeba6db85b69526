#pragma once

#include <QByteArray>

#include <cstdint>
#include <memory>

struct wl_display;
struct wl_event_queue;
struct wl_keyboard;
struct wl_pointer;
struct wl_seat;
struct xdg_activation_v1;
union wl_argument;
struct wl_message;

namespace corvid {

/** Hands the right to come to the front on to programs that the user starts from our windows, over
    Qt's own connection. Main thread only. */
class WaylandActivation {
public:
    /** Null where the compositor has no such right to give, or no keyboard. The application object
        must run on Wayland; this must be gone before it. */
    static std::unique_ptr<WaylandActivation> bind(wl_display *display);

    WaylandActivation(const WaylandActivation &) = delete;
    WaylandActivation &operator=(const WaylandActivation &) = delete;
    ~WaylandActivation();

    /** A new token, by the user's last key press or click, to be asked for while our window still
        has the keyboard. Waits for the compositor's answer; empty when there is none. */
    QByteArray token() const;

private:
    WaylandActivation() = default;

    void listen();
    static int dispatch(const void *self, void *target, std::uint32_t opcode,
                        const wl_message *message, wl_argument *arguments);

    wl_display *display_ = nullptr;
    wl_event_queue *queue_ = nullptr;
    xdg_activation_v1 *activation_ = nullptr;
    wl_seat *seat_ = nullptr; ///< Qt's
    wl_keyboard *keyboard_ = nullptr;
    wl_pointer *pointer_ = nullptr; ///< null where there is no mouse
    std::uint32_t serial_ = 0;      ///< of the last press
};

} // namespace corvid
