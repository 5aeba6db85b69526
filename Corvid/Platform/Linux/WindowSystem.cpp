#include "Platform/Linux/WindowSystem.h"

#include "Platform/Linux/Bus/PortalHotKeys.h"
#include "Platform/Linux/Wayland/LayerPanelSurface.h"
#include "Platform/Linux/Wayland/WaylandActivation.h"
#include "Platform/Linux/X11/X11ClickMonitor.h"
#include "Platform/Linux/X11/X11HotKeys.h"
#include "Platform/Linux/X11/X11PanelSurface.h"
#include "Platform/Linux/X11/X11Replies.h"

#include <QGuiApplication>

#include <qpa/qplatformnativeinterface.h>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

// Null where the application does not run on Wayland.
wl_display *waylandDisplay() {
    if (!QGuiApplication::platformName().startsWith("wayland"_L1))
        return nullptr;
    return static_cast<wl_display *>(
        QGuiApplication::platformNativeInterface()->nativeResourceForIntegration("wl_display"));
}

} // namespace

WindowSystem makeWindowSystem() {
    if (xcb_connection_t *connection = x11::connectionOfQt()) {
        auto surface = std::make_unique<X11PanelSurface>(connection);
        const auto entitle = [to = surface.get()](const QByteArray &token) {
            to->setStartupId(token);
        };
        return {std::move(surface), std::make_shared<X11ClickMonitor>(connection), nullptr,
                entitle};
    }
    wl_display *display = waylandDisplay();
    if (!display)
        return {std::make_unique<PlainPanelSurface>(), nullptr, nullptr, nullptr};
    const auto connection = std::make_shared<WaylandConnection>(display);
    auto tokens = activationTokens(connection);
    auto shell = LayerShell::bind(connection);
    if (!shell)
        return {std::make_unique<PlainPanelSurface>(), nullptr, std::move(tokens), nullptr};
    auto surface = std::make_unique<LayerPanelSurface>(std::move(shell));
    auto covers = surface->covers();
    return {std::move(surface), std::move(covers), std::move(tokens), nullptr};
}

std::unique_ptr<HotKeyBackend> makeHotKeys(Session session, const WindowSystem &windowSystem) {
    // XWayland sees only the keys that go to X11 windows.
    if (session != Session::Wayland)
        return std::make_unique<X11HotKeys>(qgetenv("DISPLAY"));
    return std::make_unique<PortalHotKeys>(windowSystem.entitlePanel);
}

} // namespace corvid
