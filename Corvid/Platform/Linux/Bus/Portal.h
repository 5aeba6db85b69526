#pragma once

#include "Platform/Linux/Bus/BusPeer.h"

namespace corvid {

/** The desktop's portal. Main thread only, never waits. */
class Portal final : public BusPeer {
public:
    /** What became of a request. */
    enum class Outcome {
        Granted,
        Refused, ///< by the user
        Ended,   ///< otherwise than by the user
        Unknown, ///< the portal has no such method
        Failed,  ///< the portal did not take it
    };
    using Responded = std::function<void(Outcome outcome, const QVariantMap &results)>;

    static constexpr QLatin1StringView name{"org.freedesktop.portal.Desktop"};
    /** Of the object that has all but requests and sessions. */
    static constexpr QLatin1StringView path{"/org/freedesktop/portal/desktop"};

    explicit Portal(const QDBusConnection &bus);

    /** As any peer's; until the reply is here we are recognizable, since portals refuse whom they
        cannot look at. */
    void send(const QDBusMessage &call, Heard replied = nullptr, int timeoutMs = -1);

    /** Calls a method whose results come in a signal of its own, maybe when the user has chosen.
        The options are its last argument. `responded` is called once, unless the request is
        forgotten or withdrawn before; another request takes the place of one that waits. */
    void request(const QString &interface, const QString &member, QVariantList arguments,
                 QVariantMap options, Responded responded, int timeoutMs = -1);
    bool hasRequest() const { return responded_ != nullptr; }
    /** Nothing is heard any more of the request that waits, if any. */
    void forgetRequest() { responded_ = nullptr; }
    /** The same, and the portal is told so that it need not ask the user any more. */
    void withdrawRequest();

private:
    void respond(Outcome outcome, const QVariantMap &results);

    quint64 requests_ = 0; ///< so far
    QString requestPath_;  ///< of the latest
    Responded responded_;  ///< empty while none waits
};

} // namespace corvid
