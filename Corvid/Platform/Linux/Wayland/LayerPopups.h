#pragma once

#include "Platform/Linux/Wayland/LayerShell.h"

#include <QObject>

#include <unordered_map>

class QWindow;

struct wl_subsurface;

namespace corvid {

/**
 * Lets the small windows that an input method opens in our process, for its candidates, be seen
 * above the panel. They ask to bypass the window manager, as the panel does, and so get no role
 * from Qt: here they become parts of the panel. As long as it lives; main thread only.
 */
class LayerPopups final : public QObject {
public:
    /** The panel must have a surface as long as this lives. */
    LayerPopups(std::shared_ptr<const LayerShell> shell, QWindow &panel);
    ~LayerPopups() override;

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void attach(QWindow &popup);
    void place(QWindow &popup);
    void detach(const QWindow &popup);

    std::shared_ptr<const LayerShell> shell_;
    QWindow &panel_;
    std::unordered_map<const QWindow *, wl_subsurface *> parts_;
};

} // namespace corvid
