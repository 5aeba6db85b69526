// What goes along with a question, with the real client against a real server on this machine.

#include "Chat/Conversation.h"

#include "Fakes/FakeSecretStore.h"
#include "Fakes/FakeUserDefaults.h"
#include "KeychainHelper.h"
#include "Worlds/ChatServer.h"
#include "Worlds/ChatStream.h"
#include "Worlds/EventLoop.h"
#include "Worlds/QtPrinters.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

#include <future>

using namespace corvid;
using namespace corvid::test;
using namespace Qt::Literals::StringLiterals;

namespace {

using Connection = ChatServer::Connection;
using Request = ChatServer::Request;

/** The messages of a request behind the instruction, each as its role and its text. */
QStringList saidIn(const Request &request) {
    QStringList result;
    const QJsonArray messages = QJsonDocument::fromJson(request.body)[u"messages"_s].toArray();
    for (const QJsonValue message : messages)
        result.append(message[u"role"_s].toString() + u": "_s + message[u"content"_s].toString());
    EXPECT_TRUE(result.value(0).startsWith(u"system: "));
    return result.mid(1);
}

/** An endpoint that answers each question with "re " and the question, unless a test has it do
    something else. */
class ConversationTest : public ::testing::Test {
protected:
    ConversationTest() {
        secrets.secrets.insert(u"ai-api-key"_s, u"sk-test"_s);
        serve([](Connection &connection, const Request &request) { answer(connection, request); });
    }

    static QString promptOf(const Request &request) { return saidIn(request).last().mid(6); }
    static void answer(Connection &connection, const Request &request) {
        connection.send(streamHead + chunk(u"re "_s + promptOf(request)) + "data: [DONE]\n\n");
    }
    void serve(ChatServer::Answer answer) {
        server = std::make_unique<ChatServer>(std::move(answer));
        defaults.set(u"aiBaseURL"_s, server->baseURL());
    }
    bool ends() {
        return eventually([this] { return !conversation.busy(); });
    }
    void ask(const QString &question) {
        conversation.ask(question);
        ASSERT_TRUE(ends());
    }
    void followUp(const QString &question) {
        conversation.followUp(question);
        ASSERT_TRUE(ends());
    }
    QStringList lastSaid() const { return saidIn(server->requests().back()); }

    FakeUserDefaults defaults;
    FakeSecretStore secrets;
    KeychainHelper keychain{secrets};
    AIService ai{defaults, &secrets};
    std::unique_ptr<ChatServer> server;
    Conversation conversation{ai, keychain};
};

} // namespace

TEST_F(ConversationTest, aFurtherQuestionTakesTheTurnsBeforeItAlongInTheirOrder) {
    EXPECT_EQ(conversation.turnsAlong(), std::nullopt);
    ask(u"a"_s);
    EXPECT_EQ(lastSaid(), QStringList(u"user: a"_s)) << "the first goes alone, as ever";
    EXPECT_EQ(conversation.turnsAlong(), 1);
    followUp(u"b"_s);
    EXPECT_EQ(lastSaid(), QStringList({u"user: a"_s, u"assistant: re a"_s, u"user: b"_s}));
    EXPECT_EQ(conversation.question(), u"b");
    EXPECT_EQ(conversation.response(), u"re b");
    EXPECT_EQ(conversation.turnsAlong(), 2);
    followUp(u"c"_s);
    EXPECT_EQ(lastSaid(), QStringList({u"user: a"_s, u"assistant: re a"_s, u"user: b"_s,
                                       u"assistant: re b"_s, u"user: c"_s}));
}

TEST_F(ConversationTest, aQuestionThatIsAskedAloneGoesAloneAndIsATurnForTheNext) {
    ask(u"a"_s);
    ask(u"b"_s);
    EXPECT_EQ(lastSaid(), QStringList(u"user: b"_s));
    EXPECT_EQ(conversation.turnsAlong(), 2);
    followUp(u"c"_s);
    EXPECT_EQ(lastSaid().size(), 5);
}

TEST_F(ConversationTest, withoutAnyTurnAFurtherQuestionIsTheFirst) {
    followUp(u"a"_s);
    EXPECT_EQ(lastSaid(), QStringList(u"user: a"_s));
    EXPECT_EQ(conversation.response(), u"re a");
}

TEST_F(ConversationTest, whatWentWrongIsNoTurnAndAskingAgainTakesTheSameAlong) {
    bool refuses = false;
    serve([&](Connection &connection, const Request &request) {
        if (refuses)
            connection.send("HTTP/1.1 500 No\r\nContent-Length: 0\r\n\r\n");
        else
            answer(connection, request);
    });
    ask(u"a"_s);
    refuses = true;
    followUp(u"b"_s);
    EXPECT_TRUE(conversation.failed());
    EXPECT_EQ(conversation.turnsAlong(), 1);
    refuses = false;
    conversation.askAgain();
    ASSERT_TRUE(ends());
    const QStringList said{u"user: a"_s, u"assistant: re a"_s, u"user: b"_s};
    EXPECT_EQ(lastSaid(), said);
    EXPECT_EQ(conversation.turnsAlong(), 2);
    defaults.set(u"aiBaseURL"_s, u"http://127.0.0.1:1"_s);
    ask(u"refused"_s);
    defaults.set(u"aiBaseURL"_s, server->baseURL());
    followUp(u"c"_s);
    EXPECT_EQ(lastSaid(), said + QStringList({u"assistant: re b"_s, u"user: c"_s}));
}

