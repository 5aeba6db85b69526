#pragma once

namespace corvid {

/** What shows the session's windows. */
enum class Session {
    Unreachable,
    X11,
    Wayland, ///< though we may run on its XWayland
};

/**
 * Chooses the window system, before there is an application object: Wayland where the compositor
 * has a layer shell, else X11 (XWayland in a Wayland session), else Wayland with a plain window.
 * $CORVID_PLATFORM, "wayland" or "xcb", overrules that; another value is reported on standard error
 * and ignored. A $QT_QPA_PLATFORM that names neither of the two stays in force. The choice goes
 * into our own environment, so take that for children before. Once, on the main thread.
 */
Session choosePlatform();

} // namespace corvid
