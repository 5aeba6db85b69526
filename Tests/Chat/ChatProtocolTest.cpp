#include "Chat/ChatProtocol.h"
#include "Worlds/QtPrinters.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

QString address(const QString &baseURL) {
    const std::optional<QUrl> url = chat::endpoint(baseURL);
    return url ? url->toString(QUrl::FullyEncoded) : u"none"_s;
}

QJsonObject object(const QByteArray &json) {
    return QJsonDocument::fromJson(json).object();
}

QJsonObject message(const QString &role, const QString &text) {
    return {{u"role"_s, role}, {u"content"_s, text}};
}

} // namespace

TEST(ChatProtocol, slashesAtTheEndsOfTheBaseAddressDoNotMatter) {
    for (const QString &base : {u"https://api.example/v1"_s, u"https://api.example/v1/"_s,
                                u"https://api.example/v1///"_s, u"//https://api.example/v1"_s})
        EXPECT_EQ(address(base), u"https://api.example/v1/chat/completions");
}

TEST(ChatProtocol, charactersThatAUrlCannotHoldAreEscaped) {
    EXPECT_EQ(address(u"http://h/v 1 "_s), u"http://h/v%201%20/chat/completions");
    EXPECT_EQ(address(u"http://h/é"_s), u"http://h/%C3%A9/chat/completions");
}

TEST(ChatProtocol, anEmptyBaseAddressIsAUrlThoughNotOfAServer) {
    EXPECT_EQ(address(u""_s), u"/chat/completions");
    EXPECT_EQ(address(u"//"_s), u"/chat/completions");
}

TEST(ChatProtocol, whatIsNoUrlHasNoEndpoint) {
    for (const QString &base : {u"http://h:port/v1"_s, u"http://h:99999/v1"_s, u"http://[::1/v1"_s,
                                u"http://a b/v1"_s, u"://h"_s})
        EXPECT_EQ(address(base), u"none") << base.toStdString();
}

TEST(ChatProtocol, theKeyIsSentInUtf8) {
    EXPECT_EQ(chat::authorization(u" sk-A~b 1 "_s), "Bearer  sk-A~b 1 ");
    EXPECT_EQ(chat::authorization(u"é\u010a日😀"_s), "Bearer é\u010a日😀");
}

TEST(ChatProtocol, blanksAndLineEndsAroundAKeyAreNoPartOfIt) {
    for (const QString &key : {u"a b"_s, u"a b\n"_s, u"a b\r\n"_s, u"\t a b \u00a0"_s})
        EXPECT_EQ(chat::trimmedKey(key), u"a b");
    EXPECT_EQ(chat::trimmedKey(u" \n"_s), u"");
}

TEST(ChatProtocol, aKeyThatWouldNotStayOneHeaderIsNotSent) {
    for (const QString &key : {u"a\nb"_s, u"a\r\nX-Evil: 1"_s, u"a\n"_s, QString(QChar(0)), u"\t"_s,
                               u"\u007f"_s, u"\u0085"_s, u"a\u2028b"_s, u"a\u2029b"_s})
        EXPECT_FALSE(chat::authorization(key)) << key.toStdString();
}

TEST(ChatProtocol, anAnswerIsAskedForWithTheInstructionAndThePrompt) {
    EXPECT_EQ(
        object(chat::answerBody(u"m"_s, u"Be brief."_s, u"say \"hi\"\n日本"_s)),
        (QJsonObject{{u"model"_s, u"m"_s},
                     {u"stream"_s, true},
                     {u"messages"_s, QJsonArray{message(u"system"_s, u"Be brief."_s),
                                                message(u"user"_s, u"say \"hi\"\n日本"_s)}}}));
}

TEST(ChatProtocol, anIntentIsAskedForWithTheNamesAndTheQuery) {
    const QByteArray body = chat::intentBody(u"m"_s, u" Open it "_s, {u"Zed"_s, u"Web, Browser"_s},
                                             {u"site"_s}, {u"Zed"_s});
    const QString instruction =
        u"You map a launcher command to one concrete action. Reply ONLY with minified JSON, no "
        u"markdown:\n"
        "{\"action\":\"open_app\"|\"open_project\"|\"none\",\"app\":\"<exact name from "
        "APPS>\",\"project\":\"<exact name from PROJECTS>\",\"editor\":\"<exact name from "
        "EDITORS>\"}\n"
        "Rules: open_app = user wants to open/launch an app. open_project = user wants to open a "
        "project/repo, optionally in an editor. none = it's a question or chit-chat, not a launch "
        "request. Use only exact names from the lists.\n"
        "APPS: Zed, Web, Browser\nPROJECTS: site\nEDITORS: Zed"_s;
    EXPECT_EQ(object(body),
              (QJsonObject{{u"model"_s, u"m"_s},
                           {u"messages"_s, QJsonArray{message(u"system"_s, instruction),
                                                      message(u"user"_s, u" Open it "_s)}},
                           {u"max_tokens"_s, 150},
                           {u"temperature"_s, 0}}));
    EXPECT_TRUE(body.contains("\"max_tokens\":150")) << "an integer";
    EXPECT_TRUE(body.contains("\"temperature\":0")) << "an integer";
}

TEST(ChatProtocol, emptyListsLeaveTheirLabels) {
    const QJsonObject body = object(chat::intentBody(u""_s, u""_s, {}, {}, {}));
    EXPECT_TRUE(body["messages"_L1][0]["content"_L1].toString().endsWith(
        u"lists.\nAPPS: \nPROJECTS: \nEDITORS: "));
}

TEST(ChatProtocol, aTestIsTheSmallestRequestForAStreamedAnswer) {
    EXPECT_EQ(object(chat::testBody(u"m"_s)),
              (QJsonObject{{u"model"_s, u"m"_s},
                           {u"stream"_s, true},
                           {u"messages"_s, QJsonArray{message(u"user"_s, u"Say OK."_s)}}}));
}

TEST(ChatProtocol, modelsAreListedByName) {
    EXPECT_EQ(chat::modelNames(R"({"data":[{"id":"b"},{"id":"A"},{"id":7},{},8,{"id":""}]})"),
              QStringList({u"A"_s, u"b"_s}));
    EXPECT_EQ(chat::modelNames(R"({"data":[]})"), QStringList());
    for (const char *other : {"", "[]", "{}", R"({"data":7})", R"({"data":[{"id":"a"})"})
        EXPECT_FALSE(chat::modelNames(other)) << other;
}

TEST(ChatProtocol, aListOfModelsIsBoundedAndHoldsNothingThatMisleads) {
    QByteArray many =
        R"({"data":[{"id":"\u202egnp"},{"id":"two\nlines"},{"id":")" + QByteArray(201, 'x') + "\"}";
    for (int i = 0; i < 3000; ++i)
        many += ",{\"id\":\"m" + QByteArray::number(i) + "\"}";
    const std::optional<QStringList> names = chat::modelNames(many + "]}");
    ASSERT_TRUE(names);
    EXPECT_EQ(names->size(), 2000);
    for (const QString &name : *names)
        EXPECT_TRUE(name.startsWith(u'm')) << name.toStdString();
}

TEST(ChatProtocol, theTextsForPeople) {
    EXPECT_EQ(
        chat::noKeyText(),
        u"No API key set. Open Settings and add your OpenAI-compatible API key.\n\nWorks with: "
        "OpenAI, OpenRouter, Ollama (http://localhost:11434/v1), LM Studio, Groq.");
    EXPECT_EQ(chat::httpErrorText(401, u"http://h/v1//"_s),
              u"HTTP 401 from http://h/v1//. Check endpoint, key, and model name.");
}
