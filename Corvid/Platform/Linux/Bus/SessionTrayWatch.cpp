#include "Platform/Linux/Bus/SessionTrayWatch.h"

#include "Platform/Linux/Bus/SessionBus.h"

#include <QAbstractNativeEventFilter>
#include <QGuiApplication>

#include <cstdlib>
#include <cstring>
#include <stop_token>
#include <utility>

#include <xcb/xcb.h>

namespace corvid {

namespace {

constexpr const char *watcherName = "org.kde.StatusNotifierWatcher";
constexpr const char *watcherPath = "/StatusNotifierWatcher";

struct ContextUnref {
    void operator()(GMainContext *context) const { g_main_context_unref(context); }
};

// A watcher alone is not enough for Qt: somebody must show the items that it lists.
bool hasHost(GDBusConnection *bus, GCancellable *cancellable) {
    GVariant *reply = g_dbus_connection_call_sync(
        bus, watcherName, watcherPath, "org.freedesktop.DBus.Properties", "Get",
        g_variant_new("(ss)", watcherName, "IsStatusNotifierHostRegistered"), G_VARIANT_TYPE("(v)"),
        G_DBUS_CALL_FLAGS_NO_AUTO_START, -1, cancellable, nullptr);
    if (!reply)
        return false;
    GVariant *value = nullptr;
    g_variant_get(reply, "(v)", &value);
    const bool registered =
        g_variant_is_of_type(value, G_VARIANT_TYPE_BOOLEAN) && g_variant_get_boolean(value);
    g_variant_unref(value);
    g_variant_unref(reply);
    return registered;
}

/** Listens to the bus on the thread that makes it. */
class HostListener {
public:
    explicit HostListener(GCancellable *cancellable) : cancellable_(cancellable) {
        g_main_context_push_thread_default(context_.get());
        bus_ = sessionBus(cancellable);
        if (!bus_)
            return;
        nameChanges_ = g_dbus_connection_signal_subscribe(
            bus_.get(), "org.freedesktop.DBus", "org.freedesktop.DBus", "NameOwnerChanged",
            "/org/freedesktop/DBus", watcherName, G_DBUS_SIGNAL_FLAGS_NONE, &note, this, nullptr);
        registrations_ = g_dbus_connection_signal_subscribe(
            bus_.get(), watcherName, watcherName, "StatusNotifierHostRegistered", watcherPath,
            nullptr, G_DBUS_SIGNAL_FLAGS_NONE, &note, this, nullptr);
    }
    HostListener(const HostListener &) = delete;
    HostListener &operator=(const HostListener &) = delete;
    ~HostListener() {
        if (bus_) {
            g_dbus_connection_signal_unsubscribe(bus_.get(), nameChanges_);
            g_dbus_connection_signal_unsubscribe(bus_.get(), registrations_);
        }
        g_main_context_pop_thread_default(context_.get());
    }

    GMainContext *context() const { return context_.get(); }
    bool hasBus() const { return bus_ != nullptr; }
    bool hostIsThere() const { return bus_ && hasHost(bus_.get(), cancellable_); }

    /** Sleeps until something changed, or the context is woken. */
    void wait() {
        changed_ = false;
        while (!changed_ && !g_cancellable_is_cancelled(cancellable_))
            g_main_context_iteration(context_.get(), TRUE);
    }

private:
    static void note(GDBusConnection * /*bus*/, const char * /*sender*/, const char * /*path*/,
                     const char * /*interface*/, const char * /*signal*/, GVariant * /*arguments*/,
                     gpointer self) {
        static_cast<HostListener *>(self)->changed_ = true;
    }

