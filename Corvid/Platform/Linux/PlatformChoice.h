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
 * $CORVID_PLATFORM, which is "wayland" or "xcb", decides by itself; another value is told on
 * standard error and does not count. A $QT_QPA_PLATFORM that names neither of the two is left in
 * force. The choice goes into our own environment, so take the environment of children before.
 * Tells what it found. Once, on the main thread.
 */
Session choosePlatform();

} // namespace corvid
