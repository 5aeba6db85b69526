#pragma once

#include "Chat/ChatErrors.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QUrl>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class QNetworkAccessManager;
class QNetworkReply;

namespace corvid {

/**
 * One request to a chat endpoint. Lives in the thread of its network access manager, where its
 * callbacks arrive, never from within the constructor. Destroying it closes the connection, and
 * nothing is called afterwards.
 *
 * The authorization goes to the origin (scheme, host, port) of the request only, or to the same
 * host by https instead of http: redirects of the status 307 and 308 to there are followed, any
 * other is a refusal. TLS is verified. No cookies,
 * no caches, no asking for credentials.
 */
class ChatTransfer final : public QObject {
public:
    struct Request {
        QUrl url;
        QByteArray authorization;          ///< empty: none
        std::optional<QByteArray> body;    ///< of a POST; absent: a GET
        std::chrono::milliseconds silence; ///< the longest wait for the next byte
    };

    /** How a transfer ended; neither: the whole body is here. Holds no secret. */
    struct End {
        std::optional<chat::Refusal> refusal = {};
        std::optional<QString> error = {}; ///< for people
        QByteArray beginning = {};         ///< the first bytes of a body that is no refusal's
    };

    struct Handlers {
        /** The next bytes of a body with a status of 200–299, decompressed. False: enough, the
            transfer ends as if this were the whole body. */
        std::function<bool(QByteArrayView)> onBytes;
        /** Called last and once. The transfer may be destroyed in it. */
        std::function<void(const End &)> onEnd;
    };

    ChatTransfer(QNetworkAccessManager &manager, Request request, Handlers handlers);
    ~ChatTransfer() override;

private:
    void send(const QUrl &url);
    int status() const; // 0: none yet
    void headArrived();
    bool readBody();
    void finished();
    QUrl redirect() const; // empty: none
    bool follow();
    void refuse();
    void endWhole();
    void closeReply();
    void end(const End &how);
    bool complete() const;
    bool endsWithItsConnection() const;
    QString errorText() const;
    QString withoutSecrets(QString text) const;

    QNetworkAccessManager &manager_;
    Request request_;
    const Handlers handlers_;
    QNetworkReply *reply_ = nullptr;
    bool isNew_ = false;       ///< the connection
    bool isSent_ = false;      ///< the request
    bool isSentAgain_ = false; ///< after it could not be
    int redirects_ = 0;
    bool refused_ = false; ///< only what the server says of it is still to come
    QByteArray beginning_; ///< of the body
    qint64 received_ = 0;  ///< bytes of the body
    QTimer silence_;
};

} // namespace corvid
