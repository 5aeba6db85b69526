#include "AIService.h"
#include "Base/Settings.h"
#include "Chat/ChatProtocol.h"
#include "Chat/ServerSentEvents.h"
#include "Fakes/FakeSecretStore.h"
#include "Fakes/FakeUserDefaults.h"
#include "Worlds/ChatServer.h"
#include "Worlds/Dependent.h"
#include "Worlds/EventLoop.h"
#include "Worlds/QtPrinters.h"

#include <QCoreApplication>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSslConfiguration>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <future>

using namespace corvid;
using namespace corvid::test;
using namespace Qt::Literals::StringLiterals;

namespace {

using Connection = ChatServer::Connection;
using Request = ChatServer::Request;

const QString key = u"sk-secret-0123456789"_s;
const QByteArray streamHead = "HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\n\r\n";

QByteArray response(const QByteArray &status, const QByteArray &body,
                    const QByteArray &headers = {}) {
    return "HTTP/1.1 " + status + "\r\n" + headers +
           "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

QByteArray chunk(const QByteArray &text) {
    return R"(data: {"choices":[{"delta":{"content":")" + text + "\"}}]}\n\n";
}

QByteArray intentReply(const QString &text) {
    const QJsonObject message{{u"message"_s, QJsonObject{{u"content"_s, text}}}};
    return QJsonDocument(QJsonObject{{u"choices"_s, QJsonArray{message}}}).toJson();
}

QByteArray *logged = nullptr;

void keepLog(QtMsgType, const QMessageLogContext &, const QString &text) {
    logged->append(text.toUtf8() + '\n');
}

/** The most memory the process has ever held, in bytes. */
qint64 peakMemory() {
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray text = status.readAll();
    const qsizetype start = text.indexOf("VmHWM:") + 6;
    return text.sliced(start, text.indexOf("kB", start) - start).trimmed().toLongLong() * 1024;
}

struct Answer {
    QStringList elements;
    int ends = 0;
    std::optional<QString> error;
    QString advice;

    QString text() const { return elements.join(QString()); }
};

class AIServiceTest : public testing::Test {
protected:
    AIServiceTest() {
        secrets.secrets.insert(u"ai-api-key"_s, key);
        logged = &log;
        previous = qInstallMessageHandler(keepLog);
    }

    ~AIServiceTest() override {
        service.reset();
        qInstallMessageHandler(previous);
        EXPECT_FALSE(log.contains(key.toUtf8()));
    }

    AIService::Task stream(Answer &answer, const QString &prompt = u"why"_s) {
        return service->stream(
            prompt, [&answer](const QString &element) { answer.elements.append(element); },
            [&answer](const std::optional<QString> &error, const QString &advice) {
                ++answer.ends;
                answer.error = error;
                answer.advice = advice;
            });
    }

    /** The whole answer of an endpoint. */
    Answer ask(const QString &baseURL) {
        defaults.set(u"aiBaseURL"_s, baseURL);
        Answer answer;
        const AIService::Task task = stream(answer);
        EXPECT_TRUE(eventually([&] { return answer.ends > 0; }));
        EXPECT_FALSE(task.active());
        EXPECT_FALSE(answer.error && answer.error->contains(key));
        return answer;
    }

    Answer ask(const ChatServer &server) { return ask(server.baseURL()); }

    std::optional<Intent> intent(const QString &baseURL) {
        defaults.set(u"aiBaseURL"_s, baseURL);
        int ends = 0;
        std::optional<Intent> result;
        const AIService::Task task =
            service->intent(u"open it"_s, {u"A"_s, u"B"_s}, {u"P"_s}, {u"B"_s},
                            [&](const std::optional<Intent> &intent) {
                                ++ends;
                                result = intent;
                            });
        EXPECT_TRUE(eventually([&] { return ends > 0; }));
        EXPECT_EQ(ends, 1);
        return result;
    }

    std::optional<Intent> intent(const ChatServer &server) { return intent(server.baseURL()); }

    /** Gives up on a silent server after this time. */
    void useTimeout(std::chrono::milliseconds timeout) {
        service =
            std::make_unique<AIService>(defaults, &secrets, AIService::Timeouts{timeout, timeout});
    }

    QByteArray log;
    FakeUserDefaults defaults;
    FakeSecretStore secrets;
    std::unique_ptr<AIService> service = std::make_unique<AIService>(defaults, &secrets);

private:
    QtMessageHandler previous;
};

using AIServiceDeathTest = AIServiceTest;

QJsonObject bodyOf(const Request &request) {
    return QJsonDocument::fromJson(request.body).object();
}

} // namespace

// What is asked

TEST_F(AIServiceTest, aStreamIsAPostOfJsonWithTheKey) {
    defaults.set(u"aiModel"_s, u"llama"_s);
    const ChatServer server(streamHead);
    ask(server);
    ASSERT_EQ(server.requests().size(), 1U);
    const Request request = server.requests().front();
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.path, "/v1/chat/completions");
    EXPECT_EQ(request.headers["content-type"], "application/json");
    EXPECT_EQ(request.headers["authorization"], "Bearer " + key.toUtf8());
    EXPECT_EQ(request.body,
              chat::answerBody(u"llama"_s, settings::aiInstruction(defaults), u"why"_s));
}

TEST_F(AIServiceTest, anIntentIsAPostOfJsonWithTheKey) {
    defaults.set(u"aiModel"_s, u"llama"_s);
    const ChatServer server(response("200 OK", "{}"));
    intent(server);
    ASSERT_EQ(server.requests().size(), 1U);
    const Request request = server.requests().front();
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.path, "/v1/chat/completions");
    EXPECT_EQ(request.headers["content-type"], "application/json");
    EXPECT_EQ(request.headers["authorization"], "Bearer " + key.toUtf8());
    EXPECT_EQ(request.body,
              chat::intentBody(u"llama"_s, u"open it"_s, {u"A"_s, u"B"_s}, {u"P"_s}, {u"B"_s}));
}

TEST_F(AIServiceTest, slashesAroundTheBaseAddressLeadToTheSamePath) {
    const ChatServer server(streamHead);
    ask(server.baseURL());
    ask(server.baseURL() + u'/');
    ask(u"//"_s + server.baseURL() + u"//"_s);
    ASSERT_EQ(server.requests().size(), 3U);
    for (const Request &request : server.requests())
        EXPECT_EQ(request.path, "/v1/chat/completions");
}

