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

// Bytes.
constexpr qsizetype maxIntentReply = 1 << 20;
constexpr qsizetype maxModelsReply = 16 << 20;

bool isWeb(const QUrl &url) {
    return url.scheme() == "http"_L1 || url.scheme() == "https"_L1;
}

/** Gathers a body, up to one byte more than there should be. */
std::function<bool(QByteArrayView)> collect(const std::shared_ptr<QByteArray> &body,
                                            qsizetype most) {
    return [=](QByteArrayView bytes) {
        body->append(bytes);
        return body->size() <= most;
    };
}

/** Empty without a key; nothing when that cannot be sent. */
std::optional<QByteArray> authorizationOf(const AIService::Endpoint &endpoint) {
    QString key = chat::trimmedKey(endpoint.key);
    std::optional<QByteArray> result = key.isEmpty() ? QByteArray() : chat::authorization(key);
    wipe(key);
    return result;
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

AIService::AIService(const UserDefaults &defaults, SecretStore *secrets, Timeouts timeouts)
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
    QString stored =
        secrets_ ? secrets_->get(settings::aiKeyAccount).value_or(QString()) : QString();
    QString key = chat::trimmedKey(stored);
    Config config{settings::aiBaseURL(defaults_), settings::aiModel(defaults_),
                  settings::aiInstruction(defaults_), !key.isEmpty(), chat::authorization(key)};
    wipe(stored);
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

std::optional<QString> AIService::obstacle(const std::optional<QUrl> &url,
                                           const std::optional<QByteArray> &authorization) {
    if (!authorization)
        return chat::unsendableKeyText();
    if (!url || !isWeb(*url))
        return u"The base URL is not an http or https address. One begins with https:// or "
               "http:// and mostly ends in /v1."_s;
    return std::nullopt;
}

void AIService::send(quint64 id, const ChatTransfer::Request &request,
                     const ChatTransfer::Handlers &handlers) {
    if (!network_) {
        network_ = new Network;
        network_->moveToThread(&thread_);
        thread_.setObjectName(u"network"_s);
        thread_.start();
    }
    QMetaObject::invokeMethod(
        network_, [=, network = network_] { network->start(id, request, handlers); },
        Qt::QueuedConnection);
}

AIService::Task AIService::stream(const QString &prompt, OnElement onElement, OnFinished onFinished,
                                  const std::vector<chat::Turn> &before) {
    const quint64 id =
        add({.onElement = std::move(onElement), .onFinished = std::move(onFinished)});
    if (secrets_ && secrets_->locked(settings::aiKeyAccount)) {
        secrets_->unlock(settings::aiKeyAccount, [self = QPointer(this), id, prompt, before] {
            if (self && self->calls_.contains(id))
                self->ask(id, prompt, before);
        });
    } else {
        ask(id, prompt, before);
    }
    return {this, id};
}

void AIService::ask(quint64 id, const QString &prompt, const std::vector<chat::Turn> &before) {
    const Config config = this->config();
    const std::optional<QUrl> url = chat::endpoint(config.baseURL);
    if (config.hasKey && !url)
        qFatal("the base address of the AI endpoint is not a URL");
    const auto events = std::make_shared<ServerSentEvents>();
    const auto hasText = std::make_shared<bool>(false);
    const auto onBytes = [=, this](QByteArrayView bytes) {
        QStringList elements;
        const bool more = events->read(bytes, elements);
        *hasText = *hasText || !elements.join(QString()).isEmpty();
        if (!elements.isEmpty())
            later([=, this] { deliver(id, elements); });
        return more;
    };
    const auto finish = [=, this](const QStringList &elements, const std::optional<QString> &error,
                                  const QString &advice) {
        later([=, this] {
            deliver(id, elements);
            if (const auto call = calls_.extract(id))
                call.mapped()->onFinished(error, advice);
        });
    };
    if (!config.hasKey) {
        const bool locked = secrets_ && secrets_->locked(settings::aiKeyAccount);
        return finish({locked ? chat::lockedText() : chat::noKeyText()}, {}, {});
    }
    if (const std::optional<QString> error = obstacle(url, config.authorization))
        return finish({}, error, {});
    // Without the key, which is not kept longer than it is needed.
    const auto onEnd = [=, baseURL = config.baseURL,
                        model = config.model](const ChatTransfer::End &end) {
        QStringList elements;
        if (end.refusal)
            return finish({chat::httpErrorText(end.refusal->status, baseURL)}, {},
                          chat::adviceOn(*end.refusal, model));
        if (end.error)
            return finish({}, end.error, {});
        events->finish(elements);
        const bool isAnswer = *hasText || !elements.join(QString()).isEmpty();
        finish(elements, {}, isAnswer ? QString() : chat::adviceOnNoAnswer(end.beginning));
    };
    send(id,
         {*url, *config.authorization,
          chat::answerBody(config.model, config.instruction, prompt, before), timeouts_.stream},
         {onBytes, onEnd});
}

AIService::Task AIService::intent(const QString &query, const QStringList &apps,
                                  const QStringList &projects, const QStringList &editors,
                                  OnIntent onIntent) {
    const Config config = this->config();
    const quint64 id = add({.onIntent = std::move(onIntent)});
    const auto body = std::make_shared<QByteArray>();
    const auto onEnd = [=, this](const ChatTransfer::End &end) {
        const bool whole = !end.refusal && !end.error && body->size() <= maxIntentReply;
        later([=, this, intent = whole ? chat::intentFromReply(*body) : std::nullopt] {
            if (const auto call = calls_.extract(id))
                call.mapped()->onIntent(intent);
        });
    };
    const std::optional<QUrl> url = chat::endpoint(config.baseURL);
    if (!config.hasKey || obstacle(url, config.authorization))
        onEnd({});
    else
        send(id,
             {*url, *config.authorization,
              chat::intentBody(config.model, query, apps, projects, editors), timeouts_.intent},
             {collect(body, maxIntentReply), onEnd});
    return {this, id};
}

AIService::Task AIService::models(const Endpoint &endpoint, OnModels onModels) {
    const quint64 id = add({.onModels = std::move(onModels)});
    const auto body = std::make_shared<QByteArray>();
    const auto finish = [=, this](const QStringList &models, const QString &problem) {
        later([=, this] {
            if (const auto call = calls_.extract(id))
                call.mapped()->onModels(models, problem);
        });
    };
    const auto onEnd = [=](const ChatTransfer::End &end) {
        if (end.error)
            return finish({}, *end.error);
        if (end.refusal)
            return finish({}, chat::listRefusedText(*end.refusal));
        const std::optional<QStringList> models = chat::modelNames(*body);
        finish(models.value_or(QStringList()), !models ? chat::noListText(end.beginning)
                                               : models->isEmpty()
                                                   ? u"The server has no models yet."_s
                                                   : QString());
    };
    const std::optional<QUrl> url = chat::endpoint(endpoint.baseURL, chat::modelsPath);
    const std::optional<QByteArray> authorization = authorizationOf(endpoint);
    if (const std::optional<QString> problem = obstacle(url, authorization))
        finish({}, *problem);
    else
        send(id, {*url, *authorization, std::nullopt, timeouts_.intent},
             {collect(body, maxModelsReply), onEnd});
    return {this, id};
}

AIService::Task AIService::test(const Endpoint &endpoint, OnTested onTested) {
    const quint64 id = add({.onTested = std::move(onTested)});
    const auto events = std::make_shared<ServerSentEvents>();
    const auto elements = std::make_shared<QStringList>();
    const auto onBytes = [=](QByteArrayView bytes) {
        return events->read(bytes, *elements) && elements->isEmpty();
    };
    const auto finish = [=, this](const QString &words) {
        later([=, this] {
            if (const auto call = calls_.extract(id))
                call.mapped()->onTested(words);
        });
    };
    const auto onEnd = [=, baseURL = endpoint.baseURL,
                        model = endpoint.model](const ChatTransfer::End &end) {
        if (end.error)
            return finish(*end.error);
        if (end.refusal)
            return finish(chat::httpErrorText(end.refusal->status, baseURL) + u'\n' +
                          chat::adviceOn(*end.refusal, model));
        events->finish(*elements);
        finish(elements->isEmpty() ? chat::adviceOnNoAnswer(end.beginning)
                                   : u"It works: “%1” answers."_s.arg(model));
    };
    const std::optional<QUrl> url = chat::endpoint(endpoint.baseURL);
    const std::optional<QByteArray> authorization = authorizationOf(endpoint);
    if (const std::optional<QString> problem = obstacle(url, authorization))
        finish(*problem);
    else
        send(id, {*url, *authorization, chat::testBody(endpoint.model), timeouts_.intent},
             {onBytes, onEnd});
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
