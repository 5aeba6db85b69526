// Stands in for the desktop's portal of global shortcuts on a test's own session bus:
//
//   corvid_shortcuts_portal [<manner>...]
//
// prints a line for each call: the method and what matters of its arguments. It is as strict as
// the strictest: a program tells who it is before anything else and once, and a session is bound
// once. Its manners:
//
//   --hangs            answers no call at all
//   --keeps-silent     answers the calls, but never tells what became of BindShortcuts
//   --grants-oddly     tells of a granted shortcut as if BindShortcuts had come to nothing
//   --comes-to-nothing does so, and names no shortcut
//   --refuses          BindShortcuts was not allowed by the user
//   --refuses-session  CreateSession is not allowed
//   --and-plasma       is KDE's daemon of shortcuts, too, with a key for each
//   --and-plasma-without-key   the same, with a key for none
//   --without          has no global shortcuts
//   --without-key      gives the shortcut no key
//   --tells-no-key     does not tell which key it is
//   --knows-nobody     does not let programs tell who they are
//   --stays            does not end with its standard input
//
// Takes lines from its standard input:
//
//   press [<token>] | release      the shortcut's key goes down, up
//   press-other                    keys of another shortcut and of another program go down
//   answer                         what became of BindShortcuts
//   keys [<key>]                   the shortcut has this key now, or none
//   close                          the session is over
//
// Ends with its standard input.

#include <gio/gio.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <set>
#include <sstream>
#include <string>
#include <thread>

