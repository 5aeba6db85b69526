#include "Platform/Linux/Bus/FileManager.h"

#include "Platform/Linux/Bus/SessionBus.h"
#include "Platform/Linux/GLibPointers.h"

namespace corvid {

namespace {

constexpr int fileManagerTimeoutMs = 25'000; // it may have to be started first

} // namespace

std::optional<QString> askFileManager(const char *method, const QUrl &url, GCancellable *shutdown) {
    const GObjectPointer<GDBusConnection> bus = sessionBus(shutdown);
    if (!bus)
        return std::nullopt;
    GErrorHolder error;
    const GVariantPointer reply(g_dbus_connection_call_sync(
        bus.get(), "org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
        "org.freedesktop.FileManager1", method,
        g_variant_new_parsed("([%s], '')", url.toEncoded().constData()), nullptr,
        G_DBUS_CALL_FLAGS_NONE, fileManagerTimeoutMs, shutdown, error.out()));
    return reply || meansNoAnswer(error) ? std::optional(error.message()) : std::nullopt;
}

} // namespace corvid
