// The view model's use of AI, with the real client against a real server on this machine.

#include "Base/Settings.h"
#include "Chat/ChatProtocol.h"
#include "Fakes/LauncherWorld.h"
#include "Worlds/ChatServer.h"
#include "Worlds/ChatStream.h"
#include "Worlds/QtPrinters.h"
#include "Worlds/Wait.h"

#include <QDir>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>

#include <gtest/gtest.h>

#include <condition_variable>
#include <deque>
#include <future>

using namespace corvid;
using namespace corvid::test;
using namespace Qt::Literals::StringLiterals;

namespace {

using Connection = ChatServer::Connection;
using Request = ChatServer::Request;

constexpr auto debounce = std::chrono::milliseconds(400);

QByteArray intentReply(const QJsonObject &intent) {
    const QJsonObject message{
        {u"content"_s, QString::fromUtf8(QJsonDocument(intent).toJson(QJsonDocument::Compact))}};
    const QByteArray body =
        QJsonDocument(QJsonObject{{u"choices"_s, QJsonArray{QJsonObject{{u"message"_s, message}}}}})
            .toJson();
    return "HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" +
           body;
}

QJsonObject openApp(const QString &name) {
    return {{u"action"_s, u"open_app"_s}, {u"app"_s, name}};
}

QJsonObject openProject(const QString &name, const QString &editor) {
    return {{u"action"_s, u"open_project"_s}, {u"project"_s, name}, {u"editor"_s, editor}};
}

QString messageOf(const Request &request, int index) {
    return QJsonDocument::fromJson(request.body)[u"messages"_s][index][u"content"_s].toString();
}
/** What was asked. */
QString promptOf(const Request &request) {
    return messageOf(request, 1);
}

/** The pieces of one answer, sent when the test says so. */
class Feed {
public:
    Feed() = default;
    Feed(const Feed &) = delete;
    Feed &operator=(const Feed &) = delete;
    /** Ends the answer and waits for those who serve it. */
    ~Feed() {
        end();
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return serving_ == 0; });
    }

    void push(const QString &text) { put(chunk(text)); }
    void end() { put({}); }

    void serve(Connection &connection) {
        std::unique_lock lock(mutex_);
        ++serving_;
        QByteArray piece = streamHead;
        while (!piece.isEmpty()) {
            lock.unlock();
            connection.send(piece);
            lock.lock();
            changed_.wait(lock, [this] { return !pieces_.empty(); });
            piece = pieces_.front();
            pieces_.pop_front();
        }
        --serving_;
        changed_.notify_all();
    }

private:
    void put(const QByteArray &piece) {
        const std::scoped_lock lock(mutex_);
        pieces_.push_back(piece);
        changed_.notify_all();
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<QByteArray> pieces_; ///< an empty one is the end
    int serving_ = 0;
};

/** The applications Alpha, Code (an editor) and Beta and the projects api and web, found by real
    scans, and an endpoint with a key. */
class LauncherViewModelAITest : public ::testing::Test {
protected:
    LauncherViewModelAITest() {
        world.secrets.secrets.insert(u"ai-api-key"_s, u"sk-test"_s);
        // The scans of the empty world first: this thread must not touch what they read.
        EXPECT_TRUE(waitUntil([this] { return scans == 1 && !world.projects.scanning(); }));
        for (const QString &name : {u"Alpha"_s, u"Beta"_s, u"Code"_s}) {
            DesktopEntry entry{};
            entry.id = u"id."_s + name;
            entry.path = u"/apps/"_s + name + u".desktop"_s;
            entry.name = name;
            if (name == "Code"_L1)
                entry.categories = {u"Development"_s, u"IDE"_s};
            world.desktopEntries.entries.push_back(entry);
            world.workspace.setIcon(entry.path, fakeImage());
        }
        for (const QString &name : {u"api"_s, u"web"_s}) {
            const QDir folder(locations::home() + u"/Code/"_s + name);
            folder.mkpath(u".git"_s);
        }
        world.catalog.load();
        world.projects.load();
        EXPECT_TRUE(waitUntil([this] {
            return scans == 2 && !world.projects.scanning() && world.catalog.icons().size() == 3;
        }));
        EXPECT_EQ(world.catalog.apps().size(), 3U);
        EXPECT_EQ(world.projects.projects().size(), 2U);
        model.refresh();
        QObject::connect(&model, &LauncherViewModel::resultsChanged, &model,
                         [this] { ++publications; });
    }

    void serve(ChatServer::Answer answer) {
        server = std::make_unique<ChatServer>(std::move(answer));
        world.defaults.set(u"aiBaseURL"_s, server->baseURL());
    }
    /** Every intent request is answered with this; the others are never. */
    void serveIntent(const QJsonObject &intent) {
        serve([intent](Connection &connection, const Request &request) {
            if (request.body.contains("\"stream\""))
                connection.waitForClose();
            else
                connection.send(intentReply(intent));
        });
    }
    /** Waits for the rows of a query and what it was understood as. */
    bool resolves(const QString &query) {
        model.setQuery(query);
        return waitUntil([this] { return firstId().startsWith("ai-intent"_L1); });
    }
    QString firstId() const { return model.results().empty() ? QString() : model.results()[0].id; }
    QStringList ids() const {
        QStringList result;
        for (const ResultItem &row : model.results())
            result.append(row.id);
        return result;
    }
    QStringList prompts() const {
        QStringList result;
        for (const Request &request : server->requests())
            result.append(promptOf(request));
        return result;
    }
    /** Returns when a reply that the server had sent before has been dealt with: one that was
        asked for later has. */
    void waitForEarlierReplies() {
        bool arrived = false;
        const AIService::Task task =
            world.ai.intent(u"barrier"_s, {}, {}, {}, [&](const auto &) { arrived = true; });
        EXPECT_TRUE(waitUntil([&] { return arrived; }));
    }
    /** Lets the time of the debounce and more go by, by the same clock and the same loop. */
    void outlastDebounce() {
        bool over = false;
        QTimer::singleShot(debounce * 2, Qt::PreciseTimer, [&] { over = true; });
        EXPECT_TRUE(waitUntil([&] { return over; }));
    }
    qint64 launches(const QString &key) {
        return world.defaults.value(u"launchCounts"_s).toObject()[key].toInteger();
    }

    LauncherWorld world{{}, {}};
    LauncherViewModel &model = world.model;
    int scans = 0;
    const QMetaObject::Connection counting =
        QObject::connect(&world.catalog, &AppCatalog::appsChanged, &model, [this] { ++scans; });
    int publications = 0;
    std::unique_ptr<ChatServer> server;
};

} // namespace

// What a question means

