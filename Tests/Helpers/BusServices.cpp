// Stands in for services on a test's own session bus:
//
//   corvid_bus_services [--fail] <trace file> <bus name>...
//
// owns the names, appends one line for each method call to the trace file, "interface.method
// arguments", and answers it with an empty reply, or with an error after --fail. Ends with its
// standard input.

#include <gio/gio.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

const char *tracePath = nullptr;
bool failing = false;

GDBusMessage *answer(GDBusConnection *bus, GDBusMessage *message, gboolean incoming,
                     gpointer /*data*/) {
    const char *interface = g_dbus_message_get_interface(message);
    if (!incoming || g_dbus_message_get_message_type(message) != G_DBUS_MESSAGE_TYPE_METHOD_CALL ||
        !interface || g_str_has_prefix(interface, "org.freedesktop.DBus"))
        return message;
    GVariant *body = g_dbus_message_get_body(message);
    gchar *arguments = body ? g_variant_print(body, FALSE) : g_strdup("()");
    if (FILE *trace = std::fopen(tracePath, "a")) {
        std::fprintf(trace, "%s.%s %s\n", interface, g_dbus_message_get_member(message), arguments);
        std::fclose(trace);
    }
    g_free(arguments);
    GDBusMessage *reply =
        failing ? g_dbus_message_new_method_error_literal(message, "org.example.Busy", "I am busy")
                : g_dbus_message_new_method_reply(message);
    g_dbus_connection_send_message(bus, reply, G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr, nullptr);
    g_object_unref(reply);
    g_object_unref(message);
    return nullptr;
}

} // namespace

int main(int argc, char **argv) {
    int next = 1;
    if (next < argc && std::strcmp(argv[next], "--fail") == 0) {
        failing = true;
        ++next;
    }
    if (argc - next < 2)
        return 2;
    tracePath = argv[next++];
    GDBusConnection *bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    if (!bus)
        return 1;
    g_dbus_connection_add_filter(bus, answer, nullptr, nullptr);
    for (; next < argc; ++next) {
        GVariant *reply = g_dbus_connection_call_sync(
            bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
            "RequestName", g_variant_new("(su)", argv[next], 0U), nullptr, G_DBUS_CALL_FLAGS_NONE,
            -1, nullptr, nullptr);
        if (!reply)
            return 1;
        g_variant_unref(reply);
    }
    std::puts("ready");
    std::fflush(stdout);
    while (std::getchar() != EOF) {
    }
    // The bus's thread may be using what an orderly end would take away from under it.
    std::quick_exit(0);
}
