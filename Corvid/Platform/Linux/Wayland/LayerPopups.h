#pragma once

#include "Platform/Linux/Wayland/LayerShell.h"

#include <QObject>

#include <unordered_map>

class QWindow;

namespace corvid {

/**
 * Shows the small windows that an input method opens in our process for its candidates above the
 * panel. Like the panel they ask to bypass the window manager, so Qt gives them no role: here they
 * become parts of the panel, for as long as this lives. Main thread only.
 */
class LayerPopups final : public QObject {
public:
    /** The panel must have a surface as long as this lives. */
    LayerPopups(std::shared_ptr<const LayerShell> shell, QWindow &panel);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void attach(QWindow &popup);
    void place(QWindow &popup);

    std::shared_ptr<const LayerShell> shell_;
    QWindow &panel_;
    std::unordered_map<const QWindow *, WaylandPointer<wl_subsurface>> parts_;
};

} // namespace corvid
