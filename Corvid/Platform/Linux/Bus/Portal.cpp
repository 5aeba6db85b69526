#include "Platform/Linux/Bus/Portal.h"

#include "Platform/Linux/Bus/PortalReplies.h"
#include "Platform/Linux/Secrets/Tracing.h"

#include <QDBusError>

#include <memory>
#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto requestInterface = "org.freedesktop.portal.Request"_L1;

} // namespace

Portal::Portal(const QDBusConnection &bus) : BusPeer(bus, name) {
    listen({}, requestInterface, u"Response"_s, [this](const QDBusMessage &response) {
        if (response.path() != requestPath_)
            return;
        const PortalResponse said = responseIn(response);
        respond(said.code == 0   ? Outcome::Granted
                : said.code == 1 ? Outcome::Refused
                                 : Outcome::Ended,
                said.results);
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
            if (reply.type() == QDBusMessage::ReplyMessage || number != requests_)
                return;
            const QDBusError::ErrorType error = QDBusError(reply).type();
            const bool unknown = error == QDBusError::UnknownMethod ||
                                 error == QDBusError::UnknownInterface ||
                                 error == QDBusError::UnknownObject;
            respond(unknown ? Outcome::Unknown : Outcome::Failed, {});
        },
        timeoutMs);
}

void Portal::withdrawRequest() {
    if (std::exchange(responded_, nullptr))
        send(method(requestPath_, requestInterface, u"Close"_s));
}

void Portal::respond(Outcome outcome, const QVariantMap &results) {
    if (const Responded responded = std::exchange(responded_, nullptr))
        responded(outcome, results);
}

} // namespace corvid
