// The status item in real trays: of the bus, and of X11.

#include "Worlds/LaunchWorld.h"
#include "Worlds/XServer.h"

#include <gtest/gtest.h>

using namespace corvid::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/** A process that tells about itself line by line. */
class Teller {
public:
    Teller(const QProcessEnvironment &environment, const QString &name,
           const QStringList &arguments = {}) {
        makeDependent(process_);
        process_.setProcessEnvironment(environment);
        process_.start(QStringLiteral(CORVID_BUILD_FOLDER "/tests/") + name, arguments);
        EXPECT_TRUE(tells(u"ready"_s));
    }
    ~Teller() {
        process_.kill();
        process_.waitForFinished();
    }
    bool tells(const QString &text) {
        return eventually([&] {
            told_ += QString::fromUtf8(process_.readAllStandardOutput());
            return told_.contains(text);
        });
    }
    bool hasItem() { return tells(u"item "_s); }
    /** What follows "item ". */
    QString item() {
        return hasItem() ? told_.section(u"item "_s, 1).section(u'\n', 0, 0) : QString();
    }
    bool hasNoItem() {
        told_ += QString::fromUtf8(process_.readAllStandardOutput());
        return !told_.contains(u"item "_s);
    }
    void say(const char *line) { process_.write(line); }

private:
    QProcess process_;
    QString told_;
};

class TrayTest : public ::testing::Test {
protected:
    TrayTest() {
        makeDependent(daemon_);
        daemon_.start(u"dbus-daemon"_s, busWithoutServices);
        EXPECT_TRUE(daemon_.waitForReadyRead(60'000));
        environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s,
                           QString::fromUtf8(daemon_.readLine().trimmed()));
        environment.insert(u"HOME"_s, folder.path());
        environment.insert(u"XDG_DATA_DIRS"_s, folder.path());
        for (const QString &name : {u"XDG_DATA_HOME"_s, u"XDG_CONFIG_HOME"_s, u"QT_QPA_PLATFORM"_s})
            environment.remove(name);
    }
    ~TrayTest() override {
        EXPECT_EQ(program.state(), QProcess::Running);
        program.terminate();
        EXPECT_TRUE(program.waitForFinished(30'000));
        EXPECT_EQ(program.exitCode(), 0);
        daemon_.kill();
        daemon_.waitForFinished();
    }

    void start() {
        makeDependent(program);
        program.setProcessEnvironment(environment);
        program.start(QStringLiteral(CORVID_BUILD_FOLDER "/corvid"), {u"--show"_s});
        EXPECT_TRUE(eventually([this] { return panelIsVisible(); }));
    }
    bool panelIsVisible() const {
        return !run(u"xdotool"_s, {u"search"_s, u"--onlyvisible"_s, u"--name"_s, u"^Corvid$"_s})
                    .isEmpty();
    }
    QString run(const QString &tool, const QStringList &arguments) const {
        QProcess process;
        process.setProcessEnvironment(environment);
        process.start(tool, arguments);
        process.waitForFinished();
        return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
    }
    /** Starts the program and waits until it has asked the bus for a host: it listens by then. */
    void startAndWatch() {
        QProcess monitor;
        makeDependent(monitor);
        monitor.setProcessEnvironment(environment);
        monitor.start(u"dbus-monitor"_s, {u"member=Get"_s, u"member=NameAcquired"_s});
        EXPECT_TRUE(monitor.waitForReadyRead(60'000));
        start();
        QByteArray seen;
        EXPECT_TRUE(eventually([&] {
            return (seen += monitor.readAllStandardOutput())
                .contains("IsStatusNotifierHostRegistered");
        }));
        monitor.kill();
        monitor.waitForFinished();
    }

    QTemporaryDir folder;
    XServer server;
    QProcessEnvironment environment = server.environment();
    QProcess program;

private:
    QProcess daemon_;
};

const QString busTray = u"corvid_status_watcher"_s;
const QString x11Tray = u"corvid_x11_tray"_s;

} // namespace

TEST_F(TrayTest, appearsInATrayThatIsThere) {
    Teller tray(environment, busTray);
    start();
    EXPECT_TRUE(tray.hasItem());
}

TEST_F(TrayTest, appearsInATrayThatComesLaterAndInOneThatComesAgain) {
    startAndWatch();
    for (int round = 0; round < 3; ++round) {
        Teller tray(environment, busTray);
        EXPECT_TRUE(tray.hasItem()) << round;
    }
}

TEST_F(TrayTest, appearsWhenAPanelShowsTheItemsThatUntilThenNobodyShowed) {
    Teller tray(environment, busTray, {u"--no-host"_s});
    startAndWatch();
    EXPECT_TRUE(tray.hasNoItem());
    tray.say("host\n");
    EXPECT_TRUE(tray.hasItem());
}

TEST_F(TrayTest, theWaitForATrayEndsWithTheProgram) {
    startAndWatch();
}

TEST_F(TrayTest, appearsInAnX11TrayThatIsThere) {
    Teller tray(environment, x11Tray);
    start();
    EXPECT_TRUE(tray.hasItem());
}

TEST_F(TrayTest, appearsInAnX11TrayThatComesLaterAndInOneThatComesAgain) {
    startAndWatch();
    for (int round = 0; round < 3; ++round) {
        Teller tray(environment, x11Tray);
        EXPECT_TRUE(tray.hasItem()) << round;
    }
}

TEST_F(TrayTest, appearsInAnX11TrayWhereThereIsNoBus) {
    environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, u"disabled:"_s);
    Teller tray(environment, x11Tray);
    start();
    EXPECT_TRUE(tray.hasItem());
}

TEST_F(TrayTest, prefersTheTrayOfTheBus) {
    Teller older(environment, x11Tray);
    Teller tray(environment, busTray);
    start();
    EXPECT_TRUE(tray.hasItem());
    EXPECT_TRUE(older.hasNoItem());
}

TEST_F(TrayTest, aClickOnTheItemShowsThePanel) {
    Teller tray(environment, busTray);
    start();
    const QString item = tray.item();
    EXPECT_TRUE(eventually([this] {
        run(u"xdotool"_s, {u"key"_s, u"Escape"_s});
        return !panelIsVisible();
    }));
    run(u"dbus-send"_s,
        {u"--session"_s, u"--print-reply"_s, u"--dest="_s + item, u"/StatusNotifierItem"_s,
         u"org.kde.StatusNotifierItem.Activate"_s, u"int32:0"_s, u"int32:0"_s});
    EXPECT_TRUE(eventually([this] { return panelIsVisible(); }));
}
