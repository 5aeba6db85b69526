#pragma once

#include "Chat/ChatProtocol.h"
#include "Chat/ChatTransfer.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QThread>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

namespace corvid {

class SecretStore;
class UserDefaults;

/**
 * The program's only network client: asks an OpenAI-compatible chat endpoint, with the user's
 * own key, for a streamed answer or for what a query means. Main thread only; never blocks.
 * Holds no configuration: every call reads it afresh. Callbacks arrive from the event loop, never
 * from within the call itself.
 */
class AIService final : public QObject {
    Q_OBJECT

public:
    /** The longest silence of a server before a call gives up. */
    struct Timeouts {
        std::chrono::milliseconds stream;
        std::chrono::milliseconds intent;
    };

    /** A call under way. Ends it when destroyed: the connection is closed and nothing is called
        afterwards. May be destroyed from within the call's own callbacks and may outlive the
        service. */
    class Task {
    public:
        Task() = default;
        Task(Task &&other) noexcept = default;
        /** Ends the call that it stood for before. */
        Task &operator=(Task other) noexcept {
            std::swap(service_, other.service_);
            std::swap(id_, other.id_);
            return *this;
        }
        ~Task() { cancel(); }

        /** Does nothing when the call has ended or there is none. */
        void cancel() {
            if (AIService *service = std::exchange(service_, nullptr))
                service->cancel(id_);
        }
        /** The call may still call back. */
        bool active() const { return service_ && service_->calls_.contains(id_); }

    private:
        friend AIService;
        Task(AIService *service, quint64 id) : service_(service), id_(id) {}
        QPointer<AIService> service_;
        quint64 id_ = 0;
    };

    /** A piece of the answer, to be appended to those before. Text as the server sent it: show it
        through displayText(). */
    using OnElement = std::function<void(const QString &)>;
    /** The end of an answer; with what went wrong, for people, if something did. */
    /** Besides, what there is to do about a refusal, or about an answer without text; empty when
        all is well or the error says it. */
    using OnFinished =
        std::function<void(const std::optional<QString> &error, const QString &advice)>;
    using OnIntent = std::function<void(const std::optional<Intent> &)>;
    /** Names of models, or else the problem, for people. */
    using OnModels = std::function<void(const QStringList &models, const QString &problem)>;
    using OnTested = std::function<void(const QString &words)>;

    /** An endpoint that need not be the stored one. */
    struct Endpoint {
        QString baseURL;
        QString model;
        QString key; ///< empty: none is sent
    };

    /** Without secrets there is never a key. Both outlive the service. */
    AIService(const UserDefaults &defaults, SecretStore *secrets,
              Timeouts timeouts = {std::chrono::seconds(60), std::chrono::seconds(20)});
    ~AIService() override;

    /** The process-wide instance, on the standard user defaults and the secrets that the platform
        installs before anything asks for it. Ends with the application object. */
    static AIService &shared();
    static void installSecrets(SecretStore *secrets) { sharedSecrets_ = secrets; }

    /** Asks a question. A missing key and a refusal of the endpoint are answers of one element; an
        answer without end is cut off with a last element that says so. A base address that is no
        URL is a fatal error. Where the keyring is locked the desktop asks for its password first;
        a keyring that stays locked is an answer of one element, too. `before`: what was said
        before, which goes along. */
    [[nodiscard]] Task stream(const QString &prompt, OnElement onElement, OnFinished onFinished,
                              const std::vector<chat::Turn> &before = {});

    /** Asks which of the named things a query means. Every failure is no intent. */
    [[nodiscard]] Task intent(const QString &query, const QStringList &apps,
                              const QStringList &projects, const QStringList &editors,
                              OnIntent onIntent);

    /** Asks an endpoint for its models. */
    [[nodiscard]] Task models(const Endpoint &endpoint, OnModels onModels);

    /** Asks an endpoint for the shortest answer, ends that at its first word, and says in words
        what came back. */
    [[nodiscard]] Task test(const Endpoint &endpoint, OnTested onTested);

private:
    struct Config {
        QString baseURL;
        QString model;
        QString instruction;
        bool hasKey = false;
        std::optional<QByteArray> authorization; ///< absent when the key cannot be sent
    };
    struct Call {
        OnElement onElement = {};
        OnFinished onFinished = {};
        OnIntent onIntent = {};
        OnModels onModels = {};
        OnTested onTested = {};
    };

    class Network;

    Config config() const;
    quint64 add(Call call);
    void ask(quint64 id, const QString &prompt, const std::vector<chat::Turn> &before);
    /** Why a request cannot be sent; nothing when it can. */
    static std::optional<QString> obstacle(const std::optional<QUrl> &url,
                                           const std::optional<QByteArray> &authorization);
    void send(quint64 id, const ChatTransfer::Request &request,
              const ChatTransfer::Handlers &handlers);
    void deliver(quint64 id, const QStringList &elements);
    void cancel(quint64 id);
    /** Runs later in the main thread, called from any. */
    template <typename Function>
    void later(Function function);

    inline static SecretStore *sharedSecrets_ = nullptr;

    const UserDefaults &defaults_;
    SecretStore *secrets_;
    const Timeouts timeouts_;
    std::unordered_map<quint64, std::shared_ptr<const Call>> calls_;
    quint64 lastId_ = 0;
    /** Where all transfers run: to start a request, Qt loads TLS and its certificates and asks for
        the proxy, which takes longer than the main thread may be blocked. Starts with the first
        transfer. */
    QThread thread_;
    Network *network_ = nullptr; ///< lives in the thread and ends with it
};

} // namespace corvid
