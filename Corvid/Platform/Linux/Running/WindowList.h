#pragma once

#include "Platform/Linux/Running/WindowMatcher.h"

#include <cstdint>
#include <vector>

namespace corvid {

/**
 * The windows of a desktop, over a connection of its own. Its requests may wait for the answer of
 * who keeps the list: use it on one background thread.
 */
class WindowList {
public:
    using Window = std::uint32_t; ///< never 0

    /** What is known of one window; traits that need the process are not filled in. */
    struct Client {
        Window window = 0;
        qint64 pid = 0; ///< 0 when the window does not tell
        WindowTraits traits;
    };

    WindowList() = default;
    WindowList(const WindowList &) = delete;
    WindowList &operator=(const WindowList &) = delete;
    virtual ~WindowList() = default;

    /** Becomes readable when something may have happened. */
    virtual int fileDescriptor() const = 0;

    enum class Events { Nothing, FocusMoved, ListChanged, ConnectionLost };
    /** Takes what has happened since the last call, and tells the gravest; does not wait. */
    virtual Events takeEvents() = 0;

    /** All windows, oldest first. */
    virtual std::vector<Window> list() const = 0;

    /** Details of some windows; those gone meanwhile are empty. */
    virtual std::vector<Client> describe(const std::vector<Window> &windows) const = 0;

    /** Whether windows are brought to the front when that is asked for. */
    virtual bool canActivate() const = 0;

    /** The window that has the focus; 0 for none. */
    virtual Window active() const = 0;

    /** Asks that the one of these windows that the user saw last be brought to the front: restored
        if it is minimised, and its desktop switched to. Returns that window. */
    virtual Window activateTopmost(const std::vector<Window> &windows) = 0;
};

} // namespace corvid
