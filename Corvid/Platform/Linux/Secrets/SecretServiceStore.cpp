#include "Platform/Linux/Secrets/SecretServiceStore.h"

#include "Platform/Linux/Bus/SessionBus.h"
#include "Platform/Linux/GLibPointers.h"
#include "Platform/SecretStore.h"

#include <QStringDecoder>

#include <libsecret/secret.h>

#include <array>
#include <memory>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto secretsBusName = "org.freedesktop.secrets";

// Items that are stored without a schema have this name. With the same one, a tool that stores them
// so replaces our item instead of making a second one.
const SecretSchema secretSchema = [] {
    SecretSchema result = {};
    result.name = "org.freedesktop.Secret.Generic";
    result.flags = SECRET_SCHEMA_DONT_MATCH_NAME;
    result.attributes[0] = {"service", SECRET_SCHEMA_ATTRIBUTE_STRING};
    result.attributes[1] = {"account", SECRET_SCHEMA_ATTRIBUTE_STRING};
    return result;
}();

struct HashTableUnref {
    void operator()(GHashTable *table) const { g_hash_table_unref(table); }
};
using AttributesPointer = std::unique_ptr<GHashTable, HashTableUnref>;

struct SecretValueUnref {
    void operator()(SecretValue *value) const { secret_value_unref(value); }
};
using SecretValuePointer = std::unique_ptr<SecretValue, SecretValueUnref>;

struct ObjectListFree {
    void operator()(GList *list) const { g_list_free_full(list, g_object_unref); }
};
using ItemsPointer = std::unique_ptr<GList, ObjectListFree>;

AttributesPointer attributesOf(const QString &account) {
    return AttributesPointer(secret_attributes_build(&secretSchema, "service", secretService.data(),
                                                     "account", account.toUtf8().constData(),
                                                     nullptr));
}

// An unlocked one where there is any, as other programs choose too; null where there is none.
SecretItem *chosenFrom(const ItemsPointer &items) {
    for (GList *item = items.get(); item; item = item->next) {
        if (!secret_item_get_locked(SECRET_ITEM(item->data)))
            return SECRET_ITEM(item->data);
    }
    return items ? SECRET_ITEM(items->data) : nullptr;
}

std::optional<QString> textOf(SecretItem *item) {
    const SecretValuePointer value(secret_item_get_secret(item));
    if (!value)
        return std::nullopt;
    gsize size = 0;
    const gchar *bytes = secret_value_get(value.get(), &size);
    QStringDecoder decode(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decode(QByteArrayView(bytes, static_cast<qsizetype>(size)));
    if (decode.hasError())
        return std::nullopt;
    return text;
}

/**
 * Waits for an operation of libsecret that may prompt the user. Its own synchronous ones would
 * wait, even when cancelled, until the service confirms that the prompt is gone; here a service
 * has a moment for that and is then left to itself. Null when cancelled.
 */
class Prompting {
public:
    explicit Prompting(GCancellable *cancellable)
        : context_(g_main_context_new()), inner_(g_cancellable_new()), outer_(cancellable) {
        g_main_context_push_thread_default(context_.get());
    }
    Prompting(const Prompting &) = delete;
    Prompting &operator=(const Prompting &) = delete;
    ~Prompting() { g_main_context_pop_thread_default(context_.get()); }

    /** For the operation. Cancelled in this thread alone: libsecret goes on working from there. */
    GCancellable *cancellable() const { return inner_.get(); }

    /** Its callback, and the data for that. Never called once this has returned from wait(). */
    static void callback(GObject * /*source*/, GAsyncResult *result, gpointer data) {
        static_cast<Prompting *>(data)->result_.reset(G_ASYNC_RESULT(g_object_ref(result)));
    }

    GAsyncResult *wait() {
        constexpr guint momentMs = 200;
        waitUntil(g_cancellable_source_new(outer_));
        if (!result_) {
            g_cancellable_cancel(inner_.get());
            waitUntil(g_timeout_source_new(momentMs));
        }
        return result_.get();
    }

private:
    /** Until there is a result or the source, which is ours now, is due. */
    void waitUntil(GSource *source) {
        g_source_set_callback(source, G_SOURCE_FUNC(+[] { return G_SOURCE_REMOVE; }), nullptr,
                              nullptr);
        g_source_attach(source, context_.get());
        while (!result_ && !g_source_is_destroyed(source))
            g_main_context_iteration(context_.get(), TRUE);
        g_source_destroy(source);
        g_source_unref(source);
    }

    GMainContextPointer context_;
    GObjectPointer<GCancellable> inner_;
    GObjectPointer<GAsyncResult> result_;
    GCancellable *outer_;
};

// In the default collection, which this also makes or unlocks.
bool makeItem(SecretService *service, const QString &account, SecretValue *value,
              GCancellable *cancellable) {
    const AttributesPointer attributes = attributesOf(account);
    Prompting prompting(cancellable);
    secret_service_store(service, &secretSchema, attributes.get(), SECRET_COLLECTION_DEFAULT,
                         "Corvid API key", value, prompting.cancellable(), Prompting::callback,
                         &prompting);
    GAsyncResult *result = prompting.wait();
    return result && secret_service_store_finish(service, result, nullptr);
}

bool unlock(SecretService *service, SecretItem *item, GCancellable *cancellable) {
    GList only = {item, nullptr, nullptr};
    Prompting prompting(cancellable);
    secret_service_unlock(service, &only, prompting.cancellable(), Prompting::callback, &prompting);
    GAsyncResult *result = prompting.wait();
    return result && secret_service_unlock_finish(service, result, nullptr, nullptr) > 0;
}

bool isSilence(const GErrorHolder &error) {
    return g_error_matches(error.get(), G_IO_ERROR, G_IO_ERROR_CANCELLED) ||
           g_error_matches(error.get(), G_IO_ERROR, G_IO_ERROR_TIMED_OUT) ||
           g_error_matches(error.get(), G_DBUS_ERROR, G_DBUS_ERROR_TIMEOUT) ||
           g_error_matches(error.get(), G_DBUS_ERROR, G_DBUS_ERROR_TIMED_OUT) ||
           g_error_matches(error.get(), G_DBUS_ERROR, G_DBUS_ERROR_NO_REPLY);
}

} // namespace

