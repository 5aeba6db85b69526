// Stands in for the desktop's settings portal on a test's own session bus:
//
//   corvid_settings_portal <namespace> <key> <value as GVariant text>...
//
// answers ReadAll with these, then takes lines "<namespace> <key> <value>" from its standard input,
// each of which becomes a SettingChanged signal. Ends with its standard input.

#include <gio/gio.h>

#include <cstdio>
#include <iostream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace {

struct Setting {
    std::string names, key, value;
};
std::vector<Setting> settings;
std::mutex order; // an answer from before a change goes out before it, too

GVariant *parsed(const std::string &text) {
    return g_variant_parse(nullptr, text.c_str(), nullptr, nullptr, nullptr);
}

void call(GDBusConnection * /*bus*/, const char * /*sender*/, const char * /*path*/,
          const char * /*interface*/, const char * /*method*/, GVariant * /*arguments*/,
          GDBusMethodInvocation *invocation, gpointer /*data*/) {
    const std::lock_guard locked(order);
    GVariantBuilder all;
    g_variant_builder_init(&all, G_VARIANT_TYPE("a{sa{sv}}"));
    for (const Setting &setting : settings) {
        GVariantBuilder one;
        g_variant_builder_init(&one, G_VARIANT_TYPE("a{sv}"));
        g_variant_builder_add(&one, "{sv}", setting.key.c_str(), parsed(setting.value));
        g_variant_builder_add(&all, "{sa{sv}}", setting.names.c_str(), &one);
    }
    g_dbus_method_invocation_return_value(invocation, g_variant_new("(a{sa{sv}})", &all));
}

const char *const description = "<node><interface name='org.freedesktop.portal.Settings'>"
                                "<method name='ReadAll'><arg type='as' direction='in'/>"
                                "<arg type='a{sa{sv}}' direction='out'/></method>"
                                "</interface></node>";
const char *const path = "/org/freedesktop/portal/desktop";

} // namespace

int main(int argc, char **argv) {
    for (int i = 1; i + 2 < argc; i += 3)
        settings.push_back({argv[i], argv[i + 1], argv[i + 2]});
    GDBusConnection *bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    if (!bus)
        return 1;
    GDBusNodeInfo *node = g_dbus_node_info_new_for_xml(description, nullptr);
    GDBusInterfaceVTable table{};
    table.method_call = call;
    g_dbus_connection_register_object(bus, path, node->interfaces[0], &table, nullptr, nullptr,
                                      nullptr);
    GVariant *reply = g_dbus_connection_call_sync(
        bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
        g_variant_new("(su)", "org.freedesktop.portal.Desktop", 0U), nullptr,
        G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
    if (!reply)
        return 1;
    g_variant_unref(reply);
    std::puts("ready");
    std::fflush(stdout);
    GMainLoop *loop = g_main_loop_new(nullptr, FALSE);
    std::thread input([&] {
        Setting change;
        while (std::cin >> change.names >> change.key && std::getline(std::cin, change.value)) {
            const std::lock_guard locked(order);
            for (Setting &setting : settings)
                if (setting.names == change.names && setting.key == change.key)
                    setting.value = change.value;
            g_dbus_connection_emit_signal(bus, nullptr, path, "org.freedesktop.portal.Settings",
                                          "SettingChanged",
                                          g_variant_new("(ssv)", change.names.c_str(),
                                                        change.key.c_str(), parsed(change.value)),
                                          nullptr);
        }
        g_main_loop_quit(loop);
    });
    g_main_loop_run(loop);
    input.join();
    g_main_loop_unref(loop);
    g_dbus_node_info_unref(node);
    g_object_unref(bus);
    return 0;
}
