#include "Platform/Linux/Bus/BusNotifier.h"

#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto serverName = "org.freedesktop.Notifications"_L1; // of its interface as well
constexpr auto serverPath = "/org/freedesktop/Notifications"_L1;

} // namespace

BusNotifier::BusNotifier(TokenReceiver receiveToken) : receiveToken_(std::move(receiveToken)) {}

void BusNotifier::notify(Notification notification) {
    notification_ = std::move(notification);
    waits_ = true;
    if (!server_)
        meetServer();
    askServer();
}

void BusNotifier::meetServer() {
    server_.emplace(QDBusConnection::sessionBus(), serverName);
    server_->onOwnerChange = [this](bool there) {
        id_.reset(); // another one numbers its own
        if (there && waits_)
            askServer();
    };
    server_->listen(serverPath, serverName, u"ActionInvoked"_s,
                    [this](const QDBusMessage &signal) { invoked(signal); });
    server_->listen(serverPath, serverName, u"ActivationToken"_s,
                    [this](const QDBusMessage &signal) {
                        if (isOurs(signal))
                            token_ = signal.arguments().value(1).toString().toUtf8();
                    });
}

// Who it is, whether a text is markup there, and whether there are buttons. Nobody is asked twice
// at a time.
void BusNotifier::askServer() {
    server_->forgetCalls();
    server_->send(server_->method(serverPath, serverName, u"GetServerInformation"_s),
                  [this](const QDBusMessage &reply) {
                      askCapabilities(reply.arguments().value(0).toString());
                  });
}

void BusNotifier::askCapabilities(const QString &server) {
    server_->send(server_->method(serverPath, serverName, u"GetCapabilities"_s),
                  [this, server](const QDBusMessage &reply) {
                      if (const auto capabilities =
                              exactly<QStringList>(reply.arguments().value(0)))
                          post(server, *capabilities);
                  });
}

void BusNotifier::post(const QString &server, const QStringList &capabilities) {
    const bool isMarkup = capabilities.contains("body-markup"_L1);
    QStringList buttons{u"show"_s, notification_.button};
    // What a click on the whole does. Xfce makes a button of that, too: a second one alike.
    if (server != "Xfce Notify Daemon"_L1)
        buttons = QStringList{u"default"_s, notification_.button} + buttons;
    const QVariantMap hints{{u"desktop-entry"_s, u"app.corvid.Launcher"_s}};
    constexpr qint32 usualTime = -1;
    const auto notify = server_->method(
        serverPath, serverName, u"Notify"_s,
        {u"Corvid"_s, id_.value_or(0), u"app.corvid.Launcher"_s, notification_.title,
         isMarkup ? notification_.text.toHtmlEscaped() : notification_.text,
         capabilities.contains("actions"_L1) ? buttons : QStringList(), hints, usualTime});
    server_->send(notify, [this](const QDBusMessage &reply) {
        const auto id = exactly<quint32>(reply.arguments().value(0));
        if (!id)
            return;
        id_ = id;
        token_.clear();
        waits_ = false;
        if (const auto delivered = notification_.delivered)
            delivered();
    });
}

bool BusNotifier::isOurs(const QDBusMessage &signal) const {
    return id_ && signal.signature() == "us"_L1 &&
           exactly<quint32>(signal.arguments().value(0)) == id_;
}

void BusNotifier::invoked(const QDBusMessage &signal) {
    if (!isOurs(signal))
        return;
    const QByteArray token = std::exchange(token_, {});
    const bool isEntitled = receiveToken_ && !token.isEmpty();
    if (isEntitled)
        receiveToken_(token);
    if (const auto chosen = notification_.chosen)
        chosen();
    if (isEntitled)
        receiveToken_({});
}

} // namespace corvid