TEST_F(LauncherViewModelAITest, anApplicationThatWasMeantStandsFirst) {
    serveIntent(openApp(u"Beta"_s));
    ASSERT_TRUE(resolves(u"ai  launch the second one "_s));
    const ResultItem &row = model.results()[0];
    const AppEntry &beta = world.catalog.apps()[1];
    EXPECT_EQ(row.id, u"ai-intent-app");
    EXPECT_EQ(row.icon, world.workspace.icon(beta.path));
    EXPECT_EQ(row.title, u"Open Beta");
    EXPECT_EQ(row.subtitle, u"AI understood: launch the second one");
    EXPECT_EQ(row.badge, u"AI");
    EXPECT_FALSE(row.running);
    EXPECT_EQ(std::get<OpenApp>(row.action).app.path, beta.path);
    EXPECT_EQ(ids(), QStringList({u"ai-intent-app"_s, u"ai-ask"_s}));
}

TEST_F(LauncherViewModelAITest, itsRowNeverSaysRunning) {
    world.workspace.running = {u"id.Beta"_s};
    serveIntent(openApp(u"Beta"_s));
    ASSERT_TRUE(resolves(u"ai x"_s));
    EXPECT_FALSE(model.results()[0].running);
}

TEST_F(LauncherViewModelAITest, aProjectThatWasMeantStandsFirstWithItsEditor) {
    serveIntent(openProject(u"web"_s, u"Code"_s));
    ASSERT_TRUE(resolves(u"ai open my web project"_s));
    const ResultItem &row = model.results()[0];
    EXPECT_EQ(row.id, u"ai-intent-proj");
    EXPECT_EQ(row.icon, world.catalog.iconForPath(locations::home()));
    EXPECT_EQ(row.title, u"Open web in Code");
    EXPECT_EQ(row.subtitle, u"~/Code/web");
    EXPECT_EQ(row.badge, u"AI");
    EXPECT_FALSE(row.running);
    const auto &action = std::get<OpenProject>(row.action);
    EXPECT_EQ(action.project.path, locations::home() + u"/Code/web"_s);
    ASSERT_TRUE(action.editor);
    EXPECT_EQ(action.editor->name, u"Code");
    EXPECT_EQ(ids(), QStringList({u"ai-intent-proj"_s, u"ai-ask"_s}));
}

TEST_F(LauncherViewModelAITest, anyApplicationMayBeTheEditor) {
    serveIntent(openProject(u"api"_s, u"Alpha"_s));
    ASSERT_TRUE(resolves(u"ai x"_s));
    EXPECT_EQ(model.results()[0].title, u"Open api in Alpha");
}

TEST_F(LauncherViewModelAITest, withoutAKnownEditorItIsTheDefaultOne) {
    for (const QString &editor : {QString(), u"Emacs"_s, u"code"_s}) {
        serveIntent(openProject(u"api"_s, editor));
        model.setQuery(QString());
        ASSERT_TRUE(resolves(u"ai x"_s));
        EXPECT_EQ(model.results()[0].title, u"Open api in default editor");
        EXPECT_FALSE(std::get<OpenProject>(model.results()[0].action).editor);
    }
}

TEST_F(LauncherViewModelAITest, whatNamesNothingHereChangesNothing) {
    const QList<QByteArray> replies{
        intentReply({{u"action"_s, u"none"_s}, {u"app"_s, u"Alpha"_s}}),
        intentReply({{u"action"_s, u"Open_app"_s}, {u"app"_s, u"Alpha"_s}}),
        intentReply({{u"app"_s, u"Alpha"_s}}),
        intentReply(openApp(u"Gamma"_s)),
        intentReply(openApp(u"alpha"_s)),
        intentReply(openApp(QString())),
        intentReply(openApp(u"web"_s)),
        intentReply(openProject(u"WEB"_s, u"Code"_s)),
        intentReply(openProject(u"Alpha"_s, u"Code"_s)),
        "HTTP/1.1 500 No\r\nContent-Length: 0\r\n\r\n",
        "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhello",
        "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhe",
    };
    for (const QByteArray &reply : replies) {
        serve([reply](Connection &connection, const Request &) { connection.send(reply); });
        model.setQuery(QString());
        model.setQuery(u"ai x"_s);
        const int before = publications;
        ASSERT_TRUE(waitUntil([this] { return !server->requests().empty(); }));
        waitForEarlierReplies();
        EXPECT_EQ(publications, before) << reply.constData();
        EXPECT_EQ(ids(), QStringList(u"ai-ask"_s)) << reply.constData();
    }
}

TEST_F(LauncherViewModelAITest, theModelIsToldEveryNameInItsOrderAndWhichAreEditors) {
    serveIntent(openApp(u"Alpha"_s));
    ASSERT_TRUE(resolves(u"AI  Open It "_s));
    ASSERT_EQ(server->requests().size(), 1U);
    const Request request = server->requests().front();
    EXPECT_EQ(promptOf(request), u"Open It");
    EXPECT_TRUE(messageOf(request, 0)
                    .endsWith(u"\nAPPS: Alpha, Beta, Code\nPROJECTS: api, web\nEDITORS: Code"_s))
        << qPrintable(messageOf(request, 0));
}

TEST_F(LauncherViewModelAITest, theRowIsPublishedOnceAndFlushedAndTheSelectionStays) {
    serveIntent(openApp(u"Alpha"_s));
    model.setQuery(u"ai x"_s);
    const int before = publications;
    int flushes = 0;
    int moves = 0;
    ASSERT_TRUE(waitUntil([this] { return !server->requests().empty(); }));
    QObject::connect(&model, &LauncherViewModel::displayFlushRequested, &model, [&] { ++flushes; });
    QObject::connect(&model, &LauncherViewModel::selectedChanged, &model, [&] { ++moves; });
    ASSERT_TRUE(waitUntil([this] { return model.results().size() == 2; }));
    EXPECT_EQ(publications, before + 1);
    EXPECT_TRUE(waitUntil([&] { return flushes == 1; }));
    EXPECT_EQ(model.selected(), 0);
    EXPECT_EQ(moves, 0);
}

TEST_F(LauncherViewModelAITest, theGivenRowsFollowUnchanged) {
    serveIntent(openApp(u"Alpha"_s));
    const ResultItem base{u"given"_s, nullptr, u"Given"_s, u"s"_s, u"b"_s, CopyAI{u"x"_s}};
    model.fetchIntent(u"x"_s, {base, base});
    ASSERT_TRUE(waitUntil([this] { return !model.results().empty(); }));
    EXPECT_EQ(ids(), QStringList({u"ai-intent-app"_s, u"given"_s, u"given"_s}));
    EXPECT_EQ(model.results()[1].title, u"Given");
}

