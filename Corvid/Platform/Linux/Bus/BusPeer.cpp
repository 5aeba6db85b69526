#include "Platform/Linux/Bus/BusPeer.h"

#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>

#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

QDBusMessage busMethod(const QString &member, const QVariantList &arguments) {
    QDBusMessage call = QDBusMessage::createMethodCall(
        u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s, u"org.freedesktop.DBus"_s, member);
    call.setArguments(arguments);
    return call;
}

BusPeer::BusPeer(QDBusConnection bus, QString name) : bus_(std::move(bus)), name_(std::move(name)) {
    const auto *watcher =
        new QDBusServiceWatcher(name_, bus_, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString & /*name*/, const QString & /*before*/, const QString &owner) {
                setOwner(owner);
            });
    bus_.connect({}, u"/org/freedesktop/DBus/Local"_s, u"org.freedesktop.DBus.Local"_s,
                 u"Disconnected"_s, this, SLOT(loseBus()));
    const auto *asked =
        new QDBusPendingCallWatcher(sent(busMethod(u"GetNameOwner"_s, {name_})), this);
    connect(asked, &QDBusPendingCallWatcher::finished, this,
            [this](const QDBusPendingCallWatcher *finished) {
                if (!finished->isError())
                    setOwner(finished->reply().arguments().value(0).toString());
            });
}

QDBusMessage BusPeer::method(const QString &path, const QString &interface, const QString &member,
                             const QVariantList &arguments) const {
    QDBusMessage call = QDBusMessage::createMethodCall(name_, path, interface, member);
    call.setArguments(arguments);
    return call;
}

void BusPeer::send(const QDBusMessage &call, Heard replied, int timeoutMs) {
    auto *watcher = new QDBusPendingCallWatcher(sent(call, timeoutMs), this);
    connect(
        watcher, &QDBusPendingCallWatcher::finished, this,
        [this, batch = batch_, replied = std::move(replied)](QDBusPendingCallWatcher *finished) {
            finished->deleteLater();
            if (replied && batch == batch_)
                replied(finished->reply());
        });
}

// Qt itself says nothing of a call on a connection that never was.
QDBusPendingCall BusPeer::sent(const QDBusMessage &call, int timeoutMs) const {
    if (!bus_.isConnected())
        return QDBusPendingCall::fromError({QDBusError::Disconnected, u"There is no bus"_s});
    return bus_.asyncCall(call, timeoutMs);
}

// Told whose signals are meant, Qt would wait for the bus to say who that is.
void BusPeer::listen(const QString &path, const QString &interface, const QString &member,
                     Heard heard) {
    listeners_.push_back({interface, member, std::move(heard)});
    bus_.connect({}, path, interface, member, this, SLOT(hear(QDBusMessage)));
}

void BusPeer::hear(const QDBusMessage &signal) {
    if (owner_.isEmpty() || signal.service() != owner_)
        return;
    for (const Listener &listener : listeners_) {
        if (listener.interface == signal.interface() && listener.member == signal.member()) {
            listener.heard(signal);
            return;
        }
    }
}

void BusPeer::loseBus() {
    setOwner({});
}

void BusPeer::setOwner(const QString &owner) {
    if (owner == owner_)
        return;
    const QString before = std::exchange(owner_, owner);
    if (!before.isEmpty() && onOwnerChange)
        onOwnerChange(false);
    if (!owner.isEmpty() && onOwnerChange)
        onOwnerChange(true);
}

} // namespace corvid
