#include "Chat/ChatErrors.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QNetworkReply>

namespace corvid::chat {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype maxMessage = 500;
constexpr qsizetype maxAddress = 200;
constexpr qsizetype maxWait = 60;

/** Never half of a character. */
QString beginningOf(const QString &text, qsizetype length) {
    if (text.size() <= length)
        return text;
    const bool cutsCharacter = text.at(length - 1).isHighSurrogate();
    return text.first(cutsCharacter ? length - 1 : length) + u'…';
}

QString place(const QUrl &url) {
    return url.port() < 0 ? url.host() : url.host() + u':' + QString::number(url.port());
}

/** Servers agree on an object `error` with a text `message`, more or less. */
QString messageIn(const QByteArray &json) {
    const QJsonObject object = QJsonDocument::fromJson(json).object();
    for (const QJsonValue &value :
         {object["error"_L1]["message"_L1], object["error"_L1], object["message"_L1],
          object["detail"_L1], object["error"_L1]["code"_L1]}) {
        if (QString text = value.toString().trimmed(); !text.isEmpty())
            return text;
    }
    return {};
}

QString quoted(const QString &message) {
    return message.isEmpty() ? QString() : u"\n\nThe server says: "_s + message;
}

QString adviceOnWaiting(const QByteArray &retryAfter) {
    if (retryAfter.isEmpty())
        return u"Too many requests, or the account has nothing left. Wait a moment and ask again."_s;
    bool isNumber = false;
    const qulonglong seconds = retryAfter.toULongLong(&isNumber);
    const QString when = isNumber ? QString::number(seconds) + u" seconds"_s
                                  : beginningOf(QString::fromUtf8(retryAfter), maxWait);
    return (isNumber ? u"Too many requests. Ask again in "_s
                     : u"Too many requests. Ask again at "_s) +
           when + u'.';
}

QString adviceOnStatus(const Refusal &refusal, const QString &model) {
    const int status = refusal.status;
    if (status >= 300 && status < 400) {
        if (refusal.redirect.isEmpty())
            return u"The server points elsewhere without saying where to."_s;
        return u"The server points to "_s +
               beginningOf(refusal.redirect.toDisplayString(QUrl::RemoveUserInfo), maxAddress) +
               u". The key was not sent there. If that is the right place, enter it as the Base "
               u"URL "
               "in Settings."_s;
    }
    if (status == 401)
        return u"The server does not accept the API key. Is it whole, still valid, and one for "
               u"this "
               "address?"_s;
    if (status == 403)
        return u"The server knows the API key but does not let it do this."_s;
    if (status == 404)
        return u"There is no model “%1” here, or the Base URL lacks a part: most end in /v1."_s.arg(
            beginningOf(model, maxWait));
    if (status == 429)
        return adviceOnWaiting(refusal.retryAfter);
    if (status >= 500)
        return u"The server has a problem of its own. Ask again later."_s +
               (refusal.retryAfter.isEmpty() ? QString()
                                             : u' ' + adviceOnWaiting(refusal.retryAfter));
    if (status >= 400)
        return u"The server does not understand the request. Is “%1” the name of a model that it "
               "has?"_s.arg(beginningOf(model, maxWait));
    return u"That is no answer of a chat endpoint. Is the Base URL right?"_s;
}

} // namespace

QString connectionError(const QNetworkReply &reply) {
    const QUrl url = reply.url();
    const QString where = place(url);
    const QString text = reply.errorString();
    switch (reply.error()) {
    case QNetworkReply::ConnectionRefusedError:
        return u"Connection refused: nothing listens at %1. Start the server there, or correct the "
               "Base URL in Settings."_s.arg(where);
    case QNetworkReply::HostNotFoundError:
        return u"Host %1 not found. Check the Base URL in Settings, and whether this machine is "
               "online."_s.arg(url.host());
    case QNetworkReply::SslHandshakeFailedError:
        return u"No secure connection to %1: %2. The key was not sent. A server of your own may "
               u"want "
               "http instead of https."_s.arg(where, text);
    case QNetworkReply::TimeoutError:
        return timeoutError(url);
    case QNetworkReply::RemoteHostClosedError:
        return cutOffError(url);
    case QNetworkReply::ProtocolFailure:
    case QNetworkReply::ProtocolInvalidOperationError:
    case QNetworkReply::ProtocolUnknownError:
        return u"%1 does not speak HTTP: %2. Check the Base URL in Settings."_s.arg(where, text);
    case QNetworkReply::ProxyConnectionRefusedError:
    case QNetworkReply::ProxyConnectionClosedError:
    case QNetworkReply::ProxyNotFoundError:
    case QNetworkReply::ProxyTimeoutError:
    case QNetworkReply::ProxyAuthenticationRequiredError:
    case QNetworkReply::UnknownProxyError:
        return u"The way to %1 leads through a proxy that fails: %2. Check the desktop's proxy "
               "settings."_s.arg(where, text);
    default:
        return u"%1 (%2)"_s.arg(text, where);
    }
}

QString cutOffError(const QUrl &url) {
    return u"Connection closed: %1 ended it before the answer was complete. Ask again."_s.arg(
        place(url));
}

QString timeoutError(const QUrl &url) {
    return u"The request timed out: %1 was silent for too long. Ask again; a server that is "
           u"loading "
           "its model answers later."_s.arg(place(url));
}

QString adviceOn(const Refusal &refusal, const QString &model) {
    return adviceOnStatus(refusal, model) + quoted(serverMessage(refusal.body));
}

QString adviceOnNoAnswer(const QByteArray &body) {
    const QString message = quoted(serverMessage(body));
    if (message.isEmpty() && body.contains("data: "))
        return u"The model's answer is empty."_s;
    return u"What came back is no answer of a chat endpoint. Check the Base URL in Settings: most "
           "end in /v1."_s +
           message;
}

QString listRefusedText(const Refusal &refusal) {
    if (refusal.status == 404)
        return u"The server keeps no list of models, or the Base URL lacks a part: most end in "
               u"/v1. "
               "Type the model's name."_s;
    return u"HTTP %1. "_s.arg(refusal.status) + adviceOn(refusal, {});
}

QString noListText(const QByteArray &body) {
    return u"What came back is no list of models. Check the Base URL, or type the model's name."_s +
           quoted(serverMessage(body));
}

QString serverMessage(const QByteArray &body) {
    const QByteArray text = body.trimmed();
    QString message = messageIn(text);
    if (message.isEmpty()) {
        // An error in the place of an answer's first event.
        for (const QByteArray &line : text.split('\n')) {
            if (line.startsWith("data:") && message.isEmpty())
                message = messageIn(line.sliced(5));
        }
    }
    const bool plain = !text.startsWith('<') && !text.startsWith('{') && !text.startsWith('[') &&
                       !text.contains("data:") && !text.contains('\0');
    if (message.isEmpty() && plain)
        message = QString::fromUtf8(text);
    return beginningOf(message, maxMessage);
}

} // namespace corvid::chat
