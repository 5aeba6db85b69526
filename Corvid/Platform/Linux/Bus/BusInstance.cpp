#include "Platform/Linux/Bus/BusInstance.h"

#include "Base/Deadline.h"
#include "Front/InstanceCall.h"
#include "Platform/Linux/Bus/SessionBus.h"

#include <QByteArray>
#include <QDeadlineTimer>
#include <QObject>

#include <chrono>
#include <mutex>
#include <optional>
#include <utility>

namespace corvid {

namespace {

// Of the bus's protocol: RequestName's flag and answers.
constexpr guint32 doNotQueue = 4;
constexpr guint32 primaryOwner = 1;

// What a call asks for; nothing when it is none of ours.
std::optional<Wish> wishOf(GDBusMessage *message) {
    const auto member = QByteArray(g_dbus_message_get_member(message));
    GVariant *body = g_dbus_message_get_body(message);
    const auto has = [body](const char *type) {
        return body && g_variant_is_of_type(body, G_VARIANT_TYPE(type));
    };
    // The files of an Open are of no use to a launcher; who sends them wants to see it.
    if ((member == "Activate" && has("(a{sv})")) || (member == "Open" && has("(asa{sv})")))
        return Wish{};
    if (member != "ActivateAction" || !has("(sava{sv})"))
        return std::nullopt;
    const char *action = nullptr;
    GVariant *parameters = nullptr;
    g_variant_get(body, "(&s@av@a{sv})", &action, &parameters, nullptr);
    const GVariantPointer owned(parameters);
    for (const auto kind : {Wish::Kind::Show, Wish::Kind::Toggle, Wish::Kind::OpenSettings}) {
        Wish wish{kind};
        if (qstrcmp(action, actionOf(kind)) != 0)
            continue;
        if (g_variant_n_children(parameters) > 0) {
            const GVariantPointer boxed(g_variant_get_child_value(parameters, 0));
            const GVariantPointer sticky(g_variant_get_variant(boxed.get()));
            wish.sticky = g_variant_is_of_type(sticky.get(), G_VARIANT_TYPE_BOOLEAN) &&
                          g_variant_get_boolean(sticky.get());
        }
        return wish;
    }
    return std::nullopt;
}

GVariant *requestName(GDBusConnection *bus, GErrorHolder &error) {
    return g_dbus_connection_call_sync(
        bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
        g_variant_new("(su)", instanceBusName, doNotQueue), G_VARIANT_TYPE("(u)"),
        G_DBUS_CALL_FLAGS_NONE, static_cast<int>(std::chrono::milliseconds(busPatience).count()),
        nullptr, error.out());
}

} // namespace

/** The calls that came, from the bus's thread to the main one. */
class BusInstance::Calls {
public:
    /** From now on, calls on this bus are kept for serve(). */
    static void listen(const std::shared_ptr<Calls> &calls, GObjectPointer<GDBusConnection> bus) {
        calls->filter_ = g_dbus_connection_add_filter(
            bus.get(), &Calls::filter, new std::shared_ptr<Calls>(calls),
            [](gpointer data) { delete static_cast<std::shared_ptr<Calls> *>(data); });
        calls->bus_ = std::move(bus);
    }

    void serve(std::function<void(const Wish &)> fulfil) {
        fulfil_ = std::move(fulfil);
        const std::scoped_lock lock(mutex_);
        receiver_.emplace();
        announce();
    }

    /** Nothing is fulfilled afterwards. */
    void end() {
        if (bus_)
            g_dbus_connection_remove_filter(bus_.get(), filter_);
        const std::scoped_lock lock(mutex_);
        receiver_.reset();
        waiting_.clear();
    }

private:
    struct Call {
        Wish wish;
        GObjectPointer<GDBusMessage> reply;
    };

