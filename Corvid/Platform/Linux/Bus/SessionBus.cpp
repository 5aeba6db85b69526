#include "Platform/Linux/Bus/SessionBus.h"

#include <mutex>

namespace corvid {

GObjectPointer<GDBusConnection> sessionBus(GCancellable *cancellable) {
    GErrorHolder error;
    GObjectPointer<GDBusConnection> bus(
        g_bus_get_sync(G_BUS_TYPE_SESSION, cancellable, error.out()));
    if (!bus)
        return bus;
    g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
    // GLib shares one connection for as long as somebody holds it; after that it would make
    // another, which ends the process again.
    static std::once_flag held;
    std::call_once(held, [&] { g_object_ref(bus.get()); });
    return bus;
}

} // namespace corvid
