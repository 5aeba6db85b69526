#include "Chat/ChatTransfer.h"

#include "Base/Wipe.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>

#include <algorithm>
#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int maxRedirects = 5;
constexpr qint64 portion = 64 * 1024;
// Bounds what Qt keeps of an answer that arrives faster than it is read.
constexpr qint64 readBuffer = 4 * portion;
// A refusal is told without the server's words on it when those are slow to come.
constexpr auto patienceWithWords = std::chrono::seconds(2);

int originPort(const QUrl &url) {
    return url.port(url.scheme() == "https"_L1 ? 443 : 80);
}

bool sameOrigin(const QUrl &a, const QUrl &b) {
    return a.scheme() == b.scheme() && a.host() == b.host() && originPort(a) == originPort(b);
}

/** Whether what goes to one address may go to the other. */
bool mayLead(const QUrl &from, const QUrl &to) {
    const bool secures = from.scheme() == "http"_L1 && to.scheme() == "https"_L1;
    return sameOrigin(from, to) || (secures && from.host() == to.host());
}

bool isRefusal(int status) {
    return status != 0 && (status < 200 || status > 299);
}

} // namespace

ChatTransfer::ChatTransfer(QNetworkAccessManager &manager, Request request, Handlers handlers)
    : manager_(manager), request_(std::move(request)), handlers_(std::move(handlers)) {
    silence_.setSingleShot(true);
    connect(&silence_, &QTimer::timeout, this, [this] {
        if (refused_)
            refuse();
        else
            end({.error = chat::timeoutError(reply_->url())});
    });
    send(request_.url);
}

ChatTransfer::~ChatTransfer() {
    closeReply();
    wipe(request_.authorization);
}

void ChatTransfer::send(const QUrl &url) {
    QNetworkRequest request(url);
    // A copy, which Qt keeps as long as it likes; ours we can wipe.
    if (!request_.authorization.isEmpty())
        request.setRawHeader("Authorization", QByteArray(request_.authorization.constData(),
                                                         request_.authorization.size()));
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::ManualRedirectPolicy);
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    if (request_.body) {
        request.setRawHeader("Content-Type", "application/json");
        reply_ = manager_.post(request, *request_.body);
    } else {
        reply_ = manager_.get(request);
    }
    // Set before Qt connects, it would not reach the part of Qt that reads the socket.
    const auto limit = [this] { reply_->setReadBufferSize(readBuffer); };
    connect(reply_, &QNetworkReply::socketStartedConnecting, this, limit);
    isNew_ = false;
    connect(reply_, &QNetworkReply::socketStartedConnecting, this, [this] { isNew_ = true; });
    isSent_ = false;
    connect(reply_, &QNetworkReply::requestSent, this, [this] { isSent_ = true; });
    connect(reply_, &QNetworkReply::requestSent, this, limit);
    connect(reply_, &QNetworkReply::metaDataChanged, this, &ChatTransfer::headArrived);
    connect(reply_, &QNetworkReply::readyRead, this, [this] { readBody(); });
    connect(reply_, &QNetworkReply::uploadProgress, this, [this] {
        if (!refused_)
            silence_.start();
    });
    connect(reply_, &QNetworkReply::finished, this, &ChatTransfer::finished);
    silence_.start(request_.silence);
}

