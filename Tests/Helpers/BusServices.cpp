// Stands in for services on a test's own session bus:
//
//   corvid_bus_services [--fail] [--answer=<method>=<values>]... <trace file> <bus name>...
//
// owns the names, appends one line for each method call to the trace file, "interface.method
// arguments", and answers it with an empty reply, or with an error after --fail. Ends with its
// standard input. A method is answered with the values, a tuple as GLib writes it; "unknown" in
// their place says that there is no such method, "refused" that it is not allowed.
// Each line of the standard input is a signal to be sent: its object, interface, name and values.

#include <gio/gio.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <string_view>

namespace {

const char *tracePath = nullptr;
bool failing = false;
std::map<std::string, std::string> answers; // by method

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
    const auto scripted = answers.find(g_dbus_message_get_member(message));
    const std::string values = scripted == answers.end() ? "()" : scripted->second;
    GDBusMessage *reply = nullptr;
    if (failing)
        reply = g_dbus_message_new_method_error_literal(message, "org.example.Busy", "I am busy");
    else if (values == "unknown")
        reply = g_dbus_message_new_method_error_literal(
            message, "org.freedesktop.DBus.Error.UnknownMethod", "There is none");
    else if (values == "refused")
        reply = g_dbus_message_new_method_error_literal(
            message, "org.freedesktop.DBus.Error.AccessDenied", "You may not");
    else {
        reply = g_dbus_message_new_method_reply(message);
        g_dbus_message_set_body(reply, g_variant_new_parsed(values.c_str()));
    }
    g_dbus_connection_send_message(bus, reply, G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr, nullptr);
    g_object_unref(reply);
    g_object_unref(message);
    return nullptr;
}

} // namespace

int main(int argc, char **argv) {
    int next = 1;
    for (; next < argc && argv[next][0] == '-'; ++next) {
        constexpr std::string_view prefix = "--answer=";
        const std::string option = argv[next];
        if (option == "--fail") {
            failing = true;
        } else if (option.rfind(prefix, 0) == 0) {
            const std::string answer = option.substr(prefix.size());
            const std::size_t end = answer.find('=');
            answers[answer.substr(0, end)] = answer.substr(end + 1);
        }
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
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream words(line);
        std::string path, interface, name, values;
        words >> path >> interface >> name;
        std::getline(words, values);
        g_dbus_connection_emit_signal(bus, nullptr, path.c_str(), interface.c_str(), name.c_str(),
                                      g_variant_new_parsed(values.c_str()), nullptr);
    }
    // The bus's thread may be using what an orderly end would take away from under it.
    std::quick_exit(0);
}
