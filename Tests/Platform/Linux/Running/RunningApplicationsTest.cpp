#include "Platform/Linux/Running/RunningApplications.h"

#include "Worlds/EventLoop.h"
#include "Worlds/QtPrinters.h"
#include "Worlds/Sway.h"
#include "Worlds/ThreadWakes.h"
#include "Worlds/XServer.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <optional>

using namespace corvid;
using namespace corvid::test;

namespace {

DesktopEntry entry(const QString &id, const QString &windowClass = {}) {
    DesktopEntry entry;
    entry.id = id;
    entry.path = "/apps/"_L1 + id + ".desktop"_L1;
    entry.startupWMClass = windowClass;
    return entry;
}

class RunningApplicationsTest : public ::testing::Test {
protected:
    RunningApplications &watch(const QByteArray &display) {
        running_.emplace(RunningApplications::Displays{display, {}});
        running_->setEntries(entries_);
        running_->start();
        return *running_;
    }
    bool becomes(const QStringList &ids) {
        return eventually([&] { return running_->ids() == QSet<QString>(ids.begin(), ids.end()); });
    }
    /** Whether the application comes to the front; not when nobody tells. */
    bool activates(const QString &path) {
        std::optional<bool> result;
        EXPECT_TRUE(running_->activate(path, [&](bool activated) { result = activated; }));
        EXPECT_FALSE(result) << "told inside the call";
        EXPECT_TRUE(eventually([&] { return result.has_value(); }));
        return result.value_or(false);
    }
    static QString xdotool(const XServer &server, const QStringList &arguments) {
        QProcess process;
        process.setProcessEnvironment(server.environment());
        process.start(u"xdotool"_s, arguments);
        process.waitForFinished();
        return QString::fromLatin1(process.readAllStandardOutput().trimmed());
    }
    static bool becomesActive(const XServer &server, const XClient &client) {
        return eventually(
            [&] { return xdotool(server, {u"getactivewindow"_s}) == client.window(); });
    }
    static void clickOn(const XServer &server, const XClient &client) {
        xdotool(server, {u"windowactivate"_s, client.window()});
        EXPECT_TRUE(becomesActive(server, client));
    }

    const std::vector<DesktopEntry> entries_{entry(u"org.example.One"_s, u"OneWindow"_s),
                                             entry(u"org.example.Two"_s)};
    std::optional<RunningApplications> running_;
};

const QString one = u"org.example.One"_s;
const QString two = u"org.example.Two"_s;
const QString pathOfOne = u"/apps/org.example.One.desktop"_s;

} // namespace

TEST_F(RunningApplicationsTest, windowsComeAndGo) {
    const XServer server;
    watch(server.display());
    EXPECT_EQ(running_->ids(), QSet<QString>());
    {
        const XClient first(server, {u"x"_s, u"OneWindow"_s});
        EXPECT_TRUE(becomes({one}));
        const XClient second(server, {u"x"_s, u"X"_s, u"--gtk-id"_s, two});
        EXPECT_TRUE(becomes({one, two}));
    }
    EXPECT_TRUE(becomes({}));
}

TEST_F(RunningApplicationsTest, windowsThatWereThereBeforeCount) {
    const XServer server;
    const XClient client(server, {u"x"_s, u"OneWindow"_s, u"--no-pid"_s});
    watch(server.display());
    EXPECT_TRUE(becomes({one}));
}

TEST_F(RunningApplicationsTest, anApplicationRunsUntilItsLastWindowIsGone) {
    const XServer server;
    watch(server.display());
    const XClient first(server, {u"x"_s, u"OneWindow"_s});
    EXPECT_TRUE(becomes({one}));
    {
        const XClient second(server, {u"x"_s, u"OneWindow"_s});
        const XClient other(server, {u"x"_s, u"X"_s, u"--gtk-id"_s, two});
        EXPECT_TRUE(becomes({one, two}));
    }
    EXPECT_TRUE(becomes({one}));
}

TEST_F(RunningApplicationsTest, aWindowManagerThatStartsLaterIsNoticed) {
    XServer server(XServer::Manager::None);
    watch(server.display());
    const XClient client(server, {u"x"_s, u"OneWindow"_s});
    server.startManager();
    EXPECT_TRUE(becomes({one}));
}