TEST_F(AIServiceTest, theModelHasADefaultOnlyWhileNoneIsStored) {
    const ChatServer server(streamHead);
    ask(server);
    defaults.set(u"aiModel"_s, u""_s);
    ask(server);
    ASSERT_EQ(server.requests().size(), 2U);
    EXPECT_EQ(bodyOf(server.requests()[0])["model"_L1], u"gpt-4o-mini"_s);
    EXPECT_EQ(bodyOf(server.requests()[1])["model"_L1], u""_s);
}

TEST_F(AIServiceTest, anEmptyStoredBaseAddressIsUsedAsItStands) {
    const Answer answer = ask(u""_s);
    EXPECT_TRUE(answer.error);
    EXPECT_TRUE(answer.elements.isEmpty());
}

TEST_F(AIServiceTest, everyCallReadsItsConfigurationAfresh) {
    const ChatServer first(streamHead);
    const ChatServer second(streamHead);
    ask(first);
    secrets.secrets[u"ai-api-key"_s] = u"another"_s;
    defaults.set(u"aiModel"_s, u"m2"_s);
    ask(second);
    ASSERT_EQ(first.requests().size(), 1U);
    ASSERT_EQ(second.requests().size(), 1U);
    EXPECT_EQ(second.requests()[0].headers["authorization"], "Bearer another");
    EXPECT_EQ(bodyOf(second.requests()[0])["model"_L1], u"m2"_s);
}

TEST_F(AIServiceTest, theKeyIsSentAsStoredInUtf8WithoutTheBlanksAndLineEndsAroundIt) {
    const ChatServer server(streamHead);
    for (const QString &stored : {u"a  b~!é日"_s, u"a  b~!é日\n"_s, u" \ta  b~!é日\r\n"_s}) {
        secrets.secrets[u"ai-api-key"_s] = stored;
        ask(server);
    }
    ASSERT_EQ(server.requests().size(), 3U);
    for (const Request &request : server.requests())
        EXPECT_EQ(request.headers["authorization"], "Bearer a  b~!é日");
}

TEST_F(AIServiceTest, aKeyOfBlanksAloneIsNone) {
    secrets.secrets[u"ai-api-key"_s] = u" \n"_s;
    EXPECT_EQ(ask(u"http://127.0.0.1:1"_s).elements, QStringList(chat::noKeyText()));
}

TEST_F(AIServiceTest, anInstructionOfTheUsersReplacesOurs) {
    const ChatServer server(streamHead);
    for (const QJsonValue &stored :
         {QJsonValue(), QJsonValue(7), QJsonValue(u""_s), QJsonValue(u"Rhyme."_s)}) {
        defaults.set(u"aiInstruction"_s, stored);
        ask(server);
    }
    QStringList instructions;
    for (const Request &request : server.requests())
        instructions.append(bodyOf(request)["messages"_L1][0]["content"_L1].toString());
    const QString ours = u"You are a concise assistant inside a macOS launcher. Answer briefly."_s;
    EXPECT_EQ(instructions, QStringList({ours, ours, ours, u"Rhyme."_s}));
}

// Without a usable configuration

TEST_F(AIServiceTest, withoutAKeyAStreamIsTheNoKeyTextAndAsksNobody) {
    const ChatServer server(streamHead);
    secrets.secrets[u"ai-api-key"_s] = u""_s;
    const Answer empty = ask(server);
    secrets.secrets.clear();
    const Answer absent = ask(server);
    service = std::make_unique<AIService>(defaults, nullptr);
    const Answer noStore = ask(server);
    for (const Answer &answer : {empty, absent, noStore}) {
        EXPECT_EQ(answer.elements, QStringList(chat::noKeyText()));
        EXPECT_EQ(answer.ends, 1);
        EXPECT_FALSE(answer.error);
    }
    EXPECT_EQ(server.connections(), 0);
}

TEST_F(AIServiceTest, withoutAKeyThereIsNoIntentAndNobodyIsAsked) {
    const ChatServer server(response("200 OK", intentReply(u"{}"_s)));
    secrets.secrets[u"ai-api-key"_s] = u""_s;
    EXPECT_FALSE(intent(server));
    secrets.secrets.clear();
    EXPECT_FALSE(intent(server));
    EXPECT_EQ(server.connections(), 0);
}

TEST_F(AIServiceTest, aKeyThatWouldNotStayOneHeaderIsAnErrorAndIsNotSent) {
    const ChatServer server(streamHead);
    for (const QString &bad : {u"sk-1\r\nX-Evil: 1"_s, u"sk\t1"_s, u"sk\u2028x"_s}) {
        secrets.secrets[u"ai-api-key"_s] = bad;
        const Answer answer = ask(server);
        EXPECT_EQ(answer.error, chat::unsendableKeyText());
        EXPECT_TRUE(answer.elements.isEmpty());
        EXPECT_FALSE(intent(server));
    }
    EXPECT_EQ(server.connections(), 0);
}

TEST_F(AIServiceTest, onlyWebAddressesAreAsked) {
    for (const QString &base : {u"file:///tmp"_s, u"data:text/plain,x"_s, u"localhost:11434/v1"_s,
                                u"api.example"_s, u"ftp://127.0.0.1"_s}) {
        EXPECT_TRUE(ask(base).error->startsWith(u"The base URL is not an http or https address."));
        EXPECT_FALSE(intent(base));
    }
}

TEST_F(AIServiceDeathTest, aBaseAddressThatIsNoUrlIsFatalForAStream) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            qInstallMessageHandler(nullptr);
            defaults.set(u"aiBaseURL"_s, u"http://user:hidden@[bad"_s);
            Answer answer;
            const AIService::Task task = stream(answer);
        },
        "^the base address of the AI endpoint is not a URL\n$");
}

TEST_F(AIServiceTest, aBaseAddressThatIsNoUrlIsNoIntent) {
    EXPECT_FALSE(intent(u"http://[bad"_s));
}

// With a locked keyring

TEST_F(AIServiceTest, aQuestionHasALockedKeyringUnlockedAndIsThenAsked) {
    secrets.isLocked = true;
    const ChatServer server(streamHead + chunk("a"));
    EXPECT_EQ(ask(server).text(), u"a");
    EXPECT_EQ(secrets.prompts, 1);
    EXPECT_EQ(server.requests()[0].headers["authorization"], "Bearer " + key.toUtf8());
}

