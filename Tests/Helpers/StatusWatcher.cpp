// Stands in for a desktop's list of status items on the session bus, and for the panel that shows
// them, if asked for:
//
//   corvid_status_watcher [--no-host]
//
// prints "ready", then a line "item <bus name>" for each item that registers; with --no-host, a
// line on standard input brings the panel. Ends with its standard input.

#include <gio/gio.h>

#include <cstdio>
#include <cstring>

namespace {

constexpr const char *name = "org.kde.StatusNotifierWatcher";
constexpr const char *path = "/StatusNotifierWatcher";
constexpr const char *description =
    "<node><interface name='org.kde.StatusNotifierWatcher'>"
    "<method name='RegisterStatusNotifierItem'><arg type='s' direction='in'/></method>"
    "<property name='IsStatusNotifierHostRegistered' type='b' access='read'/>"
    "<signal name='StatusNotifierHostRegistered'/></interface></node>";

bool hasHost = true;

void call(GDBusConnection * /*bus*/, const char *sender, const char * /*path*/,
          const char * /*interface*/, const char * /*method*/, GVariant * /*arguments*/,
          GDBusMethodInvocation *invocation, gpointer /*data*/) {
    std::printf("item %s\n", sender);
    std::fflush(stdout);
    g_dbus_method_invocation_return_value(invocation, nullptr);
}

GVariant *property(GDBusConnection * /*bus*/, const char * /*sender*/, const char * /*path*/,
                   const char * /*interface*/, const char * /*property*/, GError ** /*error*/,
                   gpointer /*data*/) {
    return g_variant_new_boolean(hasHost);
}

void announceHost(GDBusConnection *bus) {
    g_dbus_connection_emit_signal(bus, nullptr, path, name, "StatusNotifierHostRegistered", nullptr,
                                  nullptr);
}

} // namespace

int main(int argc, char **argv) {
    hasHost = argc < 2 || std::strcmp(argv[1], "--no-host") != 0;
    GDBusConnection *bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    if (!bus)
        return 1;
    const GDBusInterfaceVTable table{&call, &property, nullptr, {}};
    GDBusNodeInfo *node = g_dbus_node_info_new_for_xml(description, nullptr);
    g_dbus_connection_register_object(bus, path, node->interfaces[0], &table, nullptr, nullptr,
                                      nullptr);
    g_bus_own_name_on_connection(
        bus, name, G_BUS_NAME_OWNER_FLAGS_NONE,
        [](GDBusConnection *connection, const char *, gpointer) {
            if (hasHost)
                announceHost(connection);
            std::puts("ready");
            std::fflush(stdout);
        },
        nullptr, nullptr, nullptr);
    GMainLoop *loop = g_main_loop_new(nullptr, FALSE);
    GIOChannel *input = g_io_channel_unix_new(0);
    const auto read = [](GIOChannel *channel, GIOCondition, gpointer data) -> gboolean {
        char *line = nullptr;
        if (g_io_channel_read_line(channel, &line, nullptr, nullptr, nullptr) !=
            G_IO_STATUS_NORMAL) {
            g_main_loop_quit(static_cast<GMainLoop *>(data));
            return FALSE;
        }
        g_free(line);
        hasHost = true;
        announceHost(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
        return TRUE;
    };
    g_io_add_watch(input, GIOCondition(G_IO_IN | G_IO_HUP), read, loop);
    g_main_loop_run(loop);
    g_io_channel_unref(input);
    g_main_loop_unref(loop);
    return 0;
}
