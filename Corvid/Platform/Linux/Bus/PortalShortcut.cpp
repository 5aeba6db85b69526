#include "Platform/Linux/Bus/PortalShortcut.h"

#include "Platform/Linux/Bus/SessionBus.h"
#include "Platform/Linux/Bus/ShortcutTrigger.h"

#include <utility>

namespace corvid {

using std::chrono::steady_clock;

namespace {

constexpr const char *busName = "org.freedesktop.DBus";
constexpr const char *busPath = "/org/freedesktop/DBus";
constexpr const char *portalName = "org.freedesktop.portal.Desktop";
constexpr const char *portalPath = "/org/freedesktop/portal/desktop";
constexpr const char *shortcutsInterface = "org.freedesktop.portal.GlobalShortcuts";
constexpr const char *requestInterface = "org.freedesktop.portal.Request";
constexpr const char *sessionInterface = "org.freedesktop.portal.Session";
constexpr const char *registryInterface = "org.freedesktop.host.portal.Registry";

constexpr const char *applicationId = "app.corvid.Launcher"; // its desktop file is named so
// Desktops keep the user's bindings by it.
constexpr const char *sessionToken = "corvid";
constexpr const char *description = "Show or hide Corvid";

struct VariantUnref {
    void operator()(GVariant *variant) const { g_variant_unref(variant); }
};
using VariantPointer = std::unique_ptr<GVariant, VariantUnref>;

bool is(GVariant *value, const char *type) {
    return g_variant_is_of_type(value, G_VARIANT_TYPE(type));
}

QByteArray text(GVariant *dictionary, const char *key) {
    const VariantPointer value(g_variant_lookup_value(dictionary, key, nullptr));
    // Handles come as strings from some portals, as object paths from others.
    if (!value || !(is(value.get(), "s") || is(value.get(), "o")))
        return {};
    return g_variant_get_string(value.get(), nullptr);
}

// Some portals do not tell which key it is: it may be any.
bool hasKey(GVariant *shortcuts, const QByteArray &wanted) {
    if (!shortcuts)
        return false;
    GVariantIter all;
    g_variant_iter_init(&all, shortcuts);
    while (const VariantPointer each{g_variant_iter_next_value(&all)}) {
        const VariantPointer id(g_variant_get_child_value(each.get(), 0));
        if (g_variant_get_string(id.get(), nullptr) != wanted)
            continue;
        const VariantPointer properties(g_variant_get_child_value(each.get(), 1));
        const char *key = nullptr;
        return !g_variant_lookup(properties.get(), "trigger_description", "&s", &key) || *key;
    }
    return false;
}

} // namespace

/** Waits for a reply. */
struct PortalShortcut::Call {
    PortalShortcut *shortcut;
    quint64 portal;
    Done done;

