#include "Platform/Linux/Bus/BusReturn.h"

#include "Platform/ReleasedBy.h"

#include <utility>

#include <dbus/dbus.h>

namespace corvid {

namespace {

using Message = std::unique_ptr<DBusMessage, ReleasedBy<dbus_message_unref>>;

QSocketNotifier *notifierOf(DBusWatch *file) {
    return static_cast<QSocketNotifier *>(dbus_watch_get_data(file));
}

} // namespace

void BusReturn::Close::operator()(DBusConnection *connection) const {
    dbus_connection_close(connection);
    dbus_connection_unref(connection);
}

BusReturn::BusReturn(const std::string &address, std::function<void()> answered)
    : answered_(std::move(answered)),
      connection_(dbus_connection_open_private(address.c_str(), nullptr)) {
    if (!connection_)
        return;
    const auto add = [](DBusWatch *file, void *self) -> dbus_bool_t {
        static_cast<BusReturn *>(self)->watch(file);
        return TRUE;
    };
    const auto remove = [](DBusWatch *file, void * /*self*/) {
        notifierOf(file)->setEnabled(false);
    };
    const auto toggle = [](DBusWatch *file, void * /*self*/) {
        notifierOf(file)->setEnabled(dbus_watch_get_enabled(file) != FALSE);
    };
    dbus_connection_set_watch_functions(connection_.get(), add, remove, toggle, this, nullptr);
    const Message hello(dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS,
                                                     DBUS_INTERFACE_DBUS, "Hello"));
    dbus_connection_send(connection_.get(), hello.get(), &hello_);
}

BusReturn::~BusReturn() = default;

void BusReturn::watch(DBusWatch *file) {
    const bool reads = (dbus_watch_get_flags(file) & DBUS_WATCH_READABLE) != 0;
    auto &notifier = notifiers_.emplace_back(std::make_unique<QSocketNotifier>(
        dbus_watch_get_unix_fd(file), reads ? QSocketNotifier::Read : QSocketNotifier::Write));
    notifier->setEnabled(dbus_watch_get_enabled(file) != FALSE);
    dbus_watch_set_data(file, notifier.get(), nullptr);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, notifier.get(),
                     [this, file, reads] {
                         dbus_watch_handle(file, reads ? DBUS_WATCH_READABLE : DBUS_WATCH_WRITABLE);
                         read();
                     });
}

void BusReturn::read() {
    while (const Message message{dbus_connection_pop_message(connection_.get())}) {
        if (dbus_message_get_type(message.get()) == DBUS_MESSAGE_TYPE_METHOD_RETURN &&
            dbus_message_get_reply_serial(message.get()) == hello_ && answered_)
            std::exchange(answered_, nullptr)();
    }
}

} // namespace corvid
