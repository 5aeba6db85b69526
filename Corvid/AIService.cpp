#include "AIService.h"

#include "Base/Settings.h"
#include "Chat/ChatProtocol.h"
#include "Chat/ServerSentEvents.h"
#include "Platform/SecretStore.h"

#include <QCoreApplication>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype maxIntentReply = 1 << 20; // bytes

bool isWeb(const QUrl &url) {
    return url.scheme() == "http"_L1 || url.scheme() == "https"_L1;
}

} // namespace

void AIService::Task::cancel() {
    if (AIService *service = std::exchange(service_, nullptr))
        service->cancel(id_);
}

bool AIService::Task::active() const {
    return service_ && service_->calls_.contains(id_);
}

AIService::AIService(const UserDefaults &defaults, const SecretStore *secrets, Timeouts timeouts)
    : defaults_(defaults), secrets_(secrets), timeouts_(timeouts) {}

AIService::~AIService() {
    // Callbacks may own tasks, which then find nothing left to cancel.
    std::exchange(calls_, {}).clear();
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
    return {settings::aiBaseURL(defaults_), settings::aiModel(defaults_),
            secrets_ ? secrets_->get(settings::aiKeyAccount).value_or(QString()) : QString()};
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

AIService::Task AIService::stream(const QString &prompt, OnElement onElement,
                                  OnFinished onFinished) {
    const quint64 id = add({std::move(onElement), std::move(onFinished), nullptr});
    const Config config = this->config();
    const auto tell = [this, id](const QStringList &elements, const std::optional<QString> &error) {
        later([this, id, elements, error] {
            deliver(id, elements);
            finish(id, error);
        });
    };
    const std::optional<QUrl> url = chat::endpoint(config.baseURL);
    const std::optional<QByteArray> authorization = chat::authorization(config.apiKey);
    const auto events = std::make_shared<ServerSentEvents>();
    if (config.apiKey.isEmpty())
        tell({chat::noKeyText()}, std::nullopt);
    else if (!url)
        qFatal("the base address of the AI endpoint is not a URL");
    else if (!authorization)
        tell({}, u"The API key holds a character that cannot be sent."_s);
    else if (!isWeb(*url))
        tell({}, u"The base URL is not an http or https address."_s);
    else
        transport_.start(
            id, {*url, *authorization, chat::answerBody(config.model, prompt), timeouts_.stream},
            {.onBytes =
                 [this, id, events](QByteArrayView bytes) {
                     QStringList elements;
                     const ServerSentEvents::State state = events->read(bytes, elements);
                     if (!elements.isEmpty())
                         later([this, id, elements] { deliver(id, elements); });
                     return state == ServerSentEvents::State::Reading;
                 },
             .onEnd =
                 [tell, events, baseURL = config.baseURL](const ChatTransfer::End &end) {
                     QStringList elements;
                     if (end.refusal)
                         elements = {chat::httpErrorText(*end.refusal, baseURL)};
                     else if (!end.error)
                         events->finish(elements);
                     tell(elements, end.error);
                 }});
    return {this, id};
}

AIService::Task AIService::intent(const QString &query, const QStringList &apps,
                                  const QStringList &projects, const QStringList &editors,
                                  OnIntent onIntent) {
    const quint64 id = add({nullptr, nullptr, std::move(onIntent)});
    const Config config = this->config();
    const auto tell = [this, id](const std::optional<Intent> &intent) {
        later([this, id, intent] { finish(id, intent); });
    };
    const std::optional<QUrl> url = chat::endpoint(config.baseURL);
    const std::optional<QByteArray> authorization = chat::authorization(config.apiKey);
    const auto body = std::make_shared<QByteArray>();
    if (config.apiKey.isEmpty() || !url || !isWeb(*url) || !authorization)
        tell(std::nullopt);
    else
        transport_.start(id,
                         {*url, *authorization,
                          chat::intentBody(config.model, query, apps, projects, editors),
                          timeouts_.intent},
                         {.onBytes =
                              [body](QByteArrayView bytes) {
                                  body->append(bytes);
                                  return body->size() <= maxIntentReply;
                              },
                          .onEnd =
                              [tell, body](const ChatTransfer::End &end) {
                                  const bool whole =
                                      !end.refusal && !end.error && body->size() <= maxIntentReply;
                                  tell(whole ? intentFromReply(*body) : std::nullopt);
                              }});
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

void AIService::finish(quint64 id, const std::optional<QString> &error) {
    if (const auto call = calls_.extract(id))
        call.mapped()->onFinished(error);
}

void AIService::finish(quint64 id, const std::optional<Intent> &intent) {
    if (const auto call = calls_.extract(id))
        call.mapped()->onIntent(intent);
}

void AIService::cancel(quint64 id) {
    if (const auto call = calls_.extract(id))
        transport_.cancel(id);
}

} // namespace corvid