TEST_F(AIServiceTest, aKeyringThatStaysLockedIsSaidAndNotCalledAMissingKey) {
    secrets.isLocked = true;
    secrets.userUnlocks = false;
    const ChatServer server(streamHead);
    const Answer answer = ask(server);
    EXPECT_EQ(answer.elements, QStringList(chat::lockedText()));
    EXPECT_FALSE(answer.error);
    EXPECT_EQ(answer.ends, 1);
    EXPECT_EQ(server.connections(), 0);
}

TEST_F(AIServiceTest, whatIsResolvedWhileTypingNeverAsksForThePassword) {
    secrets.isLocked = true;
    const ChatServer server(response("200 OK", intentReply(u"{}"_s)));
    EXPECT_FALSE(intent(server));
    EXPECT_EQ(secrets.prompts, 0);
    EXPECT_EQ(server.connections(), 0);
}

TEST_F(AIServiceTest, whoGoesAwayWhileThePasswordIsAskedForIsNotCalledBack) {
    secrets.isLocked = true;
    const ChatServer server(streamHead);
    defaults.set(u"aiBaseURL"_s, server.baseURL());
    Answer answer;
    {
        const AIService::Task task = stream(answer);
        EXPECT_TRUE(task.active());
    }
    Answer orphan;
    const AIService::Task task = stream(orphan);
    service.reset();
    EXPECT_TRUE(eventually([&] { return secrets.prompts > 0; }));
    EXPECT_EQ(answer.ends + orphan.ends, 0);
    EXPECT_EQ(server.connections(), 0);
}

// Calls and their tasks

TEST_F(AIServiceTest, nothingIsCalledFromWithinTheCallItself) {
    secrets.secrets.clear();
    Answer answer;
    int intents = 0;
    const AIService::Task first = stream(answer);
    const AIService::Task second =
        service->intent(u"q"_s, {}, {}, {}, [&](const auto &) { ++intents; });
    EXPECT_TRUE(answer.elements.isEmpty());
    EXPECT_EQ(answer.ends + intents, 0);
    EXPECT_TRUE(first.active());
    EXPECT_TRUE(eventually([&] { return answer.ends == 1 && intents == 1; }));
}

TEST_F(AIServiceTest, theFirstWordsArriveBeforeTheAnswerIsComplete) {
    std::promise<void> seen;
    const ChatServer server([&](Connection &connection, const Request &) {
        connection.send(streamHead + chunk("first"));
        seen.get_future().wait();
        connection.send(chunk("second") + "data: [DONE]\n\n");
    });
    defaults.set(u"aiBaseURL"_s, server.baseURL());
    Answer answer;
    const AIService::Task task = stream(answer);
    ASSERT_TRUE(eventually([&] { return !answer.elements.isEmpty(); }));
    EXPECT_EQ(answer.elements, QStringList(u"first"_s));
    EXPECT_EQ(answer.ends, 0);
    seen.set_value();
    ASSERT_TRUE(eventually([&] { return answer.ends == 1; }));
    EXPECT_EQ(answer.elements, QStringList({u"first"_s, u"second"_s}));
}

TEST_F(AIServiceTest, cancellingClosesTheConnectionAndNothingIsCalledAfterwards) {
    for (const bool byDestruction : {false, true}) {
        std::promise<bool> closed;
        const ChatServer server([&](Connection &connection, const Request &) {
            connection.send(streamHead + chunk("a"));
            closed.set_value(connection.waitForClose());
        });
        defaults.set(u"aiBaseURL"_s, server.baseURL());
        Answer answer;
        auto task = std::make_unique<AIService::Task>(stream(answer));
        ASSERT_TRUE(eventually([&] { return !answer.elements.isEmpty(); }));
        if (byDestruction) {
            task.reset();
        } else {
            task->cancel();
            EXPECT_FALSE(task->active());
            task->cancel();
        }
        EXPECT_TRUE(closed.get_future().get());
        QCoreApplication::processEvents();
        EXPECT_EQ(answer.elements, QStringList(u"a"_s));
        EXPECT_EQ(answer.ends, 0);
    }
}

TEST_F(AIServiceTest, cancellingAnIntentClosesTheConnection) {
    std::promise<void> asked;
    std::promise<bool> closed;
    const ChatServer server([&](Connection &connection, const Request &) {
        asked.set_value();
        closed.set_value(connection.waitForClose());
    });
    defaults.set(u"aiBaseURL"_s, server.baseURL());
    int ends = 0;
    AIService::Task task = service->intent(u"q"_s, {}, {}, {}, [&](const auto &) { ++ends; });
    asked.get_future().wait();
    task.cancel();
    EXPECT_TRUE(closed.get_future().get());
    QCoreApplication::processEvents();
    EXPECT_EQ(ends, 0);
}

TEST_F(AIServiceTest, aTaskCancelledBeforeTheEventLoopRunsCallsNothing) {
    secrets.secrets.clear();
    Answer cancelled;
    Answer other;
    AIService::Task task = stream(cancelled);
    task.cancel();
    const AIService::Task later = stream(other);
    ASSERT_TRUE(eventually([&] { return other.ends == 1; }));
    EXPECT_EQ(cancelled.ends, 0);
    EXPECT_TRUE(cancelled.elements.isEmpty());
}

TEST_F(AIServiceTest, cancellingInACallbackLeavesOutTheElementsThatHadArrivedToo) {
    const ChatServer server(streamHead + chunk("a") + chunk("b") + "data: [DONE]\n");
    defaults.set(u"aiBaseURL"_s, server.baseURL());
    QStringList elements;
    int ends = 0;
    AIService::Task task;
    task = service->stream(
        u"q"_s,
        [&](const QString &element) {
            elements.append(element);
            task = AIService::Task();
        },
        [&](const auto &, const QString &) { ++ends; });
    ASSERT_TRUE(eventually([&] { return !elements.isEmpty(); }));
    const Answer next = ask(server);
    EXPECT_EQ(next.text(), u"ab");
    EXPECT_EQ(elements, QStringList(u"a"_s));
    EXPECT_EQ(ends, 0);
}

TEST_F(AIServiceTest, aTaskMayBeDestroyedInItsLastCallback) {
    secrets.secrets.clear();
    bool ended = false;
    auto task = std::make_unique<AIService::Task>();
    *task = service->stream(
        u"q"_s, [](const QString &) {},
        [&](const auto &, const QString &) {
            task.reset();
            ended = true;
        });
    EXPECT_TRUE(eventually([&] { return ended; }));
    EXPECT_FALSE(task);
}

