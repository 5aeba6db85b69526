#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QObject>
#include <QString>
#include <QVariant>

#include <functional>
#include <optional>
#include <vector>

namespace corvid {

/** The value if it is of exactly this type: what comes over the bus may be of any. */
template <typename T>
std::optional<T> exactly(const QVariant &value) {
    return value.metaType() == QMetaType::fromType<T>() ? std::optional(value.value<T>())
                                                        : std::nullopt;
}

/** The same for a value in a variant of its own. */
template <typename T>
std::optional<T> unboxed(const QVariant &value) {
    const auto box = exactly<QDBusVariant>(value);
    return box ? exactly<T>(box->variant()) : std::nullopt;
}

/** A call of a method of the bus itself, to be sent. */
QDBusMessage busMethod(const QString &member, const QVariantList &arguments);

/**
 * Another program on a bus, known by its well-known name, whoever owns that at the time. Main
 * thread only. Never waits: everything is heard from the event loop, and nothing once this is
 * destroyed. On a bus that there is not, or that is lost, nobody has the name and calls fail.
 */
class BusPeer : public QObject {
    Q_OBJECT

public:
    /** A signal, or the reply to a call: an error, or of any type. */
    using Heard = std::function<void(const QDBusMessage &)>;

    BusPeer(QDBusConnection bus, QString name);

    /** Called when somebody is found to own the name or nobody does any more; with both, one after
        the other, when the name passes to another program. */
    std::function<void(bool there)> onOwnerChange;

    /** A call of a method of the peer, to be sent. */
    QDBusMessage method(const QString &path, const QString &interface, const QString &member,
                        const QVariantList &arguments = {}) const;
    /** Sends a call, to the peer or another program. -1 stands for the usual timeout. */
    void send(const QDBusMessage &call, Heard replied = nullptr, int timeoutMs = -1);
    /** No reply to what was sent until now is heard any more. */
    void forgetCalls() { ++batch_; }

    /** Hears a signal of the peer from now on, from the object at a path or, if that is empty, from
        any. Others that send such a signal are not heard. */
    void listen(const QString &path, const QString &interface, const QString &member, Heard heard);

protected:
    const QDBusConnection &bus() const { return bus_; }

private:
    struct Listener {
        QString interface;
        QString member;
        Heard heard;
    };

    Q_SLOT void hear(const QDBusMessage &signal);
    Q_SLOT void loseBus();
    void setOwner(const QString &owner);
    QDBusPendingCall sent(const QDBusMessage &call, int timeoutMs = -1) const;

    QDBusConnection bus_;
    const QString name_;
    QString owner_;     ///< its unique name; empty without one
    quint64 batch_ = 0; ///< of calls; replies to those of an earlier one are void
    std::vector<Listener> listeners_;
};

} // namespace corvid
