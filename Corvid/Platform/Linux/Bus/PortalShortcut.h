#pragma once

#include "Platform/HotKeyBackend.h"
#include "Platform/Linux/GLibPointers.h"

#include <QByteArray>

#include <chrono>
#include <functional>
#include <optional>
#include <vector>

namespace corvid {

/**
 * One global shortcut that the desktop's portal gives. Does all it does on the thread that makes
 * it, in that thread's iterations of the context; only while it is made may it wait, for the bus.
 */
class PortalShortcut {
public:
    struct Events {
        /** The key went down. The token entitles a window to the keyboard; often empty. */
        std::function<void(const QByteArray &token)> pressed;
        /** Whether a key is bound; said again when that changes. */
        std::function<void(bool obtained)> answered;
    };

    /** Cancelling ends all waits, for good. A key that goes down again within `longestRepeat` and
        did not go up is held. */
    PortalShortcut(GMainContext *context, GCancellable *cancellable,
                   std::chrono::milliseconds longestRepeat, Events events);
    PortalShortcut(const PortalShortcut &) = delete;
    PortalShortcut &operator=(const PortalShortcut &) = delete;
    /** The cancellable must have been cancelled. */
    ~PortalShortcut();

    /** Asks for a combination in place of the one before, or for none. */
    void want(const std::optional<HotKey> &hotKey);

private:
    enum class State {
        Unknown,  ///< nobody has asked for a portal yet
        Starting, ///< the bus looks for it
        Absent,
        Greeting, ///< the portal is told who we are
        Idle,     ///< has no session: none is wanted, or it was refused
        Creating, ///< waits for a session
        Binding,  ///< waits for the key, perhaps for the user
        Bound,
        Closing, ///< waits for the session's end
    };
    using Done = std::function<void(GVariant *reply)>;
    struct Call;

    void startPortal();
    void findPortal();
    void portalAppeared();
    void portalVanished();
    void goOn();
    void createSession();
    void bindShortcut();
    void closeSession();
    void sessionClosed();
    void look(GVariant *list);
    void answer(bool obtained);

    void call(const char *name, const QByteArray &path, const char *interface, const char *method,
              GVariant *arguments, Done done);
    using Arguments = std::function<GVariant *(GVariantBuilder *options)>;
    void request(const char *method, const Arguments &arguments, Done done);
    void respond(GVariant *results);
    void endRequest();
    guint subscribe(const char *sender, const char *interface, const char *signal,
                    const QByteArray &path, const char *firstArgument = nullptr);
    void heard(const QByteArray &path, const QByteArray &signal, GVariant *arguments);
    QByteArray id() const;
    GVariant *shortcuts() const;

    GMainContext *context_;
    GCancellable *cancellable_;
    const std::chrono::milliseconds longestRepeat_;
    Events events_;
    GObjectPointer<GDBusConnection> bus_; ///< null where there is none
    std::vector<guint> subscriptions_;
    gulong busLost_ = 0; ///< the handler of that

    State state_ = State::Unknown;
    std::optional<std::chrono::steady_clock::time_point> lastPress_; ///< while held
    std::optional<HotKey> wanted_;
    bool asked_ = false;       ///< for what is wanted
    std::optional<bool> told_; ///< of what is wanted
    QByteArray trigger_;       ///< of the session
    QByteArray session_;       ///< empty without one
    quint64 portal_ = 0;       ///< counts owners of its name; replies of an earlier one are void
    quint64 requests_ = 0;     ///< so far
    QByteArray requestPath_;   ///< of the one that waits for a response
    guint response_ = 0;       ///< its subscription
    Done requestDone_;         ///< empty while none waits
    int pendingCalls_ = 0;
};

} // namespace corvid