/** The bus, what we listen to on it, and the service once it has answered. The connection is not
   the shared one, whose loss is reported to the thread that made it. */
struct SecretServiceStore::Connection {
    Connection(GObjectPointer<GDBusConnection> ownBus, const std::function<void()> &changed)
        : bus(std::move(ownBus)), onChange(changed) {
        listen("org.freedesktop.DBus", "org.freedesktop.DBus", "NameOwnerChanged", secretsBusName);
        listen(secretsBusName, "org.freedesktop.Secret.Service", nullptr, nullptr);
        listen(secretsBusName, "org.freedesktop.Secret.Collection", nullptr, nullptr);
        // Whether a collection is locked is one of its properties.
        listen(secretsBusName, "org.freedesktop.DBus.Properties", "PropertiesChanged", nullptr);
        closed = g_signal_connect(bus.get(), "closed", G_CALLBACK(+onClosed), this);
    }
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;
    ~Connection() {
        g_signal_handler_disconnect(bus.get(), closed);
        for (const guint subscription : subscriptions)
            g_dbus_connection_signal_unsubscribe(bus.get(), subscription);
    }

    void listen(const char *sender, const char *interface, const char *member,
                const char *firstArgument) {
        subscriptions[used++] = g_dbus_connection_signal_subscribe(
            bus.get(), sender, interface, member, nullptr, firstArgument, G_DBUS_SIGNAL_FLAGS_NONE,
            onSignal, this, nullptr);
    }

    static void onSignal(GDBusConnection * /*bus*/, const gchar * /*sender*/,
                         const gchar * /*path*/, const gchar * /*interface*/, const gchar *member,
                         GVariant * /*arguments*/, gpointer data) {
        auto *self = static_cast<Connection *>(data);
        // What we agreed upon with the one before is unknown to the next.
        if (qstrcmp(member, "NameOwnerChanged") == 0)
            self->service.reset();
        self->onChange();
    }

    static void onClosed(GDBusConnection * /*bus*/, gboolean /*byPeer*/, GError * /*error*/,
                         gpointer data) {
        auto *self = static_cast<Connection *>(data);
        self->service.reset();
        self->onChange();
    }

