#pragma once

#include <QWindow>

#include <qpa/qplatformwindow.h>

namespace corvid {

/** Lets a window that is open without the keyboard vanish and appear again, without a word to what
    is in it. Compositors give the keyboard to windows that appear, but to one that is there only
    with a proof of what the user did, which we have none of. */
inline void remap(const QWindow &window) {
    if (!window.handle() || !window.isVisible() || window.isActive())
        return;
    window.handle()->setVisible(false);
    window.handle()->setVisible(true);
}

} // namespace corvid
