#include "Platform/Linux/WindowSystem.h"

#include "Platform/Linux/Bus/PortalAppearance.h"
#include "Platform/Linux/Bus/PortalHotKeys.h"
#include "Platform/Linux/QtInternals.h"
#include "Platform/Linux/Wayland/LayerPanelSurface.h"
#include "Platform/Linux/X11/X11HotKeys.h"
#include "Platform/Linux/X11/X11PanelSurface.h"
#include "Platform/Linux/X11/X11Replies.h"
#include "Platform/Linux/X11/XSettings.h"

#include <QGuiApplication>

#include <unistd.h>

namespace corvid {

namespace {

// Asks the compositor for the tokens of WindowSystem::activationToken, over Qt's own connection.
class Activation {
public:
    explicit Activation(std::shared_ptr<WaylandConnection> connection)
        : connection_(std::move(connection)),
          activation_(connection_->bind<xdg_activation_v1>(xdg_activation_v1_interface, 1)) {}

    bool works() const { return activation_ && presses_.seat(); }

    QByteArray token() const {
        QByteArray result;
        const WaylandPointer<xdg_activation_token_v1> token(
            xdg_activation_v1_get_activation_token(activation_.get()));
        static constexpr xdg_activation_token_v1_listener listener{
            [](void *data, auto *, const char *text) { *static_cast<QByteArray *>(data) = text; }};
        xdg_activation_token_v1_add_listener(token.get(), &listener, &result);
        if (serial_ != 0)
            xdg_activation_token_v1_set_serial(token.get(), serial_, presses_.seat());
        if (QWindow *window = QGuiApplication::focusWindow()) {
            if (wl_surface *surface = qt::surfaceOf(*window))
                xdg_activation_token_v1_set_surface(token.get(), surface);
        }
        xdg_activation_token_v1_commit(token.get());
        connection_->roundTrip();
        return result;
    }

private:
    std::shared_ptr<WaylandConnection> connection_;
    WaylandPointer<xdg_activation_v1> activation_;
    std::uint32_t serial_ = 0; ///< of the last press
    // Qt tells nobody the serials of its events.
    SeatEvents presses_{*connection_,
                        {{WL_SEAT_GET_KEYBOARD, &wl_keyboard_interface},
                         {WL_SEAT_GET_POINTER, &wl_pointer_interface}},
                        [this](std::string_view event, const wl_argument *arguments) {
                            if (event == "keymap") // format, file, size
                                close(arguments[1].h);
                            else if ((event == "key" || event == "button") && arguments[3].u != 0)
                                serial_ = arguments[0].u; // serial, time, which, state
                        }};
};

} // namespace

WindowSystem makeWindowSystem() {
    if (x11::connectionOfQt()) {
        auto surface = std::make_unique<X11PanelSurface>();
        const auto entitle = [to = surface.get()](const QByteArray &token) {
            to->setStartupId(token);
        };
        return {std::move(surface), std::make_shared<X11ClickMonitor>(), nullptr, entitle};
    }
    wl_display *display = qt::waylandDisplay();
    if (!display)
        return {std::make_unique<PlainPanelSurface>(), nullptr, nullptr, nullptr};
    const auto connection = std::make_shared<WaylandConnection>(display);
    std::function<QByteArray()> tokens;
    if (const auto activation = std::make_shared<Activation>(connection); activation->works())
        tokens = [activation] { return activation->token(); };
    auto shell = LayerShell::bind(connection);
    if (!shell)
        return {std::make_unique<PlainPanelSurface>(), nullptr, std::move(tokens), nullptr};
    auto surface = std::make_unique<LayerPanelSurface>(std::move(shell));
    auto covers = surface->covers();
    return {std::move(surface), std::move(covers), std::move(tokens), nullptr};
}

std::unique_ptr<AppearanceSettings> makeAppearance() {
    auto portal = std::make_unique<PortalAppearance>();
    if (x11::connectionOfQt())
        return std::make_unique<XSettingsAppearance>(std::move(portal));
    return portal;
}

std::unique_ptr<HotKeyBackend> makeHotKeys(Session session, const WindowSystem &windowSystem) {
    // XWayland sees only the keys that go to X11 windows.
    if (session != Session::Wayland)
        return std::make_unique<X11HotKeys>(qgetenv("DISPLAY"));
    return std::make_unique<PortalHotKeys>(windowSystem.entitlePanel);
}

} // namespace corvid
