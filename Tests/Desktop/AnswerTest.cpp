// Questions to an AI endpoint as a person asks them: the whole program, real keys, a real server,
// and what stands in the panel as a screen reader finds it.

#include "Platform/Linux/Secrets/FileSecretStore.h"
#include "ScreenReader.h"
#include "Worlds/ChatServer.h"
#include "Worlds/ChatStream.h"

#include <QDirIterator>
#include <QJsonArray>

#include <gtest/gtest.h>

#include <functional>
#include <future>
#include <mutex>

using namespace corvid::test;

namespace {

using Connection = ChatServer::Connection;
using Request = ChatServer::Request;

const QString key = u"sk-nobody-else-may-see-this"_s;

QByteArray json(const QJsonObject &object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QJsonObject choice(const QString &part, const QString &content) {
    return {{u"choices"_s, QJsonArray{QJsonObject{{part, QJsonObject{{u"content"_s, content}}}}}}};
}

QByteArray piece(const QString &text) {
    return "data: " + json(choice(u"delta"_s, text)) + "\n\n";
}

QByteArray intentReply(const QJsonObject &intent) {
    const QByteArray body = json(choice(u"message"_s, QString::fromUtf8(json(intent))));
    return "HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" +
           body;
}

/** The program with a key and with a server that means `intent` by every query and treats
    questions as the test says. */
class AnswerTest : public ScreenReaderTest {
protected:
    AnswerTest() {
        // As the program does where there is no Secret Service with a key.
        qputenv("HOME", home.path(QString()).toLocal8Bit());
        EXPECT_TRUE(corvid::FileSecretStore().set(u"ai-api-key"_s, key));
        writeFile(home.path(u".config/Corvid/defaults.json"_s),
                  QString::fromUtf8(json({{u"hotkeyKeyCode"_s, 40},
                                          {u"hotkeyModifiers"_s, 2048},
                                          {u"aiBaseURL"_s, endpoint.baseURL()}})));
        launch();
    }
    ~AnswerTest() override {
        // Before what the server's threads use.
        program.terminate();
        program.waitForFinished();
    }

    /** What the panel shows of the question and the answer, a line break as ⏎. */
    QString answerOf(const QString &question, const QString &end) const {
        return lineWith({u"| Answer |"_s, u"showing"_s, u"= "_s + question + u'⏎', end})
            .section(u"⏎"_s, 1);
    }

    using OnQuestion = std::function<void(Connection &)>;

    void setOnQuestion(OnQuestion onQuestion) {
        const std::scoped_lock lock(mutex_);
        onQuestion_ = std::move(onQuestion);
    }
    void setIntent(const QJsonObject &intent) {
        const std::scoped_lock lock(mutex_);
        intent_ = intent;
    }

private:
    void answer(Connection &connection, const Request &request) {
        OnQuestion onQuestion;
        QJsonObject intent;
        {
            const std::scoped_lock lock(mutex_);
            onQuestion = onQuestion_;
            intent = intent_;
        }
        if (request.body.contains("\"stream\":true"))
            onQuestion(connection);
        else
            connection.send(intentReply(intent));
    }

    std::mutex mutex_; ///< guards what follows: the server asks in threads of its own
    OnQuestion onQuestion_ = [](Connection &connection) { connection.waitForClose(); };
    QJsonObject intent_{{u"action"_s, u"none"_s}};

protected:
    ChatServer endpoint{
        [this](Connection &connection, const Request &request) { answer(connection, request); }};
};

} // namespace

TEST_F(AnswerTest, anAnswerShowsAsItComes) {
    std::promise<void> begin;
    std::promise<void> goOn;
    setOnQuestion([&](Connection &connection) {
        connection.send(streamHead);
        begin.get_future().wait();
        connection.send(piece(u"The first "_s));
        goOn.get_future().wait();
        connection.send(piece(u"words of it.\n<b>Plain</b> \u202etext"_s) + "data: [DONE]\n\n");
        connection.waitForClose();
    });
    type(u"ai what is x"_s);
    press(u"Return"_s);
    lineWith({u"| Waiting for the answer |"_s, u"showing"_s});
    begin.set_value();
    EXPECT_EQ(answerOf(u"what is x"_s, u"first"_s), u"The first");
    goOn.set_value();
    EXPECT_EQ(answerOf(u"what is x"_s, u"text"_s), u"The first words of it.⏎<b>Plain</b> text");
    EXPECT_TRUE(panelHasKeyboard());
}

TEST_F(AnswerTest, aRefusalShowsItsTextWhatToDoAndWhatTheServerSays) {
    setOnQuestion([](Connection &connection) {
        const QByteArray body = json({{u"error"_s, QJsonObject{{u"message"_s, u"Gone <b>"_s}}}});
        connection.send("HTTP/1.1 401 No\r\nContent-Length: " + QByteArray::number(body.size()) +
                        "\r\n\r\n" + body);
    });
    type(u"ai what is x"_s);
    press(u"Return"_s);
    EXPECT_EQ(
        answerOf(u"what is x"_s, u"Gone"_s),
        u"HTTP 401 from "_s + endpoint.baseURL() +
            u". Check endpoint, key, and model name.⏎⏎The server does not accept the API key. "
            "Is it whole, still valid, and one for this address?⏎⏎The server says: Gone <b>"_s);
}

TEST_F(AnswerTest, aScreenReaderFindsParagraphsWithoutMarkupAndTheButtons) {
    setOnQuestion([](Connection &connection) {
        connection.send(streamHead + piece(u"A **rebase**:\n\n- `git` one\n\n```sh\nls\n```\n\n"
                                           "|a|b|\n|-|-|\n|c|d|\n\nSo [it](https://x.org) en"_s));
        connection.waitForClose();
    });
    type(u"ai what is x"_s);
    press(u"Return"_s);
    EXPECT_EQ(answerOf(u"what is x"_s, u" en"_s), u"A rebase:⏎•\tgit one⏎ls⏎a⏎b⏎c⏎d⏎So it en");
    for (const QString &button : {u"Copy the answer"_s, u"Copy the code"_s, u"Stop the answer"_s})
        EXPECT_TRUE(lineWith({u"| "_s + button + u" |"_s, u"showing"_s}).startsWith(u"button"_s));
    lineWith({u"| The answer is still coming |"_s, u"showing"_s});
}

TEST_F(AnswerTest, escapeEndsTheTransferAndKeepsThePanelAndASecondOneHides) {
    std::promise<bool> closed;
    setOnQuestion([&](Connection &connection) {
        connection.send(streamHead + piece(u"endless"_s));
        closed.set_value(connection.waitForClose());
    });
    type(u"ai what is x"_s);
    press(u"Return"_s);
    answerOf(u"what is x"_s, u"endless"_s);
    press(u"Escape"_s);
    EXPECT_TRUE(closed.get_future().get());
    EXPECT_TRUE(lineWith({u"Ask AI: what is x, AI"_s, u"selected"_s}).contains(u"showing"_s));
    EXPECT_TRUE(lineWith({u"| Search |"_s}).endsWith(u"= ai what is x"_s));
    EXPECT_TRUE(panelHasKeyboard());
    press(u"Escape"_s);
    EXPECT_TRUE(eventually([this] { return !panelIsVisible(); }));
    EXPECT_EQ(program.state(), QProcess::Running);
}

TEST_F(AnswerTest, whoLogsOutWhileAnAnswerStreamsIsNotHeldUp) {
    std::promise<bool> closed;
    setOnQuestion([&](Connection &connection) {
        connection.send(streamHead + piece(u"endless"_s));
        closed.set_value(connection.waitForClose());
    });
    type(u"ai what is x"_s);
    press(u"Return"_s);
    answerOf(u"what is x"_s, u"endless"_s);
    program.terminate();
    EXPECT_TRUE(eventually([this] { return program.state() == QProcess::NotRunning; }));
    EXPECT_EQ(program.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(program.exitCode(), 0);
    EXPECT_TRUE(closed.get_future().get());
}

TEST_F(AnswerTest, anXServerThatGoesFirstWhileAnAnswerStreamsEndsIt) {
    std::promise<bool> closed;
    setOnQuestion([&](Connection &connection) {
        connection.send(streamHead + piece(u"endless"_s));
        closed.set_value(connection.waitForClose());
    });
    type(u"ai what is x"_s);
    press(u"Return"_s);
    answerOf(u"what is x"_s, u"endless"_s);
    server.endServer();
    EXPECT_TRUE(eventually([this] { return program.state() == QProcess::NotRunning; }));
    EXPECT_EQ(program.exitStatus(), QProcess::NormalExit);
    EXPECT_TRUE(closed.get_future().get());
}

TEST_F(AnswerTest, whileAServerIsSilentThePanelDoesWhatItAlwaysDoes) {
    type(u"ai what is x"_s);
    press(u"Return"_s);
    lineWith({u"| Waiting for the answer |"_s, u"showing"_s});
    press(u"Escape"_s);
    press(u"ctrl+a"_s);
    type(u"frobn"_s);
    press(u"Return"_s);
    EXPECT_EQ(startedWith(), asItsEntrySays);
}

TEST_F(AnswerTest, shiftReturnAsksOnAndWhatIsTypedOverAnAnswerIsSeenBeforeReturnOpensIt) {
    setOnQuestion([](Connection &connection) {
        connection.send(streamHead + piece(u"Because."_s) + "data: [DONE]\n\n");
        connection.waitForClose();
    });
    type(u"ai why"_s);
    press(u"Return"_s);
    EXPECT_EQ(answerOf(u"why"_s, u"Because"_s), u"Because.");
    lineWith({u"| ·  Shift+Return asks on, 1 turn goes along |"_s, u"showing"_s});
    press(u"ctrl+a"_s);
    type(u"really"_s);
    press(u"shift+Return"_s);
    EXPECT_EQ(answerOf(u"really"_s, u"Because"_s), u"Because.");
    const QJsonArray said =
        QJsonDocument::fromJson(endpoint.requests().back().body).object()[u"messages"_s].toArray();
    ASSERT_EQ(said.size(), 4);
    EXPECT_EQ(said[1][u"content"_s], u"why"_s);
    EXPECT_EQ(said[2][u"content"_s], u"Because."_s);
    EXPECT_EQ(said[3][u"content"_s], u"really"_s);
    press(u"ctrl+a"_s);
    type(u"frobnicator"_s);
    lineWith({u"| Return opens |"_s, u"showing"_s});
    lineWith({u"| Frobnicator, App"_s, u"showing"_s, u"selected"_s});
    press(u"Return"_s);
    EXPECT_EQ(startedWith(), asItsEntrySays);
}

TEST_F(AnswerTest, anApplicationThatIsMeantComesOnTopAndReturnOpensIt) {
    setIntent({{u"action"_s, u"open_app"_s}, {u"app"_s, u"Frobnicator"_s}});
    type(u"ai launch the frobbing one"_s);
    const QString row = lineWith({u"Open Frobnicator, AI"_s, u"selected"_s});
    EXPECT_TRUE(row.contains(u"AI understood: launch the frobbing one"_s)) << qPrintable(row);
    press(u"Return"_s);
    EXPECT_EQ(startedWith(), asItsEntrySays);
    EXPECT_TRUE(eventually([this] { return !panelIsVisible(); }));
    EXPECT_TRUE(eventually([this] {
        const QJsonObject counts = home.defaults()[u"launchCounts"_s].toObject();
        return counts.size() == 1 && counts.keys()[0].startsWith(u"org.example.Frobnicator|"_s);
    }));
    EXPECT_FALSE(home.defaults().contains(u"queryLatches"_s));
}

TEST_F(AnswerTest, aProjectThatIsMeantOpensInTheEditorThatIsMeant) {
    setIntent({{u"action"_s, u"open_project"_s},
               {u"project"_s, u"my web"_s},
               {u"editor"_s, u"Visual Studio Code"_s}});
    type(u"ai open my web project"_s);
    lineWith({u"Open my web in Visual Studio Code, AI"_s, u"~/Code/my web"_s, u"selected"_s});
    press(u"Return"_s);
    EXPECT_EQ(Trace(home.path(u"editor.trace"_s)).arguments(),
              QStringList{home.path(u"Code/my web"_s)});
}

TEST_F(AnswerTest, theKeyGoesToTheEndpointAndNowhereElse) {
    setIntent({{u"action"_s, u"open_app"_s}, {u"app"_s, u"Frobnicator"_s}});
    setOnQuestion([](Connection &connection) {
        connection.send("HTTP/1.1 401 No\r\nContent-Length: 0\r\n\r\n");
    });
    type(u"ai what is x"_s);
    lineWith({u"Open Frobnicator, AI"_s});
    press(u"Down"_s);
    press(u"Return"_s);
    EXPECT_TRUE(answerOf(u"what is x"_s, u"name."_s)
                    .startsWith(u"HTTP 401 from "_s + endpoint.baseURL() +
                                u". Check endpoint, key, and model name."_s));
    press(u"Escape"_s);
    press(u"Up"_s);
    press(u"Return"_s);
    const Trace opened(home.path(u"app.trace"_s));
    for (const Request &request : endpoint.requests())
        EXPECT_EQ(request.headers["authorization"], "Bearer " + key.toUtf8());

    EXPECT_FALSE(opened.lines.join(u'\n').contains(key)) << "in what a child is given";
    const QString process = u"/proc/%1/"_s.arg(program.processId());
    for (const QString &file : {u"cmdline"_s, u"environ"_s})
        EXPECT_FALSE(readFile(process + file).contains(key)) << qPrintable(file);
    program.terminate();
    EXPECT_TRUE(program.waitForFinished());
    EXPECT_FALSE(program.readAllStandardError().contains(key.toUtf8()));
    EXPECT_FALSE(program.readAllStandardOutput().contains(key.toUtf8()));
    int files = 0;
    QDirIterator all(home.path(QString()), QDir::Files | QDir::Hidden,
                     QDirIterator::Subdirectories);
    while (all.hasNext()) {
        QFile file(all.next());
        ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(file.fileName());
        EXPECT_FALSE(file.readAll().contains(key.toUtf8())) << qPrintable(file.fileName());
        ++files;
    }
    EXPECT_GT(files, 5);
}
