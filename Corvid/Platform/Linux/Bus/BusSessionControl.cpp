#include "Platform/Linux/Bus/BusSessionControl.h"

#include "Platform/Linux/Bus/SessionBus.h"

#include <QMetaObject>

#include <array>
#include <climits>
#include <cstring>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace corvid {

namespace {

constexpr int answerMs = 3'000;    // what does not say by then what it can do has no row
constexpr int commandMs = INT_MAX; // the desktop may ask the user first

/** An object on one of the buses. */
struct Controller {
    GBusType bus;
    const char *name;
    const char *path;
    const char *interface;
};

constexpr Controller login{G_BUS_TYPE_SYSTEM, "org.freedesktop.login1", "/org/freedesktop/login1",
                           "org.freedesktop.login1.Manager"};
constexpr std::array screenSavers{Controller{G_BUS_TYPE_SESSION, "org.gnome.ScreenSaver",
                                             "/org/gnome/ScreenSaver", "org.gnome.ScreenSaver"},
                                  Controller{G_BUS_TYPE_SESSION, "org.freedesktop.ScreenSaver",
                                             "/org/freedesktop/ScreenSaver",
                                             "org.freedesktop.ScreenSaver"}};

/** A method with its arguments, as GLib writes them. */
struct Method {
    const char *name;
    const char *arguments = "()";
};

/** A desktop's session manager. */
struct Manager {
    Controller controller;
    const char *sign; ///< the name that somebody owns in a session of this kind
    GDBusCallFlags flags;
    Method logOut, restart, shutDown;
    const char *canRestart, *canShutDown; ///< null where logind is to be asked
};

constexpr std::array managers{
    // Also that of desktops which descend from GNOME. Without a question of its own before the end
    // of the session; before that of the machine it asks in any case.
    Manager{{G_BUS_TYPE_SESSION, "org.gnome.SessionManager", "/org/gnome/SessionManager",
             "org.gnome.SessionManager"},
            "org.gnome.SessionManager",
            G_DBUS_CALL_FLAGS_NO_AUTO_START,
            {"Logout", "(uint32 1,)"},
            {"Reboot"},
            {"Shutdown"},
            "CanShutdown",
            "CanShutdown"},
    // KDE's starts for the occasion.
    Manager{{G_BUS_TYPE_SESSION, "org.kde.Shutdown", "/Shutdown", "org.kde.Shutdown"},
            "org.kde.ksmserver",
            G_DBUS_CALL_FLAGS_NONE,
            {"logout"},
            {"logoutAndReboot"},
            {"logoutAndShutdown"},
            nullptr,
            nullptr},
    // Without a dialog, and saving the session if the user wants it saved.
    Manager{{G_BUS_TYPE_SESSION, "org.xfce.SessionManager", "/org/xfce/SessionManager",
             "org.xfce.Session.Manager"},
            "org.xfce.SessionManager",
            G_DBUS_CALL_FLAGS_NO_AUTO_START,
            {"Logout", "(false, true)"},
            {"Restart", "(true,)"},
            {"Shutdown", "(true,)"},
            "CanRestart",
            "CanShutdown"}};

/** The buses, for the calls of one task. */
class Buses {
public:
    explicit Buses(GCancellable *shutdown)
        : shutdown_(shutdown), session_(ownSessionBus(shutdown)), system_(ownSystemBus(shutdown)) {}

    enum class Outcome {
        Answered,
        NobodyThere, ///< or nobody who knows the method
        Silent,
        Refused,
    };

    /** `reply`: null unless it was answered. */
    Outcome call(const Controller &to, const Method &method, int timeoutMs, GVariantPointer &reply,
                 GDBusCallFlags flags = G_DBUS_CALL_FLAGS_NO_AUTO_START) const {
        GDBusConnection *bus = (to.bus == G_BUS_TYPE_SYSTEM ? system_ : session_).get();
        if (!bus)
            return Outcome::NobodyThere;
        GErrorHolder error;
        reply.reset(g_dbus_connection_call_sync(bus, to.name, to.path, to.interface, method.name,
                                                g_variant_new_parsed(method.arguments), nullptr,
                                                flags, timeoutMs, shutdown_, error.out()));
        if (reply)
            return Outcome::Answered;
        if (meansNoService(error))
            return Outcome::NobodyThere;
        return meansNoAnswer(error) ? Outcome::Silent : Outcome::Refused;
    }

    bool isOwned(const char *name) const {
        constexpr Controller bus{G_BUS_TYPE_SESSION, "org.freedesktop.DBus",
                                 "/org/freedesktop/DBus", "org.freedesktop.DBus"};
        const GFreePointer<gchar> arguments(g_strdup_printf("('%s',)", name));
        GVariantPointer reply;
        call(bus, {"NameHasOwner", arguments.get()}, answerMs, reply);
        return isYes(reply) == true;
    }

