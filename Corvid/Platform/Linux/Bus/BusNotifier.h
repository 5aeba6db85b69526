#pragma once

#include "Platform/Linux/Bus/BusPeer.h"
#include "Platform/Notifier.h"

#include <QByteArray>

#include <functional>
#include <optional>

namespace corvid {

/**
 * Notifications over org.freedesktop.Notifications on the session bus. The bus may start the
 * service if it can; one that starts by itself later is given what could not be shown before. The
 * bus is asked nothing before the first notification.
 */
class BusNotifier final : public Notifier {
public:
    /** Receives what entitles our next window to the keyboard, before the call that may show one,
        and an empty one after it. */
    using TokenReceiver = std::function<void(const QByteArray &token)>;

    explicit BusNotifier(TokenReceiver receiveToken = nullptr);

    void notify(Notification notification) override;

private:
    void meetServer();
    void askServer();
    void askCapabilities(const QString &server);
    /** `server`: what it calls itself. */
    void post(const QString &server, const QStringList &capabilities);
    void invoked(const QDBusMessage &signal);
    /** Whether a signal is about what we have posted. */
    bool isOurs(const QDBusMessage &signal) const;

    const TokenReceiver receiveToken_;
    std::optional<BusPeer> server_; ///< from the first notification on
    Notification notification_;     ///< the latest
    bool waits_ = false;            ///< it has not been posted
    std::optional<quint32> id_;     ///< of the one that was posted last
    QByteArray token_;              ///< came for it; empty for none
};

} // namespace corvid
