#pragma once

class QWindow;

struct wl_surface;

namespace corvid {

/** A window's surface, which is Qt's. Null while the window has none. The application object must
    run on Wayland; main thread only. */
wl_surface *surfaceOf(QWindow &window);

} // namespace corvid