    static void finish(GObject *bus, GAsyncResult *result, gpointer data) {
        const std::unique_ptr<Call> call(static_cast<Call *>(data));
        const VariantPointer reply(
            g_dbus_connection_call_finish(G_DBUS_CONNECTION(bus), result, nullptr));
        --call->shortcut->pendingCalls_;
        if (call->portal == call->shortcut->portal_ &&
            !g_cancellable_is_cancelled(call->shortcut->cancellable_))
            call->done(reply.get());
    }
};

PortalShortcut::PortalShortcut(GMainContext *context, GCancellable *cancellable,
                               std::chrono::milliseconds longestRepeat, Events events)
    : context_(context), cancellable_(cancellable), longestRepeat_(longestRepeat),
      events_(std::move(events)) {
    g_main_context_push_thread_default(context);
    // A portal learns who we are only from the first that it hears on a connection.
    bus_ = ownSessionBus(cancellable);
    if (!bus_)
        return;
    const auto lost = [](GDBusConnection * /*bus*/, gboolean /*byPeer*/, GError * /*error*/,
                         gpointer self) { static_cast<PortalShortcut *>(self)->portalVanished(); };
    busLost_ = g_signal_connect(bus_.get(), "closed", G_CALLBACK(+lost), this);
    subscriptions_ = {subscribe(busName, busName, "NameOwnerChanged", busPath, portalName),
                      subscribe(portalName, shortcutsInterface, "Activated", portalPath),
                      subscribe(portalName, shortcutsInterface, "Deactivated", portalPath),
                      subscribe(portalName, shortcutsInterface, "ShortcutsChanged", portalPath),
                      subscribe(portalName, sessionInterface, "Closed", {})};
}

PortalShortcut::~PortalShortcut() {
    if (bus_) {
        g_signal_handler_disconnect(bus_.get(), busLost_);
        endRequest();
        for (const guint subscription : subscriptions_)
            g_dbus_connection_signal_unsubscribe(bus_.get(), subscription);
        while (pendingCalls_ > 0)
            g_main_context_iteration(context_, TRUE);
        // The portal ends the session with it.
        g_dbus_connection_close_sync(bus_.get(), nullptr, nullptr);
    }
    g_main_context_pop_thread_default(context_);
}

void PortalShortcut::want(const std::optional<HotKey> &hotKey) {
    wanted_ = hotKey;
    asked_ = false;
    told_.reset();
    goOn();
}

// Does what is to be done next, unless something is under way that comes here when it is done.
void PortalShortcut::goOn() {
    if (!bus_) {
        answer(false);
        return;
    }
    switch (state_) {
    case State::Unknown:
        startPortal();
        break;
    case State::Absent:
        answer(false);
        break;
    case State::Idle:
        if (wanted_ && !asked_)
            createSession();
        break;
    case State::Binding:
    case State::Bound:
        if (!asked_)
            closeSession();
        break;
    case State::Starting:
    case State::Greeting:
    case State::Creating:
    case State::Closing:
        break;
    }
}

void PortalShortcut::startPortal() {
    state_ = State::Starting;
    // The bus knows only of those that it could start.
    call(busName, busPath, busName, "StartServiceByName", g_variant_new("(su)", portalName, 0U),
         [this](GVariant * /*reply*/) { findPortal(); });
}

void PortalShortcut::findPortal() {
    call(busName, busPath, busName, "NameHasOwner", g_variant_new("(s)", portalName),
         [this](GVariant *reply) {
             // The news that it has just been started came before this.
             if (state_ != State::Starting)
                 return;
             gboolean there = FALSE;
             if (reply && is(reply, "(b)"))
                 g_variant_get(reply, "(b)", &there);
             if (there) {
                 portalAppeared();
             } else {
                 state_ = State::Absent;
                 goOn();
             }
         });
}

void PortalShortcut::portalAppeared() {
    ++portal_;
    state_ = State::Greeting;
    GVariantBuilder options;
    g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
    // Older portals find it out by themselves, and have no such interface.
    call(portalName, portalPath, registryInterface, "Register",
         g_variant_new("(sa{sv})", applicationId, &options), [this](GVariant * /*reply*/) {
             state_ = State::Idle;
             goOn();
         });
}

void PortalShortcut::portalVanished() {
    ++portal_;
    endRequest();
    session_.clear();
    asked_ = false;
    const State before = std::exchange(state_, State::Absent);
    answer(false);
    // It may have crashed, and nobody else may need it soon. One that leaves us without a shortcut
    // is left alone, or we would start it again and again.
    if (before == State::Bound)
        startPortal();
}

void PortalShortcut::createSession() {
    asked_ = true;
    const std::optional<QByteArray> trigger = shortcutTrigger(*wanted_);
    if (!trigger) {
        answer(false);
        return;
    }
    trigger_ = *trigger;
    lastPress_.reset();
    state_ = State::Creating;
    const auto arguments = [this](GVariantBuilder *options) {
        g_variant_builder_add(options, "{sv}", "session_handle_token",
                              g_variant_new_string(sessionToken));
        // The first portals wanted them here.
        g_variant_builder_add(options, "{sv}", "shortcuts", shortcuts());
        return g_variant_new("(a{sv})", options);
    };
    request("CreateSession", arguments, [this](GVariant *results) {
        session_ = results ? text(results, "session_handle") : QByteArray();
        if (session_.isEmpty()) {
            state_ = State::Idle;
            if (asked_)
                answer(false);
            goOn();
        } else if (asked_) {
            bindShortcut();
        } else {
            closeSession();
        }
    });
}

void PortalShortcut::bindShortcut() {
    state_ = State::Binding;
    const auto arguments = [this](GVariantBuilder *options) {
        return g_variant_new("(o@a(sa{sv})sa{sv})", session_.constData(), shortcuts(), "", options);
    };
    request("BindShortcuts", arguments, [this](GVariant *results) {
        if (results) {
            state_ = State::Bound;
            const VariantPointer list(
                g_variant_lookup_value(results, "shortcuts", G_VARIANT_TYPE("a(sa{sv})")));
            look(list.get());
        } else {
            answer(false);
            closeSession();
        }
    });
}

void PortalShortcut::closeSession() {
    state_ = State::Closing;
    // The user need not be asked any more.
    if (requestDone_)
        call(portalName, requestPath_, requestInterface, "Close", nullptr, [](GVariant *) {});
    endRequest();
    call(portalName, std::exchange(session_, {}), sessionInterface, "Close", nullptr,
         [this](GVariant * /*reply*/) {
             state_ = State::Idle;
             goOn();
         });
}

// By the portal.
void PortalShortcut::sessionClosed() {
    endRequest();
    session_.clear();
    state_ = State::Idle;
    if (asked_)
        answer(false);
    goOn();
}

void PortalShortcut::look(GVariant *list) {
    answer(hasKey(list, id()));
}

void PortalShortcut::answer(bool obtained) {
    if (wanted_ && told_ != obtained) {
        told_ = obtained;
        events_.answered(obtained);
    }
}

// Of its own for each combination: to the desktop a known one has the key that it has, whatever we
// would like by now.
QByteArray PortalShortcut::id() const {
    return "toggle-" + trigger_;
}

GVariant *PortalShortcut::shortcuts() const {
    GVariantBuilder properties;
    g_variant_builder_init(&properties, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&properties, "{sv}", "description", g_variant_new_string(description));
    g_variant_builder_add(&properties, "{sv}", "preferred_trigger",
                          g_variant_new_string(trigger_.constData()));
    GVariantBuilder list;
    g_variant_builder_init(&list, G_VARIANT_TYPE("a(sa{sv})"));
    g_variant_builder_add(&list, "(sa{sv})", id().constData(), &properties);
    return g_variant_builder_end(&list);
}

void PortalShortcut::call(const char *name, const QByteArray &path, const char *interface,
                          const char *method, GVariant *arguments, Done done) {
    ++pendingCalls_;
    auto call = std::make_unique<Call>(Call{this, portal_, std::move(done)});
    g_dbus_connection_call(bus_.get(), name, path.constData(), interface, method, arguments,
                           nullptr, G_DBUS_CALL_FLAGS_NO_AUTO_START, -1, cancellable_,
                           &Call::finish, call.release());
}

// Calls a method whose results come in a signal of its own, maybe much later; null when it was
// refused.
void PortalShortcut::request(const char *method, const Arguments &arguments, Done done) {
    const QByteArray token = "corvid" + QByteArray::number(++requests_);
    QByteArray sender = g_dbus_connection_get_unique_name(bus_.get()) + 1;
    requestPath_ = QByteArray(portalPath) + "/request/" + sender.replace('.', '_') + '/' + token;
    requestDone_ = std::move(done);
    // Before asking, so that no response falls in between.
    response_ = subscribe(portalName, requestInterface, "Response", requestPath_);
    GVariantBuilder options;
    g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
    g_variant_builder_add(&options, "{sv}", "handle_token",
                          g_variant_new_string(token.constData()));
    call(portalName, portalPath, shortcutsInterface, method, arguments(&options),
         [this, number = requests_](GVariant *reply) {
             if (!reply && number == requests_)
                 respond(nullptr);
         });
}

void PortalShortcut::respond(GVariant *results) {
    const Done done = requestDone_;
    endRequest();
    if (done)
        done(results);
}

void PortalShortcut::endRequest() {
    if (!requestDone_)
        return;
    g_dbus_connection_signal_unsubscribe(bus_.get(), response_);
    requestDone_ = {};
}

guint PortalShortcut::subscribe(const char *sender, const char *interface, const char *signal,
                                const QByteArray &path, const char *firstArgument) {
    const auto heard = [](GDBusConnection * /*bus*/, const char * /*sender*/, const char *from,
                          const char * /*interface*/, const char *name, GVariant *arguments,
                          gpointer self) {
        static_cast<PortalShortcut *>(self)->heard(from, name, arguments);
    };
    return g_dbus_connection_signal_subscribe(
        bus_.get(), sender, interface, signal, path.isEmpty() ? nullptr : path.constData(),
        firstArgument, G_DBUS_SIGNAL_FLAGS_NONE, heard, this, nullptr);
}

void PortalShortcut::heard(const QByteArray &path, const QByteArray &signal, GVariant *arguments) {
    if (signal == "NameOwnerChanged" && is(arguments, "(sss)")) {
        const char *before = nullptr;
        const char *now = nullptr;
        g_variant_get(arguments, "(&s&s&s)", nullptr, &before, &now);
        if (*before && state_ != State::Unknown)
            portalVanished();
        // Until then nobody wants anything.
        if (*now && state_ != State::Unknown)
            portalAppeared();
    } else if (signal == "Response" && is(arguments, "(ua{sv})") && path == requestPath_) {
        guint32 code = 0;
        GVariant *results = nullptr;
        g_variant_get(arguments, "(u@a{sv})", &code, &results);
        const VariantPointer owned(results);
        respond(code == 0 ? results : nullptr);
    } else if (signal == "Closed" && !session_.isEmpty() && path == session_) {
        sessionClosed();
    } else if (signal == "ShortcutsChanged" && is(arguments, "(oa(sa{sv}))")) {
        const char *session = nullptr;
        GVariant *list = nullptr;
        g_variant_get(arguments, "(&o@a(sa{sv}))", &session, &list);
        const VariantPointer owned(list);
        if (state_ == State::Bound && session == session_)
            look(list);
    } else if (is(arguments, "(osta{sv})")) { // Activated or Deactivated
        const char *session = nullptr;
        const char *shortcut = nullptr;
        GVariant *options = nullptr;
        g_variant_get(arguments, "(&o&st@a{sv})", &session, &shortcut, nullptr, &options);
        const VariantPointer owned(options);
        if (state_ != State::Bound || session != session_ || shortcut != id())
            return;
        if (signal == "Deactivated") {
            lastPress_.reset();
            return;
        }
        answer(true); // whatever was said of it
        const auto now = steady_clock::now();
        const bool again = lastPress_ && now - *lastPress_ < longestRepeat_;
        lastPress_ = now;
        if (!again)
            events_.pressed(text(options, "activation_token"));
    }
}

} // namespace corvid
