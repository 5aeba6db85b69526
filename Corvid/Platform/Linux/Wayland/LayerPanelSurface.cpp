#include "Platform/Linux/Wayland/LayerPanelSurface.h"

#include "Platform/Linux/QtInternals.h"
#include "Platform/Linux/RoundedRegion.h"

#include <QEvent>
#include <QGuiApplication>

#include <linux/input-event-codes.h>
#include <unordered_map>
#include <utility>

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
      blur_(std::make_unique<BackgroundBlur>(shell_->connection)),
      travels_(shell_->connection->bind<zwp_relative_pointer_manager_v1>(
          zwp_relative_pointer_manager_v1_interface, 1)) {}

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
    blur_->apply(qt::surfaceOf(panel), roundedRegion(card, cornerRadius_));
    const LayerSurface::Place place{.size = panel.size(), .origin = origin, .takesKeyboard = true};
    role_ = std::make_unique<LayerSurface>(*shell_, qt::surfaceOf(panel), nullptr, place);
    role_->onClosed = closeLater;
    shown_ = wanted_ = origin;
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
    listenToPointer();
    covers_->spread(panel, card);
}

// Compositors give it to a surface of this kind that wants it.
void LayerPanelSurface::anticipateKeyboard(QWindow &panel) {
    if (role_)
        qt::reportKeyboard(panel);
}

void LayerPanelSurface::listenToPointer() {
    pointer_ = std::make_unique<SeatEvents>(
        *shell_->connection,
        std::initializer_list<SeatEvents::Device>{{WL_SEAT_GET_POINTER, &wl_pointer_interface}},
        [this](std::string_view event, const wl_argument *arguments) { hear(event, arguments); });
    if (!travels_ || !pointer_->pointer())
        return;
    travel_.reset(
        zwp_relative_pointer_manager_v1_get_relative_pointer(travels_.get(), pointer_->pointer()));
    // Dispatched with the pointer's own events.
    wl_proxy_set_queue(reinterpret_cast<wl_proxy *>(travel_.get()), nullptr);
    static constexpr zwp_relative_pointer_v1_listener listener{
        [](void *data, auto *, auto /*timeHigh*/, auto /*timeLow*/, wl_fixed_t x, wl_fixed_t y,
           auto...) {
            auto *self = static_cast<LayerPanelSurface *>(data);
            if (!self->drag_)
                return;
            self->drag_->travelled += QPointF(wl_fixed_to_double(x), wl_fixed_to_double(y));
            // A place that is the same in a window that moved along is not told again.
            if (!self->told_)
                self->told_ = self->lastTold_;
        }};
    zwp_relative_pointer_v1_add_listener(travel_.get(), &listener, this);
}

// Qt hands the pointer's places on later, when nobody knows any more where the window was when they
// were told. So they are heard at first hand.
void LayerPanelSurface::drag(QWindow & /*panel*/, const QPoint &grip, const QPoint & /*inWindow*/,
                             const QPoint & /*onDesktop*/) {
    if (!pointer_ || !pointer_->pointer()) // the mouse came while the panel was shown
        return;
    if (!drag_)
        drag_ = Drag{.grip = grip, .from = shown_, .toldFrom = lastTold_};
    followPointer();
}

void LayerPanelSurface::hear(std::string_view event, const wl_argument *arguments) {
    if (event == "button" && arguments[2].u == BTN_LEFT) { // serial, time, button
        drag_.reset();
    } else if (event == "motion") { // time, place
        told_ = {wl_fixed_to_double(arguments[1].f), wl_fixed_to_double(arguments[2].f)};
    } else if (event == "frame" && told_) { // how far it travelled may be told after its place
        placePointer(*told_);
        lastTold_ = *std::exchange(told_, std::nullopt);
        if (!QGuiApplication::mouseButtons().testFlag(Qt::LeftButton))
            drag_.reset();
        if (drag_)
            followPointer();
    }
}

// The pointer's place is told in the window alone. As long as a button is held, some compositors
// (sway) take the window as it lay when that was pressed; the others as it lies when they say so:
// before their answer, where it was before the last move, and from then on where it was asked to
// be. The first place that is told after a move shows which, by how far the pointer travelled.
void LayerPanelSurface::placePointer(const QPointF &told) {
    QPoint window = shown_;
    if (drag_) {
        const QPointF moved = shown_ - drag_->from;
        const QPointF astray = told - drag_->toldFrom - drag_->travelled;
        if (!drag_->toldAsPressed && !moved.isNull() && !drag_->travelled.isNull())
            drag_->toldAsPressed = astray.manhattanLength() < (astray + moved).manhattanLength();
        if (drag_->toldAsPressed.value_or(false))
            window = drag_->from;
    }
    pointerAt_ = window + told.toPoint();
}

void LayerPanelSurface::followPointer() {
    wanted_ = pointerAt_ - drag_->grip;
    move();
}

void LayerPanelSurface::move() {
    if (!role_ || moving_ || wanted_ == shown_)
        return;
    asked_ = wanted_;
    // First: moving the window below the pointer may itself move the pointer in it.
    moving_.reset(wl_display_sync(qt::waylandDisplay()));
    static constexpr wl_callback_listener listener{[](void *data, auto...) {
        auto *self = static_cast<LayerPanelSurface *>(data);
        self->moving_.reset();
        self->shown_ = self->asked_;
        self->move();
    }};
    wl_callback_add_listener(moving_.get(), &listener, this);
    role_->moveTo(asked_);
}

void LayerPanelSurface::withdraw(QWindow & /*panel*/) {
    drag_.reset();
    told_.reset();
    travel_.reset();
    pointer_.reset();
    moving_.reset();
    popups_.reset();
    covers_->clear();
    blur_->withdraw();
    role_.reset();
    givenUp_ = false;
}

} // namespace corvid
