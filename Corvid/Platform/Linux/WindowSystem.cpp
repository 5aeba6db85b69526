#include "Platform/Linux/WindowSystem.h"

#include "Platform/Linux/Bus/PortalHotKeys.h"
#include "Platform/Linux/Wayland/LayerClickMonitor.h"
#include "Platform/Linux/Wayland/LayerPanelSurface.h"
#include "Platform/Linux/Wayland/Remap.h"
#include "Platform/Linux/Wayland/WaylandActivation.h"
#include "Platform/Linux/X11/X11ClickMonitor.h"
#include "Platform/Linux/X11/X11HotKeys.h"
#include "Platform/Linux/X11/X11PanelSurface.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWindow>

#include <qpa/qplatformnativeinterface.h>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

class PlainPanelSurface final : public PanelSurface {
public:
    Behind behind() const override { return Behind::Desktop; }
    QRect visibleFrame(const QScreen &screen) const override { return screen.availableGeometry(); }
    void prepare(QWindow & /*panel*/, qreal /*cornerRadius*/, quint32 /*time*/) override {}
    void claimKeyboard(QWindow &window) override { remap(window); }
    bool hasKeyboard(const QWindow &panel) const override { return panel.isActive(); }
};

// Null where the application does not run on X11.
xcb_connection_t *x11Connection() {
    const auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

// Null where the application does not run on Wayland.
wl_display *waylandDisplay() {
    if (!QGuiApplication::platformName().startsWith("wayland"_L1))
        return nullptr;
    return static_cast<wl_display *>(
        QGuiApplication::platformNativeInterface()->nativeResourceForIntegration("wl_display"));
}

std::function<QByteArray()> activationTokens(wl_display *display) {
    const std::shared_ptr<const WaylandActivation> activation = WaylandActivation::bind(display);
    if (!activation)
        return nullptr;
    return [activation] { return activation->token(); };
}

} // namespace

PanelDesktop makePanelDesktop() {
    if (xcb_connection_t *connection = x11Connection()) {
        auto surface = std::make_unique<X11PanelSurface>(connection);
        const auto entitle = [to = surface.get()](const QByteArray &token) {
            to->setStartupId(token);
        };
        return {std::move(surface), std::make_unique<X11ClickMonitor>(connection), nullptr,
                entitle};
    }
    PanelDesktop desktop{std::make_unique<PlainPanelSurface>(), nullptr, nullptr, nullptr};
    wl_display *display = waylandDisplay();
    if (!display)
        return desktop;
    desktop.activationToken = activationTokens(display);
    if (auto shell = LayerShell::bind(display)) {
        auto surface = std::make_unique<LayerPanelSurface>(std::move(shell));
        desktop.clickMonitor = std::make_unique<LayerClickMonitor>(surface->covers());
        desktop.surface = std::move(surface);
    }
    return desktop;
}

std::unique_ptr<HotKeyBackend> makeHotKeys(Session session, const PanelDesktop &panelDesktop) {
    // XWayland sees only the keys that go to X11 windows.
    if (session != Session::Wayland)
        return std::make_unique<X11HotKeys>(qgetenv("DISPLAY"));
    return std::make_unique<PortalHotKeys>(panelDesktop.entitlePanel);
}

} // namespace corvid