    bool askBus(const char *method, GVariant *arguments, GCancellable *cancellable,
                GErrorHolder &error) const {
        const GVariantPointer reply(g_dbus_connection_call_sync(
            bus.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
            method, arguments, nullptr, G_DBUS_CALL_FLAGS_NONE, -1, cancellable, error.out()));
        return reply != nullptr;
    }

    ItemsPointer search(const QString &account, SecretSearchFlags flags, GCancellable *cancellable,
                        GErrorHolder &error) const {
        const AttributesPointer attributes = attributesOf(account);
        return ItemsPointer(secret_service_search_sync(
            service.get(), &secretSchema, attributes.get(), flags, cancellable, error.out()));
    }

    GObjectPointer<GDBusConnection> bus;
    const std::function<void()> &onChange;
    GObjectPointer<SecretService> service; ///< null until it has answered
    std::array<guint, 4> subscriptions{};
    std::size_t used = 0;
    gulong closed = 0;
};

SecretServiceStore::SecretServiceStore(std::function<void()> onChange)
    : onChange_(std::move(onChange)) {}

SecretServiceStore::~SecretServiceStore() = default;

SecretServiceStore::State SecretServiceStore::connect(Start start, GCancellable *cancellable) {
    if (!connection_) {
        // libsecret uses the shared connection; made by us, its loss does not end the process.
        const GObjectPointer<GDBusConnection> shared = sessionBus(cancellable);
        GObjectPointer<GDBusConnection> bus = shared ? ownSessionBus(cancellable) : nullptr;
        if (!bus)
            return g_cancellable_is_cancelled(cancellable) ? State::NoAnswer : State::NoService;
        connection_ = std::make_unique<Connection>(std::move(bus), onChange_);
    }
    // Asked for each time: a change of owner is told only between calls.
    GErrorHolder error;
    bool runs = connection_->askBus("GetNameOwner", g_variant_new("(s)", secretsBusName),
                                    cancellable, error);
    if (!runs && start == Start::IfNeeded && !isSilence(error)) {
        runs = connection_->askBus("StartServiceByName", g_variant_new("(su)", secretsBusName, 0U),
                                   cancellable, error);
    }
    if (!runs) {
        connection_->service.reset();
        return isSilence(error) ? State::NoAnswer : State::NoService;
    }
    if (!connection_->service) {
        connection_->service.reset(secret_service_open_sync(SECRET_TYPE_SERVICE, secretsBusName,
                                                            SECRET_SERVICE_OPEN_SESSION,
                                                            cancellable, error.out()));
    }
    return connection_->service ? State::Found : State::NoAnswer;
}

SecretServiceStore::Answer SecretServiceStore::get(const QString &account, Start start,
                                                   GCancellable *cancellable) {
    if (const State state = connect(start, cancellable); state != State::Found)
        return {state, {}};
    GErrorHolder error;
    const ItemsPointer items = connection_->search(
        account, static_cast<SecretSearchFlags>(SECRET_SEARCH_ALL | SECRET_SEARCH_LOAD_SECRETS),
        cancellable, error);
    if (error.get()) {
        connection_->service.reset();
        return {State::NoAnswer, {}};
    }
    SecretItem *item = chosenFrom(items);
    if (!item)
        return {State::NoItem, {}};
    return {State::Found, textOf(item)};
}

SecretServiceStore::Saved SecretServiceStore::set(const QString &account, const QString &secret,
                                                  GCancellable *cancellable) {
    if (const State state = connect(Start::IfNeeded, cancellable); state != State::Found)
        return state == State::NoService ? Saved::NoService : Saved::Failed;
    GErrorHolder error;
    const ItemsPointer items = connection_->search(account, SECRET_SEARCH_ALL, cancellable, error);
    if (error.get())
        return Saved::Failed;

    QByteArray text = secret.toUtf8();
    const SecretValuePointer value(secret_value_new(text.constData(), text.size(), "text/plain"));
    explicit_bzero(text.data(), static_cast<std::size_t>(text.size()));

    SecretService *service = connection_->service.get();
    SecretItem *item = chosenFrom(items);
    if (!item)
        return makeItem(service, account, value.get(), cancellable) ? Saved::Yes : Saved::Failed;
    const bool saved = (!secret_item_get_locked(item) || unlock(service, item, cancellable)) &&
                       secret_item_set_secret_sync(item, value.get(), cancellable, error.out());
    return saved ? Saved::Yes : Saved::Failed;
}

} // namespace corvid
