#include "Platform/Linux/Wayland/LayerPanelSurface.h"

#include "Platform/Linux/QtInternals.h"
#include "Platform/Linux/RoundedRegion.h"

#include <QEvent>
#include <QGuiApplication>

#include <unordered_map>

namespace corvid {

namespace {

/** Shows the small windows that an input method opens in our process for its candidates above the
    panel. Like the panel they ask to bypass the window manager, so Qt gives them no role: here they
    become parts of the panel, for as long as this lives. */
class LayerPopups final : public QObject {
public:
    /** The panel must have a surface as long as this lives. */
    LayerPopups(const LayerShell &shell, QWindow &panel) : shell_(shell), panel_(panel) {
        qGuiApp->installEventFilter(this);
    }

    bool eventFilter(QObject *watched, QEvent *event) override {
        const QEvent::Type type = event->type();
        if (type != QEvent::Expose && type != QEvent::Move && type != QEvent::Hide)
            return false;
        auto *window = qobject_cast<QWindow *>(watched);
        if (!window || window == &panel_ || !window->flags().testFlag(Qt::BypassWindowManagerHint))
            return false;
        if (type == QEvent::Hide)
            parts_.erase(window);
        else if (parts_.contains(window) || (type == QEvent::Expose && window->isExposed()))
            place(*window);
        return false;
    }

private:
    void place(QWindow &popup) {
        wl_surface *surface = qt::surfaceOf(popup);
        if (!surface)
            return;
        WaylandPointer<wl_subsurface> &part = parts_[&popup];
        if (!part)
            part = shell_.makePart(surface, qt::surfaceOf(panel_));
        const QPoint place = panel_.mapFromGlobal(popup.position());
        wl_subsurface_set_position(part.get(), place.x(), place.y());
        // A part moves with the next commit of the whole.
        wl_surface_commit(qt::surfaceOf(panel_));
    }

    const LayerShell &shell_;
    QWindow &panel_;
    std::unordered_map<const QWindow *, WaylandPointer<wl_subsurface>> parts_;
};

} // namespace

LayerPanelSurface::LayerPanelSurface(std::shared_ptr<const LayerShell> shell)
    : shell_(std::move(shell)), covers_(std::make_shared<LayerCovers>(shell_)),
      blur_(std::make_unique<BackgroundBlur>(shell_->connection)) {}

// The compositor tells nobody where its bars are, nor which output is the active one. But it gives
// a surface that is anchored to all edges just what is free there.
QRect LayerPanelSurface::visibleFrame(const QScreen &screen) const {
    const WaylandPointer<wl_surface> surface = shell_->makeSurface();
    LayerSurface probe(*shell_, surface.get(), nullptr, {});
    QSize size;
    probe.onSize = [&size](const QSize &given) { size = given; };
    shell_->connection->roundTrip();
    return {QPoint(), size.isEmpty() ? screen.geometry().size() : size};
}

void LayerPanelSurface::prepare(QWindow &panel, qreal cornerRadius, quint32 /*time*/) {
    cornerRadius_ = cornerRadius;
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
    blur_->apply(qt::surfaceOf(panel), roundedRegion(card, cornerRadius_));
    const LayerSurface::Place place{.size = panel.size(), .origin = origin, .takesKeyboard = true};
    role_ = std::make_unique<LayerSurface>(*shell_, qt::surfaceOf(panel), nullptr, place);
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
    popups_ = std::make_unique<LayerPopups>(*shell_, panel);
}

void LayerPanelSurface::withdraw(QWindow & /*panel*/) {
    popups_.reset();
    covers_->clear();
    blur_->withdraw();
    role_.reset();
    givenUp_ = false;
}

} // namespace corvid
