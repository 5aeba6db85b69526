#include "Platform/Linux/QtInternals.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QKeySequence>
#include <QScreen>
#include <QWindow>

// The only unit with private headers of Qt. It was compiled against Qt 6.4.2, 6.8.2 and 6.11.2;
// where it does not compile, CMake says so before anything is built.
#include <private/qguiapplication_p.h>
#include <private/qtx11extras_p.h>
#include <qpa/qplatformintegration.h>
#if __has_include(<qpa/qplatformkeymapper.h>)
#include <qpa/qplatformkeymapper.h>
#endif
#include <qpa/qplatformnativeinterface.h>
#include <qpa/qplatformwindow.h>
#include <qpa/qwindowsysteminterface.h>

#include <wayland-client.h>

#include <string_view>

namespace corvid::qt {

// Qt 6.7 and later have public ways to all of these but a window's surface.
#if QT_VERSION >= QT_VERSION_CHECK(6, 7, 0)

namespace {

const QNativeInterface::QWaylandApplication *wayland() {
    return qGuiApp->nativeInterface<QNativeInterface::QWaylandApplication>();
}

} // namespace

wl_display *waylandDisplay() {
    return wayland() ? wayland()->display() : nullptr;
}

wl_seat *waylandSeat() {
    return wayland()->seat();
}

bool seatHas(const wl_interface &device) {
    const std::string_view name = device.name;
    return (name == wl_keyboard_interface.name && wayland()->keyboard()) ||
           (name == wl_pointer_interface.name && wayland()->pointer()) ||
           (name == wl_touch_interface.name && wayland()->touch());
}

wl_output *outputOf(QScreen &screen) {
    const auto *native = screen.nativeInterface<QNativeInterface::QWaylandScreen>();
    return native ? native->output() : nullptr;
}

#else

namespace {

void *resource(const char *name) {
    return QGuiApplication::platformNativeInterface()->nativeResourceForIntegration(name);
}

} // namespace

wl_display *waylandDisplay() {
    if (!QGuiApplication::platformName().startsWith(QLatin1StringView("wayland")))
        return nullptr;
    return static_cast<wl_display *>(resource("wl_display"));
}

wl_seat *waylandSeat() {
    return static_cast<wl_seat *>(resource("wl_seat"));
}

bool seatHas(const wl_interface &device) {
    return resource(device.name) != nullptr;
}

wl_output *outputOf(QScreen &screen) {
    return static_cast<wl_output *>(
        QGuiApplication::platformNativeInterface()->nativeResourceForScreen("output", &screen));
}

#endif

wl_surface *surfaceOf(QWindow &window) {
    return static_cast<wl_surface *>(
        QGuiApplication::platformNativeInterface()->nativeResourceForWindow("surface", &window));
}

void setUserTime(quint32 time) {
    QX11Info::setAppTime(time);
}

quint32 serverTime() {
    return QX11Info::getTimestamp();
}

bool isComposited() {
    return QX11Info::isCompositingManagerRunning(QX11Info::appScreen());
}

namespace {

// A template, so that of the two names only the one that this Qt has is looked up.
template <typename Delivery, typename Interface>
void reportFocus(QWindow *window) {
    if constexpr (requires { Interface::template handleFocusWindowChanged<Delivery>(window); })
        Interface::template handleFocusWindowChanged<Delivery>(window);
    else
        Interface::template handleWindowActivated<Delivery>(window);
}

} // namespace

void reportKeyboard(QWindow &window) {
    reportFocus<QWindowSystemInterface::SynchronousDelivery, QWindowSystemInterface>(&window);
}

void reportLostKeyboard() {
    reportFocus<QWindowSystemInterface::AsynchronousDelivery, QWindowSystemInterface>(nullptr);
}

namespace {

// Templates, for the same reason: the one that this Qt has is looked up.
template <typename Integration>
int keyAt(Integration &integration, const QKeyEvent &event) {
    if constexpr (requires { integration.keyMapper()->possibleKeyCombinations(&event); }) {
        const auto keys = integration.keyMapper()->possibleKeyCombinations(&event);
        return keys.isEmpty() ? 0 : keys.first().toCombined();
    } else {
        const auto keys = integration.possibleKeys(&event);
        return keys.isEmpty() ? 0 : keys.first();
    }
}

} // namespace

QString keyName(quint32 scanCode) {
    const QKeyEvent press(QEvent::KeyPress, Qt::Key_unknown, Qt::NoModifier, scanCode, 0, 0);
    const int key = keyAt(*QGuiApplicationPrivate::platformIntegration(), press);
    return key == 0 ? QString() : QKeySequence(key).toString(QKeySequence::NativeText);
}

void remap(QWindow &window) {
    window.handle()->setVisible(false);
    window.handle()->setVisible(true);
}

} // namespace corvid::qt