TEST_F(AIServiceTest, aMovedTaskStaysTheSameCall) {
    const ChatServer server(streamHead + chunk("a"));
    defaults.set(u"aiBaseURL"_s, server.baseURL());
    Answer answer;
    AIService::Task first = stream(answer);
    AIService::Task second = std::move(first);
    first = AIService::Task();
    EXPECT_TRUE(second.active());
    EXPECT_TRUE(eventually([&] { return answer.ends == 1; }));
    EXPECT_EQ(answer.text(), u"a");
}

TEST_F(AIServiceTest, aServiceDestroyedInMidStreamClosesTheConnectionAndCallsNothing) {
    std::promise<bool> closed;
    const ChatServer server([&](Connection &connection, const Request &) {
        connection.send(streamHead + chunk("a"));
        closed.set_value(connection.waitForClose());
    });
    defaults.set(u"aiBaseURL"_s, server.baseURL());
    Answer answer;
    AIService::Task task = stream(answer);
    ASSERT_TRUE(eventually([&] { return !answer.elements.isEmpty(); }));
    service.reset();
    EXPECT_TRUE(closed.get_future().get());
    EXPECT_FALSE(task.active());
    task.cancel();
    QCoreApplication::processEvents();
    EXPECT_EQ(answer.ends, 0);
}

TEST_F(AIServiceTest, callsDoNotWaitForOneAnother) {
    std::promise<void> release;
    const std::shared_future<void> released = release.get_future().share();
    const ChatServer server([&](Connection &connection, const Request &request) {
        if (request.body.contains("slow"))
            released.wait();
        connection.send(streamHead + chunk("x"));
    });
    defaults.set(u"aiBaseURL"_s, server.baseURL());
    Answer slow;
    Answer quick;
    const AIService::Task first = stream(slow, u"slow"_s);
    const AIService::Task second = stream(quick, u"quick"_s);
    EXPECT_TRUE(eventually([&] { return quick.ends == 1; }));
    EXPECT_EQ(slow.ends, 0);
    release.set_value();
    EXPECT_TRUE(eventually([&] { return slow.ends == 1; }));
}

TEST_F(AIServiceTest, theSharedInstanceWorksOnTheInstalledStores) {
    // They outlive the instance, which lives as long as the process.
    static FakeUserDefaults standard;
    static FakeSecretStore installed;
    installed.secrets = secrets.secrets;
    UserDefaults::installStandard(&standard);
    AIService::installSecrets(&installed);
    EXPECT_EQ(&AIService::shared(), &AIService::shared());
    const ChatServer server(streamHead + chunk("a"));
    standard.set(u"aiBaseURL"_s, server.baseURL());
    QString text;
    bool ended = false;
    const AIService::Task task = AIService::shared().stream(
        u"q"_s, [&](const QString &element) { text += element; },
        [&](const auto &, const QString &) { ended = true; });
    EXPECT_TRUE(eventually([&] { return ended; }));
    EXPECT_EQ(text, u"a");
}

// Good servers, in all the shapes that answers come in

TEST_F(AIServiceTest, anAnswerWithoutDoneFinishesNormally) {
    const Answer answer = ask(ChatServer(streamHead + chunk("a") + chunk("b")));
    EXPECT_EQ(answer.elements, QStringList({u"a"_s, u"b"_s}));
    EXPECT_EQ(answer.ends, 1);
    EXPECT_FALSE(answer.error);
}

TEST_F(AIServiceTest, doneEndsTheAnswerAndTheTransfer) {
    std::promise<bool> closed;
    const ChatServer server([&](Connection &connection, const Request &) {
        connection.send(streamHead + chunk("a") + "data: [DONE]\n\n" + chunk("b"));
        closed.set_value(connection.waitForClose());
    });
    const Answer answer = ask(server);
    EXPECT_EQ(answer.elements, QStringList(u"a"_s));
    EXPECT_FALSE(answer.error);
    EXPECT_TRUE(closed.get_future().get());
}

TEST_F(AIServiceTest, doneWithoutTheSpaceEndsNothing) {
    const Answer answer = ask(ChatServer(streamHead + "data:[DONE]\n" + chunk("a")));
    EXPECT_EQ(answer.text(), u"a");
}

TEST_F(AIServiceTest, oneByteAtATimeIsTheSameAnswer) {
    const ChatServer server([](Connection &connection, const Request &) {
        for (const char byte :
             streamHead + chunk("日本\\n") + "\r\n" + chunk("語") + "data: [DONE]\r\n")
            connection.send(QByteArrayView(&byte, 1));
    });
    const Answer answer = ask(server);
    EXPECT_EQ(answer.elements, QStringList({u"日本\n"_s, u"語"_s}));
    EXPECT_FALSE(answer.error);
}

TEST_F(AIServiceTest, aChunkBorderAnywhereIsTheSameAnswer) {
    const QByteArray body = chunk("é😀") + ": x\r\n\r\n" + chunk("b") + "data: [DONE]\n";
    for (qsizetype cut = 1; cut < body.size(); ++cut) {
        const ChatServer server([&](Connection &connection, const Request &) {
            connection.send("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n");
            connection.sendChunk(body.first(cut));
            connection.sendChunk(body.sliced(cut));
            connection.sendChunk("");
        });
        ASSERT_EQ(ask(server).elements, QStringList({u"é😀"_s, u"b"_s})) << "cut at " << cut;
    }
}

TEST_F(AIServiceTest, aCompressedAnswerIsTheSameAnswer) {
    const QByteArray body = chunk("zip") + chunk("ped") + "data: [DONE]\n\n";
    const QByteArray zlib = qCompress(body).sliced(4);
    const Answer answer = ask(ChatServer(response(
        "200 OK", zlib, "Content-Encoding: deflate\r\nContent-Type: text/event-stream\r\n")));
    EXPECT_EQ(answer.elements, QStringList({u"zip"_s, u"ped"_s}));
    EXPECT_FALSE(answer.error);
}

TEST_F(AIServiceTest, aLongCompressedAnswerIsWhole) {
    QByteArray body;
    QString text;
    for (int i = 0; i < 20'000; ++i) {
        body += chunk(QByteArray::number(i) + ' ');
        text += QString::number(i) + u' ';
    }
    const Answer answer = ask(
        ChatServer(response("200 OK", qCompress(body).sliced(4), "Content-Encoding: deflate\r\n")));
    EXPECT_EQ(answer.text(), text);
    EXPECT_FALSE(answer.error);
}

