// KeyringUnlocker <password>: unlocks the login keyring of a running gnome-keyring-daemon, as the
// user's password in its dialog would.

#include <gio/gio.h>

#include <cstring>

namespace {

GVariant *call(GDBusConnection *bus, const char *interface, const char *method,
               GVariant *arguments) {
    return g_dbus_connection_call_sync(bus, "org.freedesktop.secrets", "/org/freedesktop/secrets",
                                       interface, method, arguments, nullptr,
                                       G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
}

GVariant *bytes(const char *text) {
    return g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, text, std::strlen(text), 1);
}

} // namespace

int main(int argc, char **argv) {
    GDBusConnection *bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    if (argc != 2 || !bus)
        return 1;
    GVariant *opened = call(bus, "org.freedesktop.Secret.Service", "OpenSession",
                            g_variant_new("(sv)", "plain", g_variant_new_string("")));
    if (!opened)
        return 1;
    const char *session = nullptr;
    g_variant_get_child(opened, 1, "&o", &session);
    GVariant *unlocked =
        call(bus, "org.gnome.keyring.InternalUnsupportedGuiltRiddenInterface",
             "UnlockWithMasterPassword",
             g_variant_new("(o(o@ay@ays))", "/org/freedesktop/secrets/collection/login", session,
                           bytes(""), bytes(argv[1]), "text/plain"));
    g_variant_unref(opened);
    if (!unlocked)
        return 1;
    g_variant_unref(unlocked);
    return 0;
}
