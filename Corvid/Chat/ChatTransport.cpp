#include "Chat/ChatTransport.h"

#include <QHostAddress>
#include <QNetworkAccessManager>
#include <QNetworkProxyFactory>

#include <unordered_map>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

/** The desktop's proxies, but never on the way to this machine itself: what goes to a local
    model server stays here. */
class ProxyChoice final : public QNetworkProxyFactory {
public:
    QList<QNetworkProxy> queryProxy(const QNetworkProxyQuery &query) override {
        const QString host = query.peerHostName();
        if (host == "localhost"_L1 || host.endsWith(".localhost"_L1) ||
            QHostAddress(host).isLoopback())
            return {QNetworkProxy::NoProxy};
        return systemProxyForQuery(query);
    }
};

} // namespace

class ChatTransport::Worker final : public QObject {
public:
    void start(quint64 id, ChatTransfer::Request request, ChatTransfer::Handlers handlers) {
        if (!manager_) {
            manager_ = std::make_unique<QNetworkAccessManager>();
            manager_->setProxyFactory(new ProxyChoice);
        }
        handlers.onEnd = [this, id, onEnd = std::move(handlers.onEnd)](const auto &how) {
            onEnd(how);
            transfers_.erase(id);
        };
        transfers_[id] =
            std::make_unique<ChatTransfer>(*manager_, std::move(request), std::move(handlers));
    }

    void cancel(quint64 id) { transfers_.erase(id); }

private:
    std::unique_ptr<QNetworkAccessManager> manager_;
    std::unordered_map<quint64, std::unique_ptr<ChatTransfer>> transfers_;
};

ChatTransport::~ChatTransport() {
    if (!worker_)
        return;
    worker_->deleteLater();
    thread_.quit();
    thread_.wait();
}

void ChatTransport::start(quint64 id, ChatTransfer::Request request,
                          ChatTransfer::Handlers handlers) {
    if (!worker_) {
        worker_ = new Worker;
        worker_->moveToThread(&thread_);
        thread_.setObjectName(u"network"_s);
        thread_.start();
    }
    QMetaObject::invokeMethod(
        worker_,
        [worker = worker_, id, request = std::move(request), handlers = std::move(handlers)] {
            worker->start(id, request, handlers);
        },
        Qt::QueuedConnection);
}

void ChatTransport::cancel(quint64 id) {
    if (worker_)
        QMetaObject::invokeMethod(
            worker_, [worker = worker_, id] { worker->cancel(id); }, Qt::QueuedConnection);
}

} // namespace corvid