    /** The only value of a reply, where it is a truth value. */
    static std::optional<bool> isYes(const GVariantPointer &reply) {
        if (!reply || !g_variant_is_of_type(reply.get(), G_VARIANT_TYPE("(b)")))
            return std::nullopt;
        gboolean value = FALSE;
        g_variant_get(reply.get(), "(b)", &value);
        return value != FALSE;
    }

private:
    GCancellable *shutdown_;
    GObjectPointer<GDBusConnection> session_, system_;
};

const Manager *managerOf(const Buses &buses) {
    for (const Manager &manager : managers)
        if (buses.isOwned(manager.sign))
            return &manager;
    return nullptr;
}

// Also where logind will have to ask the user for a password.
bool loginOffers(const GVariantPointer &reply) {
    if (!reply || !g_variant_is_of_type(reply.get(), G_VARIANT_TYPE("(s)")))
        return false;
    const char *answer = nullptr;
    g_variant_get(reply.get(), "(&s)", &answer);
    return std::strcmp(answer, "yes") == 0 || std::strcmp(answer, "challenge") == 0;
}

BusSessionControl::Abilities abilitiesOfLogin(const Buses &buses) {
    using enum SessionCommand;
    BusSessionControl::Abilities can;
    const auto allow = [&can](SessionCommand command) {
        can.set(static_cast<std::size_t>(command));
    };
    GVariantPointer reply;
    // Our session, or that of the user's display where we are a service of the user's.
    switch (buses.call(login, {"GetSession", "('auto',)"}, answerMs, reply)) {
    case Buses::Outcome::Answered:
        allow(Lock);
        allow(LogOut);
        break;
    case Buses::Outcome::Refused: // we belong to no session
        break;
    case Buses::Outcome::NobodyThere:
    case Buses::Outcome::Silent:
        return can;
    }
    for (const auto &[command, method] :
         {std::pair(Suspend, "CanSuspend"), std::pair(Hibernate, "CanHibernate"),
          std::pair(Restart, "CanReboot"), std::pair(ShutDown, "CanPowerOff")}) {
        buses.call(login, {method}, answerMs, reply);
        if (loginOffers(reply))
            allow(command);
    }
    return can;
}

BusSessionControl::Abilities abilitiesNow(const Buses &buses) {
    using enum SessionCommand;
    BusSessionControl::Abilities can = abilitiesOfLogin(buses);
    const auto allow = [&can](SessionCommand command, bool allowed) {
        can.set(static_cast<std::size_t>(command), allowed);
    };
    for (const Controller &screenSaver : screenSavers)
        if (buses.isOwned(screenSaver.name))
            allow(Lock, true);
    const Manager *manager = managerOf(buses);
    if (!manager)
        return can;
    allow(LogOut, true);
    for (const auto &[command, method] :
         {std::pair(Restart, manager->canRestart), std::pair(ShutDown, manager->canShutDown)}) {
        GVariantPointer reply;
        if (!method)
            continue;
        // The desktop may forbid what the machine can do. One without the method leaves it to that.
        if (buses.call(manager->controller, {method}, answerMs, reply) !=
            Buses::Outcome::NobodyThere)
            allow(command, Buses::isYes(reply) == true);
    }
    return can;
}

struct Attempt {
    Controller controller;
    Method method;
    GDBusCallFlags flags = G_DBUS_CALL_FLAGS_NO_AUTO_START;
};

/** Who is asked to carry a command out, one after the other until there is somebody. */
std::vector<Attempt> attemptsAt(SessionCommand command, const Buses &buses) {
    std::vector<Attempt> attempts;
    const auto byManager = [&](Method Manager::*method) {
        if (const Manager *manager = managerOf(buses))
            attempts.push_back({manager->controller, manager->*method, manager->flags});
    };
    switch (command) {
    case SessionCommand::Lock:
        for (const Controller &screenSaver : screenSavers)
            attempts.push_back({screenSaver, {"Lock"}});
        attempts.push_back({login, {"LockSession", "('auto',)"}});
        break;
    case SessionCommand::Suspend:
        attempts.push_back({login, {"Suspend", "(true,)"}});
        break;
    case SessionCommand::Hibernate:
        attempts.push_back({login, {"Hibernate", "(true,)"}});
        break;
    case SessionCommand::LogOut:
        byManager(&Manager::logOut);
        attempts.push_back({login, {"TerminateSession", "('auto',)"}});
        break;
    case SessionCommand::Restart:
        byManager(&Manager::restart);
        attempts.push_back({login, {"Reboot", "(true,)"}});
        break;
    case SessionCommand::ShutDown:
        byManager(&Manager::shutDown);
        attempts.push_back({login, {"PowerOff", "(true,)"}});
        break;
    }
    return attempts;
}

/** Runs with the buses in the background; cancelled with its owner. */
template <typename Work>
void withBuses(TaskGroup &tasks, Work work) {
    tasks.start([work = std::move(work)](const std::stop_token &stop) {
        const GObjectPointer<GCancellable> shutdown(g_cancellable_new());
        const std::stop_callback cancel(stop, [&] { g_cancellable_cancel(shutdown.get()); });
        work(Buses(shutdown.get()));
    });
}

} // namespace

void BusSessionControl::ask() {
    if (std::exchange(isAsking_, true))
        return;
    withBuses(tasks_, [this](const Buses &buses) {
        QMetaObject::invokeMethod(
            &receiver_, [this, found = abilitiesNow(buses)] { install(found); },
            Qt::QueuedConnection);
    });
}

void BusSessionControl::install(const Abilities &found) {
    isAsking_ = false;
    if (std::exchange(abilities_, found) != found && onChange)
        onChange();
}

void BusSessionControl::carryOut(SessionCommand command) {
    withBuses(tasks_, [command](const Buses &buses) {
        for (const auto &[controller, method, flags] : attemptsAt(command, buses)) {
            GVariantPointer reply;
            // Who refuses, or asks the user and is told no, has decided.
            if (buses.call(controller, method, commandMs, reply, flags) !=
                Buses::Outcome::NobodyThere)
                return;
        }
    });
}

} // namespace corvid
