#include "Platform/Linux/Launching/StartupNotifier.h"

#include "Fakes/FakeDesktopEntries.h"
#include "Platform/Linux/Launching/SessionWorkspace.h"
#include "Worlds/ChildEnvironments.h"
#include "Worlds/LaunchWorld.h"
#include "Worlds/XServer.h"

#include <QRegularExpression>

#include <optional>

using namespace corvid;
using namespace corvid::test;

namespace {

const auto *const bus = ::testing::AddGlobalTestEnvironment(new PrivateBus);

const QString client = QStringLiteral(CORVID_BUILD_FOLDER "/tests/corvid_startup_client");

/** Everything that is announced on a display, as it comes. */
class Listener {
public:
    explicit Listener(const XServer &server) {
        makeDependent(process_);
        process_.setProcessEnvironment(server.environment());
        process_.start(client, {u"listen"_s});
        EXPECT_TRUE(process_.waitForReadyRead(60'000));
    }
    ~Listener() {
        process_.kill();
        process_.waitForFinished();
    }
    QStringList messages() {
        all_ += QString::fromUtf8(process_.readAllStandardOutput());
        QStringList lines = all_.split(u'\n', Qt::SkipEmptyParts);
        lines.removeOne(u"listening"_s);
        return lines;
    }

private:
    QProcess process_;
    QString all_;
};

class StartupTest : public ::testing::TestWithParam<XServer::Manager> {
protected:
    explicit StartupTest(XServer::Manager manager = GetParam()) : server_(manager) {
        environment_ = server_.environment();
        environment_.insert(u"PATH"_s, folder_.path() + ":/usr/bin:/bin"_L1);
        qputenv("PATH", environment_.value(u"PATH"_s).toLocal8Bit());
        workspace_.emplace(
            entries_,
            SessionWorkspace::Options{childEnvironment(environment_), {server_.display(), {}}, {}});
    }

    QString path(const QString &name) const { return folder_.filePath(name); }

    QString entry(const QString &exec, const QString &more, const QString &id = u"org.x.App"_s) {
        const QString file = path(id + ".desktop"_L1);
        writeFile(file, u"[Desktop Entry]\nType=Application\nName=An \"app\"\nExec=%1\n%2\n"_s.arg(
                            exec, more));
        return file;
    }
    QString launch(const QString &entryPath) {
        std::optional<QString> result;
        workspace_->openFiles({}, entryPath, [&](const QString &error) { result = error; });
        EXPECT_TRUE(eventually([&] { return result.has_value(); }));
        return result.value_or(u"no completion"_s);
    }
    /** Lets the program that waits for this gate show its window, whose number is returned. */
    QString openGate(const QString &gate) {
        writeFile(path(gate), {});
        EXPECT_TRUE(eventually([&] { return QFile::exists(path(gate + ".window"_L1)); }));
        return readFile(path(gate + ".window"_L1));
    }
    QString lateProgram(const QString &gate) const {
        return client + " window Late "_L1 + path(gate);
    }
    bool becomesActive(const QString &window) const {
        return eventually([&] { return activeWindow() == window; });
    }
    /** Where a window manager that has just started gave the focus to nobody, it is asked. */
    bool isBroughtToTheFront(const QString &window) const {
        return eventually([&] {
            const bool isActive = activeWindow() == window;
            if (!isActive)
                xdotool({u"windowactivate"_s, window});
            return isActive;
        });
    }
    QString activeWindow() const { return xdotool({u"getactivewindow"_s}); }
    QString xdotool(const QStringList &arguments) const {
        QProcess process;
        process.setProcessEnvironment(server_.environment());
        process.start(u"xdotool"_s, arguments);
        process.waitForFinished();
        return QString::fromLatin1(process.readAllStandardOutput().trimmed());
    }

    QTemporaryDir folder_;
    XServer server_;
    QProcessEnvironment environment_;
    const FakeDesktopEntries entries_;
    std::optional<SessionWorkspace> workspace_;
};

INSTANTIATE_TEST_SUITE_P(EachManager, StartupTest,
                         ::testing::Values(XServer::Manager::Openbox, XServer::Manager::Xfwm4));

class AnnouncementTest : public StartupTest {
protected:
    AnnouncementTest() : StartupTest(XServer::Manager::None) {}
    Listener listener_{server_};
};

INSTANTIATE_TEST_SUITE_P(WithoutManager, AnnouncementTest,
                         ::testing::Values(XServer::Manager::None));

const QString notifies = u"StartupNotify=true"_s;

class PreventionTest : public StartupTest {};

INSTANTIATE_TEST_SUITE_P(Xfwm, PreventionTest, ::testing::Values(XServer::Manager::WaryXfwm4));

} // namespace

TEST(StartupMessage, quotesItsValues) {
    EXPECT_EQ(startupMessage("new", {{"ID", "a b"}, {"NAME", R"(say "hi\n")"}}),
              R"(new: ID="a b" NAME="say \"hi\\n\"")");
}

TEST(StartupNotifier, withoutADisplayThereAreNoIds) {
    for (const QByteArray &display : {QByteArray(), QByteArray(":987654")}) {
        StartupNotifier notifier(display);
        EXPECT_EQ(notifier.begin({}), QByteArray());
        notifier.finish(nullptr);
    }
}

TEST_P(AnnouncementTest, aLaunchIsAnnouncedUntilItsWindowIsThereOrTheLauncherEnds) {
    const QString program = path(u"app"_s);
    writeTracingProgram(program, path(u"trace"_s));
    const QString file = entry(program, notifies + "\nIcon=app-icon\nStartupWMClass=AppClass"_L1);
    EXPECT_EQ(launch(file), QString());
    ASSERT_TRUE(eventually([this] { return listener_.messages().size() == 1; }));
    const QString announced = listener_.messages().first();
    const QString id =
        Trace(path(u"trace"_s)).variable(u"DESKTOP_STARTUP_ID"_s).value_or(QString());
    EXPECT_TRUE(QRegularExpression(u"^corvid-\\d+-.*-org\\.x\\.App-\\d+_TIME[1-9]\\d*$"_s)
                    .match(id)
                    .hasMatch())
        << qPrintable(id);
    EXPECT_EQ(announced,
              u"new: ID=\"%1\" NAME=\"An \\\"app\\\"\" SCREEN=\"0\" "
              "APPLICATION_ID=\"%2\" ICON=\"app-icon\" WMCLASS=\"AppClass\""_s.arg(id, file));
    workspace_.reset();
    EXPECT_TRUE(eventually([&] { return listener_.messages().size() == 2; }));
    EXPECT_EQ(listener_.messages().last(), u"remove: ID=\"%1\""_s.arg(id));
}

TEST_P(AnnouncementTest, whatDoesNotSayWhenItHasStartedIsNotAnnounced) {
    const QString program = path(u"app"_s);
    writeTracingProgram(program, path(u"trace"_s));
    EXPECT_EQ(launch(entry(program, {})), QString());
    EXPECT_EQ(Trace(path(u"trace"_s)).variable(u"DESKTOP_STARTUP_ID"_s), std::nullopt);
    QFile::remove(path(u"trace"_s));
    EXPECT_EQ(launch(entry(program, notifies)), QString());
    EXPECT_TRUE(eventually([this] { return !listener_.messages().isEmpty(); }));
    EXPECT_EQ(listener_.messages().size(), 1) << "only the second";
}

TEST_P(AnnouncementTest, aLaunchThatFailsIsTakenBack) {
    const QString program = path(u"strange"_s);
    writeFile(program, u"#!/no/such/interpreter\n"_s);
    QFile::setPermissions(program, QFile::ReadOwner | QFile::ExeOwner);
    EXPECT_FALSE(launch(entry(program, notifies)).isEmpty());
    EXPECT_TRUE(eventually([this] { return listener_.messages().size() == 2; }));
    EXPECT_TRUE(listener_.messages().last().startsWith(u"remove: ID=\"corvid-"_s));
}

TEST_P(AnnouncementTest, aBusActivatedApplicationGetsItsIdOverTheBus) {
    {
        const BusServices services(path(u"bus"_s), {u"org.x.App"_s});
        EXPECT_EQ(launch(entry(u"true"_s, u"DBusActivatable=true"_s)), QString());
    }
    const QString call = readFile(path(u"bus"_s));
    EXPECT_TRUE(
        QRegularExpression(u"Activate \\(\\{'desktop-startup-id': <'(corvid-.*_TIME\\d+)'>, "
                           "'activation-token': <'\\1'>\\},\\)"_s)
            .match(call)
            .hasMatch())
        << qPrintable(call);
}

TEST_P(StartupTest, aWindowThatAppearsLateComesToTheFront) {
    const XClient before(server_, {u"before"_s, u"Before"_s, u"--managed"_s});
    EXPECT_TRUE(isBroughtToTheFront(before.window()));
    Listener listener(server_);
    EXPECT_EQ(launch(entry(lateProgram(u"gate"_s), notifies)), QString());
    EXPECT_TRUE(eventually([&] { return listener.messages().size() == 1; }));
    EXPECT_TRUE(becomesActive(openGate(u"gate"_s)));
    EXPECT_TRUE(eventually([&] { return listener.messages().last().startsWith("remove:"_L1); }))
        << "the announcement ends with the window";
}

TEST_P(PreventionTest, whatTheUserLaunchedComesToTheFrontAndWhatIsOlderDoesNot) {
    const QString first = launch(entry(lateProgram(u"old"_s), notifies, u"org.x.Old"_s));
    EXPECT_EQ(first, QString());
    EXPECT_EQ(launch(entry(lateProgram(u"new"_s), notifies, u"org.x.New"_s)), QString());
    const QString window = openGate(u"new"_s);
    EXPECT_TRUE(becomesActive(window));
    const QString older = openGate(u"old"_s);
    EXPECT_FALSE(eventually([&] { return activeWindow() == older; }, 1'000))
        << "the window manager does not prevent anything here";
    EXPECT_EQ(activeWindow(), window);
}
