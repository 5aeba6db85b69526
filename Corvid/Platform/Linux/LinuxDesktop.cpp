#include "Platform/Linux/LinuxDesktop.h"

#include "Platform/Linux/X11ClickMonitor.h"
#include "Platform/Linux/X11PanelSurface.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWindow>

#include <xcb/xcb.h>

namespace corvid {

namespace {

class PlainPanelSurface final : public PanelSurface {
public:
    Behind behind() const override { return Behind::Desktop; }
    QRect visibleFrame(const QScreen &screen) const override { return screen.availableGeometry(); }
    void prepare(QWindow & /*panel*/, qreal /*cornerRadius*/, quint32 /*time*/) override {}
    bool hasKeyboard(const QWindow &panel) const override { return panel.isActive(); }
};

// Null where the application does not run on X11.
xcb_connection_t *x11Connection() {
    const auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

} // namespace

bool displayIsReachable() {
    if (!qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        return true;
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        return false;
    xcb_connection_t *connection = xcb_connect(nullptr, nullptr);
    const bool reachable = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return reachable;
}

std::unique_ptr<PanelSurface> makePanelSurface() {
    if (xcb_connection_t *connection = x11Connection())
        return std::make_unique<X11PanelSurface>(connection);
    return std::make_unique<PlainPanelSurface>();
}

std::unique_ptr<ClickMonitor> makeClickMonitor() {
    xcb_connection_t *connection = x11Connection();
    return connection ? std::make_unique<X11ClickMonitor>(connection) : nullptr;
}

} // namespace corvid
