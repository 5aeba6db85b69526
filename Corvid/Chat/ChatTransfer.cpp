#include "Chat/ChatTransfer.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int maxRedirects = 5;
constexpr qint64 portion = 64 * 1024;
// Bounds what Qt keeps of an answer that arrives faster than it is read.
constexpr qint64 readBuffer = 4 * portion;

int originPort(const QUrl &url) {
    return url.port(url.scheme() == "https"_L1 ? 443 : 80);
}

bool sameOrigin(const QUrl &a, const QUrl &b) {
    return a.scheme() == b.scheme() && a.host() == b.host() && originPort(a) == originPort(b);
}

bool isRefusal(int status) {
    return status != 0 && (status < 200 || status > 299);
}

} // namespace

ChatTransfer::ChatTransfer(QNetworkAccessManager &manager, Request request, Handlers handlers)
    : manager_(manager), request_(std::move(request)), handlers_(std::move(handlers)) {
    silence_.setSingleShot(true);
    connect(&silence_, &QTimer::timeout, this,
            [this] { end({.error = u"The request timed out."_s}); });
    post(request_.url);
}

ChatTransfer::~ChatTransfer() {
    closeReply();
}

void ChatTransfer::post(const QUrl &url) {
    QNetworkRequest request(url);
    request.setRawHeader("Content-Type", "application/json");
    request.setRawHeader("Authorization", request_.authorization);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::ManualRedirectPolicy);
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::AuthenticationReuseAttribute, QNetworkRequest::Manual);
    reply_ = manager_.post(request, request_.body);
    // Set before Qt connects, it would not reach the part of Qt that reads the socket.
    const auto limit = [this] { reply_->setReadBufferSize(readBuffer); };
    connect(reply_, &QNetworkReply::socketStartedConnecting, this, limit);
    isNew_ = false;
    connect(reply_, &QNetworkReply::socketStartedConnecting, this, [this] { isNew_ = true; });
    connect(reply_, &QNetworkReply::requestSent, this, limit);
    connect(reply_, &QNetworkReply::metaDataChanged, this, &ChatTransfer::headArrived);
    connect(reply_, &QNetworkReply::readyRead, this, [this] { readBody(); });
    connect(reply_, &QNetworkReply::uploadProgress, this, [this] { silence_.start(); });
    connect(reply_, &QNetworkReply::finished, this, &ChatTransfer::finished);
    silence_.start(request_.silence);
}

int ChatTransfer::status() const {
    return reply_->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}

void ChatTransfer::headArrived() {
    silence_.start();
    if (isRefusal(status()) && !follow(status()))
        end({.refusal = status()});
}

bool ChatTransfer::follow(int status) {
    // Only these two repeat the request as it is.
    if ((status != 307 && status != 308) || redirects_ == maxRedirects)
        return false;
    const QByteArray location = reply_->rawHeader("Location");
    QUrl target = reply_->url().resolved(QUrl::fromEncoded(location));
    target.setUserInfo({});
    if (location.isEmpty() || !target.isValid() || !sameOrigin(target, request_.url))
        return false;
    ++redirects_;
    closeReply();
    post(target);
    return true;
}

bool ChatTransfer::readBody() {
    silence_.start();
    while (reply_->bytesAvailable() > 0) {
        const QByteArray bytes = reply_->read(portion);
        if (bytes.isEmpty())
            break;
        received_ += bytes.size();
        if (!handlers_.onBytes(bytes)) {
            end({});
            return false;
        }
    }
    return true;
}

void ChatTransfer::finished() {
    // The server had closed the connection that was left of an earlier question. Qt up to 6.10 asks
    // again by itself.
    if (!isNew_ && status() == 0 && reply_->error() == QNetworkReply::RemoteHostClosedError) {
        const QUrl url = reply_->url();
        closeReply();
        post(url);
        return;
    }
    if (isRefusal(status())) {
        end({.refusal = status()});
        return;
    }
    if (!readBody())
        return;
    // Qt (6.4) calls every close an error once an earlier transfer has lost its connection.
    const bool wholeAtClose = status() != 0 && endsWithItsConnection() &&
                              reply_->error() == QNetworkReply::RemoteHostClosedError;
    if (reply_->error() != QNetworkReply::NoError && !wholeAtClose)
        end({.error = errorText()});
    else if (!complete())
        end({.error = u"Connection closed"_s});
    else
        end({});
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
    QString text = reply_->errorString();
    const QString bearer = QString::fromLatin1(request_.authorization);
    const QString key = bearer.sliced(bearer.indexOf(u' ') + 1);
    for (const QString &secret : {key, request_.url.userInfo(), request_.url.password()}) {
        if (!secret.isEmpty())
            text.replace(secret, u"…"_s);
    }
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
