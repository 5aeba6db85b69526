#include "Platform/Linux/Bus/BusInstance.h"

#include "Front/InstanceCall.h"
#include "Platform/Linux/Bus/BusPeer.h"

#include <QDBusArgument>
#include <QDeadlineTimer>

#include <chrono>
#include <optional>
#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto connectionOfInstance = "corvid instance"_L1;

// Of the bus's protocol: RequestName's flag and answer.
constexpr quint32 doNotQueue = 4;
constexpr quint32 primaryOwner = 1;

} // namespace

std::optional<Wish> wishOf(const QDBusMessage &call) {
    const QString member = call.member();
    const QString signature = call.signature();
    // The files of an Open are of no use to a launcher; who sends them wants to see it.
    if ((member == "Activate"_L1 && signature == "a{sv}"_L1) ||
        (member == "Open"_L1 && signature == "asa{sv}"_L1))
        return Wish{};
    if (member != "ActivateAction"_L1 || signature != "sava{sv}"_L1)
        return std::nullopt;
    for (const auto kind : {Wish::Kind::Show, Wish::Kind::Toggle, Wish::Kind::OpenSettings}) {
        if (call.arguments()[0].toString() == QLatin1StringView(actionOf(kind))) {
            const auto parameters = qdbus_cast<QVariantList>(call.arguments()[1]);
            return Wish{kind, exactly<bool>(parameters.value(0)) == true};
        }
    }
    return std::nullopt;
}

BusInstance::~BusInstance() {
    QDBusConnection::disconnectFromBus(connectionOfInstance);
}

BusInstance::Claim BusInstance::claim(const std::vector<Wish> &wishes) {
    if (busIsSilent()) // Qt waits without end for one that does not greet
        return Claim::BusSilent;
    QDBusConnection bus =
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, connectionOfInstance);
    // Before the name is ours: the call that had the bus start us comes right behind it.
    bus.registerVirtualObject(QLatin1StringView(instanceObjectPath), this);

    const QDeadlineTimer deadline(instancePatience);
    const auto request =
        busMethod(u"RequestName"_s, {QLatin1StringView(instanceBusName), doNotQueue});
    const int patience = static_cast<int>(std::chrono::milliseconds(busPatience).count());
    do {
        const QDBusMessage answer = bus.call(request, QDBus::Block, patience);
        // A bus that gives us no name has no other instance to offer, either.
        if (answer.type() != QDBusMessage::ReplyMessage ||
            answer.arguments().value(0).toUInt() == primaryOwner)
            return Claim::Sole;
        switch (callInstance(wishes)) {
        case CallResult::Taken:
            return Claim::HandedOver;
        case CallResult::Unanswered:
            return Claim::Unanswered;
        case CallResult::BusSilent:
            return Claim::BusSilent;
        case CallResult::Nobody: // any more
            break;
        }
    } while (!deadline.hasExpired());
    return Claim::Unanswered;
}

void BusInstance::serve(std::function<void(const Wish &)> fulfil) {
    fulfil_ = std::move(fulfil);
    fulfilSoon();
}

// Behind all the calls that are here already.
void BusInstance::fulfilSoon() {
    if (!std::exchange(soon_, true))
        QMetaObject::invokeMethod(
            this, [this] { fulfilWaiting(); }, Qt::QueuedConnection);
}

bool BusInstance::handleMessage(const QDBusMessage &call, const QDBusConnection &bus) {
    if (call.interface() != QLatin1StringView(instanceInterface))
        return false;
    const std::optional<Wish> wish = wishOf(call);
    if (!wish) {
        if (call.isReplyRequired())
            bus.send(call.createErrorReply(QDBusError::InvalidArgs, u"There is no such action"_s));
        return true;
    }
    wishes_.add(*wish);
    if (call.isReplyRequired())
        calls_.push_back(call);
    if (fulfil_)
        fulfilSoon();
    return true;
}

QString BusInstance::introspect(const QString & /*path*/) const {
    return {};
}

void BusInstance::fulfilWaiting() {
    soon_ = false;
    // Whoever asked need not wait until the panel is there: that we are awake is enough.
    const QDBusConnection bus(connectionOfInstance);
    for (const QDBusMessage &call : std::exchange(calls_, {}))
        bus.send(call.createReply());
    for (const Wish &wish : wishes_.take())
        fulfil_(wish);
}

} // namespace corvid
