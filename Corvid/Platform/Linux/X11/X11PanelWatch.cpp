#include "Platform/Linux/X11/X11PanelWatch.h"

#include "Platform/Linux/QtInternals.h"
#include "Platform/Linux/X11/X11Replies.h"

#include <QEvent>
#include <QGuiApplication>
#include <QWindow>

#include <utility>

namespace corvid {

X11PanelWatch::X11PanelWatch(xcb_connection_t *connection, std::uint32_t root)
    : connection_(connection), root_(root) {
    x11::intern(connection_, {{&atoms_.state, "_NET_WM_STATE"},
                              {&atoms_.managedState, "WM_STATE"},
                              {&atoms_.desktop, "_NET_WM_DESKTOP"},
                              {&atoms_.blurRegion, "_KDE_NET_WM_BLUR_BEHIND_REGION"}});
    QCoreApplication::instance()->installNativeEventFilter(this);
}

X11PanelWatch::~X11PanelWatch() {
    QCoreApplication::instance()->removeNativeEventFilter(this);
}

void X11PanelWatch::prepare(QWindow &panel) {
    const auto window = static_cast<xcb_window_t>(panel.winId());
    if (window != window_) {
        panel.installEventFilter(this);
        window_ = window;
        hasStates_ = hasDesktop_ = false;
    }
    managerIsLate_ = hasStates_ || hasDesktop_;
    hasAppeared_ = false;
    // Qt reports a lost keyboard a tenth of a second late. To a window that is shown again before
    // that, it would report neither the loss nor that it has the keyboard again.
    lossIsUntold_ = QGuiApplication::focusWindow() == &panel;
}

bool X11PanelWatch::compositorBlurs() {
    if (blur_ == Blur::Unknown) {
        // It says so by having this property on the root window.
        const x11::Reply<xcb_get_property_reply_t> property(
            xcb_get_property_reply(connection_,
                                   xcb_get_property(connection_, 0, root_, atoms_.blurRegion,
                                                    XCB_GET_PROPERTY_TYPE_ANY, 0, 0),
                                   nullptr));
        blur_ = property && property->type != XCB_ATOM_NONE ? Blur::Yes : Blur::No;
    }
    return blur_ == Blur::Yes;
}

// True for what Qt shall not hear of.
bool X11PanelWatch::nativeEventFilter(const QByteArray & /*type*/, void *message,
                                      qintptr * /*result*/) {
    const auto &event = *static_cast<const xcb_generic_event_t *>(message);
    switch (x11::typeOf(event)) {
    case XCB_PROPERTY_NOTIFY: {
        const auto &change = x11::as<xcb_property_notify_event_t>(event);
        if (change.window == root_ && change.atom == atoms_.blurRegion)
            blur_ = Blur::Unknown;
        if (change.window != window_)
            return false;
        propertyChanged(change.atom, change.state == XCB_PROPERTY_DELETE);
        return isNothingForQt(change.atom);
    }
    case XCB_FOCUS_IN: {
        const auto &focus = x11::as<xcb_focus_in_event_t>(event);
        if (focus.event == window_ && focus.detail != XCB_NOTIFY_DETAIL_POINTER)
            gotKeyboard();
        return false;
    }
    case XCB_MAP_NOTIFY:
        hasAppeared_ |= x11::as<xcb_map_notify_event_t>(event).window == window_;
        return false;
    default:
        return false;
    }
}

// Qt draws all of a window that appears, and then the parts again, one by one, that the server had
// announced as uncovered by then.
bool X11PanelWatch::eventFilter(QObject *object, QEvent *event) {
    if (event->type() != QEvent::Expose || !static_cast<QWindow *>(object)->isExposed())
        return false;
    if (wasDrawn_)
        return true;
    if (std::exchange(hasAppeared_, false)) {
        wasDrawn_ = true;
        // By then Qt has gone through what it had heard.
        QMetaObject::invokeMethod(
            this, [this] { wasDrawn_ = false; }, Qt::QueuedConnection);
    }
    return false;
}

// It would ask the server each time what the states are now, and show the panel no other way.
bool X11PanelWatch::isNothingForQt(std::uint32_t property) const {
    return property == atoms_.state || property == atoms_.managedState;
}

void X11PanelWatch::propertyChanged(std::uint32_t property, bool isGone) {
    if (property == atoms_.state)
        hasStates_ = !isGone;
    else if (property == atoms_.desktop)
        hasDesktop_ = !isGone;
}

void X11PanelWatch::gotKeyboard() {
    // Queued ahead of what Qt makes of the event: it first learns of the loss.
    if (std::exchange(lossIsUntold_, false))
        qt::reportLostKeyboard();
}

} // namespace corvid
