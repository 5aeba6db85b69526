#include "Platform/Linux/Secrets/SecretServiceStore.h"

#include "Platform/Linux/Bus/SessionBus.h"
#include "Platform/Linux/GLibPointers.h"
#include "Platform/SecretStore.h"

#include <QStringDecoder>

#include <libsecret/secret.h>

#include <utility>

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

struct ObjectListFree {
    void operator()(GList *list) const { g_list_free_full(list, g_object_unref); }
};
using ItemsPointer = std::unique_ptr<GList, ObjectListFree>;
using AttributesPointer = std::unique_ptr<GHashTable, ReleasedBy<g_hash_table_unref>>;
using SecretValuePointer = std::unique_ptr<SecretValue, ReleasedBy<secret_value_unref>>;

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
GObjectPointer<GAsyncResult>
promptingResult(GCancellable *cancellable,
                const std::function<void(GCancellable *, GAsyncReadyCallback, gpointer)> &begin) {
    using ResultPointer = GObjectPointer<GAsyncResult>;
    constexpr guint momentMs = 200;
    const GMainContextPointer context(g_main_context_new());
    ResultPointer result;
    const auto keepResult = [](GObject * /*source*/, GAsyncResult *given, gpointer data) {
        static_cast<ResultPointer *>(data)->reset(G_ASYNC_RESULT(g_object_ref(given)));
    };
    const auto waitUntil = [&](GSource *due) {
        g_source_set_callback(due, G_SOURCE_FUNC(+[] { return G_SOURCE_REMOVE; }), nullptr,
                              nullptr);
        g_source_attach(due, context.get());
        while (!result && !g_source_is_destroyed(due))
            g_main_context_iteration(context.get(), TRUE);
        g_source_destroy(due);
        g_source_unref(due);
    };

    g_main_context_push_thread_default(context.get());
    // Cancelled in this thread alone: libsecret goes on working from there.
    const GObjectPointer<GCancellable> inner(g_cancellable_new());
    begin(inner.get(), keepResult, &result);
    waitUntil(g_cancellable_source_new(cancellable));
    if (!result) {
        g_cancellable_cancel(inner.get());
        waitUntil(g_timeout_source_new(momentMs));
    }
    g_main_context_pop_thread_default(context.get());
    return result;
}

// In the default collection, which this also makes or unlocks.
SecretServiceStore::Result makeItem(SecretService *service, const QString &account,
                                    SecretValue *value, GCancellable *cancellable) {
    const AttributesPointer attributes = attributesOf(account);
    const auto result = promptingResult(cancellable, [&](auto... how) {
        secret_service_store(service, &secretSchema, attributes.get(), SECRET_COLLECTION_DEFAULT,
                             "Corvid API key", value, how...);
    });
    GErrorHolder error;
    if (result && secret_service_store_finish(service, result.get(), error.out()))
        return SecretServiceStore::Result::Done;
    // A prompt that the user dismissed is no error.
    return result && !error.get() ? SecretServiceStore::Result::Locked
                                  : SecretServiceStore::Result::Failed;
}

bool unlockItem(SecretService *service, SecretItem *item, GCancellable *cancellable) {
    GList only = {item, nullptr, nullptr};
    const auto result = promptingResult(
        cancellable, [&](auto... how) { secret_service_unlock(service, &only, how...); });
    return result && secret_service_unlock_finish(service, result.get(), nullptr, nullptr) > 0;
}

ItemsPointer search(SecretService *service, const QString &account, int flags,
                    GCancellable *cancellable, GErrorHolder &error) {
    return ItemsPointer(secret_service_search_sync(
        service, &secretSchema, attributesOf(account).get(),
        static_cast<SecretSearchFlags>(SECRET_SEARCH_ALL | flags), cancellable, error.out()));
}

} // namespace

SecretServiceStore::SecretServiceStore(std::function<void()> onChange)
    : onChange_(std::move(onChange)) {}

SecretServiceStore::~SecretServiceStore() {
    if (!bus_)
        return;
    g_signal_handlers_disconnect_by_data(bus_.get(), this);
    for (const guint subscription : subscriptions_)
        g_dbus_connection_signal_unsubscribe(bus_.get(), subscription);
}

