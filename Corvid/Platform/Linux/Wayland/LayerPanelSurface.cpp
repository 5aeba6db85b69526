#include "Platform/Linux/Wayland/LayerPanelSurface.h"

#include "Platform/Linux/Wayland/WaylandSurface.h"

#include <QGuiApplication>
#include <QRegion>
#include <QScreen>
#include <QWindow>

#include <wayland-client.h>

namespace corvid {

LayerPanelSurface::LayerPanelSurface(std::shared_ptr<const LayerShell> shell)
    : shell_(std::move(shell)), covers_(std::make_shared<LayerCovers>(shell_)) {}

LayerPanelSurface::~LayerPanelSurface() = default;

// The compositor tells nobody where its bars are, nor which output is the active one. But it gives
// a surface that is anchored to all edges just what is free there.
QRect LayerPanelSurface::visibleFrame(const QScreen &screen) const {
    wl_surface *surface = wl_compositor_create_surface(shell_->compositor());
    std::optional<QSize> size;
    {
        const LayerSurface probe(*shell_, surface, nullptr, {});
        shell_->roundTrip();
        size = probe.size();
    }
    wl_surface_destroy(surface);
    return {QPoint(), size && !size->isEmpty() ? *size : screen.geometry().size()};
}

void LayerPanelSurface::prepare(QWindow &panel, qreal /*cornerRadius*/, quint32 /*time*/) {
    // Else Qt would make it an ordinary window.
    panel.setFlag(Qt::BypassWindowManagerHint);
}

// A hidden window has no surface that could be given a role, and a painted one is too late.
void LayerPanelSurface::appeared(QWindow &panel, const QPoint &origin, const QRect &card) {
    if (role_)
        return;
    panel.setMask(card); // clicks on the shadow are clicks elsewhere
    covers_->spread(panel, card);
    LayerSurface::Place place;
    place.edges = LayerSurface::Top | LayerSurface::Left;
    place.size = panel.size();
    place.top = origin.y();
    place.left = origin.x();
    place.keyboard = LayerSurface::Keyboard::Always;
    role_ = std::make_unique<LayerSurface>(*shell_, surfaceOf(panel), nullptr, place);
    role_->onClosed = [&panel] {
        QMetaObject::invokeMethod(
            &panel, [&panel] { panel.close(); }, Qt::QueuedConnection);
    };
    shell_->roundTrip(); // which may tell already that there is no output to show it on
    role_->attend();
    popups_ = std::make_unique<LayerPopups>(shell_, panel);
}

void LayerPanelSurface::withdraw(QWindow & /*panel*/) {
    popups_.reset();
    covers_->clear();
    role_.reset();
}

bool LayerPanelSurface::hasKeyboard(const QWindow &panel) const {
    return panel.isActive();
}

} // namespace corvid
