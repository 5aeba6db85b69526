#include "Platform/Linux/Wayland/LayerPanelSurface.h"

namespace corvid {

LayerPanelSurface::LayerPanelSurface(std::shared_ptr<const LayerShell> shell)
    : shell_(std::move(shell)), covers_(std::make_shared<LayerCovers>(shell_)) {}

// The compositor tells nobody where its bars are, nor which output is the active one. But it gives
// a surface that is anchored to all edges just what is free there.
QRect LayerPanelSurface::visibleFrame(const QScreen &screen) const {
    const WaylandPointer<wl_surface> surface = shell_->makeSurface();
    const LayerSurface probe(*shell_, surface.get(), nullptr, {});
    shell_->connection->roundTrip();
    const QSize size = probe.size().value_or(QSize());
    return {QPoint(), size.isEmpty() ? screen.geometry().size() : size};
}

void LayerPanelSurface::prepare(QWindow &panel, qreal /*cornerRadius*/, quint32 /*time*/) {
    // Else Qt would make it an ordinary window.
    panel.setFlag(Qt::BypassWindowManagerHint);
}

// A hidden window has no surface that could be given a role, and a painted one is too late.
void LayerPanelSurface::appeared(QWindow &panel, const QPoint &origin, const QRect &card) {
    if (role_ || givenUp_)
        return;
    const auto closeLater = [&panel] {
        QMetaObject::invokeMethod(
            &panel, [&panel] { panel.close(); }, Qt::QueuedConnection);
    };
    panel.setMask(card); // clicks on the shadow are clicks elsewhere
    covers_->spread(panel, card);
    LayerSurface::Place place;
    place.size = panel.size();
    place.origin = origin;
    place.takesKeyboard = true;
    role_ = std::make_unique<LayerSurface>(*shell_, surfaceOf(panel), nullptr, place);
    role_->onClosed = closeLater;
    // It must not be painted before the compositor has answered, which may also be that there is
    // no output to show it on. If the compositor hangs, so would we: then it is not shown.
    if (!shell_->connection->roundTrip()) {
        withdraw(panel);
        givenUp_ = true;
        closeLater();
        return;
    }
    role_->attend();
    popups_ = std::make_unique<LayerPopups>(shell_, panel);
}

void LayerPanelSurface::withdraw(QWindow & /*panel*/) {
    popups_.reset();
    covers_->clear();
    role_.reset();
    givenUp_ = false;
}

} // namespace corvid