void SecretServiceStore::listen() {
    const auto onSignal = [](GDBusConnection * /*bus*/, const gchar * /*sender*/,
                             const gchar * /*path*/, const gchar * /*interface*/,
                             const gchar *member, GVariant * /*arguments*/, gpointer data) {
        auto *self = static_cast<SecretServiceStore *>(data);
        // What we agreed upon with the one before is unknown to the next.
        if (qstrcmp(member, "NameOwnerChanged") == 0)
            self->service_.reset();
        self->onChange_();
    };
    const auto subscribe = [&](const char *sender, const char *member, const char *argument) {
        return g_dbus_connection_signal_subscribe(bus_.get(), sender, nullptr, member, nullptr,
                                                  argument, G_DBUS_SIGNAL_FLAGS_NONE, onSignal,
                                                  this, nullptr);
    };
    subscriptions_ = {subscribe("org.freedesktop.DBus", "NameOwnerChanged", secretsBusName),
                      subscribe(secretsBusName, nullptr, nullptr)};
    const auto onClosed = [](SecretServiceStore *self) { self->onChange_(); };
    g_signal_connect_swapped(bus_.get(), "closed", G_CALLBACK(+onClosed), this);
}

SecretServiceStore::Result SecretServiceStore::connect(Start start, GCancellable *cancellable) {
    if (!bus_) {
        // libsecret uses the shared connection; made by us, its loss does not end the process.
        const GObjectPointer<GDBusConnection> shared = sessionBus(cancellable);
        bus_ = shared ? ownSessionBus(cancellable) : nullptr;
        if (!bus_)
            return g_cancellable_is_cancelled(cancellable) ? Result::Failed : Result::Nothing;
        listen();
    }
    GErrorHolder error;
    const auto askBus = [&](const char *method, GVariant *arguments) {
        const GVariantPointer reply(g_dbus_connection_call_sync(
            bus_.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
            method, arguments, nullptr, G_DBUS_CALL_FLAGS_NONE, -1, cancellable, error.out()));
        return reply != nullptr;
    };
    // Asked for each time: a change of owner is told only between calls.
    bool runs = askBus("GetNameOwner", g_variant_new("(s)", secretsBusName));
    if (!runs && start == Start::IfNeeded && !meansNoAnswer(error))
        runs = askBus("StartServiceByName", g_variant_new("(su)", secretsBusName, 0U));
    if (!runs) {
        service_.reset();
        return meansNoAnswer(error) ? Result::Failed : Result::Nothing;
    }
    // libsecret 0.21.8 looks at the error when a service refuses to encrypt, wanted or not.
    if (!service_)
        service_.reset(secret_service_open_sync(SECRET_TYPE_SERVICE, secretsBusName,
                                                SECRET_SERVICE_OPEN_SESSION, cancellable,
                                                error.out()));
    return service_ ? Result::Done : Result::Failed;
}

SecretServiceStore::Answer SecretServiceStore::get(const QString &account, Start start,
                                                   GCancellable *cancellable) {
    if (const Result result = connect(start, cancellable); result != Result::Done)
        return {result};
    GErrorHolder error;
    const ItemsPointer items =
        search(service_.get(), account, SECRET_SEARCH_LOAD_SECRETS, cancellable, error);
    if (error.get()) {
        service_.reset();
        return {};
    }
    if (SecretItem *item = chosenFrom(items))
        return {Result::Done, textOf(item), secret_item_get_locked(item) != FALSE};
    return {Result::Nothing};
}

SecretServiceStore::Result SecretServiceStore::set(const QString &account, const QString &secret,
                                                   GCancellable *cancellable) {
    if (const Result result = connect(Start::IfNeeded, cancellable); result != Result::Done)
        return result;
    GErrorHolder error;
    const ItemsPointer items = search(service_.get(), account, 0, cancellable, error);
    if (error.get())
        return Result::Failed;

    QByteArray text = secret.toUtf8();
    const SecretValuePointer value(secret_value_new(text.constData(), text.size(), "text/plain"));
    explicit_bzero(text.data(), static_cast<std::size_t>(text.size()));

    SecretItem *item = chosenFrom(items);
    if (!item)
        return makeItem(service_.get(), account, value.get(), cancellable);
    if (secret_item_get_locked(item) && !unlockItem(service_.get(), item, cancellable))
        return Result::Locked;
    return secret_item_set_secret_sync(item, value.get(), cancellable, nullptr) ? Result::Done
                                                                                : Result::Failed;
}

SecretServiceStore::Result SecretServiceStore::unlock(const QString &account,
                                                      GCancellable *cancellable) {
    if (const Result result = connect(Start::IfNeeded, cancellable); result != Result::Done)
        return result;
    GErrorHolder error;
    const ItemsPointer items = search(service_.get(), account, 0, cancellable, error);
    if (error.get())
        return Result::Failed;
    SecretItem *item = chosenFrom(items);
    if (!item)
        return Result::Nothing;
    const bool open =
        !secret_item_get_locked(item) || unlockItem(service_.get(), item, cancellable);
    return open ? Result::Done : Result::Locked;
}

} // namespace corvid