TEST_F(RunningApplicationsTest, whenTheDisplayGoesNothingRuns) {
    XServer server;
    watch(server.display());
    const XClient client(server, {u"x"_s, u"OneWindow"_s});
    EXPECT_TRUE(becomes({one}));
    server.endServer();
    EXPECT_TRUE(becomes({}));
}

TEST_F(RunningApplicationsTest, withoutADisplayNothingRuns) {
    for (const QByteArray &display :
         {QByteArray(), QByteArray(":987654"), QByteArray("nonsense")}) {
        watch(display);
        EXPECT_FALSE(eventually([&] { return !running_->ids().isEmpty(); }, 50));
        EXPECT_FALSE(running_->activate(u"/apps/org.example.One.desktop"_s, [](bool) {}));
    }
}

TEST_F(RunningApplicationsTest, aWindowThatWasThereBeforeItsEntryIsRecognizedByIt) {
    const XServer server;
    running_.emplace(RunningApplications::Displays{server.display(), {}});
    running_->start();
    const XClient first(server, {u"x"_s, u"OneWindow"_s});
    const XClient second(server, {u"x"_s, u"X"_s, u"--gtk-id"_s, two});
    running_->setEntries({entries_[1]});
    EXPECT_TRUE(becomes({two}));
    running_->setEntries(entries_);
    EXPECT_TRUE(becomes({one, two}));
    EXPECT_TRUE(activates(pathOfOne));
}

TEST_F(RunningApplicationsTest, aBundleIsRecognizedByTheProgramThatRuns) {
    const XServer server;
    const QTemporaryDir folder;
    const QString bundle = folder.filePath(u"My.app"_s);
    QDir().mkpath(bundle + "/Contents/MacOS"_L1);
    QFile properties(bundle + "/Contents/Info.plist"_L1);
    ASSERT_TRUE(properties.open(QIODevice::WriteOnly));
    properties.write("<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>"
                     "<key>CFBundleIdentifier</key><string>com.example.my</string></dict></plist>");
    properties.close();
    const QString program = bundle + "/Contents/MacOS/My"_L1;
    ASSERT_TRUE(
        QFile::copy(QStringLiteral(CORVID_BUILD_FOLDER "/tests/corvid_x11_client"), program));
    watch(server.display());
    const XClient client(server, {u"x"_s, u"X"_s}, program);
    EXPECT_TRUE(becomes({u"com.example.my"_s}));
    EXPECT_TRUE(activates(bundle));
}

TEST_F(RunningApplicationsTest, anApplicationComesToTheFrontWithTheWindowSeenLast) {
    const XServer server;
    watch(server.display());
    const XClient first(server, {u"x"_s, u"OneWindow"_s});
    const XClient second(server, {u"x"_s, u"OneWindow"_s});
    const XClient front(server, {u"x"_s, u"X"_s, u"--gtk-id"_s, two});
    EXPECT_TRUE(becomes({one, two}));
    for (const XClient *seenLast : {&second, &first}) {
        clickOn(server, *seenLast);
        clickOn(server, front);
        EXPECT_TRUE(activates(pathOfOne));
        EXPECT_TRUE(becomesActive(server, *seenLast));
    }
    EXPECT_FALSE(running_->activate(u"/apps/other.desktop"_s, [](bool) {}));
}

class ActivationTest : public RunningApplicationsTest,
                       public ::testing::WithParamInterface<XServer::Manager> {};

INSTANTIATE_TEST_SUITE_P(EachManager, ActivationTest,
                         ::testing::Values(XServer::Manager::Openbox, XServer::Manager::Xfwm4));

TEST_P(ActivationTest, aMinimisedWindowIsRestored) {
    const XServer server(GetParam());
    watch(server.display());
    const XClient first(server, {u"x"_s, u"OneWindow"_s});
    const XClient front(server, {u"x"_s, u"X"_s, u"--gtk-id"_s, two});
    EXPECT_TRUE(becomes({one, two}));
    xdotool(server, {u"windowminimize"_s, u"--sync"_s, first.window()});
    clickOn(server, front);
    EXPECT_TRUE(activates(pathOfOne));
    EXPECT_TRUE(becomesActive(server, first));
    EXPECT_FALSE(
        xdotool(server, {u"search"_s, u"--onlyvisible"_s, u"--class"_s, u"OneWindow"_s}).isEmpty());
}

