// The settings' section of the AI endpoint, with real widgets and real servers on this machine.

#include "Settings/AISection.h"

#include "Chat/ChatProtocol.h"
#include "Fakes/FakeSecretStore.h"
#include "Fakes/FakeUserDefaults.h"
#include "KeychainHelper.h"
#include "Worlds/ChatServer.h"
#include "Worlds/QtPrinters.h"
#include "Worlds/Wait.h"

#include <QAbstractItemView>
#include <QCheckBox>
#include <QCompleter>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QToolButton>

#include <gtest/gtest.h>

using namespace corvid;
using namespace corvid::test;
using namespace Qt::Literals::StringLiterals;

namespace {

QByteArray reply(const QByteArray &body, const QByteArray &status = "200 OK") {
    return "HTTP/1.1 " + status + "\r\nContent-Length: " + QByteArray::number(body.size()) +
           "\r\n\r\n" + body;
}

const QByteArray twoModels = R"({"data":[{"id":"llama"},{"id":"gemma"}]})";
const QByteArray word = "data: {\"choices\":[{\"delta\":{\"content\":\"OK\"}}]}\n\n";

class AISectionTest : public ::testing::Test {
protected:
    void show() {
        section.emplace(defaults, keychain, ai, services);
        section->load();
        section->show();
        section->activateWindow();
    }

    static QString plain(QString text) {
        return text.remove(u'&').remove(QChar(0x2060)).remove(QChar(0x200b));
    }
    QLineEdit *field(const QString &label) {
        const QList<QLabel *> labels = section->findChildren<QLabel *>();
        for (const QLabel *candidate : labels)
            if (plain(candidate->text()) == label)
                return qobject_cast<QLineEdit *>(candidate->buddy());
        return nullptr;
    }
    QLineEdit *key() { return field(u"API key (stored in Keychain)"_s); }
    QToolButton *list(const QString &name) {
        const QList<QToolButton *> buttons = section->findChildren<QToolButton *>();
        for (QToolButton *button : buttons)
            if (button->accessibleName() == name)
                return button;
        return nullptr;
    }
    QMenu *serviceMenu() { return section->findChild<QMenu *>(); }
    QAction *service(const QString &name) {
        const QList<QAction *> actions = serviceMenu()->actions();
        for (QAction *action : actions)
            if (action->text().section(u'\t', 0, 0) == name)
                return action;
        return nullptr;
    }
    void press(const QString &text) {
        const QList<QPushButton *> buttons = section->findChildren<QPushButton *>();
        for (QPushButton *button : buttons)
            if (plain(button->text()) == text)
                button->click();
    }
    /** Waits until the form says something that begins like this; the whole of it. */
    QString said(const QString &beginning) {
        QString text;
        EXPECT_TRUE(waitUntil([&] {
            const QList<QLabel *> labels = section->findChildren<QLabel *>();
            for (const QLabel *label : labels)
                if (plain(label->text()).startsWith(beginning))
                    text = plain(label->text());
            return !text.isEmpty();
        })) << beginning.toStdString();
        return text;
    }
    void pointTo(const ChatServer &server) {
        defaults.set(u"aiBaseURL"_s, server.baseURL());
        defaults.set(u"aiModel"_s, u"llama"_s);
    }
    QString storedKey() const { return secrets.secrets.value(u"ai-api-key"_s); }

    FakeUserDefaults defaults;
    FakeSecretStore secrets;
    KeychainHelper keychain{secrets};
    AIService ai{defaults, &secrets};
    std::vector<KnownService> services{{u"Cloud"_s, u"https://cloud.invalid/v1"_s}};
    std::optional<AISection> section;
};

} // namespace

// --- Services

TEST_F(AISectionTest, servicesOnThisMachineAreLookedForWhenTheListOpensAndNeverBefore) {
    const ChatServer running(reply(twoModels));
    quint16 gone = 0;
    {
        const ChatServer ended(reply(twoModels));
        gone = ended.port();
    }
    services.push_back({u"There"_s, running.baseURL(), running.port()});
    services.push_back({u"Gone"_s, u"http://localhost/v1"_s, gone});
    secrets.set(u"ai-api-key"_s, u"sk-secret"_s);
    show();
    section->save();
    section->load();
    QCoreApplication::processEvents();
    EXPECT_EQ(running.connections(), 0);
    list(u"Services to choose from"_s)->click();
    EXPECT_TRUE(serviceMenu()->isVisible());
    EXPECT_TRUE(waitUntil([this] {
        return service(u"There"_s)->text() == u"There\trunning on this machine" &&
               service(u"Gone"_s)->text() == u"Gone\tnot running here";
    }));
    EXPECT_EQ(service(u"Cloud"_s)->text(), u"Cloud");
    serviceMenu()->close();
    ASSERT_EQ(running.requests().size(), 1U);
    const ChatServer::Request request = running.requests()[0];
    EXPECT_EQ(request.method, "GET");
    EXPECT_EQ(request.path, "/v1/models");
    EXPECT_FALSE(request.headers.contains("authorization")) << "whoever that is";
}

