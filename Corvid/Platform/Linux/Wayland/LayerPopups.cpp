#include "Platform/Linux/Wayland/LayerPopups.h"

#include <QEvent>
#include <QGuiApplication>
#include <QWindow>

namespace corvid {

LayerPopups::LayerPopups(std::shared_ptr<const LayerShell> shell, QWindow &panel)
    : shell_(std::move(shell)), panel_(panel) {
    qGuiApp->installEventFilter(this);
}

bool LayerPopups::eventFilter(QObject *watched, QEvent *event) {
    const QEvent::Type type = event->type();
    if (type != QEvent::Expose && type != QEvent::Move && type != QEvent::Hide)
        return false;
    auto *window = qobject_cast<QWindow *>(watched);
    if (!window || window == &panel_ || !window->flags().testFlag(Qt::BypassWindowManagerHint))
        return false;
    if (type == QEvent::Hide)
        parts_.erase(window);
    else if (parts_.contains(window))
        place(*window);
    else if (type == QEvent::Expose && window->isExposed())
        attach(*window);
    return false;
}

void LayerPopups::attach(QWindow &popup) {
    wl_surface *surface = surfaceOf(popup);
    if (!surface)
        return;
    parts_.emplace(&popup, shell_->makePart(surface, surfaceOf(panel_)));
    place(popup);
}

void LayerPopups::place(QWindow &popup) {
    const QPoint place = panel_.mapFromGlobal(popup.position());
    wl_subsurface_set_position(parts_.at(&popup).get(), place.x(), place.y());
    // A part moves with the next commit of the whole.
    wl_surface_commit(surfaceOf(panel_));
}

} // namespace corvid