TEST_F(AIServiceTest, aStatusOf2xxIsAnAnswer) {
    EXPECT_EQ(ask(ChatServer(response("201 Created", chunk("a")))).text(), u"a");
    const Answer nothing = ask(ChatServer("HTTP/1.1 204 No Content\r\n\r\n"));
    EXPECT_TRUE(nothing.elements.isEmpty());
    EXPECT_FALSE(nothing.error);
}

// Bad servers

TEST_F(AIServiceTest, aRefusalIsOneElementThatNamesStatusAndAddress) {
    for (const char *status :
         {"400 Bad Request", "401 Unauthorized", "403 Forbidden", "404 Not Found",
          "407 Proxy Authentication Required", "429 Too Many Requests", "500 Internal Server Error",
          "503 Service Unavailable", "599 Odd", "304 Not Modified"}) {
        const ChatServer server(response(status, chunk("not shown")));
        const Answer answer = ask(server.baseURL() + u'/');
        EXPECT_EQ(answer.elements,
                  QStringList(u"HTTP "_s + QString::fromLatin1(status, 3) + u" from "_s +
                              server.baseURL() + u"/. Check endpoint, key, and model name."_s));
        EXPECT_EQ(answer.ends, 1);
        EXPECT_FALSE(answer.error);
        EXPECT_FALSE(intent(server));
    }
}

TEST_F(AIServiceTest, aRefusalComesWithWhatToDoAndTheServersOwnWordsBesideItsText) {
    const ChatServer server(response("429 Slow down", R"({"error":{"message":"Quota of sk used"}})",
                                     "Retry-After: 20\r\n"));
    const Answer answer = ask(server);
    EXPECT_EQ(answer.elements,
              QStringList(u"HTTP 429 from %1. Check endpoint, key, and model name."_s.arg(
                  server.baseURL())));
    EXPECT_EQ(answer.advice, u"Too many requests. Ask again in 20 seconds.\n\nThe server says: "
                             "Quota of sk used");
}

TEST_F(AIServiceTest, aServerThatRepeatsTheKeyDoesNotGetItOntoTheScreen) {
    for (const char *status : {"401 No", "200 OK"}) {
        const ChatServer server(
            response(status, R"({"error":{"message":"Bad key )" + key.toUtf8() + "!\"}}"));
        EXPECT_TRUE(ask(server).advice.endsWith(u"The server says: Bad key …!")) << status;
    }
}

TEST_F(AIServiceTest, aRefusalWithoutEndIsToldAllTheSame) {
    const ChatServer server([](Connection &connection, const Request &) {
        connection.send("HTTP/1.1 500 Oops\r\n\r\n");
        while (connection.send(QByteArray(4096, 'x'))) {
        }
    });
    EXPECT_TRUE(ask(server).advice.endsWith(u"says: "_s + QString(500, u'x') + u'…'));
}

TEST_F(AIServiceTest, aServerThatAsksForOtherCredentialsIsARefusal) {
    for (const char *scheme :
         {"Basic realm=\"x\"", "Digest realm=\"x\", nonce=\"1\"", "Negotiate", "NTLM", "Bearer"}) {
        const ChatServer server(
            response("401 Unauthorized", "{}", "WWW-Authenticate: " + QByteArray(scheme) + "\r\n"));
        const Answer answer = ask(server);
        EXPECT_TRUE(answer.text().startsWith(u"HTTP 401 from ")) << scheme;
        EXPECT_FALSE(answer.error);
        EXPECT_EQ(server.requests().size(), 1U) << scheme;
    }
}

TEST_F(AIServiceTest, aRefusalNeedsNoBodyToBeTold) {
    const ChatServer server([&](Connection &connection, const Request &) {
        connection.send("HTTP/1.1 500 Oops\r\nContent-Length: 1000\r\n\r\nhalf");
        connection.waitForClose();
    });
    EXPECT_TRUE(ask(server).text().startsWith(u"HTTP 500 from "));
}

TEST_F(AIServiceTest, aRefusedConnectionIsAnError) {
    QString gone;
    {
        const ChatServer server(streamHead);
        gone = server.baseURL();
    }
    const Answer answer = ask(gone);
    EXPECT_EQ(answer.error,
              u"Connection refused: nothing listens at %1. Start the server there, or correct the "
              "Base URL in Settings."_s.arg(QUrl(gone).authority()));
    EXPECT_TRUE(answer.advice.isEmpty());
    EXPECT_TRUE(answer.elements.isEmpty());
    EXPECT_EQ(answer.ends, 1);
    EXPECT_FALSE(intent(gone));
}

TEST_F(AIServiceTest, anUnknownHostIsAnError) {
    const Answer answer = ask(u"http://nobody.invalid/v1"_s);
    EXPECT_EQ(answer.error, u"Host nobody.invalid not found. Check the Base URL in Settings, and "
                            "whether this machine is online."_s);
    EXPECT_FALSE(intent(u"http://nobody.invalid/v1"_s));
}

TEST_F(AIServiceTest, aServerThatClosesWithoutAWordIsAnError) {
    const ChatServer server(QByteArray{});
    EXPECT_TRUE(ask(server).error);
    EXPECT_FALSE(intent(server));
}

TEST_F(AIServiceTest, aConnectionThatIsClosedUnderTheNextQuestionIsReplacedByANewOne) {
    for (const bool reset : {false, true}) {
        std::atomic<int> lost = 0;
        const ChatServer server([&](Connection &connection, const Request &) {
            connection.send(response("200 OK", chunk("fine")));
            if (connection.read().method.isEmpty())
                return;
            ++lost;
            if (reset)
                connection.reset();
        });
        // Not every question is sent over a connection that is still open.
        for (int questions = 0; lost == 0; ++questions) {
            ASSERT_LT(questions, 100);
            const Answer answer = ask(server);
            EXPECT_EQ(answer.error, std::nullopt);
            EXPECT_EQ(answer.text(), u"fine");
        }
    }
}

TEST_F(AIServiceTest, aQuestionThatMayHaveBeenHeardIsNotSentAgain) {
    std::atomic<int> heard = 0;
    const ChatServer server([&](Connection &connection, const Request &) {
        ++heard;
        connection.send(response("200 OK", chunk("fine")));
        if (connection.read().method.isEmpty())
            return;
        ++heard;
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 99\r\n\r\n" + chunk("half"));
    });
    for (int questions = 1;; ++questions) {
        ASSERT_LT(questions, 100);
        const bool failed = ask(server).error.has_value();
        ASSERT_EQ(heard, questions);
        if (failed)
            break;
    }
}