int ChatTransfer::status() const {
    return reply_->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

void ChatTransfer::headArrived() {
    if (refused_)
        return;
    silence_.start();
    if (!isRefusal(status()) || follow())
        return;
    refused_ = true;
    silence_.start(std::min<std::chrono::milliseconds>(request_.silence, patienceWithWords));
}

QUrl ChatTransfer::redirect() const {
    const QByteArray location = reply_->rawHeader("Location");
    QUrl target = reply_->url().resolved(QUrl::fromEncoded(location));
    target.setUserInfo({});
    return location.isEmpty() || !target.isValid() ? QUrl() : target;
}

bool ChatTransfer::follow() {
    // Only these two repeat the request as it is.
    if ((status() != 307 && status() != 308) || redirects_ == maxRedirects)
        return false;
    const QUrl target = redirect();
    if (target.isEmpty() || !mayLead(reply_->url(), target))
        return false;
    ++redirects_;
    closeReply();
    send(target);
    return true;
}

void ChatTransfer::refuse() {
    chat::Refusal refusal{status(), withoutSecrets(QString::fromUtf8(beginning_)).toUtf8(),
                          reply_->rawHeader("Retry-After").trimmed()};
    if (refusal.status >= 300 && refusal.status < 400)
        refusal.redirect = redirect();
    end({.refusal = std::move(refusal)});
}

bool ChatTransfer::readBody() {
    if (!refused_)
        silence_.start();
    while (reply_->bytesAvailable() > 0) {
        const QByteArray bytes = reply_->read(portion);
        if (bytes.isEmpty())
            break;
        received_ += bytes.size();
        beginning_.append(bytes.first(std::min(bytes.size(), chat::maxRemark - beginning_.size())));
        if (refused_ && beginning_.size() == chat::maxRemark) {
            refuse();
            return false;
        }
        if (!refused_ && !handlers_.onBytes(bytes)) {
            endWhole();
            return false;
        }
    }
    return true;
}

void ChatTransfer::finished() {
    // The server had closed the connection that was left of an earlier question. Qt up to 6.10 asks
    // again by itself; 6.11 also takes that for the end of a new one, before it has asked.
    if (status() == 0 && reply_->error() == QNetworkReply::RemoteHostClosedError &&
        (!isNew_ || (!isSent_ && !std::exchange(isSentAgain_, true)))) {
        const QUrl url = reply_->url();
        closeReply();
        send(url);
        return;
    }
    refused_ = isRefusal(status());
    if (!readBody())
        return;
    if (refused_) {
        refuse();
        return;
    }
    // Qt (6.4) calls every close an error once an earlier transfer has lost its connection.
    const bool wholeAtClose = status() != 0 && endsWithItsConnection() &&
                              reply_->error() == QNetworkReply::RemoteHostClosedError;
    if (reply_->error() != QNetworkReply::NoError && !wholeAtClose)
        end({.error = errorText()});
    else if (!complete())
        end({.error = chat::cutOffError(reply_->url())});
    else
        endWhole();
}

void ChatTransfer::endWhole() {
    end({.beginning = withoutSecrets(QString::fromUtf8(beginning_)).toUtf8()});
}

// Qt (6.4) does not always notice that a connection was lost before the end. Nothing tells that of
// a chunked body, and Qt hides the length of a compressed one.
bool ChatTransfer::complete() const {
    const QVariant promised = reply_->header(QNetworkRequest::ContentLengthHeader);
    return !promised.isValid() || received_ >= promised.toLongLong();
}

// Neither a length nor chunks tell where the body ends. Qt hides the length of a compressed one.
bool ChatTransfer::endsWithItsConnection() const {
    for (const char *header : {"Content-Length", "Transfer-Encoding", "Content-Encoding"}) {
        if (reply_->hasRawHeader(header))
            return false;
    }
    return true;
}

QString ChatTransfer::errorText() const {
    // Qt's texts may quote what it was given.
    return withoutSecrets(chat::connectionError(*reply_));
}

QString ChatTransfer::withoutSecrets(QString text) const {
    const QByteArrayView bearer = request_.authorization;
    QString key = QString::fromUtf8(bearer.sliced(bearer.indexOf(' ') + 1));
    const auto hide = [&text](const QString &secret) {
        if (!secret.isEmpty())
            text.replace(secret, u"…"_s);
    };
    hide(key);
    hide(request_.url.userInfo());
    hide(request_.url.password());
    wipe(key);
    return text;
}

void ChatTransfer::closeReply() {
    if (!reply_)
        return;
    reply_->disconnect(this);
    reply_->abort();
    reply_->deleteLater();
    reply_ = nullptr;
}

void ChatTransfer::end(const End &how) {
    silence_.stop();
    closeReply();
    // The handler may destroy this object and with it the handler.
    const auto onEnd = handlers_.onEnd;
    onEnd(how);
}

} // namespace corvid
