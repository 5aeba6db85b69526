// Stands in for the desktop's file chooser on a test's own session bus:
//
//   corvid_file_chooser_portal <version of the interface>
//
// prints each call, "OpenFile <arguments>" or "Close", and takes lines from its standard input:
// "<code> <file URIs>" is the user's answer to the last OpenFile, "odd" one that makes no sense.
// Ends with its standard input.

#include <gio/gio.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>
#include <thread>

namespace {

const char *const portalPath = "/org/freedesktop/portal/desktop";
const char *const description =
    "<node><interface name='org.freedesktop.portal.FileChooser'>"
    "<method name='OpenFile'><arg type='s' direction='in'/><arg type='s' direction='in'/>"
    "<arg type='a{sv}' direction='in'/><arg type='o' direction='out'/></method>"
    "<property name='version' type='u' access='read'/></interface>"
    "<interface name='org.freedesktop.portal.Request'><method name='Close'/></interface></node>";

GDBusNodeInfo *node = nullptr;
unsigned version = 0;
std::string request; ///< path of the last

void tell(const std::string &line) {
    std::puts(line.c_str());
    std::fflush(stdout);
}

void closed(GDBusConnection * /*bus*/, const char * /*sender*/, const char * /*path*/,
            const char * /*interface*/, const char * /*method*/, GVariant * /*arguments*/,
            GDBusMethodInvocation *invocation, gpointer /*data*/) {
    tell("Close");
    g_dbus_method_invocation_return_value(invocation, nullptr);
}

void opened(GDBusConnection *bus, const char *sender, const char * /*path*/,
            const char * /*interface*/, const char * /*method*/, GVariant *arguments,
            GDBusMethodInvocation *invocation, gpointer /*data*/) {
    GVariant *options = g_variant_get_child_value(arguments, 2);
    const char *token = "none";
    g_variant_lookup(options, "handle_token", "&s", &token);
    std::string name(sender + 1);
    for (char &letter : name)
        letter = letter == '.' ? '_' : letter;
    request = std::string(portalPath) + "/request/" + name + '/' + token;
    static guint registered = 0;
    if (registered != 0)
        g_dbus_connection_unregister_object(bus, registered);
    GDBusInterfaceVTable table{};
    table.method_call = closed;
    registered = g_dbus_connection_register_object(bus, request.c_str(), node->interfaces[1],
                                                   &table, nullptr, nullptr, nullptr);
    gchar *text = g_variant_print(arguments, FALSE);
    tell(std::string("OpenFile ") + text);
    g_free(text);
    g_variant_unref(options);
    g_dbus_method_invocation_return_value(invocation, g_variant_new("(o)", request.c_str()));
}

GVariant *property(GDBusConnection * /*bus*/, const char * /*sender*/, const char * /*path*/,
                   const char * /*interface*/, const char * /*name*/, GError ** /*error*/,
                   gpointer /*data*/) {
    return g_variant_new_uint32(version);
}

GVariant *answer(const std::string &line) {
    if (line == "odd")
        return g_variant_new("(s)", "odd");
    std::istringstream words(line);
    unsigned code = 0;
    words >> code;
    GVariantBuilder uris;
    g_variant_builder_init(&uris, G_VARIANT_TYPE("as"));
    for (std::string uri; words >> uri;)
        g_variant_builder_add(&uris, "s", uri.c_str());
    GVariantBuilder results;
    g_variant_builder_init(&results, G_VARIANT_TYPE("a{sv}"));
    g_variant_builder_add(&results, "{sv}", "uris", g_variant_builder_end(&uris));
    return g_variant_new("(ua{sv})", code, &results);
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 2)
        return 2;
    version = static_cast<unsigned>(std::atoi(argv[1]));
    GDBusConnection *bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    if (!bus)
        return 1;
    node = g_dbus_node_info_new_for_xml(description, nullptr);
    GDBusInterfaceVTable table{};
    table.method_call = opened;
    table.get_property = property;
    g_dbus_connection_register_object(bus, portalPath, node->interfaces[0], &table, nullptr,
                                      nullptr, nullptr);
    GVariant *reply = g_dbus_connection_call_sync(
        bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
        g_variant_new("(su)", "org.freedesktop.portal.Desktop", 0U), nullptr,
        G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
    if (!reply)
        return 1;
    g_variant_unref(reply);
    tell("ready");
    GMainLoop *loop = g_main_loop_new(nullptr, FALSE);
    std::thread input([&] {
        for (std::string line; std::getline(std::cin, line);)
            g_dbus_connection_emit_signal(bus, nullptr, request.c_str(),
                                          "org.freedesktop.portal.Request", "Response",
                                          answer(line), nullptr);
        g_main_loop_quit(loop);
    });
    g_main_loop_run(loop);
    input.join();
    g_main_loop_unref(loop);
    return 0;
}
