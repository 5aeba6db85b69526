#include "Platform/Linux/SessionBus.h"

namespace corvid {

GObjectPointer<GDBusConnection> sessionBus(GCancellable *cancellable) {
    GErrorHolder error;
    GObjectPointer<GDBusConnection> bus(
        g_bus_get_sync(G_BUS_TYPE_SESSION, cancellable, error.out()));
    if (bus)
        g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
    return bus;
}

} // namespace corvid
