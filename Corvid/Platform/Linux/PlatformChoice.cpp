#include "Platform/Linux/PlatformChoice.h"

#include "Platform/Linux/Wayland/WaylandConnection.h"
#include "Platform/Linux/X11/X11Replies.h"

#include <QLoggingCategory>

#include <cstdio>

namespace corvid {

namespace {

enum class Compositor { None, Plain, LayerShell };

// Over a connection of its own: Qt makes its own only once it was told what to run on.
Compositor lookAtCompositor() {
    // It names a descriptor that can be used only once, and Qt needs it.
    if (qEnvironmentVariableIsSet("WAYLAND_SOCKET"))
        return Compositor::LayerShell;
    // Else the library would complain on standard error, although on X11 nothing is wrong.
    if (qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR") &&
        !qgetenv("WAYLAND_DISPLAY").startsWith('/'))
        return Compositor::None;
    const WaylandPointer<wl_display> display(wl_display_connect(nullptr));
    if (!display)
        return Compositor::None;
    const WaylandConnection connection(display.get());
    if (wl_display_get_error(display.get()) != 0)
        return Compositor::None;
    return connection.offers(zwlr_layer_shell_v1_interface) ? Compositor::LayerShell
                                                            : Compositor::Plain;
}

void runOn(const char *platform) {
    qputenv("QT_QPA_PLATFORM", platform);
    // Lets us give the panel's surface a role that Qt does not know.
    qputenv("QT_WAYLAND_USE_BYPASSWINDOWMANAGERHINT", "1");
    // Nothing of ours is drawn by a graphics card. To find out whether one could, Qt would load its
    // driver: a third of the start, and half of the memory.
    if (!qEnvironmentVariableIsSet("QT_WAYLAND_CLIENT_BUFFER_INTEGRATION")) {
        qputenv("QT_WAYLAND_CLIENT_BUFFER_INTEGRATION", "none");
        // It warns of that.
        QLoggingCategory::setFilterRules(QStringLiteral("qt.qpa.wayland.warning=false"));
    }
}

Session runOnWayland() {
    runOn("wayland");
    return Session::Wayland;
}

Session runOnX11(Compositor compositor) {
    if (!x11::connectTo(qgetenv("DISPLAY")))
        return Session::Unreachable;
    runOn("xcb");
    // Where $WAYLAND_DISPLAY names none, the compositor that was found does not show the session.
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

    // Sessions set this for all programs, without knowing what a panel needs.
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
