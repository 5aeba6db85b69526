#include "Platform/Linux/LinuxDesktop.h"

#include "Platform/Linux/LayerClickMonitor.h"
#include "Platform/Linux/LayerPanelSurface.h"
#include "Platform/Linux/X11ClickMonitor.h"
#include "Platform/Linux/X11PanelSurface.h"

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
    bool hasKeyboard(const QWindow &panel) const override { return panel.isActive(); }
};

// Null where the application does not run on X11.
xcb_connection_t *x11Connection() {
    const auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

// Null where the application does not run on Wayland, or the compositor has none.
std::shared_ptr<const LayerShell> layerShell() {
    if (!QGuiApplication::platformName().startsWith("wayland"_L1))
        return nullptr;
    auto *display = static_cast<wl_display *>(
        QGuiApplication::platformNativeInterface()->nativeResourceForIntegration("wl_display"));
    return display ? LayerShell::bind(display) : nullptr;
}

} // namespace

PanelDesktop makePanelDesktop() {
    if (xcb_connection_t *connection = x11Connection())
        return {std::make_unique<X11PanelSurface>(connection),
                std::make_unique<X11ClickMonitor>(connection)};
    if (auto shell = layerShell()) {
        auto surface = std::make_unique<LayerPanelSurface>(std::move(shell));
        auto clicks = std::make_unique<LayerClickMonitor>(surface->covers());
        return {std::move(surface), std::move(clicks)};
    }
    return {std::make_unique<PlainPanelSurface>(), nullptr};
}

} // namespace corvid