TEST_F(AIServiceTest, afterALostConnectionAnAnswerThatEndsWithItsConnectionIsWhole) {
    for (int round = 0; round < 20; ++round) {
        const ChatServer server([&](Connection &connection, const Request &request) {
            if (!request.body.contains("lost"))
                connection.send(streamHead + chunk("fine"));
        });
        defaults.set(u"aiBaseURL"_s, server.baseURL());
        Answer lost;
        const AIService::Task task = stream(lost, u"lost"_s);
        ASSERT_TRUE(eventually([&] { return lost.ends > 0; }));
        EXPECT_TRUE(lost.error);
        const Answer answer = ask(server);
        EXPECT_EQ(answer.error, std::nullopt);
        EXPECT_EQ(answer.text(), u"fine");
    }
}

TEST_F(AIServiceTest, aServerThatSpeaksNoHttpIsAnError) {
    const ChatServer server("SSH-2.0-OpenSSH\r\n\r\n");
    EXPECT_TRUE(ask(server).error);
    EXPECT_FALSE(intent(server));
}

TEST_F(AIServiceTest, aTlsAddressOfAPlainServerIsAnError) {
    const ChatServer server(streamHead);
    QString base = server.baseURL();
    base.replace(u"http:"_s, u"https:"_s);
    EXPECT_TRUE(ask(base).error);
    EXPECT_LE(server.connections(), 2) << "tried again more than once";
    EXPECT_FALSE(intent(base));
    EXPECT_TRUE(server.requests().empty());
}

TEST_F(AIServiceTest, aWebPageInsteadOfAnAnswerIsAnEmptyAnswer) {
    const ChatServer server(
        response("200 OK", "<!doctype html>\n<title>Hi</title>\n", "Content-Type: text/html\r\n"));
    const Answer answer = ask(server);
    EXPECT_TRUE(answer.elements.isEmpty());
    EXPECT_FALSE(answer.error);
    EXPECT_TRUE(answer.advice.startsWith(u"What came back is no answer of a chat endpoint."));
    EXPECT_FALSE(intent(server));
}

TEST_F(AIServiceTest, damagedAndMistypedLinesAreSkipped) {
    const Answer answer = ask(ChatServer(streamHead + "data: {\"choices\":[{\"delta\n" +
                                         "data: {\"choices\":{\"delta\":1}}\ndata: []\n" +
                                         "data:{\"choices\":[{\"delta\":{\"content\":\"x\"}}]}\n" +
                                         chunk("a") + "data: {\"choices\":[{\"del"));
    EXPECT_EQ(answer.elements, QStringList(u"a"_s));
    EXPECT_FALSE(answer.error);
}

TEST_F(AIServiceTest, aConnectionLostInMidStreamKeepsTheTextAndEnds) {
    std::promise<void> seen;
    const ChatServer server([&](Connection &connection, const Request &) {
        connection.send("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n");
        connection.sendChunk(chunk("a") + "data: {\"choices\":[{\"del");
        seen.get_future().wait();
        connection.reset();
    });
    defaults.set(u"aiBaseURL"_s, server.baseURL());
    Answer answer;
    const AIService::Task task = stream(answer);
    ASSERT_TRUE(eventually([&] { return !answer.elements.isEmpty(); }));
    seen.set_value();
    ASSERT_TRUE(eventually([&] { return answer.ends == 1; }));
    EXPECT_EQ(answer.text(), u"a");
}

TEST_F(AIServiceTest, aBodyShorterThanPromisedIsAnError) {
    const QByteArray head = "HTTP/1.1 200 OK\r\nContent-Length: 100000\r\n\r\n";
    const Answer answer = ask(ChatServer(head + chunk("a")));
    EXPECT_EQ(answer.text(), u"a");
    EXPECT_TRUE(answer.error);
    EXPECT_FALSE(intent(ChatServer(head + intentReply(u"{}"_s))));
}

TEST_F(AIServiceTest, aSilentServerIsAnErrorAfterTheTimeout) {
    useTimeout(std::chrono::milliseconds(50));
    for (const QByteArray &beginning : {QByteArray(), QByteArray("HTTP/1.1 200"), streamHead,
                                        QByteArray(streamHead + chunk("a"))}) {
        std::promise<bool> closed;
        const ChatServer server([&](Connection &connection, const Request &) {
            connection.send(beginning);
            closed.set_value(connection.waitForClose());
        });
        const Answer answer = ask(server);
        EXPECT_TRUE(answer.error && answer.error->startsWith(u"The request timed out: 127.0.0.1"));
        EXPECT_EQ(answer.text(),
                  beginning.endsWith('\n') && beginning.contains("data") ? u"a" : u"");
        EXPECT_TRUE(closed.get_future().get());
    }
}

TEST_F(AIServiceTest, aSilentServerIsNoIntentAfterTheTimeout) {
    useTimeout(std::chrono::milliseconds(50));
    const ChatServer server(
        [&](Connection &connection, const Request &) { connection.waitForClose(); });
    EXPECT_FALSE(intent(server));
}

TEST_F(AIServiceTest, theTimeoutCountsSilenceAndNotTheWholeAnswer) {
    useTimeout(std::chrono::milliseconds(1000));
    const ChatServer server([&](Connection &connection, const Request &) {
        connection.send(streamHead);
        for (int i = 0; i < 6; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(250));
            connection.send(i % 2 ? chunk("a") : ": keep-alive\n\n");
        }
    });
    const Answer answer = ask(server);
    EXPECT_FALSE(answer.error);
    EXPECT_EQ(answer.text(), u"aaa");
}

TEST_F(AIServiceTest, aHundredMegabytesInOneLineStayBoundedInMemory) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizer keeps what was freed, and memory of its own";
#endif
    const qint64 before = peakMemory();
    for (const QByteArray beginning : {"data: {\"choices\":[{\"delta\":{\"content\":\"", ": "}) {
        const bool data = beginning.startsWith("data");
        std::promise<int> sent;
        const ChatServer server([&](Connection &connection, const Request &) {
            connection.send(streamHead + beginning);
            const QByteArray portion(100'000, 'x');
            int portions = 0;
            while (portions < 1000 && connection.send(portion))
                ++portions;
            connection.send("\n" + chunk("a"));
            sent.set_value(portions);
        });
        const Answer answer = ask(server);
        EXPECT_FALSE(answer.error);
        EXPECT_EQ(answer.elements, QStringList(data ? ServerSentEvents::cutOffText() : u"a"_s));
        const int portions = sent.get_future().get();
        if (data)
            EXPECT_LT(portions, 500) << "the transfer was not ended";
        else
            EXPECT_EQ(portions, 1000);
    }
    EXPECT_LT(peakMemory() - before, 32 * 1024 * 1024);
}

