// Stands in for a Secret Service with one item, on a test's own session bus:
//
//   corvid_secret_service [--silent] [--locked] [--prompt=accept|dismiss|ignore] <trace file>
//                         [<method>=<reply as GVariant text>]...
//
// The item is found whatever is asked for; its secret is "from the stub". --silent answers nothing
// at all; --locked has the item locked, and unlocking it takes a prompt that the user accepts,
// dismisses or ignores. A method given with a reply answers with that, whatever its type should
// be. Appends the name of each method called to the trace file. Ends with its standard input.

#include <gio/gio.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>

namespace {

constexpr auto noPrompt = "/";
constexpr auto sessionPath = "/org/freedesktop/secrets/session/1";
constexpr auto itemPath = "/org/freedesktop/secrets/collection/stub/1";
constexpr auto promptPath = "/org/freedesktop/secrets/prompt/1";

std::string tracePath;
std::string prompt = "accept";
bool silent = false;
bool locked = false;
std::string secret = "from the stub";
std::map<std::string, std::string> replies;

GVariant *bytes(const std::string &text) {
    return g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, text.data(), text.size(), 1);
}

GVariant *secretStruct() {
    return g_variant_new("(o@ay@ays)", sessionPath, bytes({}), bytes(secret), "text/plain");
}

GVariant *paths(const char *path) {
    return path ? g_variant_new_objv(&path, 1) : g_variant_new_objv(nullptr, 0);
}

GVariant *properties(const std::string &interface) {
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE_VARDICT);
    if (interface == "org.freedesktop.Secret.Item") {
        g_variant_builder_add(&builder, "{sv}", "Locked", g_variant_new_boolean(locked));
        g_variant_builder_add(&builder, "{sv}", "Label", g_variant_new_string("stub"));
    }
    return g_variant_new("(a{sv})", &builder);
}

/** The reply's body, null for an empty one. */
GVariant *replyTo(GDBusConnection *bus, GDBusMessage *message, const std::string &member) {
    GVariant *body = g_dbus_message_get_body(message);
    if (member == "GetAll") {
        const char *interface = nullptr;
        g_variant_get_child(body, 0, "&s", &interface);
        return properties(interface);
    }
    if (member == "OpenSession")
        return g_variant_new("(vo)", g_variant_new_string(""), sessionPath);
    if (member == "SearchItems")
        return g_variant_new("(@ao@ao)", paths(locked ? nullptr : itemPath),
                             paths(locked ? itemPath : nullptr));
    if (member == "GetSecrets") {
        GVariantBuilder builder;
        g_variant_builder_init(&builder, G_VARIANT_TYPE("a{o(oayays)}"));
        if (!locked)
            g_variant_builder_add(&builder, "{o@(oayays)}", itemPath, secretStruct());
        return g_variant_new("(a{o(oayays)})", &builder);
    }
    if (member == "Unlock")
        return g_variant_new("(@aoo)", paths(locked ? nullptr : itemPath),
                             locked ? promptPath : noPrompt);
    if (member == "Prompt" && prompt != "ignore") {
        const bool accepted = prompt == "accept";
        if (accepted)
            locked = false;
        g_dbus_connection_emit_signal(
            bus, nullptr, promptPath, "org.freedesktop.Secret.Prompt", "Completed",
            g_variant_new("(bv)", !accepted, paths(accepted ? itemPath : nullptr)), nullptr);
    }
    if (member == "SetSecret") {
        GVariant *value = g_variant_get_child_value(body, 0);
        GVariant *content = g_variant_get_child_value(value, 2);
        gsize size = 0;
        const auto *data = static_cast<const char *>(g_variant_get_fixed_array(content, &size, 1));
        secret.assign(data, size);
        g_variant_unref(content);
        g_variant_unref(value);
    }
    return nullptr;
}

GDBusMessage *answer(GDBusConnection *bus, GDBusMessage *message, gboolean incoming,
                     gpointer /*data*/) {
    if (!incoming || g_dbus_message_get_message_type(message) != G_DBUS_MESSAGE_TYPE_METHOD_CALL)
        return message;
    const std::string member = g_dbus_message_get_member(message);
    if (FILE *trace = std::fopen(tracePath.c_str(), "a")) {
        std::fprintf(trace, "%s\n", member.c_str());
        std::fclose(trace);
    }
    if (!silent) {
        GDBusMessage *reply = nullptr;
        const char *algorithm = "";
        if (member == "OpenSession")
            g_variant_get_child(g_dbus_message_get_body(message), 0, "&s", &algorithm);
        if (member == "OpenSession" && std::string(algorithm) != "plain" &&
            !replies.contains(member)) {
            reply = g_dbus_message_new_method_error_literal(
                message, "org.freedesktop.DBus.Error.NotSupported", "only plain");
        } else {
            reply = g_dbus_message_new_method_reply(message);
            GVariant *body =
                replies.contains(member)
                    ? g_variant_parse(nullptr, replies[member].c_str(), nullptr, nullptr, nullptr)
                    : replyTo(bus, message, member);
            if (body)
                g_dbus_message_set_body(reply, body);
        }
        g_dbus_connection_send_message(bus, reply, G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr,
                                       nullptr);
        g_object_unref(reply);
    }
    g_object_unref(message);
    return nullptr;
}

} // namespace

int main(int argc, char **argv) {
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        const std::size_t equals = argument.find('=');
        if (argument == "--silent")
            silent = true;
        else if (argument == "--locked")
            locked = true;
        else if (argument.starts_with("--prompt="))
            prompt = argument.substr(equals + 1);
        else if (equals != std::string::npos)
            replies[argument.substr(0, equals)] = argument.substr(equals + 1);
        else
            tracePath = argument;
    }
    GDBusConnection *bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    if (!bus)
        return 1;
    g_dbus_connection_add_filter(bus, answer, nullptr, nullptr);
    GVariant *reply = g_dbus_connection_call_sync(
        bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
        g_variant_new("(su)", "org.freedesktop.secrets", 0U), nullptr, G_DBUS_CALL_FLAGS_NONE, -1,
        nullptr, nullptr);
    if (!reply)
        return 1;
    g_variant_unref(reply);
    std::puts("ready");
    std::fflush(stdout);
    while (std::getchar() != EOF) {
    }
    // The bus's thread may be using what an orderly end would take away from under it.
    std::quick_exit(0);
}
