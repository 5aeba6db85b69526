#pragma once

#include "Platform/Linux/WindowMatcher.h"

#include <QByteArray>

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

struct xcb_connection_t;

namespace corvid {

/**
 * The windows that an X11 window manager manages, over a connection of its own. Its requests wait
 * for the server's answer: use it on one background thread.
 */
class X11Clients {
public:
    using Window = std::uint32_t;

    /** What is known of one window; traits that need the process are not filled in. */
    struct Client {
        Window window = 0;
        qint64 pid = 0; ///< 0 when the window does not tell
        WindowTraits traits;
    };

    /** Null when there is no such display. */
    static std::unique_ptr<X11Clients> connect(const QByteArray &display);

    X11Clients(const X11Clients &) = delete;
    X11Clients &operator=(const X11Clients &) = delete;
    ~X11Clients();

    /** Becomes readable when something may have happened. */
    int fileDescriptor() const;

    enum class Events { Nothing, ListChanged, ConnectionLost };
    /** Takes what has happened since the last call; does not wait. */
    Events takeEvents();

    /** All managed windows, oldest first. */
    std::vector<Window> list() const;

    /** Details of some windows, asked for all at once; those gone meanwhile are empty. */
    std::vector<Client> describe(const std::vector<Window> &windows) const;

    /** Whether the window manager brings windows to the front when asked. */
    bool canActivate() const;

    /** The window that has the focus; 0 for none. */
    Window active() const;

    /** Asks the window manager to bring the topmost of these windows to the front: to restore it
        if it is minimised and to switch to its desktop. Returns that window. */
    Window activateTopmost(const std::vector<Window> &windows);

private:
    struct Atoms;

    explicit X11Clients(xcb_connection_t *connection, int screen);
    std::vector<std::uint32_t> property(Window window, std::uint32_t name,
                                        std::uint32_t type) const;
    void tellManager(Window window, std::uint32_t type,
                     const std::array<std::uint32_t, 2> &data) const;

    xcb_connection_t *connection_;
    Window root_ = 0;
    Window hiddenWindow_ = 0;
    bool listChanged_ = false; ///< since takeEvents() last told
    std::unique_ptr<Atoms> atoms_;
};

} // namespace corvid
