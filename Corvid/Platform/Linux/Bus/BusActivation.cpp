#include "Platform/Linux/Bus/BusActivation.h"

#include "Platform/Linux/Bus/SessionBus.h"

namespace corvid {

namespace {

constexpr int activationMs = 25'000; // a slow application's start is no failure

struct Call {
    const char *method;
    GVariant *arguments; ///< floating
};

Call callFor(const BusRequest &request) {
    GVariantBuilder platformData;
    g_variant_builder_init(&platformData, G_VARIANT_TYPE_VARDICT);
    if (!request.startupId.isEmpty()) {
        // The older name and the newer one: toolkits look for either.
        for (const char *key : {"desktop-startup-id", "activation-token"})
            g_variant_builder_add(&platformData, "{sv}", key,
                                  g_variant_new_string(request.startupId.constData()));
    }
    if (request.action) {
        return {"ActivateAction",
                g_variant_new("(sava{sv})", request.action->constData(), nullptr, &platformData)};
    }
    if (request.urls.isEmpty())
        return {"Activate", g_variant_new("(a{sv})", &platformData)};
    GVariantBuilder uris;
    g_variant_builder_init(&uris, G_VARIANT_TYPE_STRING_ARRAY);
    for (const QUrl &url : request.urls)
        g_variant_builder_add(&uris, "s", url.toEncoded().constData());
    return {"Open", g_variant_new("(asa{sv})", &uris, &platformData)};
}

} // namespace

BusActivation activateByBus(const QString &id, const BusRequest &request, GCancellable *shutdown,
                            GErrorHolder &error) {
    const QByteArray name = id.toUtf8();
    if (!g_dbus_is_name(name.constData()) || g_dbus_is_unique_name(name.constData()))
        return BusActivation::ServiceMissing;
    const GObjectPointer<GDBusConnection> bus = sessionBus(shutdown);
    if (!bus)
        return BusActivation::ServiceMissing;

    QByteArray object = "/" + name;
    object.replace('.', '/').replace('-', '_');
    const Call call = callFor(request);
    const GVariantPointer reply(g_dbus_connection_call_sync(
        bus.get(), name.constData(), object.constData(), "org.freedesktop.Application", call.method,
        call.arguments, nullptr, G_DBUS_CALL_FLAGS_NONE, activationMs, shutdown, error.out()));
    if (reply)
        return BusActivation::Done;
    // Anything else may come from an application that is there and busy: starting it once more
    // would open it twice.
    return meansNoService(error) ? BusActivation::ServiceMissing : BusActivation::Failed;
}

} // namespace corvid
