#include "Platform/Linux/Wayland/LayerPopups.h"

#include "Platform/Linux/Wayland/WaylandSurface.h"

#include <QEvent>
#include <QGuiApplication>
#include <QWindow>

#include <utility>
#include <wayland-client.h>

namespace corvid {

LayerPopups::LayerPopups(std::shared_ptr<const LayerShell> shell, QWindow &panel)
    : shell_(std::move(shell)), panel_(panel) {
    qGuiApp->installEventFilter(this);
}

LayerPopups::~LayerPopups() {
    for (const auto &[popup, part] : parts_)
        wl_subsurface_destroy(part);
}

bool LayerPopups::eventFilter(QObject *watched, QEvent *event) {
    const QEvent::Type type = event->type();
    if (type != QEvent::Expose && type != QEvent::Move && type != QEvent::Hide)
        return false;
    auto *window = qobject_cast<QWindow *>(watched);
    if (!window || window == &panel_ || !window->flags().testFlag(Qt::BypassWindowManagerHint))
        return false;
    if (type == QEvent::Hide)
        detach(*window);
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
    wl_subsurface *part =
        wl_subcompositor_get_subsurface(shell_->subcompositor(), surface, surfaceOf(panel_));
    wl_subsurface_set_desync(part);
    parts_.emplace(&popup, part);
    place(popup);
}

// The place of a part counts from the next time that the whole is shown.
void LayerPopups::place(QWindow &popup) {
    const QPoint place = panel_.mapFromGlobal(popup.position());
    wl_subsurface_set_position(parts_.at(&popup), place.x(), place.y());
    wl_surface_commit(surfaceOf(panel_));
}

void LayerPopups::detach(const QWindow &popup) {
    const auto part = parts_.find(&popup);
    if (part == parts_.end())
        return;
    wl_subsurface_destroy(part->second);
    parts_.erase(part);
}

} // namespace corvid
