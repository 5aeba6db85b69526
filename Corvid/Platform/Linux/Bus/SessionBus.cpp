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

namespace {

GObjectPointer<GDBusConnection> ownBus(GBusType type, GCancellable *cancellable) {
    const GFreePointer<gchar> address(g_dbus_address_get_for_bus_sync(type, cancellable, nullptr));
    if (!address)
        return nullptr;
    const auto flags =
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    return GObjectPointer<GDBusConnection>(g_dbus_connection_new_for_address_sync(
        address.get(), flags, nullptr, cancellable, nullptr));
}

} // namespace

GObjectPointer<GDBusConnection> ownSessionBus(GCancellable *cancellable) {
    return ownBus(G_BUS_TYPE_SESSION, cancellable);
}

GObjectPointer<GDBusConnection> ownSystemBus(GCancellable *cancellable) {
    return ownBus(G_BUS_TYPE_SYSTEM, cancellable);
}

bool meansNoAnswer(const GErrorHolder &error) {
    return g_error_matches(error.get(), G_IO_ERROR, G_IO_ERROR_CANCELLED) ||
           g_error_matches(error.get(), G_IO_ERROR, G_IO_ERROR_TIMED_OUT) ||
           g_error_matches(error.get(), G_DBUS_ERROR, G_DBUS_ERROR_TIMEOUT) ||
           g_error_matches(error.get(), G_DBUS_ERROR, G_DBUS_ERROR_TIMED_OUT) ||
           g_error_matches(error.get(), G_DBUS_ERROR, G_DBUS_ERROR_NO_REPLY);
}

bool meansNoService(const GErrorHolder &error) {
    if (!error.get() || error.get()->domain != G_DBUS_ERROR)
        return false;
    const int code = error.get()->code;
    switch (code) {
    case G_DBUS_ERROR_SERVICE_UNKNOWN:
    case G_DBUS_ERROR_NAME_HAS_NO_OWNER:
    case G_DBUS_ERROR_UNKNOWN_METHOD:
    case G_DBUS_ERROR_UNKNOWN_OBJECT:
    case G_DBUS_ERROR_UNKNOWN_INTERFACE:
        return true;
    default: // the bus has one code for each way in which starting the service can fail
        return code >= G_DBUS_ERROR_SPAWN_EXEC_FAILED && code <= G_DBUS_ERROR_SPAWN_NO_MEMORY;
    }
}

} // namespace corvid