TEST_P(ActivationTest, theDesktopOfTheWindowIsSwitchedTo) {
    const XServer server(GetParam());
    watch(server.display());
    xdotool(server, {u"set_num_desktops"_s, u"2"_s});
    const XClient first(server, {u"x"_s, u"OneWindow"_s});
    const XClient front(server, {u"x"_s, u"X"_s, u"--gtk-id"_s, two});
    EXPECT_TRUE(becomes({one, two}));
    EXPECT_TRUE(eventually([&] { return xdotool(server, {u"get_num_desktops"_s}) == u"2"; }));
    xdotool(server, {u"set_desktop_for_window"_s, first.window(), u"1"_s});
    EXPECT_TRUE(eventually([&] {
        return xdotool(server, {u"get_desktop_for_window"_s, first.window()}) == u"1";
    }));
    clickOn(server, front);
    EXPECT_EQ(xdotool(server, {u"get_desktop"_s}), u"0");
    EXPECT_TRUE(activates(pathOfOne));
    EXPECT_TRUE(becomesActive(server, first));
    EXPECT_TRUE(eventually([&] { return xdotool(server, {u"get_desktop"_s}) == u"1"; }));
}

TEST_P(ActivationTest, anApplicationThatDiedAnInstantAgoDoesNotComeToTheFront) {
    const XServer server(GetParam());
    watch(server.display());
    const XClient front(server, {u"x"_s, u"X"_s, u"--gtk-id"_s, two});
    for (int round = 0; round < 10; ++round) {
        XClient first(server, {u"x"_s, u"OneWindow"_s});
        EXPECT_TRUE(becomes({one, two}));
        first.kill();
        // The event loop has not run since: we cannot know yet.
        EXPECT_FALSE(activates(pathOfOne));
    }
}

TEST_F(RunningApplicationsTest, ofAnApplicationThatLosesAWindowAnotherComesToTheFront) {
    const XServer server;
    watch(server.display());
    const XClient rest(server, {u"x"_s, u"OneWindow"_s});
    const XClient front(server, {u"x"_s, u"X"_s, u"--gtk-id"_s, two});
    XClient topmost(server, {u"x"_s, u"OneWindow"_s});
    EXPECT_TRUE(becomes({one, two}));
    clickOn(server, topmost);
    clickOn(server, front);
    topmost.kill();
    EXPECT_TRUE(activates(pathOfOne));
    EXPECT_TRUE(becomesActive(server, rest));
}

TEST_F(RunningApplicationsTest, aWindowThatDoesNotReactIsToldOf) {
    XServer server;
    watch(server.display());
    const XClient first(server, {u"x"_s, u"OneWindow"_s});
    const XClient front(server, {u"x"_s, u"X"_s, u"--gtk-id"_s, two});
    EXPECT_TRUE(becomes({one, two}));
    clickOn(server, front);
    server.pauseManager();
    EXPECT_FALSE(activates(pathOfOne));
}

TEST_F(RunningApplicationsTest, aWishIsAnsweredWhenTheDisplayGoes) {
    XServer server;
    watch(server.display());
    const XClient first(server, {u"x"_s, u"OneWindow"_s});
    EXPECT_TRUE(becomes({one}));
    server.pauseManager();
    server.endServer();
    std::optional<bool> result;
    if (running_->activate(pathOfOne, [&](bool activated) { result = activated; })) {
        EXPECT_TRUE(eventually([&] { return result.has_value(); }));
    }
    EXPECT_FALSE(result.value_or(false));
}

TEST_F(RunningApplicationsTest, destroyingItInTheMiddleOfThingsEndsAtOnce) {
    const XServer server;
    const XClient client(server, {u"x"_s, u"OneWindow"_s});
    for (int i = 0; i < 50; ++i)
        watch(server.display());
    running_.reset();
    RunningApplications neverStarted({server.display(), {}});
}

