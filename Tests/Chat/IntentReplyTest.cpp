#include "Chat/ChatProtocol.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

/** A reply in which the model says this. */
QByteArray reply(const QString &text) {
    return QJsonDocument(
               QJsonObject{{u"choices"_s, QJsonArray{QJsonObject{
                                              {u"message"_s, QJsonObject{{u"content"_s, text}}}}}}})
        .toJson();
}

const Intent none{u"none"_s, u""_s, u""_s, u""_s};

} // namespace

TEST(IntentReply, everyFieldIsReadFromTheModelsObject) {
    EXPECT_EQ(chat::intentFromReply(reply(
                  uR"({"action":"open_project","app":"A","project":"web-site","editor":"Zed"})"_s)),
              (Intent{u"open_project"_s, u"A"_s, u"web-site"_s, u"Zed"_s}));
}

TEST(IntentReply, missingFieldsAreEmptyAndAMissingActionIsNone) {
    EXPECT_EQ(chat::intentFromReply(reply(uR"({"action":"open_app"})"_s)),
              (Intent{u"open_app"_s, u""_s, u""_s, u""_s}));
    EXPECT_EQ(chat::intentFromReply(reply(u"{}"_s)), none);
}

TEST(IntentReply, fieldsOfOtherTypesCountAsMissing) {
    EXPECT_EQ(chat::intentFromReply(
                  reply(uR"({"action":1,"app":null,"project":["x"],"editor":{"name":"x"}})"_s)),
              none);
}

TEST(IntentReply, theActionIsNotValidated) {
    EXPECT_EQ(chat::intentFromReply(reply(uR"({"action":"Dance"})"_s))->action, u"Dance");
}

TEST(IntentReply, fencesAndProseAroundTheObjectAreTolerated) {
    for (const QString &text : {
             u"```json\n{\"action\":\"open_app\",\"app\":\"A\"}\n```"_s,
             u"Sure, here it is: {\"action\":\"open_app\",\"app\":\"A\"}"_s,
             u"{\"action\":\"open_app\",\"app\":\"A\"} Anything else?"_s,
             u"{\"action\":\"open_app\",\"app\":\"A\",\"why\":{\"a\":{}}}"_s,
         })
        EXPECT_EQ(chat::intentFromReply(reply(text)), (Intent{u"open_app"_s, u"A"_s, u""_s, u""_s}))
            << text.toStdString();
}

TEST(IntentReply, onlyTheOutermostBracesAreTaken) {
    EXPECT_FALSE(chat::intentFromReply(reply(uR"({"action":"open_app"} or {"action":"none"})"_s)));
}

TEST(IntentReply, withoutBothBracesThereIsNoIntent) {
    for (const QString &text : {u""_s, u"no idea"_s, u"{\"action\":"_s, u"\"action\"}"_s, u"[1]"_s})
        EXPECT_FALSE(chat::intentFromReply(reply(text))) << text.toStdString();
}

TEST(IntentReply, bracesAroundSomethingElseThanAnObjectAreNoIntent) {
    for (const QString &text : {u"{action}"_s, u"{\"action\":}"_s, u"{{}}"_s, u"{\"a\":1,}"_s})
        EXPECT_FALSE(chat::intentFromReply(reply(text))) << text.toStdString();
}

TEST(IntentReply, aBodyWithAnythingMissingOrOfAnotherTypeIsNoIntent) {
    for (const QByteArray body : {
             "",
             "null",
             "3",
             "[]",
             "{}",
             "<html></html>",
             R"({"choices":[{"message":{"content":"{)",
             R"({"choices":null})",
             R"({"choices":{}})",
             R"({"choices":[]})",
             R"({"choices":[1]})",
             R"({"choices":[{"message":{"content":"{}"}},1]})",
             R"({"choices":[{}]})",
             R"({"choices":[{"message":null}]})",
             R"({"choices":[{"message":"{}"}]})",
             R"({"choices":[{"message":{}}]})",
             R"({"choices":[{"message":{"content":null}}]})",
             R"({"choices":[{"message":{"content":{}}}]})",
             R"({"choices":[{"message":{"content":["{}"]}}]})",
             R"({"choices":[{"delta":{"content":"{}"}}]})",
             R"({"error":{"message":"no"}})",
         })
        EXPECT_FALSE(chat::intentFromReply(body)) << body.constData();
}

TEST(IntentReplyDeathTest, bracesTheWrongWayRoundAreFatal) {
    EXPECT_DEATH(chat::intentFromText(u"} {"_s), "the wrong way round");
}