TEST_F(AISectionTest, theServicesThatTheTextNamesAreOffered) {
    QStringList names;
    for (const KnownService &each : knownServices())
        names.append(each.name);
    EXPECT_EQ(names,
              QStringList({u"OpenAI"_s, u"OpenRouter"_s, u"Ollama"_s, u"LM Studio"_s, u"Groq"_s}));
    services = knownServices();
    show();
    Q_EMIT serviceMenu()->aboutToShow();
    EXPECT_EQ(serviceMenu()->actions().size(), 5);
    service(u"Groq"_s)->trigger();
    EXPECT_EQ(field(u"Base URL"_s)->text(), u"https://api.groq.com/openai/v1");
    EXPECT_EQ(storedKey(), QString()) << "nothing is stored before it is saved";
}

TEST_F(AISectionTest, aLocalServiceGetsAPlaceholderInPlaceOfTheKeyOfAnother) {
    services.push_back({u"Local"_s, u"http://localhost:1/v1"_s, 1});
    secrets.set(u"ai-api-key"_s, u"sk-cloud"_s);
    show();
    Q_EMIT serviceMenu()->aboutToShow();
    service(u"Local"_s)->trigger();
    EXPECT_EQ(field(u"Base URL"_s)->text(), u"http://localhost:1/v1");
    EXPECT_EQ(key()->text(), chat::placeholderKey());
    said(u"Local needs no key: a placeholder takes its place when you save."_s);
    service(u"Cloud"_s)->trigger();
    EXPECT_EQ(key()->text(), u"sk-cloud") << "the way back loses nothing";
    service(u"Local"_s)->trigger();
    EXPECT_EQ(storedKey(), u"sk-cloud");
    EXPECT_TRUE(section->save());
    EXPECT_EQ(storedKey(), chat::placeholderKey());
    EXPECT_EQ(defaults.value(u"aiBaseURL"_s), QJsonValue(u"http://localhost:1/v1"_s));
    section->load();
    Q_EMIT serviceMenu()->aboutToShow();
    service(u"Cloud"_s)->trigger();
    EXPECT_EQ(key()->text(), u"") << "the placeholder is no key of theirs";
    said(u"Now enter your API key of Cloud"_s);
}

// --- Models

TEST_F(AISectionTest, modelsAreLoadedFromWhatIsEnteredWhenTheirListIsOpened) {
    const ChatServer server(reply(twoModels));
    show();
    field(u"Base URL"_s)->setText(server.baseURL() + u'/');
    key()->setText(u"sk-entered"_s);
    QCoreApplication::processEvents();
    EXPECT_EQ(server.connections(), 0);
    QToolButton *button = list(u"Models that the endpoint has"_s);
    button->setFocus();
    button->click();
    QLineEdit *model = field(u"Model"_s);
    ASSERT_TRUE(waitUntil([&] { return model->completer()->popup()->isVisible(); }));
    const QAbstractItemModel *shown = model->completer()->completionModel();
    ASSERT_EQ(shown->rowCount(), 2);
    EXPECT_EQ(shown->index(0, 0).data(), u"gemma"_s);
    EXPECT_EQ(shown->index(1, 0).data(), u"llama"_s);
    model->completer()->popup()->close();
    ASSERT_EQ(server.requests().size(), 1U);
    EXPECT_EQ(server.requests()[0].method, "GET");
    EXPECT_EQ(server.requests()[0].path, "/v1/models");
    EXPECT_EQ(server.requests()[0].headers["authorization"], "Bearer sk-entered");
    EXPECT_EQ(model->text(), u"gpt-4o-mini") << "until one is chosen";
    model->setText(u"another"_s);
    EXPECT_TRUE(section->save());
    EXPECT_EQ(defaults.value(u"aiModel"_s), QJsonValue(u"another"_s));
}

