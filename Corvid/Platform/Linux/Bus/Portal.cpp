#include "Platform/Linux/Bus/Portal.h"

#include "Platform/Linux/Secrets/Tracing.h"

#include <QDBusArgument>

#include <memory>
#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr quint32 endedOtherwise = 2; // than by the user's choice
constexpr auto requestInterface = "org.freedesktop.portal.Request"_L1;

} // namespace

Portal::Portal(const QDBusConnection &bus) : BusPeer(bus, name) {
    listen({}, requestInterface, u"Response"_s, [this](const QDBusMessage &response) {
        if (response.path() != requestPath_)
            return;
        if (response.signature() == "ua{sv}"_L1)
            respond(response.arguments()[0].toUInt(),
                    qdbus_cast<QVariantMap>(response.arguments()[1]));
        else
            respond(endedOtherwise, {});
    });
}

void Portal::send(const QDBusMessage &call, Heard replied, int timeoutMs) {
    auto recognizable = std::make_shared<Recognizable>();
    BusPeer::send(
        call,
        [recognizable = std::move(recognizable),
         replied = std::move(replied)](const QDBusMessage &reply) {
            if (replied)
                replied(reply);
        },
        timeoutMs);
}

void Portal::request(const QString &interface, const QString &member, QVariantList arguments,
                     QVariantMap options, Responded responded, int timeoutMs) {
    const QString token = u"corvid%1"_s.arg(++requests_);
    const QString sender = bus().baseService().mid(1).replace(u'.', u'_');
    requestPath_ = path + "/request/"_L1 + sender + u'/' + token;
    responded_ = std::move(responded);
    options.insert(u"handle_token"_s, token);
    arguments.append(options);
    send(
        method(path, interface, member, arguments),
        [this, number = requests_](const QDBusMessage &reply) {
            if (reply.type() != QDBusMessage::ReplyMessage && number == requests_)
                respond(std::nullopt, {});
        },
        timeoutMs);
}

void Portal::withdrawRequest() {
    if (std::exchange(responded_, nullptr))
        send(method(requestPath_, requestInterface, u"Close"_s));
}

void Portal::respond(std::optional<quint32> code, const QVariantMap &results) {
    if (const Responded responded = std::exchange(responded_, nullptr))
        responded(code, results);
}

} // namespace corvid
