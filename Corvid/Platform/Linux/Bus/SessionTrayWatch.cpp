#include "Platform/Linux/Bus/SessionTrayWatch.h"

#include "Platform/Linux/Bus/SessionBus.h"
#include "Platform/Linux/X11/X11Replies.h"

#include <QAbstractNativeEventFilter>
#include <QGuiApplication>

#include <cstring>
#include <stop_token>
#include <utility>

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

} // namespace

/** Sees a tray announce itself: Qt listens on the root window already. */
class SessionTrayWatch::ManagerFilter final : public QAbstractNativeEventFilter {
public:
    ManagerFilter(xcb_connection_t *connection, SessionTrayWatch &watch)
        : connection_(connection), watch_(watch) {
        x11::intern(connection, {{&tray_, "_NET_SYSTEM_TRAY_S0"}, {&manager_, "MANAGER"}});
    }

    bool trayIsThere() const {
        const x11::Reply<xcb_get_selection_owner_reply_t> owner(xcb_get_selection_owner_reply(
            connection_, xcb_get_selection_owner(connection_, tray_), nullptr));
        return owner && owner->owner != XCB_NONE;
    }

    bool nativeEventFilter(const QByteArray &type, void *message, qintptr * /*result*/) override {
        if (type != "xcb_generic_event_t")
            return false;
        const auto &event = *static_cast<const xcb_generic_event_t *>(message);
        const auto &announcement = x11::as<xcb_client_message_event_t>(event);
        if (x11::typeOf(event) == XCB_CLIENT_MESSAGE && announcement.type == manager_ &&
            announcement.data.data32[1] == tray_) {
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
    xcb_connection_t *connection = x11::connectionOfQt();
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