TEST_F(AISectionTest, whyThereAreNoModelsIsSaid) {
    show();
    const auto ask = [this](const QString &baseURL) {
        field(u"Base URL"_s)->setText(baseURL);
        list(u"Models that the endpoint has"_s)->click();
    };
    const ChatServer refusing(reply(R"({"error":{"message":"bad key"}})", "401 No"));
    ask(refusing.baseURL());
    EXPECT_TRUE(said(u"HTTP 401."_s).endsWith(u"The server says: bad key"));
    const ChatServer without(reply("{}", "404 No"));
    ask(without.baseURL());
    said(u"The server keeps no list of models"_s);
    const ChatServer page(reply("<html>"));
    ask(page.baseURL());
    said(u"What came back is no list of models."_s);
    const ChatServer empty(reply(R"({"data":[]})"));
    ask(empty.baseURL());
    said(u"The server has no models yet."_s);
    ask(u"http://127.0.0.1:1/v1"_s);
    said(u"Connection refused: nothing listens at 127.0.0.1:1."_s);
    ask(u"ollama"_s);
    said(u"The base URL is not an http or https address."_s);
}

// --- Test

TEST_F(AISectionTest, testAsksForOneWordAndSaysWhatCameBack) {
    const ChatServer server([](ChatServer::Connection &connection, const auto &) {
        connection.send("HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\n\r\n" + word);
        connection.waitForClose(); // it ends the answer itself
    });
    pointTo(server);
    show();
    key()->setText(u" sk-entered\n"_s);
    press(u"Test"_s);
    EXPECT_EQ(said(u"It works"_s), u"It works: “llama” answers.");
    ASSERT_EQ(server.requests().size(), 1U);
    EXPECT_EQ(server.requests()[0].path, "/v1/chat/completions");
    EXPECT_EQ(server.requests()[0].body, chat::testBody(u"llama"_s));
    EXPECT_EQ(server.requests()[0].headers["authorization"], "Bearer sk-entered");
    EXPECT_EQ(storedKey(), QString()) << "a test stores nothing";
}

TEST_F(AISectionTest, aTestThatFailsSaysWhyAndWhatToDo) {
    secrets.set(u"ai-api-key"_s, u"sk"_s);
    const ChatServer refusing(reply(R"({"error":{"message":"who is llama?"}})", "404 No"));
    pointTo(refusing);
    show();
    press(u"Test"_s);
    const QString text = said(u"HTTP 404 from "_s);
    EXPECT_TRUE(text.contains(u"There is no model “llama” here"_s)) << text.toStdString();
    EXPECT_TRUE(text.endsWith(u"The server says: who is llama?"_s)) << text.toStdString();
    const ChatServer page(reply("<html>"));
    field(u"Base URL"_s)->setText(page.baseURL());
    press(u"Test"_s);
    said(u"What came back is no answer of a chat endpoint."_s);
    field(u"Base URL"_s)->setText(u"http://127.0.0.1:1/v1"_s);
    press(u"Test"_s);
    said(u"Connection refused"_s);
    field(u"Base URL"_s)->setText(u"http://[bad"_s);
    press(u"Test"_s);
    said(u"The base URL is not"_s);
}

TEST_F(AISectionTest, withoutAKeyATestSendsNothing) {
    const ChatServer server(reply(word));
    pointTo(server);
    show();
    key()->setText(u" \n"_s);
    press(u"Test"_s);
    said(u"There is no API key to send"_s);
    EXPECT_EQ(server.connections(), 0);
}

TEST_F(AISectionTest, aTestWithTheKeyInALockedKeyringHasItUnlocked) {
    const ChatServer server(reply(word));
    pointTo(server);
    secrets.set(u"ai-api-key"_s, u"sk-stored"_s);
    secrets.isLocked = true;
    secrets.userUnlocks = false;
    show();
    EXPECT_EQ(key()->text(), QString());
    EXPECT_EQ(key()->placeholderText(), u"In the keyring, which is locked");
    EXPECT_EQ(secrets.prompts, 0) << "opening the form asks nobody";
    press(u"Test"_s);
    said(u"The keyring is locked"_s);
    EXPECT_EQ(server.connections(), 0);
    secrets.userUnlocks = true;
    press(u"Test"_s);
    said(u"It works"_s);
    EXPECT_EQ(server.requests()[0].headers["authorization"], "Bearer sk-stored");
    EXPECT_EQ(secrets.prompts, 2);
}

