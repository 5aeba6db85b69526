#include "Platform/Linux/PlatformChoice.h"

#include <QByteArray>
#include <QtGlobal>

#include <cstdio>
#include <cstring>
#include <wayland-client.h>
#include <xcb/xcb.h>

namespace corvid {

namespace {

enum class Compositor { None, Plain, LayerShell };

// A connection of its own, for Qt makes one only for the platform that it has been told.
Compositor lookAtCompositor() {
    // The descriptor that it names can be used once only, and Qt needs it.
    if (qEnvironmentVariableIsSet("WAYLAND_SOCKET"))
        return Compositor::LayerShell;
    // The library would complain on standard error about what is no fault on X11.
    if (qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR") &&
        !qgetenv("WAYLAND_DISPLAY").startsWith('/'))
        return Compositor::None;
    wl_display *display = wl_display_connect(nullptr);
    if (!display)
        return Compositor::None;
    auto result = Compositor::Plain;
    static constexpr wl_registry_listener listener{
        [](void *data, wl_registry * /*registry*/, std::uint32_t /*name*/, const char *interface,
           std::uint32_t /*version*/) {
            if (std::strcmp(interface, "zwlr_layer_shell_v1") == 0)
                *static_cast<Compositor *>(data) = Compositor::LayerShell;
        },
        [](void * /*data*/, wl_registry * /*registry*/, std::uint32_t /*name*/) {}};
    wl_registry *registry = wl_display_get_registry(display);
    wl_registry_add_listener(registry, &listener, &result);
    if (wl_display_roundtrip(display) < 0)
        result = Compositor::None;
    wl_registry_destroy(registry);
    wl_display_disconnect(display);
    return result;
}

bool xServerIsReachable() {
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        return false;
    xcb_connection_t *connection = xcb_connect(nullptr, nullptr);
    const bool reachable = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return reachable;
}

void runOn(const char *platform) {
    qputenv("QT_QPA_PLATFORM", platform);
    // Lets us give the panel's surface a role that Qt does not know.
    qputenv("QT_WAYLAND_USE_BYPASSWINDOWMANAGERHINT", "1");
}

Session runOnWayland() {
    runOn("wayland");
    return Session::Wayland;
}

Session runOnX11(Compositor compositor) {
    if (!xServerIsReachable())
        return Session::Unreachable;
    runOn("xcb");
    // One that the session does not name is not what shows it.
    const bool named = !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
    return named && compositor != Compositor::None ? Session::Wayland : Session::X11;
}

} // namespace

Session choosePlatform() {
    const Compositor compositor = lookAtCompositor();
    const QByteArray wanted = qgetenv("CORVID_PLATFORM");
    if (wanted == "wayland")
        return compositor == Compositor::None ? Session::Unreachable : runOnWayland();
    if (wanted == "xcb")
        return runOnX11(compositor);
    if (!wanted.isEmpty())
        std::fprintf(stderr, "corvid: CORVID_PLATFORM is neither wayland nor xcb.\n");

    // Sessions set it for all programs alike, without knowing what a panel needs.
    const QByteArray general = qgetenv("QT_QPA_PLATFORM");
    if (!general.isEmpty() && !general.startsWith("wayland") && !general.startsWith("xcb"))
        return compositor == Compositor::None ? Session::X11 : Session::Wayland;
    if (compositor == Compositor::LayerShell)
        return runOnWayland();
    const Session session = runOnX11(compositor);
    return session == Session::Unreachable && compositor == Compositor::Plain ? runOnWayland()
                                                                              : session;
}

} // namespace corvid
