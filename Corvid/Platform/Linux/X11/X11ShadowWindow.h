#pragma once

#include <QImage>
#include <QPoint>
#include <QRect>

#include <cstdint>

struct xcb_connection_t;

namespace corvid {

/** A window that shows a shadow around another one: above everything, no window manager's matter,
    and transparent to clicks. Hidden at first. It has no part where the other one lies, so that it
    covers nothing of it. The X server keeps and paints the picture; showing waits for nothing.
    Over Qt's own connection; main thread only. */
class X11ShadowWindow {
public:
    /** The picture, premultiplied, with the place of the other window in it, in native pixels. On a
        server without translucent windows it never shows. */
    X11ShadowWindow(const QImage &picture, const QRect &hole);
    ~X11ShadowWindow();
    Q_DISABLE_COPY_MOVE(X11ShadowWindow)

    /** Where the other window is now, in native pixels. */
    void moveTo(const QPoint &other);
    void show();
    void hide();

private:
    xcb_connection_t *connection_;
    std::uint32_t window_ = 0; ///< 0 where there is none
    std::uint32_t colours_ = 0;
    QPoint hole_;
};

} // namespace corvid
