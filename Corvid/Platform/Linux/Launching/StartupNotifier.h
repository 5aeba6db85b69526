#pragma once

#include "Platform/Linux/Launching/ExecLine.h"
#include "Platform/Linux/X11/X11Replies.h"

#include <gio/gio.h>

#include <QByteArray>

#include <utility>
#include <vector>

namespace corvid {

using StartupValues = std::vector<std::pair<QByteArray, QByteArray>>;

/**
 * Tells an X11 desktop what is being started, by the freedesktop startup notification protocol.
 * Window managers let a window take the focus whose id carries the time of the launch, and show a
 * busy pointer from the announcement ("new") to its end ("remove"). Toolkits announce that end, but
 * not every program has such a toolkit, not every window manager does it when the window appears,
 * and some would wait for half a minute: so we do, once there is a window or after 15 seconds.
 *
 * One for one launch; connects when first needed. Its calls wait for the X server: use it on one
 * background thread. Without a display there are no ids and nothing else happens.
 */
class StartupNotifier {
public:
    /** `display`: as in $DISPLAY; empty for none. */
    explicit StartupNotifier(QByteArray display) : display_(std::move(display)) {}

    /** A new id, which carries the server's present time, for a program that is about to be
        started; empty without a display. It is announced where the program may be trusted to say
        when it has started. */
    QByteArray begin(const LaunchedEntry &entry);

    /** The program with this id could not be started. */
    void cancel(const QByteArray &id);

    /** Ends each announcement when its window appears; after 15 seconds at the latest, or
        once `shutdown` is cancelled. */
    void finish(GCancellable *shutdown);

private:
    bool connect();
    void broadcast(const QByteArray &kind, const StartupValues &values);
    bool takeListChange();
    void endThoseWithWindows();

    QByteArray display_; ///< empty once we have tried to connect
    x11::Connection connection_;
    int screen_ = 0;
    xcb_window_t root_ = 0;
    xcb_window_t window_ = 0; ///< hidden, the sender of our messages
    struct {
        xcb_atom_t infoBegin, info, clientList, startupId;
    } atoms_{};
    std::vector<QByteArray> open_; ///< ids that were announced and have not ended
};

/** One message of the protocol: "new" with all that is known, "remove" with the id alone. Pure. */
QByteArray startupMessage(const QByteArray &kind, const StartupValues &values);

} // namespace corvid
