#include "Platform/Linux/Wayland/WaylandSurface.h"

#include <QGuiApplication>

#include <qpa/qplatformnativeinterface.h>

namespace corvid {

wl_surface *surfaceOf(QWindow &window) {
    return static_cast<wl_surface *>(
        QGuiApplication::platformNativeInterface()->nativeResourceForWindow("surface", &window));
}

} // namespace corvid