TEST_F(AIServiceTest, anAnswerWithoutEndIsCutOffAndItsTransferEnded) {
    std::promise<void> ended;
    const ChatServer server([&](Connection &connection, const Request &) {
        connection.send(streamHead);
        const QByteArray portion = chunk(QByteArray(1000, 'x')).repeated(50);
        while (connection.send(portion)) {
        }
        ended.set_value();
    });
    Answer answer = ask(server);
    EXPECT_FALSE(answer.error);
    EXPECT_EQ(answer.elements.takeLast(), u"\n\n"_s + ServerSentEvents::cutOffText());
    EXPECT_EQ(answer.text().size(), ServerSentEvents::maxAnswer);
    ended.get_future().wait();
}

TEST_F(AIServiceTest, aDecompressionBombStaysBoundedInMemory) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizer keeps what was freed, and memory of its own";
#endif
    const QByteArray bomb = qCompress(QByteArray(100'000'000, 'x')).sliced(4);
    const qint64 before = peakMemory();
    const ChatServer server(response("200 OK", bomb, "Content-Encoding: deflate\r\n"));
    ask(server);
    EXPECT_FALSE(intent(server));
    EXPECT_LT(peakMemory() - before, 32 * 1024 * 1024);
}

TEST_F(AIServiceTest, anIntentReplyWithoutEndIsNoIntentAndItsTransferEnded) {
    std::promise<void> ended;
    const ChatServer server([&](Connection &connection, const Request &) {
        connection.send("HTTP/1.1 200 OK\r\n\r\n");
        const QByteArray portion(100'000, ' ');
        while (connection.send(portion)) {
        }
        ended.set_value();
    });
    EXPECT_FALSE(intent(server));
    ended.get_future().wait();
}

// Intents over the wire

TEST_F(AIServiceTest, anIntentIsReadFromTheReply) {
    EXPECT_EQ(intent(ChatServer(response(
                  "200 OK",
                  intentReply(u"Sure:\n```json\n{\"action\":\"open_app\",\"app\":\"A\"}\n```"_s)))),
              (Intent{u"open_app"_s, u"A"_s, u""_s, u""_s}));
    EXPECT_EQ(intent(ChatServer(response("200 OK", intentReply(uR"({"action":"open_app"})"_s)))),
              (Intent{u"open_app"_s, u""_s, u""_s, u""_s}));
}

TEST_F(AIServiceTest, halfAnIntentReplyIsNoIntent) {
    const QByteArray body = intentReply(uR"({"action":"open_app"})"_s);
    EXPECT_FALSE(intent(ChatServer(response("200 OK", body.first(body.size() / 2)))));
}

// Where the key goes

TEST_F(AIServiceTest, redirectsWithinTheOriginThatRepeatTheRequestAreFollowed) {
    for (const char *status : {"307 Temporary Redirect", "308 Permanent Redirect"}) {
        const ChatServer server([&](Connection &connection, const Request &request) {
            connection.send(request.path == "/new" ? streamHead + chunk("a")
                                                   : response(status, "", "Location: /new\r\n"));
        });
        const Answer answer = ask(server);
        EXPECT_EQ(answer.elements, QStringList(u"a"_s));
        ASSERT_EQ(server.requests().size(), 2U);
        const Request again = server.requests()[1];
        EXPECT_EQ(again.method, "POST");
        EXPECT_EQ(again.body, server.requests()[0].body);
        EXPECT_EQ(again.headers["authorization"], "Bearer " + key.toUtf8());
    }
}

TEST_F(AIServiceTest, aRedirectToAnotherOriginIsARefusalAndNobodyIsAskedThere) {
    const ChatServer other(streamHead + chunk("stolen"));
    for (const char *status : {"301 Moved Permanently", "302 Found", "303 See Other",
                               "307 Temporary Redirect", "308 Permanent Redirect"}) {
        for (const QString &target : {other.baseURL(), u"//127.0.0.1:%1/"_s.arg(other.port()),
                                      u"http://localhost:%1/"_s.arg(other.port())}) {
            const ChatServer server(
                response(status, "", "Location: " + target.toLatin1() + "\r\n"));
            const Answer answer = ask(server);
            EXPECT_TRUE(answer.text().startsWith(u"HTTP "_s + QString::fromLatin1(status, 3) +
                                                 u" from "_s + server.baseURL()));
            EXPECT_FALSE(answer.error);
            EXPECT_TRUE(answer.advice.startsWith(u"The server points to http://"_s))
                << answer.advice.toStdString();
            EXPECT_TRUE(answer.advice.contains(u':' + QString::number(other.port())));
            EXPECT_FALSE(intent(server));
        }
    }
    EXPECT_EQ(other.connections(), 0);
}

TEST_F(AIServiceTest, aRedirectByAnotherNameOrSchemeIsARefusalUnlessItIsHttps) {
    quint16 port = 0;
    QByteArray target;
    const ChatServer server([&](Connection &connection, const Request &) {
        connection.send(response("307 Temporary Redirect", "",
                                 "Location: " + target + QByteArray::number(port) + "/\r\n"));
    });
    port = server.port();
    for (const char *origin : {"http://localhost:", "http://127.0.0.2:", "ftp://127.0.0.1:"}) {
        target = origin;
        EXPECT_TRUE(ask(server).text().startsWith(u"HTTP 307 from "));
    }
    EXPECT_EQ(server.requests().size(), 3U);
    target = "https://127.0.0.1:"; // where this server speaks no TLS
    EXPECT_TRUE(ask(server).error);
    EXPECT_EQ(server.requests().size(), 4U);
}

TEST_F(AIServiceTest, redirectsWithoutEndAreARefusal) {
    const ChatServer server(response("308 Permanent Redirect", "", "Location: /again\r\n"));
    EXPECT_TRUE(ask(server).text().startsWith(u"HTTP 308 from "));
    EXPECT_EQ(server.requests().size(), 6U);
}

TEST_F(AIServiceTest, aRedirectWithoutATargetIsARefusal) {
    EXPECT_TRUE(ask(ChatServer(response("307 Temporary Redirect", "")))
                    .text()
                    .startsWith(u"HTTP 307 from "));
}

TEST_F(AIServiceTest, noCookiesAreKept) {
    const ChatServer server(response("200 OK", chunk("a"), "Set-Cookie: who=you; Path=/\r\n"));
    ask(server);
    ask(server);
    ASSERT_EQ(server.requests().size(), 2U);
    EXPECT_FALSE(server.requests()[1].headers.contains("cookie"));
}

// TLS and HTTP/2, against a server of another make with a certificate of its own

namespace {

class AIServiceTlsTest : public AIServiceTest {
protected:
    void SetUp() override {
        ASSERT_TRUE(folder.isValid());
        QProcess openssl;
        openssl.start(u"openssl"_s, {u"req"_s, u"-x509"_s, u"-newkey"_s, u"ec"_s, u"-pkeyopt"_s,
                                     u"ec_paramgen_curve:prime256v1"_s, u"-nodes"_s, u"-batch"_s,
                                     u"-days"_s, u"2"_s, u"-subj"_s, u"/CN=127.0.0.1"_s,
                                     u"-addext"_s, u"subjectAltName=IP:127.0.0.1"_s, u"-keyout"_s,
                                     folder.filePath(u"key.pem"_s), u"-out"_s, certificate()});
        ASSERT_TRUE(openssl.waitForFinished());
        ASSERT_EQ(openssl.exitCode(), 0) << openssl.readAllStandardError().toStdString();
        makeDependent(server);
        server.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        server.start(u"/usr/bin/python3"_s,
                     {QStringLiteral(CORVID_TEST_FIXTURES "/../Helpers/http2_server.py"),
                      certificate(), folder.filePath(u"key.pem"_s)});
        baseURL = u"https://127.0.0.1:%1/v1"_s.arg(line());
    }

    ~AIServiceTlsTest() override {
        server.kill();
        server.waitForFinished();
        QSslConfiguration::setDefaultConfiguration(usual);
    }

    /** The server's next line of output. */
    QString line() {
        while (!server.canReadLine()) {
            if (!server.waitForReadyRead())
                return {};
        }
        return QString::fromUtf8(server.readLine()).trimmed();
    }

    void trustTheServer() {
        QSslConfiguration trusting = usual;
        trusting.addCaCertificates(certificate());
        QSslConfiguration::setDefaultConfiguration(trusting);
    }

    QString baseURL;

private:
    QString certificate() const { return folder.filePath(u"certificate.pem"_s); }

    const QSslConfiguration usual = QSslConfiguration::defaultConfiguration();
    QTemporaryDir folder;
    QProcess server;
};

} // namespace

TEST_F(AIServiceTlsTest, aCertificateThatNobodyVouchesForIsAnErrorAndTheServerSeesNoRequest) {
    const Answer answer = ask(baseURL);
    ASSERT_TRUE(answer.error);
    EXPECT_TRUE(answer.error->contains(u"certificate")) << answer.error->toStdString();
    EXPECT_TRUE(answer.elements.isEmpty());
    EXPECT_FALSE(intent(baseURL));
    EXPECT_EQ(line(), u"no request");
}

TEST_F(AIServiceTlsTest, aCertificateForAnotherNameIsAnError) {
    trustTheServer();
    baseURL.replace(u"127.0.0.1"_s, u"localhost"_s);
    EXPECT_TRUE(ask(baseURL).error);
    EXPECT_EQ(line(), u"no request");
}

TEST_F(AIServiceTlsTest, anAnswerOverHttp2IsTheSameAnswer) {
    trustTheServer();
    const Answer answer = ask(baseURL);
    EXPECT_FALSE(answer.error) << answer.error->toStdString();
    EXPECT_EQ(answer.elements, QStringList({u"over "_s, u"HTTP/2 日本"_s}));
    EXPECT_EQ(line(), u"POST /v1/chat/completions Bearer "_s + key);
}

TEST_F(AIServiceTlsTest, anIntentOverHttp2IsTheSameIntent) {
    trustTheServer();
    EXPECT_EQ(intent(baseURL), (Intent{u"open_app"_s, u"A"_s, u""_s, u""_s}));
}

TEST_F(AIServiceTlsTest, aRefusalOverHttp2IsARefusal) {
    trustTheServer();
    EXPECT_TRUE(ask(baseURL + u"/refuse"_s).text().startsWith(u"HTTP 429 from "));
}

TEST_F(AIServiceTlsTest, aRedirectFromHttpToHttpsOfTheSameHostIsFollowed) {
    trustTheServer();
    const ChatServer plain(response("308 Permanent Redirect", "",
                                    "Location: " + baseURL.toUtf8() + "/chat/completions\r\n"));
    EXPECT_EQ(ask(plain).text(), u"over HTTP/2 日本");
    EXPECT_EQ(line(), u"POST /v1/chat/completions Bearer "_s + key);
}

TEST_F(AIServiceTlsTest, aStreamResetOverHttp2KeepsTheTextAndIsAnError) {
    trustTheServer();
    const Answer answer = ask(baseURL + u"/reset"_s);
    EXPECT_EQ(answer.text(), u"over ");
    EXPECT_TRUE(answer.error);
}

TEST_F(AIServiceTlsTest, cancellingOverHttp2ReachesTheServer) {
    trustTheServer();
    defaults.set(u"aiBaseURL"_s, QString(baseURL + u"/wait"_s));
    Answer answer;
    AIService::Task task = stream(answer);
    ASSERT_TRUE(eventually([&] { return !answer.elements.isEmpty(); }));
    task.cancel();
    EXPECT_TRUE(line().startsWith(u"POST"));
    EXPECT_EQ(line(), u"cancelled");
    EXPECT_EQ(answer.ends, 0);
}

// The way there

TEST_F(AIServiceTest, proxiesOfTheSystemAreUsedExceptForThisMachine) {
    const ChatServer proxy(response("200 OK", chunk("through the proxy")));
    const ChatServer local(response("200 OK", chunk("directly")));
    qputenv("http_proxy", u"http://127.0.0.1:%1"_s.arg(proxy.port()).toLatin1());
    EXPECT_EQ(ask(u"http://nobody.invalid/v1"_s).text(), u"through the proxy");
    EXPECT_EQ(ask(local).text(), u"directly");
    EXPECT_EQ(ask(u"http://localhost:%1/v1"_s.arg(local.port())).text(), u"directly");
    qunsetenv("http_proxy");
    ASSERT_EQ(proxy.requests().size(), 1U);
    EXPECT_EQ(proxy.requests()[0].path, "http://nobody.invalid/v1/chat/completions");
}