TEST_F(LauncherViewModelAITest, whatIsTypedOnWithinTheDebounceIsNeverAskedFor) {
    serveIntent(openApp(u"Alpha"_s));
    QElapsedTimer sinceLastKey;
    for (const QString &text : {u"ai o"_s, u"ai op"_s, u"ai ope"_s, u"ai open"_s}) {
        model.setQuery(text);
        sinceLastKey.start();
        QCoreApplication::processEvents();
    }
    // Not before its time, by the clock.
    QTimer tick;
    tick.start(1);
    while (server->connections() == 0 && !sinceLastKey.hasExpired(10'000))
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    EXPECT_GE(sinceLastKey.elapsed(), debounce.count());
    ASSERT_TRUE(waitUntil([this] { return firstId() == u"ai-intent-app"; }));
    EXPECT_EQ(prompts(), QStringList(u"open"_s));
}

TEST_F(LauncherViewModelAITest, anAnswerToAnEarlierQueryIsDroppedAndItsConnectionClosed) {
    std::promise<bool> closed;
    serve([&](Connection &connection, const Request &request) {
        if (promptOf(request) == "first"_L1) {
            closed.set_value(connection.waitForClose());
            connection.send(intentReply(openApp(u"Alpha"_s)));
        } else {
            connection.send(intentReply(openApp(u"Beta"_s)));
        }
    });
    model.setQuery(u"ai first"_s);
    ASSERT_TRUE(waitUntil([this] { return !server->requests().empty(); }));
    ASSERT_TRUE(resolves(u"ai second"_s));
    EXPECT_TRUE(closed.get_future().get());
    EXPECT_EQ(model.results()[0].title, u"Open Beta");
    waitForEarlierReplies();
    EXPECT_EQ(ids(), QStringList({u"ai-intent-app"_s, u"ai-ask"_s}));
    EXPECT_EQ(model.results()[0].title, u"Open Beta");
}

TEST_F(LauncherViewModelAITest, everyRefreshEndsWhatIsUnderWay) {
    serveIntent(openApp(u"Alpha"_s));
    for (const QString &next : {u"Alpha"_s, u"ai"_s, u""_s, u"2+3"_s}) {
        model.setQuery(u"ai x"_s);
        model.setQuery(next);
    }
    model.setQuery(u"ai x"_s);
    world.secrets.secrets.clear();
    model.refresh();
    model.setQuery(QString());
    outlastDebounce();
    EXPECT_EQ(server->connections(), 0);
}

TEST_F(LauncherViewModelAITest, nothingIsResolvedOutsideOfAQuestion) {
    serveIntent(openApp(u"Alpha"_s));
    for (const QString &query : {u"ai"_s, u"ai  "_s, u"aix"_s, u"alpha"_s, u"web in code"_s}) {
        model.setQuery(query);
        outlastDebounce();
    }
    EXPECT_EQ(server->connections(), 0);
}

TEST_F(LauncherViewModelAITest, nothingIsResolvedWithoutAKeyOrSwitchedOffOrWithoutCatalogs) {
    serveIntent(openApp(u"Alpha"_s));
    EXPECT_TRUE(model.aiEnabled());
    world.defaults.set(u"aiEnabled"_s, false);
    EXPECT_FALSE(model.aiEnabled());
    model.setQuery(u"ai switched off"_s);
    outlastDebounce();
    world.defaults.set(u"aiEnabled"_s, true);
    model.catalog = nullptr;
    model.setQuery(u"ai without catalog"_s);
    outlastDebounce();
    model.catalog = &world.catalog;
    model.projects = nullptr;
    model.setQuery(u"ai without projects"_s);
    outlastDebounce();
    model.projects = &world.projects;
    world.secrets.secrets.clear();
    model.setQuery(u"ai without key"_s);
    EXPECT_EQ(ids(), QStringList({u"ai-ask"_s, u"ai-setup"_s}));
    outlastDebounce();
    EXPECT_EQ(server->connections(), 0);
}

// Return in ask mode

TEST_F(LauncherViewModelAITest, returnOnAResolvedApplicationOpensAndCountsItAndLatchesNothing) {
    serveIntent(openApp(u"Beta"_s));
    ASSERT_TRUE(resolves(u"ai x"_s));
    model.submit();
    ASSERT_EQ(world.actions.size(), 1U);
    EXPECT_EQ(std::get<OpenApp>(world.actions[0]).app.name, u"Beta");
    EXPECT_EQ(std::get<OpenApp>(world.actions[0]).window, corvid::OpenApp::Window::Running);
    EXPECT_EQ(launches(usageKey(world.catalog.apps()[1])), 1);
    EXPECT_EQ(launches(u"ai-intent-app"_s), 0);
    EXPECT_TRUE(world.defaults.value(u"queryLatches"_s).toObject().isEmpty());
    EXPECT_EQ(world.hides, 1);
    EXPECT_FALSE(model.aiMode());
}

TEST_F(LauncherViewModelAITest, returnOnAResolvedProjectOpensAndCountsItAndLatchesNothing) {
    serveIntent(openProject(u"web"_s, u"Code"_s));
    ASSERT_TRUE(resolves(u"ai x"_s));
    model.submit();
    ASSERT_EQ(world.actions.size(), 1U);
    EXPECT_EQ(std::get<OpenProject>(world.actions[0]).project.name, u"web");
    EXPECT_EQ(launches(locations::home() + u"/Code/web"_s), 1);
    EXPECT_EQ(launches(u"ai-intent-proj"_s), 0);
    EXPECT_TRUE(world.defaults.value(u"queryLatches"_s).toObject().isEmpty());
    EXPECT_EQ(world.hides, 1);
}

TEST_F(LauncherViewModelAITest, shiftReturnOpensAResolvedApplicationInANewWindow) {
    serveIntent(openApp(u"Beta"_s));
    ASSERT_TRUE(resolves(u"ai x"_s));
    EXPECT_TRUE(model.handleKeyEvent({false, true, {}, true}));
    ASSERT_EQ(world.actions.size(), 1U);
    EXPECT_EQ(std::get<OpenApp>(world.actions[0]).window, corvid::OpenApp::Window::New);
    EXPECT_EQ(launches(usageKey(world.catalog.apps()[1])), 1);
}

TEST_F(LauncherViewModelAITest, theShortcutsWorkOnAResolvedRowAsOnAnyOther) {
    serveIntent(openApp(u"Beta"_s));
    ASSERT_TRUE(resolves(u"ai x"_s));
    const QString path = u"/apps/Beta.desktop"_s;
    EXPECT_TRUE(model.handleKeyEvent({true, false, u"c"_s}));
    EXPECT_EQ(world.pasteboard.texts, QStringList(path));
    EXPECT_TRUE(model.handleKeyEvent({true, true, {}}));
    EXPECT_EQ(world.workspace.revealed, QStringList(path));
    EXPECT_TRUE(model.handleKeyEvent({true, false, u"1"_s}));
    ASSERT_EQ(world.actions.size(), 1U);
    EXPECT_EQ(std::get<OpenApp>(world.actions[0]).app.path, path);
}

TEST_F(LauncherViewModelAITest, theAskRowBelowAResolvedOneAsks) {
    serveIntent(openApp(u"Beta"_s));
    ASSERT_TRUE(resolves(u"ai why is it"_s));
    model.moveSelection(1);
    model.submit();
    EXPECT_TRUE(model.aiMode());
    EXPECT_EQ(model.aiQuestion(), u"why is it");
    EXPECT_TRUE(world.actions.empty());
    EXPECT_EQ(world.hides, 0);
    EXPECT_TRUE(world.defaults.value(u"launchCounts"_s).toObject().isEmpty());
    ASSERT_TRUE(waitUntil([this] { return server->requests().size() == 2; }));
    EXPECT_EQ(prompts().last(), u"why is it");
}

TEST_F(LauncherViewModelAITest, withoutASelectedRowReturnAsksToo) {
    serveIntent(openApp(u"Beta"_s));
    for (const int outOfRange : {-1, 7}) {
        model.setQuery(u"ai  why "_s);
        model.setSelected(outOfRange);
        model.submit();
        EXPECT_TRUE(model.aiMode());
        EXPECT_EQ(model.aiQuestion(), u" why") << "all but the first three characters";
        model.reset();
    }
    EXPECT_TRUE(world.actions.empty());
}

TEST_F(LauncherViewModelAITest, returnOnTheSetUpRowOpensTheSettingsAndCountsNothing) {
    world.secrets.secrets.clear();
    model.setQuery(u"ai x"_s);
    model.setSelected(1);
    model.submit();
    ASSERT_EQ(world.actions.size(), 1U);
    EXPECT_TRUE(std::holds_alternative<OpenSettings>(world.actions[0]));
    EXPECT_TRUE(world.defaults.value(u"launchCounts"_s).toObject().isEmpty());
    EXPECT_TRUE(world.defaults.value(u"queryLatches"_s).toObject().isEmpty());
    EXPECT_FALSE(model.aiMode());
}

TEST_F(LauncherViewModelAITest, theAiFallbackAsksItsWholeQuery) {
    Feed feed;
    serve([&](Connection &connection, const Request &) { feed.serve(connection); });
    model.setQuery(u"zzqq unheard of"_s);
    model.setSelected(1);
    model.submit();
    EXPECT_EQ(model.aiQuestion(), u"zzqq unheard of");
    feed.push(u"yes"_s);
    EXPECT_TRUE(waitUntil([this] { return model.aiResponse() == u"yes"; }));
}

// Answers

TEST_F(LauncherViewModelAITest, anAnswerGrowsAsItComesAndThenIsNoLongerBusy) {
    Feed feed;
    serve([&](Connection &connection, const Request &) { feed.serve(connection); });
    int changes = 0;
    QObject::connect(&model, &LauncherViewModel::aiResponseChanged, &model, [&] { ++changes; });
    model.askAI(u"what"_s);
    EXPECT_TRUE(model.aiMode());
    EXPECT_TRUE(model.aiBusy());
    EXPECT_EQ(model.aiQuestion(), u"what");
    EXPECT_EQ(model.aiResponse(), QString());
    feed.push(u"one"_s);
    ASSERT_TRUE(waitUntil([this] { return model.aiResponse() == u"one"; }));
    EXPECT_TRUE(model.aiBusy());
    feed.push(u" two\n"_s);
    feed.push(QString());
    feed.push(u"three"_s);
    ASSERT_TRUE(waitUntil([this] { return model.aiResponse() == u"one two\nthree"; }));
    feed.end();
    ASSERT_TRUE(waitUntil([this] { return !model.aiBusy(); }));
    EXPECT_EQ(model.aiResponse(), u"one two\nthree");
    EXPECT_TRUE(model.aiMode());
    EXPECT_EQ(changes, 3) << "an empty element changes nothing";
}

TEST_F(LauncherViewModelAITest, anErrorReplacesTheTextThatHadCome) {
    std::promise<void> seen;
    serve([&](Connection &connection, const Request &) {
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 1000000\r\n\r\n" + chunk(u"half"_s));
        seen.get_future().wait();
    });
    model.askAI(u"what"_s);
    ASSERT_TRUE(waitUntil([this] { return model.aiResponse() == u"half"; }));
    seen.set_value();
    ASSERT_TRUE(waitUntil([this] { return !model.aiBusy(); }));
    EXPECT_TRUE(model.aiResponse().startsWith(u"Error: "_s)) << qPrintable(model.aiResponse());
    EXPECT_TRUE(
        model.aiResponse().endsWith(u"\n\nSet your API key in Settings (menu bar icon)."_s));
    EXPECT_FALSE(model.aiResponse().contains(u"half"_s));
    EXPECT_TRUE(model.aiMode());
}

TEST_F(LauncherViewModelAITest, whatWentWrongIsToldFromAnAnswerAndCanBeAskedAgain) {
    bool refuses = true;
    serve([&](Connection &connection, const Request &) {
        if (refuses)
            connection.send("HTTP/1.1 401 No\r\nContent-Length: 0\r\n\r\n");
        else
            connection.send(streamHead + chunk(u"fine"_s) + "data: [DONE]\n\n");
    });
    model.askAI(u"what"_s);
    ASSERT_TRUE(waitUntil([this] { return !model.aiBusy(); }));
    EXPECT_TRUE(model.aiFailed());
    refuses = false;
    model.askAgain();
    EXPECT_FALSE(model.aiFailed());
    ASSERT_TRUE(waitUntil([this] { return !model.aiBusy(); }));
    EXPECT_EQ(model.aiResponse(), u"fine");
    EXPECT_EQ(model.aiQuestion(), u"what");
    EXPECT_FALSE(model.aiFailed());
    world.defaults.set(u"aiBaseURL"_s, u"http://127.0.0.1:1"_s);
    model.askAgain();
    ASSERT_TRUE(waitUntil([this] { return !model.aiBusy(); }));
    EXPECT_TRUE(model.aiFailed());
    model.cancel();
    EXPECT_FALSE(model.aiFailed());
}

TEST_F(LauncherViewModelAITest, whatIsStoppedKeepsWhatHasCome) {
    std::promise<bool> closed;
    serve([&](Connection &connection, const Request &) {
        connection.send(streamHead + chunk(u"half"_s));
        closed.set_value(connection.waitForClose());
    });
    model.askAI(u"what"_s);
    ASSERT_TRUE(waitUntil([this] { return model.aiResponse() == u"half"; }));
    model.stopAnswer();
    EXPECT_FALSE(model.aiBusy());
    EXPECT_TRUE(model.aiMode());
    EXPECT_EQ(model.aiResponse(), u"half");
    EXPECT_TRUE(closed.get_future().get());
}

TEST_F(LauncherViewModelAITest, whatIsStoppedBeforeItsFirstWordIsLeft) {
    serve([](Connection &connection, const Request &) { connection.waitForClose(); });
    model.askAI(u"what"_s);
    model.stopAnswer();
    EXPECT_FALSE(model.aiBusy());
    EXPECT_FALSE(model.aiMode());
}

TEST_F(LauncherViewModelAITest, aRefusedConnectionIsAnError) {
    world.defaults.set(u"aiBaseURL"_s, u"http://127.0.0.1:1"_s);
    model.askAI(u"what"_s);
    ASSERT_TRUE(waitUntil([this] { return !model.aiBusy(); }));
    EXPECT_EQ(model.aiText(),
              u"Error: Connection refused: nothing listens at 127.0.0.1:1. Start the "
              "server there, or correct the Base URL in Settings.\n\nSet your API "
              "key in Settings (menu bar icon).");
}

TEST_F(LauncherViewModelAITest, aMissingKeyAndARefusalAreAnswersLikeAnyOther) {
    serve([](Connection &connection, const Request &) {
        connection.send("HTTP/1.1 401 No\r\nContent-Length: 0\r\n\r\n");
    });
    model.askAI(u"what"_s);
    ASSERT_TRUE(waitUntil([this] { return !model.aiBusy(); }));
    EXPECT_EQ(model.aiResponse(), u"HTTP 401 from "_s + server->baseURL() +
                                      u". Check endpoint, key, and model name."_s);
    world.secrets.secrets.clear();
    model.askAI(u"what"_s);
    EXPECT_EQ(model.aiResponse(), QString());
    ASSERT_TRUE(waitUntil([this] { return !model.aiBusy(); }));
    EXPECT_EQ(model.aiResponse(), chat::noKeyText());
}

TEST_F(LauncherViewModelAITest, whatToDoAboutARefusalStandsBelowItsText) {
    serve([](Connection &connection, const Request &) {
        connection.send("HTTP/1.1 401 No\r\nContent-Length: 10\r\n\r\nnot\x1b today");
    });
    model.askAI(u"what"_s);
    ASSERT_TRUE(waitUntil([this] { return !model.aiBusy(); }));
    const QString text =
        u"HTTP 401 from "_s + server->baseURL() + u". Check endpoint, key, and model name."_s;
    EXPECT_EQ(model.aiResponse(), text);
    EXPECT_EQ(model.aiText(),
              text + u"\n\nThe server does not accept the API key. Is it whole, still valid, and "
                     "one for this address?\n\nThe server says: not today"_s);
    world.secrets.secrets.clear();
    model.askAI(u"what"_s);
    EXPECT_EQ(model.aiText(), QString()) << "another question, nothing to say of it yet";
    ASSERT_TRUE(waitUntil([this] { return !model.aiBusy(); }));
    EXPECT_EQ(model.aiText(), chat::noKeyText());
}

TEST_F(LauncherViewModelAITest, whatIsNoAnswerIsSaidWhereTheAnswerWouldBe) {
    serve([](Connection &connection, const Request &) {
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 6\r\n\r\n<html>");
    });
    model.askAI(u"what"_s);
    ASSERT_TRUE(waitUntil([this] { return !model.aiBusy(); }));
    EXPECT_EQ(model.aiResponse(), QString());
    EXPECT_EQ(model.aiText(), u"What came back is no answer of a chat endpoint. Check the Base URL "
                              "in Settings: most end in /v1.");
    model.cancel();
    EXPECT_EQ(model.aiText(), QString());
}

TEST_F(LauncherViewModelAITest, aLockedKeyringIsUnlockedByReturnOnAQuestionAndNeverByTyping) {
    serve([](Connection &connection, const Request &) {
        connection.send(streamHead + chunk(u"text"_s));
    });
    world.secrets.isLocked = true;
    world.secrets.userUnlocks = false;
    int shows = 0;
    model.onShow = [&] { ++shows; };
    for (const QString &typed : {u"ai"_s, u"ai "_s, u"ai w"_s, u"ai why"_s})
        model.setQuery(typed);
    outlastDebounce();
    EXPECT_EQ(world.secrets.prompts, 0);
    EXPECT_EQ(ids(), QStringList(u"ai-ask"_s)) << "there is a key: nothing to set up";
    model.submit();
    ASSERT_TRUE(waitUntil([this] { return !model.aiBusy(); }));
    EXPECT_EQ(world.secrets.prompts, 1);
    EXPECT_EQ(model.aiResponse(), chat::lockedText());
    EXPECT_EQ(shows, 1) << "the prompt had taken the panel's place";
    world.secrets.userUnlocks = true;
    model.submit();
    ASSERT_TRUE(waitUntil([this] { return !model.aiBusy(); }));
    EXPECT_EQ(model.aiResponse(), u"text");
    EXPECT_EQ(world.secrets.prompts, 2);
    EXPECT_EQ(shows, 2);
    model.submit();
    ASSERT_TRUE(waitUntil([this] { return !model.aiBusy(); }));
    EXPECT_EQ(shows, 2) << "nobody was asked for anything";
}

TEST_F(LauncherViewModelAITest, theFooterSaysWhatReturnDoesOnTheSetUpRow) {
    world.secrets.secrets.clear();
    model.setQuery(u"ai"_s);
    EXPECT_EQ(ids(), QStringList(u"ai-setup"_s));
    EXPECT_EQ(model.statusText(), u"Ask AI  ·  Return to send");
    EXPECT_EQ(model.hint(), u"Return does nothing before a question is typed");
    model.submit();
    EXPECT_TRUE(world.actions.empty());
    EXPECT_FALSE(model.aiMode());
    model.setQuery(u"ai why"_s);
    EXPECT_EQ(model.hint(), QString()) << "Return asks, as the status says";
    model.moveSelection(1);
    EXPECT_EQ(model.hint(), u"Return opens the settings");
    model.setQuery(u"why"_s);
    EXPECT_EQ(model.hint(), QString());
}

TEST_F(LauncherViewModelAITest, theFirstLineThatIsSentWithNamesIsNotedOnceInTheFooter) {
    serveIntent({{u"action"_s, u"none"_s}});
    const QString note = u"Names of your apps and projects go along (see Settings)"_s;
    model.setQuery(u"ai open it"_s);
    EXPECT_EQ(model.hint(), QString()) << "nothing is sent yet";
    ASSERT_TRUE(waitUntil([this] { return !server->requests().empty(); }));
    EXPECT_EQ(model.hint(), note);
    model.setQuery(u"ai open it no"_s);
    EXPECT_EQ(model.hint(), note) << "to be read while the line is typed on";
    model.setQuery(u"open it"_s);
    EXPECT_EQ(model.hint(), QString());
    model.setQuery(u"ai open another"_s);
    ASSERT_TRUE(waitUntil([this] { return server->requests().size() >= 2; }));
    EXPECT_EQ(model.hint(), QString()) << "once";
    EXPECT_EQ(world.defaults.value(u"aiNamesNoted"_s), QJsonValue(true));
}

TEST_F(LauncherViewModelAITest, whereNamesAreNotToBeSentLinesAreNotEitherAndAnswersCome) {
    serve([](Connection &connection, const Request &) {
        connection.send(streamHead + chunk(u"text"_s));
    });
    world.defaults.set(u"aiSendsNames"_s, false);
    model.setQuery(u"ai open alpha"_s);
    outlastDebounce();
    EXPECT_TRUE(server->requests().empty());
    EXPECT_TRUE(world.defaults.value(u"aiNamesNoted"_s).isUndefined());
    model.submit();
    ASSERT_TRUE(waitUntil([this] { return !model.aiBusy(); }));
    EXPECT_EQ(model.aiResponse(), u"text");
    ASSERT_EQ(server->requests().size(), 1U);
    EXPECT_FALSE(server->requests()[0].body.contains("Alpha"));
}

TEST_F(LauncherViewModelAITest, controlCharactersAndOverridesOfDirectionAreNotShown) {
    Feed feed;
    serve([&](Connection &connection, const Request &) { feed.serve(connection); });
    model.askAI(u"what"_s);
    feed.push(u"a\u202egnp\u001b[31m"_s);
    feed.push(u"\u2066x\u2069\r"_s);
    feed.push(u"\nn\u00e9\u2028end\0!"_s);
    feed.end();
    ASSERT_TRUE(waitUntil([this] { return !model.aiBusy(); }));
    EXPECT_EQ(model.aiResponse(), u"agnp[31mx\nn\u00e9\nend!");
}

TEST_F(LauncherViewModelAITest, twoAnswersAtOnceBothAppendAndTheSecondBeginsEmpty) {
    std::array<Feed, 2> feeds;
    serve([&](Connection &connection, const Request &request) {
        feeds[promptOf(request) == "first"_L1 ? 0 : 1].serve(connection);
    });
    model.askAI(u"first"_s);
    feeds[0].push(u"a"_s);
    ASSERT_TRUE(waitUntil([this] { return model.aiResponse() == u"a"; }));
    model.askAI(u"second"_s);
    EXPECT_EQ(model.aiResponse(), QString());
    EXPECT_EQ(model.aiQuestion(), u"second");
    feeds[1].push(u"b"_s);
    ASSERT_TRUE(waitUntil([this] { return model.aiResponse() == u"b"; }));
    feeds[0].push(u"c"_s);
    ASSERT_TRUE(waitUntil([this] { return model.aiResponse() == u"bc"; }));
    feeds[0].end();
    ASSERT_TRUE(waitUntil([this] { return !model.aiBusy(); })) << "either one's end is the end";
    feeds[1].push(u"d"_s);
    EXPECT_TRUE(waitUntil([this] { return model.aiResponse() == u"bcd"; }));
}

TEST_F(LauncherViewModelAITest, theSameQuestionTwiceIsAskedTwiceAndTheSecondBeginsEmpty) {
    serve([](Connection &connection, const Request &) {
        connection.send(streamHead + chunk(u"text"_s));
        connection.waitForClose();
    });
    model.setQuery(u"ai why"_s);
    model.submit();
    ASSERT_TRUE(waitUntil([this] { return model.aiResponse() == u"text"; }));
    model.submit();
    EXPECT_EQ(model.aiResponse(), QString());
    EXPECT_TRUE(model.aiBusy());
    ASSERT_TRUE(waitUntil([this] { return model.aiResponse() == u"text"; }));
    EXPECT_EQ(prompts(), QStringList({u"why"_s, u"why"_s}));
}

TEST_F(LauncherViewModelAITest, afterAnyBadServerTheNextQuestionIsAnswered) {
    const QString refusal = u"HTTP %1 from %2. Check endpoint, key, and model name."_s;
    struct Row {
        QByteArray reply;
        int refusal = 0;      ///< its status, if it is one
        bool isError = false; ///< else the answer is this:
        QString answer = {};
    };
    const QByteArray ok = "HTTP/1.1 200 OK\r\n\r\n";
    const QList<Row> rows{
        {"HTTP/1.1 401 No\r\nWWW-Authenticate: Basic realm=\"x\"\r\nContent-Length: 0\r\n\r\n",
         401},
        {"HTTP/1.1 404 No\r\nContent-Length: 9\r\n\r\nnot found", 404},
        {"HTTP/1.1 429 No\r\nRetry-After: 3600\r\nContent-Length: 0\r\n\r\n", 429},
        {"HTTP/1.1 500 No\r\n\r\nhalf a bo", 500},
        {"HTTP/1.1 302 Go\r\nLocation: http://127.0.0.1:1/\r\nContent-Length: 0\r\n\r\n", 302},
        {"", 0, true},
        {"SSH-2.0-OpenSSH_9.2\r\n", 0, true},
        {"HTTP/1.1 200 OK\r\nContent-Length: 99\r\n\r\n" + chunk(u"half"_s), 0, true},
        {ok},
        {ok + "<!DOCTYPE html><title>Welcome</title>\n"},
        {ok + R"(data: {"choices":[{"delta":{"cont)"},
        {ok + "data: []\ndata: {\"choices\":{}}\ndata: {\"choices\":[1]}\n"
              "data: {\"choices\":[{\"delta\":{\"content\":7}}]}\n"},
        {ok + chunk(u"data"_s).replace("data: ", "data:")},
        {ok + chunk(u"before"_s) + "data: [DONE]\n" + chunk(u"after"_s), 0, false, u"before"_s},
    };
    for (const Row &row : rows) {
        serve([&](Connection &connection, const Request &request) {
            connection.send(promptOf(request) == "good"_L1 ? ok + chunk(u"fine"_s) : row.reply);
        });
        model.askAI(u"bad"_s);
        ASSERT_TRUE(waitUntil([this] { return !model.aiBusy(); })) << row.reply.constData();
        if (row.isError)
            EXPECT_TRUE(model.aiResponse().startsWith(u"Error: "_s)) << row.reply.constData();
        else if (row.refusal != 0)
            EXPECT_EQ(model.aiResponse(), refusal.arg(row.refusal).arg(server->baseURL()));
        else
            EXPECT_EQ(model.aiResponse(), row.answer) << row.reply.constData();
        EXPECT_TRUE(model.aiMode());
        model.askAI(u"good"_s);
        ASSERT_TRUE(waitUntil([this] { return !model.aiBusy(); })) << row.reply.constData();
        EXPECT_EQ(model.aiResponse(), u"fine") << row.reply.constData();
    }
}

TEST_F(LauncherViewModelAITest, escapeEndsEveryTransferAndKeepsThePanelAndASecondOneHides) {
    std::array<std::promise<bool>, 2> closed;
    serve([&](Connection &connection, const Request &request) {
        connection.send(streamHead + chunk(u"text"_s));
        closed[promptOf(request) == "first"_L1 ? 0 : 1].set_value(connection.waitForClose());
    });
    model.setQuery(u"ai first"_s);
    model.submit();
    ASSERT_TRUE(waitUntil([this] { return model.aiResponse() == u"text"; }));
    model.askAI(u"second"_s);
    ASSERT_TRUE(waitUntil([this] { return model.aiResponse() == u"text"; }));
    model.cancel();
    EXPECT_FALSE(model.aiMode());
    EXPECT_FALSE(model.aiBusy());
    EXPECT_EQ(model.aiResponse(), QString());
    EXPECT_EQ(model.query(), u"ai first");
    EXPECT_EQ(ids(), QStringList(u"ai-ask"_s));
    EXPECT_EQ(world.hides, 0);
    for (std::promise<bool> &promise : closed)
        EXPECT_TRUE(promise.get_future().get());
    QCoreApplication::processEvents();
    EXPECT_EQ(model.aiResponse(), QString());
    model.cancel();
    EXPECT_EQ(world.hides, 1);
}

TEST_F(LauncherViewModelAITest, aNewShowingEndsTheTransferAndBeginsEmpty) {
    std::promise<bool> closed;
    serve([&](Connection &connection, const Request &) {
        connection.send(streamHead + chunk(u"text"_s));
        closed.set_value(connection.waitForClose());
    });
    model.setQuery(u"ai first"_s);
    model.submit();
    ASSERT_TRUE(waitUntil([this] { return model.aiResponse() == u"text"; }));
    model.reset();
    EXPECT_FALSE(model.aiMode());
    EXPECT_FALSE(model.aiBusy());
    EXPECT_EQ(model.aiResponse(), QString());
    EXPECT_EQ(model.aiQuestion(), QString());
    EXPECT_TRUE(closed.get_future().get());
    QCoreApplication::processEvents();
    EXPECT_EQ(model.aiResponse(), QString());
}

TEST_F(LauncherViewModelAITest, whileAnAnswerIsShownNoRowComesUnderTheSelectionUnseen) {
    serveIntent(openApp(u"Alpha"_s));
    model.setQuery(u"ai why"_s);
    model.submit();
    outlastDebounce();
    waitForEarlierReplies();
    EXPECT_EQ(ids(), QStringList(u"ai-ask"_s));
    EXPECT_EQ(prompts(), QStringList({u"why"_s, u"barrier"_s})) << "the question alone was asked";
}

TEST_F(LauncherViewModelAITest, copyingGivesTheAnswerOrThePartThatIsGiven) {
    model.copyAnswer();
    EXPECT_TRUE(world.actions.empty());
    model.setAiResponse(u"the answer"_s);
    model.copyAnswer();
    model.copyAnswer(u"answer"_s);
    ASSERT_EQ(world.actions.size(), 2U);
    EXPECT_EQ(std::get<CopyAI>(world.actions[0]).text, u"the answer");
    EXPECT_EQ(std::get<CopyAI>(world.actions[1]).text, u"answer");
    EXPECT_EQ(world.hides, 0);
}

// Asking on

TEST_F(LauncherViewModelAITest, shiftReturnInAnAnswerAsksWhatIsTypedWithTheTurnsBeforeIt) {
    serve([](Connection &connection, const Request &) {
        connection.send(streamHead + chunk(u"re"_s) + "data: [DONE]\n\n");
    });
    const KeyPress shiftReturn{false, true, {}, true};
    world.defaults.set(u"aiSendsNames"_s, false);
    model.setQuery(u"ai why"_s);
    model.submit();
    EXPECT_EQ(model.hint(), QString()) << "there is nothing to ask on about yet";
    ASSERT_TRUE(waitUntil([this] { return !model.aiBusy(); }));
    EXPECT_EQ(model.hint(), u"Shift+Return asks on, 1 turn goes along");
    EXPECT_EQ(model.statusText(), u"Ask AI  ·  Return to send");
    model.setQuery(u"ai and then"_s);
    EXPECT_TRUE(model.handleKeyEvent(shiftReturn));
    EXPECT_EQ(model.aiQuestion(), u"and then");
    ASSERT_TRUE(waitUntil([this] { return !model.aiBusy(); }));
    EXPECT_EQ(model.hint(), u"Shift+Return asks on, 2 turns go along");
    model.setQuery(u" Alpha "_s);
    EXPECT_TRUE(model.handleKeyEvent(shiftReturn));
    EXPECT_EQ(model.aiQuestion(), u"Alpha") << "in an answer it opens nothing";
    EXPECT_TRUE(world.actions.empty());
    ASSERT_TRUE(waitUntil([this] { return !model.aiBusy(); }));
    const std::vector<Request> requests = server->requests();
    ASSERT_EQ(requests.size(), 3U);
    EXPECT_EQ(messageOf(requests[2], 1), u"why");
    EXPECT_EQ(messageOf(requests[2], 2), u"re");
    EXPECT_EQ(messageOf(requests[2], 3), u"and then");
    EXPECT_EQ(messageOf(requests[2], 5), u"Alpha");
}

TEST_F(LauncherViewModelAITest, shiftReturnThatIsHeldOrHasNothingToAskAsksNothing) {
    serve([](Connection &connection, const Request &) {
        connection.send(streamHead + chunk(u"re"_s) + "data: [DONE]\n\n");
    });
    model.setQuery(u"ai why"_s);
    EXPECT_TRUE(model.handleKeyEvent({false, true, {}, true})) << "outside of an answer, as Return";
    EXPECT_TRUE(model.handleKeyEvent({false, true, {}, true, false, true}));
    ASSERT_TRUE(waitUntil([this] { return !model.aiBusy(); }));
    for (const QString &nothing : {u"ai"_s, u"  "_s}) {
        model.setQuery(nothing);
        EXPECT_TRUE(model.handleKeyEvent({false, true, {}, true}));
        EXPECT_FALSE(model.aiBusy());
    }
    EXPECT_EQ(server->requests().size(), 1U);
}

TEST_F(LauncherViewModelAITest, theNumberOfTurnsIsToldInAnAnswerAloneAndANewShowingHasNone) {
    serve([](Connection &connection, const Request &) {
        connection.send(streamHead + chunk(u"re"_s) + "data: [DONE]\n\n");
    });
    model.askAI(u"why"_s);
    ASSERT_TRUE(waitUntil([this] { return !model.aiBusy(); }));
    EXPECT_NE(model.hint(), QString());
    model.cancel();
    EXPECT_EQ(model.hint(), QString());
    model.askAI(u"what"_s);
    EXPECT_EQ(model.hint(), u"Shift+Return asks on, 1 turn goes along");
    model.reset();
    EXPECT_EQ(model.hint(), QString());
    model.setAiMode(true);
    model.setAiResponse(QString(Conversation::mostAlong + 1, u'x'));
    EXPECT_EQ(model.hint(), u"Shift+Return asks on without this answer, which is too long");
}

TEST_F(LauncherViewModelAITest, theNoteThatNamesWereSentStandsUntilTheAnswerIsThere) {
    Feed feed;
    serve([&](Connection &connection, const Request &request) {
        if (request.body.contains("\"stream\""))
            feed.serve(connection);
        else
            connection.send(intentReply({{u"action"_s, u"none"_s}}));
    });
    model.setQuery(u"ai why"_s);
    ASSERT_TRUE(waitUntil([this] { return !server->requests().empty(); }));
    model.submit();
    feed.push(u"re"_s);
    ASSERT_TRUE(waitUntil([this] { return model.aiResponse() == u"re"; }));
    EXPECT_EQ(model.hint(), u"Names of your apps and projects go along (see Settings)");
    feed.end();
    ASSERT_TRUE(waitUntil([this] { return !model.aiBusy(); }));
    EXPECT_EQ(model.hint(), u"Shift+Return asks on, 1 turn goes along");
}

// Typing over an answer

TEST_F(LauncherViewModelAITest, theRowThatReturnOpensIsToldWhileAnAnswerCoversTheList) {
    model.setQuery(u"Alpha"_s);
    EXPECT_EQ(model.coveredRow(), nullptr) << "the list is seen";
    model.setAiMode(true);
    ASSERT_TRUE(model.coveredRow());
    EXPECT_EQ(model.coveredRow()->title, u"Alpha");
    EXPECT_TRUE(model.choosesRows());
    model.setQuery(u"no such thing"_s);
    ASSERT_EQ(ids(), QStringList({u"web-search"_s, u"ai-fallback"_s}));
    EXPECT_EQ(model.coveredRow()->id, u"web-search");
    EXPECT_EQ(model.hint(), u"↑↓ choose another");
    model.moveSelection(1);
    EXPECT_EQ(model.coveredRow()->id, u"ai-fallback") << "it asks what nobody has asked yet";
    model.setAiQuestion(u"no such thing"_s);
    EXPECT_EQ(model.coveredRow(), nullptr) << "it would ask the same once more";
    EXPECT_FALSE(model.choosesRows());
    EXPECT_EQ(model.hint(), QString());
}

TEST_F(LauncherViewModelAITest, forAQuestionTheRowIsToldOnlyWhereReturnDoesNotAskIt) {
    serveIntent(openApp(u"Beta"_s));
    model.setAiMode(true);
    model.setQuery(u"ai launch it"_s);
    EXPECT_EQ(model.coveredRow(), nullptr);
    ASSERT_TRUE(waitUntil([this] { return firstId() == u"ai-intent-app"; }));
    ASSERT_TRUE(model.coveredRow());
    EXPECT_EQ(model.coveredRow()->title, u"Open Beta");
    EXPECT_FALSE(model.choosesRows()) << "the arrows are the answer's";
    model.setQuery(u"ai"_s);
    EXPECT_EQ(model.coveredRow(), nullptr) << "Return does nothing";
    model.setQuery(u"ai why"_s);
    EXPECT_EQ(model.coveredRow(), nullptr);
}

TEST_F(LauncherViewModelAITest, theRowOfTheLastProjectIsToldWhateverIsSelected) {
    settings::setLastProject(world.defaults,
                             {locations::home() + u"/Code/web"_s, u"/apps/Code.desktop"_s});
    model.setQuery(u"last project"_s);
    model.setAiMode(true);
    model.setSelected(0);
    ASSERT_TRUE(model.coveredRow());
    EXPECT_EQ(model.coveredRow()->id, u"last-project");
    EXPECT_FALSE(model.choosesRows());
    model.submit();
    EXPECT_EQ(world.actions, std::vector<LauncherAction>{OpenLastProject{}});
}

TEST_F(LauncherViewModelAITest, theNumberOfARowOpensItInAnAnswerToo) {
    model.setQuery(u"a"_s);
    ASSERT_GE(model.results().size(), 2U);
    model.setAiMode(true);
    EXPECT_TRUE(model.handleKeyEvent({true, false, u"2"_s}));
    EXPECT_EQ(world.actions.size(), 1U);
}

TEST_F(LauncherViewModelAITest, inAnAnswerNoPathIsShownOfARowThatIsNotSeen) {
    model.setQuery(u"Alpha"_s);
    model.setAiMode(true);
    EXPECT_TRUE(model.handleKeyEvent({true, true, {}}));
    EXPECT_EQ(world.workspace.revealed, QStringList(u"/apps/Alpha.desktop"_s));
    model.setQuery(u"ai why"_s);
    EXPECT_TRUE(model.handleKeyEvent({true, true, {}}));
    EXPECT_EQ(world.workspace.revealed.size(), 1);
}

// Lifetime

TEST_F(LauncherViewModelAITest, destroyedWithinTheDebounceItAsksNothing) {
    serveIntent(openApp(u"Alpha"_s));
    {
        LauncherViewModel other({world.defaults, world.stats, world.roles, world.workspace,
                                 world.pasteboard, world.keychain, world.ai, world.session,
                                 world.volumes});
        other.catalog = &world.catalog;
        other.projects = &world.projects;
        other.setQuery(u"ai x"_s);
    }
    outlastDebounce();
    EXPECT_EQ(server->connections(), 0);
}

TEST_F(LauncherViewModelAITest, destroyedWhileAskingItClosesTheConnection) {
    for (const bool forAnAnswer : {false, true}) {
        std::promise<bool> closed;
        serve([&](Connection &connection, const Request &) {
            connection.send(streamHead + chunk(u"text"_s));
            closed.set_value(connection.waitForClose());
        });
        {
            LauncherViewModel other({world.defaults, world.stats, world.roles, world.workspace,
                                     world.pasteboard, world.keychain, world.ai, world.session,
                                     world.volumes});
            other.catalog = &world.catalog;
            other.projects = &world.projects;
            other.setQuery(u"ai x"_s);
            if (forAnAnswer)
                other.submit();
            ASSERT_TRUE(waitUntil([this] { return !server->requests().empty(); }));
        }
        EXPECT_TRUE(closed.get_future().get());
        QCoreApplication::processEvents();
    }
}
