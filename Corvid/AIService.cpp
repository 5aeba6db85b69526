#include "AIService.h"

#include "Base/Settings.h"
#include "Base/Wipe.h"
#include "Chat/ServerSentEvents.h"
#include "Platform/SecretStore.h"

#include <QCoreApplication>
#include <QHostAddress>
#include <QNetworkAccessManager>
#include <QNetworkProxyFactory>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype maxIntentReply = 1 << 20; // bytes

bool isWeb(const QUrl &url) {
    return url.scheme() == "http"_L1 || url.scheme() == "https"_L1;
}

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

class AIService::Network final : public QObject {
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

AIService::AIService(const UserDefaults &defaults, const SecretStore *secrets, Timeouts timeouts)
    : defaults_(defaults), secrets_(secrets), timeouts_(timeouts) {}

AIService::~AIService() {
    // Callbacks may own tasks, which then find nothing left to cancel.
    std::exchange(calls_, {}).clear();
    if (!network_)
        return;
    network_->deleteLater();
    thread_.quit();
    thread_.wait();
}

AIService &AIService::shared() {
    static std::unique_ptr<AIService> service;
    if (!service) {
        service = std::make_unique<AIService>(UserDefaults::standard(), sharedSecrets_);
        // Its thread must not outlive the application object.
        qAddPostRoutine([] { service.reset(); });
    }
    return *service;
}

AIService::Config AIService::config() const {
    QString key = secrets_ ? secrets_->get(settings::aiKeyAccount).value_or(QString()) : QString();
    Config config{settings::aiBaseURL(defaults_), settings::aiModel(defaults_), !key.isEmpty(),
                  chat::authorization(key)};
    wipe(key);
    return config;
}

template <typename Function>
void AIService::later(Function function) {
    QMetaObject::invokeMethod(this, std::move(function), Qt::QueuedConnection);
}

quint64 AIService::add(Call call) {
    const quint64 id = ++lastId_;
    calls_.emplace(id, std::make_shared<const Call>(std::move(call)));
    return id;
}

void AIService::send(quint64 id, const Config &config, const QByteArray &body,
                     std::chrono::milliseconds silence, const ChatTransfer::Handlers &handlers) {
    const std::optional<QUrl> url = chat::endpoint(config.baseURL);
    if (!config.hasKey)
        return handlers.onEnd({});
    if (!config.authorization)
        return handlers.onEnd({.error = u"The API key holds a character that cannot be sent."_s});
    if (!url || !isWeb(*url))
        return handlers.onEnd({.error = u"The base URL is not an http or https address."_s});
    if (!network_) {
        network_ = new Network;
        network_->moveToThread(&thread_);
        thread_.setObjectName(u"network"_s);
        thread_.start();
    }
    const ChatTransfer::Request request{*url, *config.authorization, body, silence};
    QMetaObject::invokeMethod(
        network_, [=, network = network_] { network->start(id, request, handlers); },
        Qt::QueuedConnection);
}

AIService::Task AIService::stream(const QString &prompt, OnElement onElement,
                                  OnFinished onFinished) {
    const Config config = this->config();
    if (config.hasKey && !chat::endpoint(config.baseURL))
        qFatal("the base address of the AI endpoint is not a URL");
    const quint64 id = add({std::move(onElement), std::move(onFinished), nullptr});
    const auto events = std::make_shared<ServerSentEvents>();
    const auto onBytes = [=, this](QByteArrayView bytes) {
        QStringList elements;
        const bool more = events->read(bytes, elements);
        if (!elements.isEmpty())
            later([=, this] { deliver(id, elements); });
        return more;
    };
    // Without the key, which is not kept longer than it is needed.
    const auto onEnd = [=, this, hasKey = config.hasKey,
                        baseURL = config.baseURL](const ChatTransfer::End &end) {
        QStringList elements;
        if (!hasKey)
            elements = {chat::noKeyText()};
        else if (end.refusal)
            elements = {chat::httpErrorText(*end.refusal, baseURL)};
        else if (!end.error)
            events->finish(elements);
        later([=, this] {
            deliver(id, elements);
            if (const auto call = calls_.extract(id))
                call.mapped()->onFinished(end.error);
        });
    };
    send(id, config, chat::answerBody(config.model, prompt), timeouts_.stream, {onBytes, onEnd});
    return {this, id};
}

AIService::Task AIService::intent(const QString &query, const QStringList &apps,
                                  const QStringList &projects, const QStringList &editors,
                                  OnIntent onIntent) {
    const Config config = this->config();
    const quint64 id = add({nullptr, nullptr, std::move(onIntent)});
    const auto body = std::make_shared<QByteArray>();
    const auto onBytes = [=](QByteArrayView bytes) {
        body->append(bytes);
        return body->size() <= maxIntentReply;
    };
    const auto onEnd = [=, this](const ChatTransfer::End &end) {
        const bool whole = !end.refusal && !end.error && body->size() <= maxIntentReply;
        later([=, this, intent = whole ? chat::intentFromReply(*body) : std::nullopt] {
            if (const auto call = calls_.extract(id))
                call.mapped()->onIntent(intent);
        });
    };
    send(id, config, chat::intentBody(config.model, query, apps, projects, editors),
         timeouts_.intent, {onBytes, onEnd});
    return {this, id};
}

void AIService::deliver(quint64 id, const QStringList &elements) {
    for (const QString &element : elements) {
        const auto call = calls_.find(id);
        if (call == calls_.end())
            return;
        // The callback may end its own call.
        const std::shared_ptr<const Call> kept = call->second;
        kept->onElement(element);
    }
}

void AIService::cancel(quint64 id) {
    // Until the transfer is closed its handlers may still run.
    if (const auto call = calls_.extract(id); call && network_)
        QMetaObject::invokeMethod(
            network_, [=, network = network_] { network->cancel(id); }, Qt::QueuedConnection);
}

} // namespace corvid