    GCancellable *cancellable_;
    std::unique_ptr<GMainContext, ContextUnref> context_{g_main_context_new()};
    GObjectPointer<GDBusConnection> bus_;
    guint nameChanges_ = 0;
    guint registrations_ = 0;
    bool changed_ = false;
};

xcb_connection_t *x11Connection() {
    const auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

xcb_atom_t atom(xcb_connection_t *connection, xcb_intern_atom_cookie_t cookie) {
    xcb_intern_atom_reply_t *reply = xcb_intern_atom_reply(connection, cookie, nullptr);
    const xcb_atom_t result = reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    std::free(reply);
    return result;
}

} // namespace

/** Sees a tray announce itself: Qt listens on the root window already. */
class SessionTrayWatch::ManagerFilter final : public QAbstractNativeEventFilter {
public:
    ManagerFilter(xcb_connection_t *connection, SessionTrayWatch &watch)
        : connection_(connection), watch_(watch) {
        constexpr char trayName[] = "_NET_SYSTEM_TRAY_S0";
        constexpr char managerName[] = "MANAGER";
        const auto tray = xcb_intern_atom(connection, false, sizeof trayName - 1, trayName);
        const auto manager =
            xcb_intern_atom(connection, false, sizeof managerName - 1, managerName);
        tray_ = atom(connection, tray);
        manager_ = atom(connection, manager);
    }

    bool trayIsThere() const {
        xcb_get_selection_owner_reply_t *owner = xcb_get_selection_owner_reply(
            connection_, xcb_get_selection_owner(connection_, tray_), nullptr);
        const bool there = owner && owner->owner != XCB_NONE;
        std::free(owner);
        return there;
    }

    bool nativeEventFilter(const QByteArray &type, void *message, qintptr * /*result*/) override {
        if (type != "xcb_generic_event_t")
            return false;
        const auto *event = static_cast<const xcb_client_message_event_t *>(message);
        constexpr int sentByClient = 0x80;
        if ((event->response_type & ~sentByClient) == XCB_CLIENT_MESSAGE &&
            event->type == manager_ && event->data.data32[1] == tray_) {
            // Not in the midst of an event that Qt has not seen yet.
            QMetaObject::invokeMethod(
                &watch_.receiver_, [watch = &watch_] { watch->arrived(); }, Qt::QueuedConnection);
        }
        return false;
    }

private:
    xcb_connection_t *connection_;
    SessionTrayWatch &watch_;
    xcb_atom_t tray_ = XCB_ATOM_NONE;
    xcb_atom_t manager_ = XCB_ATOM_NONE;
};

SessionTrayWatch::SessionTrayWatch() = default;
SessionTrayWatch::~SessionTrayWatch() = default;

void SessionTrayWatch::await(std::function<void()> there) {
    there_ = std::move(there);
    thread_ = std::jthread([this](const std::stop_token &stop) {
        const GObjectPointer<GCancellable> cancellable(g_cancellable_new());
        const std::stop_callback cancel(stop, [&] { g_cancellable_cancel(cancellable.get()); });
        HostListener listener(cancellable.get());
        // Cancelled before it is woken, or it would go back to sleep.
        const std::stop_callback wake(stop, [&] {
            g_cancellable_cancel(cancellable.get());
            g_main_context_wakeup(listener.context());
        });
        const auto tell = [this](void (SessionTrayWatch::*what)()) {
            QMetaObject::invokeMethod(
                &receiver_, [this, what] { (this->*what)(); }, Qt::QueuedConnection);
        };
        if (listener.hostIsThere()) {
            tell(&SessionTrayWatch::arrived);
            return;
        }
        tell(&SessionTrayWatch::lookForXEmbed);
        while (listener.hasBus() && !stop.stop_requested()) {
            listener.wait();
            if (listener.hostIsThere()) {
                tell(&SessionTrayWatch::arrived);
                return;
            }
        }
    });
}

// Only where there is no host: desktops that have both prefer that one.
void SessionTrayWatch::lookForXEmbed() {
    xcb_connection_t *connection = x11Connection();
    if (!connection)
        return;
    filter_ = std::make_unique<ManagerFilter>(connection, *this);
    qGuiApp->installNativeEventFilter(filter_.get());
    if (filter_->trayIsThere())
        arrived();
}

void SessionTrayWatch::arrived() {
    filter_.reset();
    thread_.request_stop();
    if (const auto there = std::exchange(there_, nullptr))
        there();
}

} // namespace corvid
