#include "Front/InstanceCall.h"

#include "Front/Inheritance.h"
#include "Platform/ReleasedBy.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>

#include <dbus/dbus.h>

namespace corvid {

using namespace std::chrono_literals;

namespace {

using Clock = std::chrono::steady_clock;

using Message = std::unique_ptr<DBusMessage, ReleasedBy<dbus_message_unref>>;
using PendingCall = std::unique_ptr<DBusPendingCall, ReleasedBy<dbus_pending_call_unref>>;

struct ConnectionClose {
    void operator()(DBusConnection *connection) const {
        dbus_connection_close(connection);
        dbus_connection_unref(connection);
    }
};
using Connection = std::unique_ptr<DBusConnection, ConnectionClose>;

std::string variable(const char *name) {
    const char *value = std::getenv(name);
    return value ? value : "";
}

int millisecondsUntil(Clock::time_point time) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(time - Clock::now());
    return static_cast<int>(std::max(left, 0ms).count());
}

// A result or an error; null when neither comes in time. libdbus itself, told to wait for a reply,
// waits without end for a bus that does not even greet.
Message reply(DBusConnection *bus, const Message &call, Clock::time_point deadline) {
    DBusPendingCall *sent = nullptr;
    dbus_connection_send_with_reply(bus, call.get(), &sent, DBUS_TIMEOUT_INFINITE);
    if (!sent)
        return nullptr;
    const PendingCall pending(sent);
    while (!dbus_pending_call_get_completed(sent)) {
        const int left = millisecondsUntil(deadline);
        if (left == 0 || !dbus_connection_read_write_dispatch(bus, left))
            return nullptr;
    }
    return Message(dbus_pending_call_steal_reply(sent));
}

bool isResult(const Message &message) {
    return message && dbus_message_get_type(message.get()) == DBUS_MESSAGE_TYPE_METHOD_RETURN;
}

struct Bus {
    Connection connection; ///< null where there is none
    bool silent = false;   ///< there is one, but it does not answer
};

Bus connectToBus() {
    const std::string address = sessionBusAddress(takeInheritance().environment);
    if (address.empty())
        return {};
    Connection bus(dbus_connection_open_private(address.c_str(), nullptr));
    if (!bus)
        return {};
    const Clock::time_point deadline = Clock::now() + busPatience;
    const Message hello(dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS,
                                                     DBUS_INTERFACE_DBUS, "Hello"));
    if (isResult(reply(bus.get(), hello, deadline)))
        return {std::move(bus)};
    if (Clock::now() < deadline)
        return {};
    setenv("DBUS_SESSION_BUS_ADDRESS", "disabled:", 1);
    return {nullptr, true};
}

/** Appends a value of a basic type, at an address, that is boxed as a variant. */
void appendBoxed(DBusMessageIter &to, const char *type, const void *value) {
    DBusMessageIter box;
    dbus_message_iter_open_container(&to, DBUS_TYPE_VARIANT, type, &box);
    dbus_message_iter_append_basic(&box, *type, value);
    dbus_message_iter_close_container(&to, &box);
}

/** Appends what lets us come to the front. It stays in the environment for the toolkit, which uses
    it up for our first window; no program that we start is given it. */
void appendPlatformData(DBusMessageIter &to) {
    DBusMessageIter data;
    dbus_message_iter_open_container(&to, DBUS_TYPE_ARRAY, "{sv}", &data);
    const auto append = [&data](const char *key, const char *variableName) {
        const std::string token = variable(variableName);
        const char *const value = token.c_str();
        if (token.empty() || !dbus_validate_utf8(value, nullptr))
            return;
        DBusMessageIter entry;
        dbus_message_iter_open_container(&data, DBUS_TYPE_DICT_ENTRY, nullptr, &entry);
        dbus_message_iter_append_basic(&entry, DBUS_TYPE_STRING, &key);
        appendBoxed(entry, DBUS_TYPE_STRING_AS_STRING, &value);
        dbus_message_iter_close_container(&data, &entry);
    };
    append("activation-token", "XDG_ACTIVATION_TOKEN");
    append("desktop-startup-id", "DESKTOP_STARTUP_ID");
    dbus_message_iter_close_container(&to, &data);
}

void appendAction(DBusMessageIter &to, const Wish &wish) {
    const char *const action = actionOf(wish.kind);
    dbus_message_iter_append_basic(&to, DBUS_TYPE_STRING, &action);
    DBusMessageIter parameters;
    dbus_message_iter_open_container(&to, DBUS_TYPE_ARRAY, "v", &parameters);
    if (wish.sticky) {
        const dbus_bool_t sticky = 1;
        appendBoxed(parameters, DBUS_TYPE_BOOLEAN_AS_STRING, &sticky);
    }
    dbus_message_iter_close_container(&to, &parameters);
}

Message callFor(const Wish &wish) {
    const bool plain = wish == Wish{};
    Message call(dbus_message_new_method_call(instanceBusName, instanceObjectPath,
                                              instanceInterface,
                                              plain ? "Activate" : "ActivateAction"));
    // Where nobody owns the name, whoever calls becomes the instance.
    dbus_message_set_auto_start(call.get(), 0);
    DBusMessageIter arguments;
    dbus_message_iter_init_append(call.get(), &arguments);
    if (!plain)
        appendAction(arguments, wish);
    appendPlatformData(arguments);
    return call;
}

} // namespace

const char *actionOf(Wish::Kind kind) {
    constexpr std::array actions{"show", "toggle", "settings"};
    return actions[static_cast<std::size_t>(kind)];
}

std::string sessionBusAddress(const std::vector<std::string> &environment) {
    if (std::string address = variable(environment, "DBUS_SESSION_BUS_ADDRESS"); !address.empty())
        return address;
    const std::string folder = variable(environment, "XDG_RUNTIME_DIR");
    return folder.empty() ? folder : "unix:path=" + folder + "/bus";
}

bool busIsSilent() {
    return connectToBus().silent;
}

CallResult callInstance(const std::vector<Wish> &wishes) {
    const auto [bus, silent] = connectToBus();
    if (!bus)
        return silent ? CallResult::BusSilent : CallResult::Nobody;
    const Clock::time_point deadline = Clock::now() + instancePatience;
    for (const Wish &wish : wishes) {
        const Message answer = reply(bus.get(), callFor(wish), deadline);
        if (isResult(answer))
            continue;
        const auto is = [&answer](const char *error) {
            return answer && dbus_message_is_error(answer.get(), error);
        };
        // The first is the bus's word for one that ended while it was asked.
        const bool nobody = is(DBUS_ERROR_NO_REPLY) || is(DBUS_ERROR_NAME_HAS_NO_OWNER) ||
                            is(DBUS_ERROR_SERVICE_UNKNOWN) ||
                            !dbus_connection_get_is_connected(bus.get());
        return nobody ? CallResult::Nobody : CallResult::Unanswered;
    }
    return CallResult::Taken;
}

} // namespace corvid
