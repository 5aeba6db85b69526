#include "Front/InstanceCall.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <memory>

#include <dbus/dbus.h>

namespace corvid {

using namespace std::chrono_literals;

namespace {

using Clock = std::chrono::steady_clock;

struct MessageUnref {
    void operator()(DBusMessage *message) const { dbus_message_unref(message); }
};
using Message = std::unique_ptr<DBusMessage, MessageUnref>;

struct ConnectionClose {
    void operator()(DBusConnection *connection) const {
        dbus_connection_close(connection);
        dbus_connection_unref(connection);
    }
};
using Connection = std::unique_ptr<DBusConnection, ConnectionClose>;

/** Why a call has no reply. */
class Error {
public:
    Error() { dbus_error_init(&error_); }
    ~Error() { dbus_error_free(&error_); }
    Error(const Error &) = delete;
    Error &operator=(const Error &) = delete;

    DBusError *out() { return &error_; }
    bool is(const char *name) const { return dbus_error_has_name(&error_, name); }

private:
    DBusError error_;
};

std::string variable(const char *name) {
    const char *value = std::getenv(name);
    return value ? value : "";
}

std::string busAddress() {
    if (std::string address = variable("DBUS_SESSION_BUS_ADDRESS"); !address.empty())
        return address;
    const std::string folder = variable("XDG_RUNTIME_DIR");
    return folder.empty() ? folder : "unix:path=" + folder + "/bus";
}

struct PendingUnref {
    void operator()(DBusPendingCall *call) const { dbus_pending_call_unref(call); }
};
using PendingCall = std::unique_ptr<DBusPendingCall, PendingUnref>;

int millisecondsUntil(Clock::time_point time) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(time - Clock::now());
    return static_cast<int>(std::max(left, 0ms).count());
}

// libdbus itself, told to wait for a reply, waits without end for a bus that does not even greet.
Message reply(DBusConnection *bus, const Message &call, Clock::time_point deadline, Error &error) {
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
    Message result(dbus_pending_call_steal_reply(sent));
    if (result && dbus_set_error_from_message(error.out(), result.get()))
        return nullptr;
    return result;
}

/** Null where there is none. */
Connection connectToBus() {
    const std::string address = busAddress();
    if (address.empty())
        return nullptr;
    Error error;
    Connection bus(dbus_connection_open_private(address.c_str(), error.out()));
    if (!bus)
        return nullptr;
    const Clock::time_point deadline = Clock::now() + busPatience;
    const Message hello(dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS,
                                                     DBUS_INTERFACE_DBUS, "Hello"));
    if (reply(bus.get(), hello, deadline, error))
        return bus;
    if (Clock::now() >= deadline)
        setenv("DBUS_SESSION_BUS_ADDRESS", "disabled:", 1);
    return nullptr;
}

/** Appends a string that is boxed as a variant. */
void appendBoxed(DBusMessageIter &to, const char *value) {
    DBusMessageIter box;
    dbus_message_iter_open_container(&to, DBUS_TYPE_VARIANT, "s", &box);
    dbus_message_iter_append_basic(&box, DBUS_TYPE_STRING, &value);
    dbus_message_iter_close_container(&to, &box);
}

void appendPlatformData(DBusMessageIter &to, const ActivationToken &token) {
    DBusMessageIter data;
    dbus_message_iter_open_container(&to, DBUS_TYPE_ARRAY, "{sv}", &data);
    const auto append = [&data](const char *key, const std::string &value) {
        if (value.empty() || !dbus_validate_utf8(value.c_str(), nullptr))
            return;
        DBusMessageIter entry;
        dbus_message_iter_open_container(&data, DBUS_TYPE_DICT_ENTRY, nullptr, &entry);
        dbus_message_iter_append_basic(&entry, DBUS_TYPE_STRING, &key);
        appendBoxed(entry, value.c_str());
        dbus_message_iter_close_container(&data, &entry);
    };
    append("activation-token", token.wayland);
    append("desktop-startup-id", token.x11);
    dbus_message_iter_close_container(&to, &data);
}

void appendAction(DBusMessageIter &to, const Wish &wish) {
    const char *const action = actionOf(wish.kind);
    dbus_message_iter_append_basic(&to, DBUS_TYPE_STRING, &action);
    DBusMessageIter parameters;
    dbus_message_iter_open_container(&to, DBUS_TYPE_ARRAY, "v", &parameters);
    if (wish.sticky) {
        const dbus_bool_t sticky = 1;
        DBusMessageIter box;
        dbus_message_iter_open_container(&parameters, DBUS_TYPE_VARIANT, "b", &box);
        dbus_message_iter_append_basic(&box, DBUS_TYPE_BOOLEAN, &sticky);
        dbus_message_iter_close_container(&parameters, &box);
    }
    dbus_message_iter_close_container(&to, &parameters);
}

Message callFor(const Wish &wish, const ActivationToken &token) {
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
    appendPlatformData(arguments, token);
    return call;
}

} // namespace

const char *actionOf(Wish::Kind kind) {
    switch (kind) {
    case Wish::Kind::Show:
        return "show";
    case Wish::Kind::Toggle:
        return "toggle";
    case Wish::Kind::OpenSettings:
        return "settings";
    }
    return ""; // there is no other
}

ActivationToken ActivationToken::fromEnvironment() {
    return {variable("XDG_ACTIVATION_TOKEN"), variable("DESKTOP_STARTUP_ID")};
}

void checkBus() {
    connectToBus();
}

CallResult callInstance(const std::vector<Wish> &wishes, const ActivationToken &token) {
    const Connection bus = connectToBus();
    if (!bus)
        return CallResult::Nobody;
    const Clock::time_point deadline = Clock::now() + instancePatience;
    for (const Wish &wish : wishes) {
        Error error;
        if (reply(bus.get(), callFor(wish, token), deadline, error))
            continue;
        // The first is the bus's word for one that ended while it was asked.
        const bool nobody =
            error.is(DBUS_ERROR_NO_REPLY) || error.is(DBUS_ERROR_NAME_HAS_NO_OWNER) ||
            error.is(DBUS_ERROR_SERVICE_UNKNOWN) || !dbus_connection_get_is_connected(bus.get());
        return nobody ? CallResult::Nobody : CallResult::Unanswered;
    }
    return CallResult::Taken;
}

} // namespace corvid