class CompositorTest : public RunningApplicationsTest {
protected:
    /** A window of an application, open while this exists. */
    class Window {
    public:
        Window(const Sway &sway, const QString &id) {
            Sway::prepare(process_);
            process_.setProcessEnvironment(sway.environment());
            process_.start(QStringLiteral(CORVID_BUILD_FOLDER "/tests/corvid_wayland_window"),
                           {id, u"800080"_s});
            EXPECT_TRUE(process_.waitForReadyRead(60'000)) << "no window";
        }
        Window(const Window &) = delete;
        Window &operator=(const Window &) = delete;
        ~Window() {
            process_.kill();
            process_.waitForFinished();
        }
        /** The last word on it: whether it has the focus. */
        bool isActive() {
            said_ += process_.readAllStandardOutput();
            return said_.endsWith("\nactive\n") || said_ == "active\n";
        }

    private:
        QProcess process_;
        QByteArray said_;
    };

    void watch() {
        // An absolute path: the test's own runtime folder is another.
        const QString socket = sway_.path(sway_.environment().value(u"WAYLAND_DISPLAY"_s));
        running_.emplace(RunningApplications::Displays{{}, socket.toLocal8Bit()});
        running_->setEntries(entries_);
        running_->start();
    }

    Sway sway_;
};

TEST_F(CompositorTest, windowsComeAndGo) {
    const Window before(sway_, u"OneWindow"_s);
    watch();
    EXPECT_TRUE(becomes({one}));
    {
        const Window second(sway_, two);
        EXPECT_TRUE(becomes({one, two}));
        const Window unknown(sway_, u"unknown"_s);
        const Window sameOnce(sway_, two);
    }
    EXPECT_TRUE(becomes({one}));
}

TEST_F(CompositorTest, anApplicationComesToTheFrontWithTheWindowSeenLast) {
    watch();
    Window first(sway_, u"OneWindow"_s);
    Window second(sway_, u"OneWindow"_s);
    Window front(sway_, two);
    EXPECT_TRUE(becomes({one, two}));
    for (const auto &[seenLast, criteria] :
         {std::pair{&first, u"focus left, focus left"_s}, std::pair{&second, u"focus left"_s}}) {
        EXPECT_TRUE(eventually([&] { return front.isActive(); }));
        sway_.tell(criteria);
        EXPECT_TRUE(eventually([&, shown = seenLast] { return shown->isActive(); }));
        sway_.tell(u"[app_id=\"%1\"] focus"_s.arg(two));
        EXPECT_TRUE(eventually([&] { return front.isActive(); }));
        EXPECT_TRUE(activates(pathOfOne));
        EXPECT_TRUE(eventually([&, shown = seenLast] { return shown->isActive(); }));
        sway_.tell(u"[app_id=\"%1\"] focus"_s.arg(two));
    }
}

TEST_F(CompositorTest, oneThatDoesNotListTheApplicationIsNotAsked) {
    watch();
    const Window front(sway_, two);
    EXPECT_TRUE(becomes({two}));
    EXPECT_FALSE(running_->activate(pathOfOne, [](bool) {}));
}

TEST_F(CompositorTest, whenItGoesNothingRuns) {
    const Window window(sway_, u"OneWindow"_s);
    watch();
    EXPECT_TRUE(becomes({one}));
    sway_.tell(u"exit"_s);
    EXPECT_TRUE(becomes({}));
}

TEST_F(RunningApplicationsTest, nothingWakesUsWhileNothingHappens) {
    const ThreadWakes wakes;
    const XServer server;
    const XClient client(server, {u"x"_s, u"OneWindow"_s});
    watch(server.display());
    EXPECT_TRUE(becomes({one}));
    // Others may still be busy with the window, so a quiet second is waited for.
    qint64 seen = -1;
    QElapsedTimer quiet;
    EXPECT_TRUE(eventually([&] {
        const qint64 now = wakes.count();
        if (std::exchange(seen, now) != now)
            quiet.start();
        return quiet.hasExpired(1'000);
    }));
}
