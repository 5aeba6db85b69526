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
    shown_ = origin;
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
    pointer_ = std::make_unique<SeatEvents>(
        *shell_->connection,
        std::initializer_list<SeatEvents::Device>{{WL_SEAT_GET_POINTER, &wl_pointer_interface}},
        [this](std::string_view event, const wl_argument *arguments) { hear(event, arguments); });
}

// Qt hands the pointer's places on later, when nobody knows any more where the window was when they
// were told. So they are heard at first hand.
void LayerPanelSurface::drag(QWindow & /*panel*/, const QPoint &grip, const QPoint & /*inWindow*/,
                             const QPoint & /*onDesktop*/) {
    grip_ = grip;
    followPointer();
}

// The pointer's place is told in the window alone, as that lay when the compositor said so: before
// its answer, where it was before the last move, and from then on where it was asked to be.
void LayerPanelSurface::hear(std::string_view event, const wl_argument *arguments) {
    if (event == "button") {
        grip_.reset();
    } else if (event == "motion") { // time, place
        const QPointF place(wl_fixed_to_double(arguments[1].f), wl_fixed_to_double(arguments[2].f));
        pointerAt_ = shown_ + place.toPoint();
        if (!QGuiApplication::mouseButtons().testFlag(Qt::LeftButton))
            grip_.reset();
        followPointer();
    }
}

void LayerPanelSurface::followPointer() {
    if (!role_ || !grip_ || moving_ || pointerAt_ - *grip_ == shown_)
        return;
    asked_ = pointerAt_ - *grip_;
    // First: moving the window below the pointer may itself move the pointer in it.
    moving_.reset(wl_display_sync(qt::waylandDisplay()));
    static constexpr wl_callback_listener listener{[](void *data, auto...) {
        auto *self = static_cast<LayerPanelSurface *>(data);
        self->moving_.reset();
        self->shown_ = self->asked_;
        self->followPointer();
    }};
    wl_callback_add_listener(moving_.get(), &listener, this);
    role_->moveTo(asked_);
}

void LayerPanelSurface::withdraw(QWindow & /*panel*/) {
    grip_.reset();
    pointer_.reset();
    moving_.reset();
    popups_.reset();
    covers_->clear();
    blur_->withdraw();
    role_.reset();
    givenUp_ = false;
}

} // namespace corvid
