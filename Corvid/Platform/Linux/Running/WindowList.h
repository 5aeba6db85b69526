#pragma once

#include "Platform/Linux/Running/WindowMatcher.h"

#include <cstdint>
#include <vector>

namespace corvid {

/**
 * The windows of a desktop, over a connection of its own. Calls may wait for the window manager or
 * the compositor: use it on one background thread.
 */
class WindowList {
public:
    using Window = std::uint32_t; ///< never 0

    /** What is known of one window; without the traits of its process. */
    struct Client {
        Window window = 0;
        qint64 pid = 0; ///< 0 when the window does not tell
        WindowTraits traits;
    };

    WindowList() = default;
    Q_DISABLE_COPY_MOVE(WindowList)
    virtual ~WindowList() = default;

    /** Becomes readable when something may have happened. */
    virtual int fileDescriptor() const = 0;

    enum class Events { Nothing, FocusMoved, ListChanged, ConnectionLost };
    /** The last of these values that has happened since the previous call; does not wait. */
    virtual Events takeEvents() = 0;

    /** All windows, oldest first. */
    virtual std::vector<Window> list() const = 0;

    /** Details of some windows; those gone meanwhile are empty. */
    virtual std::vector<Client> describe(const std::vector<Window> &windows) const = 0;

    /** Whether the desktop brings windows to the front on request. */
    virtual bool canActivate() const = 0;

    /** The window that has the focus; 0 for none. */
    virtual Window active() const = 0;

    /** Asks for the one of these windows that the user saw last to be brought to the front: it is
        restored if minimised, and its desktop is switched to. Returns that window. */
    virtual Window activateTopmost(const std::vector<Window> &windows) = 0;
};

} // namespace corvid