TEST_F(ConversationTest, aKeyringThatStaysLockedIsSomethingThatWentWrong) {
    secrets.isLocked = true;
    secrets.userUnlocks = false;
    ask(u"a"_s);
    EXPECT_EQ(conversation.response(), chat::lockedText());
    EXPECT_TRUE(conversation.failed());
    EXPECT_EQ(conversation.turnsAlong(), std::nullopt);
}

TEST_F(ConversationTest, aStoppedAnswerIsATurnAsFarAsItCame) {
    bool stays = true;
    serve([&](Connection &connection, const Request &request) {
        if (!std::exchange(stays, false))
            return answer(connection, request);
        connection.send(streamHead + chunk(u"half"_s));
        connection.waitForClose();
    });
    conversation.ask(u"a"_s);
    ASSERT_TRUE(eventually([this] { return conversation.response() == u"half"; }));
    conversation.stop();
    EXPECT_EQ(conversation.turnsAlong(), 1);
    followUp(u"b"_s);
    EXPECT_EQ(lastSaid(), QStringList({u"user: a"_s, u"assistant: half"_s, u"user: b"_s}));
}

TEST_F(ConversationTest, aFurtherQuestionStopsTheAnswerThatIsComing) {
    std::promise<bool> closed;
    serve([&](Connection &connection, const Request &request) {
        if (promptOf(request) != "a"_L1)
            return answer(connection, request);
        connection.send(streamHead + chunk(u"half"_s));
        closed.set_value(connection.waitForClose());
    });
    conversation.ask(u"a"_s);
    ASSERT_TRUE(eventually([this] { return conversation.response() == u"half"; }));
    followUp(u"b"_s);
    EXPECT_TRUE(closed.get_future().get());
    EXPECT_EQ(lastSaid(), QStringList({u"user: a"_s, u"assistant: half"_s, u"user: b"_s}));
    EXPECT_EQ(conversation.response(), u"re b");
}

TEST_F(ConversationTest, anAnswerThatIsLeftBeforeItsEndIsNoTurnAndAWholeOneIs) {
    ask(u"a"_s);
    conversation.leave();
    EXPECT_EQ(conversation.turnsAlong(), 1);
    serve([&](Connection &connection, const Request &request) {
        if (promptOf(request) != "left"_L1)
            return answer(connection, request);
        connection.send(streamHead + chunk(u"half"_s));
        connection.waitForClose();
    });
    conversation.ask(u"left"_s);
    ASSERT_TRUE(eventually([this] { return conversation.response() == u"half"; }));
    EXPECT_EQ(conversation.turnsAlong(), 2);
    conversation.leave();
    EXPECT_EQ(conversation.turnsAlong(), 1);
    followUp(u"b"_s);
    EXPECT_EQ(lastSaid(), QStringList({u"user: a"_s, u"assistant: re a"_s, u"user: b"_s}));
}

TEST_F(ConversationTest, whatGoesAlongIsBoundedAndTheOldestTurnsStayBehindFirst) {
    constexpr qsizetype third = Conversation::mostAlong / 3;
    serve([](Connection &connection, const Request &) {
        connection.send(streamHead + chunk(QString(third - 1, u'x')) + "data: [DONE]\n\n");
    });
    ask(u"1"_s);
    followUp(u"2"_s);
    followUp(u"3"_s);
    EXPECT_EQ(conversation.turnsAlong(), 3) << "a third each, with their questions";
    followUp(u"444"_s);
    EXPECT_EQ(lastSaid().size(), 2 * 3 + 1);
    EXPECT_EQ(conversation.turnsAlong(), 2) << "which says the same before it is sent";
    followUp(u"5"_s);
    ASSERT_EQ(lastSaid().size(), 2 * 2 + 1);
    EXPECT_EQ(lastSaid()[0], u"user: 3");
    EXPECT_EQ(lastSaid()[2], u"user: 444");
}

TEST_F(ConversationTest, anAnswerThatIsTooLongAndAllBeforeItStayBehind) {
    ask(u"a"_s);
    serve([](Connection &connection, const Request &request) {
        if (promptOf(request) != "long"_L1)
            return answer(connection, request);
        connection.send(streamHead + chunk(QString(Conversation::mostAlong, u'x')) +
                        "data: [DONE]\n\n");
    });
    followUp(u"long"_s);
    EXPECT_EQ(conversation.turnsAlong(), 0);
    followUp(u"b"_s);
    EXPECT_EQ(lastSaid(), QStringList(u"user: b"_s));
    EXPECT_EQ(conversation.turnsAlong(), 1);
}

TEST_F(ConversationTest, aNewShowingBeginsAnew) {
    ask(u"a"_s);
    conversation.reset();
    EXPECT_EQ(conversation.turnsAlong(), std::nullopt);
    followUp(u"b"_s);
    EXPECT_EQ(lastSaid(), QStringList(u"user: b"_s));
}