    // On the bus's thread, for every message.
    static GDBusMessage *filter(GDBusConnection *bus, GDBusMessage *message, gboolean incoming,
                                gpointer data) {
        if (!incoming ||
            g_dbus_message_get_message_type(message) != G_DBUS_MESSAGE_TYPE_METHOD_CALL ||
            qstrcmp(g_dbus_message_get_path(message), instanceObjectPath) != 0 ||
            qstrcmp(g_dbus_message_get_interface(message), instanceInterface) != 0)
            return message;
        const GObjectPointer<GDBusMessage> call(message);
        if (const std::optional<Wish> wish = wishOf(message)) {
            GObjectPointer<GDBusMessage> reply(g_dbus_message_new_method_reply(message));
            (*static_cast<std::shared_ptr<Calls> *>(data))->add({*wish, std::move(reply)});
        } else {
            const GObjectPointer<GDBusMessage> refusal(g_dbus_message_new_method_error_literal(
                message, "org.freedesktop.DBus.Error.InvalidArgs", "There is no such action"));
            send(bus, refusal.get());
        }
        return nullptr;
    }

    // Who does not wait for an answer, or is gone, gets none.
    static void send(GDBusConnection *bus, GDBusMessage *message) {
        g_dbus_connection_send_message(bus, message, G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr,
                                       nullptr);
    }

    void add(Call call) {
        const std::scoped_lock lock(mutex_);
        waiting_.push_back(std::move(call));
        announce();
    }

    void announce() {
        if (receiver_)
            QMetaObject::invokeMethod(
                &*receiver_, [this] { fulfilWaiting(); }, Qt::QueuedConnection);
    }

    void fulfilWaiting() {
        std::vector<Call> calls;
        {
            const std::scoped_lock lock(mutex_);
            calls.swap(waiting_);
        }
        // Whoever asked need not wait until the panel is there: that we are awake is enough.
        for (const Call &call : calls)
            send(bus_.get(), call.reply.get());
        for (const Call &call : calls)
            fulfil_(call.wish);
    }

    // Of the main thread.
    GObjectPointer<GDBusConnection> bus_;
    guint filter_ = 0;
    std::function<void(const Wish &)> fulfil_;

    std::mutex mutex_; ///< of what follows
    std::vector<Call> waiting_;
    std::optional<QObject> receiver_; ///< absent while nobody serves
};

BusInstance::BusInstance() : calls_(std::make_shared<Calls>()) {}

BusInstance::~BusInstance() {
    calls_->end();
}

BusInstance::Claim BusInstance::claim(const std::vector<Wish> &wishes) {
    GObjectPointer<GDBusConnection> ours;
    {
        const GObjectPointer<GCancellable> cancellable(g_cancellable_new());
        const Deadline watchdog(busPatience, [&] { g_cancellable_cancel(cancellable.get()); });
        ours = sessionBus(cancellable.get());
        if (!ours && g_cancellable_is_cancelled(cancellable.get()))
            qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
    }
    if (!ours)
        return Claim::Sole;

    // Before the name is ours: the call that had the bus start us comes right behind it.
    GDBusConnection *const bus = ours.get();
    Calls::listen(calls_, std::move(ours));

    const QDeadlineTimer deadline(instancePatience);
    GErrorHolder error;
    do {
        const GVariantPointer answer(requestName(bus, error));
        guint32 role = primaryOwner;
        if (answer)
            g_variant_get(answer.get(), "(u)", &role);
        // A bus that gives us no name has no other instance to offer, either.
        if (role == primaryOwner)
            return Claim::Sole;
        switch (callInstance(wishes, ActivationToken::fromEnvironment())) {
        case CallResult::Taken:
            return Claim::HandedOver;
        case CallResult::Unanswered:
            return Claim::Unanswered;
        case CallResult::Nobody: // any more
            break;
        }
    } while (!deadline.hasExpired());
    return Claim::Unanswered;
}

void BusInstance::serve(std::function<void(const Wish &)> fulfil) {
    calls_->serve(std::move(fulfil));
}

} // namespace corvid