TEST_F(AISectionTest, whatWasSaidGoesWhenSomethingElseIsTyped) {
    show();
    press(u"Test"_s);
    const QString text = said(u"There is no API key"_s);
    Q_EMIT key()->textEdited(u"x"_s);
    const QList<QLabel *> labels = section->findChildren<QLabel *>();
    for (const QLabel *label : labels)
        EXPECT_NE(plain(label->text()), text);
}

// --- The key

TEST_F(AISectionTest, blanksAndLineEndsAroundTheKeyAreNeitherShownNorStored) {
    secrets.set(u"ai-api-key"_s, u"sk-piped\n"_s);
    show();
    EXPECT_EQ(key()->text(), u"sk-piped");
    key()->setText(u"\tsk-é \n"_s);
    EXPECT_TRUE(section->save());
    EXPECT_EQ(storedKey(), u"sk-é");
    key()->setText(u" \n"_s);
    EXPECT_TRUE(section->save());
    EXPECT_EQ(storedKey(), u"sk-é") << "blanks are an empty field";
}

TEST_F(AISectionTest, aKeyWithAControlCharacterIsRefusedInWordsAndNothingIsStored) {
    secrets.set(u"ai-api-key"_s, u"good"_s);
    for (const QString &bad : {u"sk-1\nsk-2"_s, u"sk\t1"_s, u"sk\u2028x"_s, u"sk\u007fx"_s}) {
        show();
        key()->setText(bad);
        EXPECT_FALSE(section->save());
        EXPECT_EQ(said(u"The API key holds a control character"_s), chat::unsendableKeyText());
        EXPECT_EQ(key()->text(), bad) << "to be mended";
        EXPECT_EQ(storedKey(), u"good");
        EXPECT_TRUE(defaults.value(u"aiBaseURL"_s).isUndefined());
    }
}

TEST_F(AISectionTest, aPasswordPromptThatIsCancelledIsSaidAndKeepsWhatWasTyped) {
    secrets.set(u"ai-api-key"_s, u"old"_s);
    secrets.isLocked = true;
    secrets.userUnlocks = false;
    show();
    int asked = 0;
    QObject::connect(&*section, &AISection::keyNotStored, &*section, [&] {
        ++asked;
        section->load(); // as the form does that is shown again
    });
    key()->setText(u"typed"_s);
    EXPECT_TRUE(section->save());
    said(u"The API key is not stored: the keyring stayed locked."_s);
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(key()->text(), u"typed");
    section->loadKey(); // whatever the store says meanwhile
    EXPECT_EQ(key()->text(), u"typed");
    secrets.userUnlocks = true;
    EXPECT_TRUE(section->save());
    EXPECT_EQ(storedKey(), u"typed");
    EXPECT_TRUE(waitUntil([this] { return !key()->isModified(); }));
    section->load();
    EXPECT_EQ(key()->text(), u"typed");
}

TEST_F(AISectionTest, aSectionThatGoesWhileThingsAreUnderWayIsNotCalledBack) {
    const ChatServer silent(
        [](ChatServer::Connection &connection, const auto &) { connection.waitForClose(); });
    pointTo(silent);
    secrets.set(u"ai-api-key"_s, u"sk"_s);
    show();
    press(u"Test"_s);
    ASSERT_TRUE(waitUntil([&] { return silent.requests().size() == 1; }));
    section->save();
    section.reset();
    bool later = false;
    QTimer::singleShot(0, [&] { later = true; });
    EXPECT_TRUE(waitUntil([&] { return later; }));
}

// --- Names

TEST_F(AISectionTest, theSwitchForNamesIsOnUntilItIsSwitchedOffAndSaysWhatItDoes) {
    show();
    said(u"A line that begins with `ai ` goes to the endpoint while you type it, with the names"_s);
    QCheckBox *names = section->findChildren<QCheckBox *>().value(1);
    ASSERT_TRUE(names);
    EXPECT_EQ(plain(names->text()), u"Send the names of applications and projects");
    EXPECT_TRUE(names->isChecked());
    names->setChecked(false);
    EXPECT_TRUE(section->save());
    EXPECT_EQ(defaults.value(u"aiSendsNames"_s), QJsonValue(false));
    EXPECT_EQ(defaults.value(u"aiEnabled"_s), QJsonValue(true));
    section->load();
    EXPECT_FALSE(names->isChecked());
}