namespace {

constexpr const char *desktopPath = "/org/freedesktop/portal/desktop";
constexpr const char *shortcutsInterface = "org.freedesktop.portal.GlobalShortcuts";

std::set<std::string> manners;
std::mutex mutex;    // of what follows
std::string session; // its path
std::string shortcut;
std::string client;
std::string bindToken;         // of the latest BindShortcuts
std::set<std::string> clients; // that have said anything
std::set<std::string> bound;   // sessions

bool has(const char *manner) {
    return manners.count(manner) > 0;
}

void say(const std::string &line) {
    std::puts(line.c_str());
    std::fflush(stdout);
}

void emit(GDBusConnection *bus, const std::string &path, const char *interface, const char *signal,
          GVariant *arguments) {
    g_dbus_connection_emit_signal(bus, client.c_str(), path.c_str(), interface, signal, arguments,
                                  nullptr);
}

std::string option(GVariant *options, const char *key) {
    const char *value = "";
    g_variant_lookup(options, key, "&s", &value);
    return value;
}

GVariant *listed(const char *key) {
    GVariantBuilder properties;
    g_variant_builder_init(&properties, G_VARIANT_TYPE_VARDICT);
    if (key)
        g_variant_builder_add(&properties, "{sv}", "trigger_description",
                              g_variant_new_string(key));
    GVariantBuilder list;
    g_variant_builder_init(&list, G_VARIANT_TYPE("a(sa{sv})"));
    g_variant_builder_add(&list, "(sa{sv})", shortcut.c_str(), &properties);
    return g_variant_builder_end(&list);
}

// "<id> <preferred trigger>" of the only one.
std::string described(GVariant *shortcuts) {
    if (!shortcuts || g_variant_n_children(shortcuts) != 1)
        return "?";
    GVariant *properties = nullptr;
    const char *id = nullptr;
    g_variant_get_child(shortcuts, 0, "(&s@a{sv})", &id, &properties);
    std::string result = id + (" " + option(properties, "preferred_trigger"));
    g_variant_unref(properties);
    return result;
}

void respond(GDBusConnection *bus, const std::string &token, guint32 code,
             GVariantBuilder *results) {
    std::string sender = client.substr(1);
    for (char &c : sender)
        c = c == '.' ? '_' : c;
    emit(bus, std::string(desktopPath) + "/request/" + sender + '/' + token,
         "org.freedesktop.portal.Request", "Response", g_variant_new("(ua{sv})", code, results));
}

void answerBinding(GDBusConnection *bus) {
    const char *key = "Alt+K";
    if (has("--tells-no-key"))
        key = nullptr;
    else if (has("--without-key"))
        key = "";
    GVariantBuilder results;
    g_variant_builder_init(&results, G_VARIANT_TYPE_VARDICT);
    if (!has("--comes-to-nothing"))
        g_variant_builder_add(&results, "{sv}", "shortcuts", listed(key));
    guint32 code = has("--refuses") ? 1 : 0;
    if (has("--grants-oddly") || has("--comes-to-nothing"))
        code = 2;
    respond(bus, bindToken, code, &results);
}

// What KDE's daemon of shortcuts says to a question for a shortcut's keys.
GVariant *keysOfDaemon() {
    GVariantBuilder sequences;
    g_variant_builder_init(&sequences, G_VARIANT_TYPE("a(ai)"));
    GVariantBuilder keys;
    g_variant_builder_init(&keys, G_VARIANT_TYPE("ai"));
    for (const int key : {has("--and-plasma") ? 0x8000020 : 0, 0, 0, 0})
        g_variant_builder_add(&keys, "i", key);
    g_variant_builder_add(&sequences, "(ai)", &keys);
    return g_variant_new("(a(ai))", &sequences);
}

// The error that a call is answered with, if any; the response is sent before the reply.
const char *handle(GDBusConnection *bus, const std::string &method, GVariant *body) {
    constexpr const char *unknown = "org.freedesktop.DBus.Error.UnknownMethod";
    constexpr const char *notAllowed = "org.freedesktop.portal.Error.NotAllowed";
    const bool isFirst = clients.insert(client).second;
    GVariantBuilder results;
    g_variant_builder_init(&results, G_VARIANT_TYPE_VARDICT);
    GVariant *options = nullptr;
    if (method == "Register") {
        const char *id = nullptr;
        g_variant_get(body, "(&sa{sv})", &id, nullptr);
        say("Register " + std::string(id));
        g_variant_builder_clear(&results);
        if (has("--knows-nobody"))
            return unknown;
        return isFirst ? nullptr : notAllowed;
    }
    if (method == "CreateSession") {
        g_variant_get(body, "(@a{sv})", &options);
        GVariant *early = g_variant_lookup_value(options, "shortcuts", nullptr);
        const std::string token = option(options, "session_handle_token");
        say("CreateSession " + token + ' ' + described(early));
        session = std::string(desktopPath) + "/session/" + token;
        g_variant_builder_add(&results, "{sv}", "session_handle",
                              g_variant_new_string(session.c_str()));
        if (early)
            g_variant_unref(early);
        const char *error = has("--refuses-session") || isFirst ? notAllowed : nullptr;
        if (has("--without"))
            error = unknown;
        bound.erase(session);
        if (error)
            g_variant_builder_clear(&results);
        else
            respond(bus, option(options, "handle_token"), 0, &results);
        g_variant_unref(options);
        return error;
    }
    if (method == "BindShortcuts") {
        const char *path = nullptr;
        GVariant *list = nullptr;
        g_variant_get(body, "(&o@a(sa{sv})&s@a{sv})", &path, &list, nullptr, &options);
        say("BindShortcuts " + described(list));
        shortcut = described(list);
        shortcut.resize(shortcut.find(' '));
        bindToken = option(options, "handle_token");
        const bool isAgain = !bound.insert(path).second;
        if (!isAgain && !has("--keeps-silent"))
            answerBinding(bus);
        g_variant_unref(list);
        g_variant_unref(options);
        g_variant_builder_clear(&results);
        return isAgain ? notAllowed : nullptr;
    }
    g_variant_builder_clear(&results);
    say(method);
    return nullptr;
}

GDBusMessage *filter(GDBusConnection *bus, GDBusMessage *message, gboolean incoming,
                     gpointer /*data*/) {
    const char *interface = g_dbus_message_get_interface(message);
    if (!incoming || g_dbus_message_get_message_type(message) != G_DBUS_MESSAGE_TYPE_METHOD_CALL ||
        !interface || g_str_has_prefix(interface, "org.freedesktop.DBus"))
        return message;
    const std::scoped_lock lock(mutex);
    client = g_dbus_message_get_sender(message);
    std::string method = g_dbus_message_get_member(message);
    if (method == "Close")
        method =
            std::string(g_str_has_suffix(interface, "Session") ? "Session" : "Request") + ".Close";
    const char *error = handle(bus, method, g_dbus_message_get_body(message));
    if (!has("--hangs")) {
        GDBusMessage *reply =
            error ? g_dbus_message_new_method_error_literal(message, error, "Not so")
                  : g_dbus_message_new_method_reply(message);
        if (method == "shortcutKeys")
            g_dbus_message_set_body(reply, keysOfDaemon());
        g_dbus_connection_send_message(bus, reply, G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr,
                                       nullptr);
        g_object_unref(reply);
    }
    g_object_unref(message);
    return nullptr;
}

void activate(GDBusConnection *bus, const std::string &path, const std::string &id,
              const std::string &token) {
    GVariantBuilder options;
    g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
    if (!token.empty())
        g_variant_builder_add(&options, "{sv}", "activation_token",
                              g_variant_new_string(token.c_str()));
    emit(bus, desktopPath, shortcutsInterface, "Activated",
         g_variant_new("(osta{sv})", path.c_str(), id.c_str(), guint64{1} << 40, &options));
}

void obey(GDBusConnection *bus, const std::string &line) {
    const std::scoped_lock lock(mutex);
    std::istringstream words(line);
    std::string command;
    std::string argument;
    words >> command >> argument;
    if (command == "press") {
        activate(bus, session, shortcut, argument);
    } else if (command == "press-other") {
        activate(bus, session, "other", {});
        activate(bus, std::string(desktopPath) + "/session/other", shortcut, {});
    } else if (command == "release") {
        emit(bus, desktopPath, shortcutsInterface, "Deactivated",
             g_variant_new("(osta{sv})", session.c_str(), shortcut.c_str(), guint64{1} << 40,
                           nullptr));
    } else if (command == "answer") {
        answerBinding(bus);
    } else if (command == "keys") {
        emit(bus, desktopPath, shortcutsInterface, "ShortcutsChanged",
             g_variant_new("(o@a(sa{sv}))", session.c_str(), listed(argument.c_str())));
    } else if (command == "close") {
        emit(bus, session, "org.freedesktop.portal.Session", "Closed",
             g_variant_new("(a{sv})", nullptr));
    }
}

bool takeName(GDBusConnection *bus, const char *name) {
    GVariant *reply = g_dbus_connection_call_sync(
        bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
        g_variant_new("(su)", name, 0U), nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
    if (!reply)
        return false;
    g_variant_unref(reply);
    return true;
}

} // namespace

int main(int argc, char **argv) {
    manners = {argv + 1, argv + argc};
    GDBusConnection *bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    if (!bus)
        return 1;
    g_dbus_connection_add_filter(bus, filter, nullptr, nullptr);
    if ((has("--and-plasma") || has("--and-plasma-without-key")) &&
        !takeName(bus, "org.kde.kglobalaccel"))
        return 1;
    if (!takeName(bus, "org.freedesktop.portal.Desktop"))
        return 1;
    say("ready");
    if (has("--stays"))
        g_main_loop_run(g_main_loop_new(nullptr, FALSE));
    for (std::string line; std::getline(std::cin, line);)
        obey(bus, line);
    // The bus's thread may be using what an orderly end would take away from under it.
    std::quick_exit(0);
}
