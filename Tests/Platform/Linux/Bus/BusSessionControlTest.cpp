// What the session can do and how it is told so: real buses, with services that say what they were
// asked.

#include "Platform/Linux/Bus/BusSessionControl.h"

#include "Worlds/LaunchWorld.h"

#include <gtest/gtest.h>

#include <memory>
#include <set>

using namespace corvid;
using namespace corvid::test;

namespace {

using enum SessionCommand;
using Commands = std::set<SessionCommand>;

[[maybe_unused]] const auto *const sessionBusOfTests =
    ::testing::AddGlobalTestEnvironment(new PrivateBus);
auto *const systemBus = static_cast<PrivateBus *>(
    ::testing::AddGlobalTestEnvironment(new PrivateBus("DBUS_SYSTEM_BUS_ADDRESS")));

const QString loginName = u"org.freedesktop.login1"_s;
const QStringList able{
    u"--answer=CanSuspend=('yes',)"_s, u"--answer=CanHibernate=('na',)"_s,
    u"--answer=CanReboot=('challenge',)"_s, u"--answer=CanPowerOff=('yes',)"_s,
    u"--answer=GetSession=(objectpath '/org/freedesktop/login1/session/_31',)"_s};
const Commands byLogin{Lock, Suspend, LogOut, Restart, ShutDown};

class BusSessionControlTest : public ::testing::Test {
protected:
    std::unique_ptr<BusServices> login(const QStringList &answers = able) const {
        return std::make_unique<BusServices>(traceOfLogin, answers + QStringList(loginName),
                                             systemBus->address());
    }
    std::unique_ptr<BusServices> onSessionBus(const QStringList &arguments) const {
        return std::make_unique<BusServices>(trace, arguments);
    }

    Commands commands() const {
        Commands result;
        for (const SessionCommand command : {Lock, Suspend, Hibernate, LogOut, Restart, ShutDown})
            if (control->can(command))
                result.insert(command);
        return result;
    }
    /** Asks and waits until that is what can be done. */
    bool becomes(const Commands &expected) {
        return eventually([&] {
            control->ask();
            return commands() == expected;
        });
    }
    /** The calls that follow, but questions. */
    static QString calls(const QString &file) {
        QStringList lines;
        for (const QString &line : readFile(file).split(u'\n', Qt::SkipEmptyParts))
            if (!line.contains(u".Can"_s) && !line.contains(u".GetSession"_s))
                lines.append(line.section(u'.', -2).section(u'.', -1));
        return lines.join(u'\n');
    }
    bool isCalled(const QString &file, const QString &call) const {
        return eventually([&] { return calls(file) == call; });
    }

    const QTemporaryDir folder;
    const QString traceOfLogin = folder.filePath(u"login"_s);
    const QString trace = folder.filePath(u"session"_s);
    std::unique_ptr<BusSessionControl> control = std::make_unique<BusSessionControl>();
};

} // namespace

TEST_F(BusSessionControlTest, nothingCanBeDoneUntilItWasAsked) {
    const auto service = login();
    EXPECT_EQ(commands(), Commands{});
    EXPECT_EQ(readFile(traceOfLogin), QString());
}

TEST_F(BusSessionControlTest, whatCanBeDoneIsWhatLogindSays) {
    const auto service = login();
    int changes = 0;
    control->onChange = [&] { ++changes; };
    control->ask();
    EXPECT_TRUE(eventually([&] { return commands() == byLogin; })) << "a password may be asked for";
    EXPECT_EQ(changes, 1);
    EXPECT_TRUE(becomes(byLogin));
    EXPECT_EQ(changes, 1) << "the same as before";
}

TEST_F(BusSessionControlTest, withoutASessionThereIsNothingToLockOrToEnd) {
    QStringList answers = able;
    answers.last() = u"--answer=GetSession=refused"_s;
    const auto service = login(answers);
    EXPECT_TRUE(becomes({Suspend, Restart, ShutDown}));
}

TEST_F(BusSessionControlTest, answersOfAWrongTypeMeanNo) {
    const auto service =
        login({u"--answer=CanSuspend=(true,)"_s, u"--answer=CanReboot=()"_s,
               u"--answer=CanPowerOff=('yes',)"_s, u"--answer=GetSession=refused"_s});
    EXPECT_TRUE(becomes({ShutDown}));
}

TEST_F(BusSessionControlTest, whoGoesCanDoNothingAnyMore) {
    auto service = login();
    EXPECT_TRUE(becomes(byLogin));
    service.reset();
    EXPECT_TRUE(becomes({}));
}

TEST_F(BusSessionControlTest, theDesktopMayForbidWhatTheMachineCanDo) {
    const auto service = login();
    const auto gnome =
        onSessionBus({u"--answer=CanShutdown=(false,)"_s, u"org.gnome.SessionManager"_s});
    EXPECT_TRUE(becomes({Lock, Suspend, LogOut}));
}

TEST_F(BusSessionControlTest, aSessionManagerWithoutTheQuestionLeavesItToLogind) {
    const auto service = login();
    const auto manager =
        onSessionBus({u"--answer=CanShutdown=unknown"_s, u"org.gnome.SessionManager"_s});
    EXPECT_TRUE(becomes(byLogin));
}

TEST_F(BusSessionControlTest, aSessionManagerAndAScreenSaverDoWithoutLogind) {
    const auto services =
        onSessionBus({u"--answer=CanRestart=(true,)"_s, u"--answer=CanShutdown=(true,)"_s,
                      u"org.xfce.SessionManager"_s, u"org.freedesktop.ScreenSaver"_s});
    EXPECT_TRUE(becomes({Lock, LogOut, Restart, ShutDown}));
}

TEST_F(BusSessionControlTest, logindCarriesOutWhatNobodyElseDoes) {
    const auto service = login();
    QString expected;
    const struct {
        SessionCommand command;
        QString call;
    } rows[]{{Lock, u"LockSession ('auto',)"_s},  {Suspend, u"Suspend (true,)"_s},
             {Hibernate, u"Hibernate (true,)"_s}, {LogOut, u"TerminateSession ('auto',)"_s},
             {Restart, u"Reboot (true,)"_s},      {ShutDown, u"PowerOff (true,)"_s}};
    for (const auto &[command, call] : rows) {
        control->carryOut(command);
        expected += (expected.isEmpty() ? QString() : u"\n"_s) + call;
        EXPECT_TRUE(isCalled(traceOfLogin, expected)) << qPrintable(calls(traceOfLogin));
    }
}

TEST_F(BusSessionControlTest, theDesktopsOwnSessionManagerEndsTheSession) {
    const struct {
        QStringList names;
        QString logOut, restart, shutDown;
    } desktops[]{
        {{u"org.gnome.SessionManager"_s}, u"Logout (1,)"_s, u"Reboot ()"_s, u"Shutdown ()"_s},
        {{u"org.kde.ksmserver"_s, u"org.kde.Shutdown"_s},
         u"logout ()"_s,
         u"logoutAndReboot ()"_s,
         u"logoutAndShutdown ()"_s},
        {{u"org.xfce.SessionManager"_s},
         u"Logout (false, true)"_s,
         u"Restart (true,)"_s,
         u"Shutdown (true,)"_s}};
    const auto service = login();
    for (const auto &desktop : desktops) {
        QFile::remove(trace);
        const auto manager = onSessionBus(desktop.names);
        control->carryOut(LogOut);
        EXPECT_TRUE(isCalled(trace, desktop.logOut)) << qPrintable(calls(trace));
        control->carryOut(Restart);
        EXPECT_TRUE(isCalled(trace, desktop.logOut + u'\n' + desktop.restart));
        control->carryOut(ShutDown);
        EXPECT_TRUE(
            isCalled(trace, desktop.logOut + u'\n' + desktop.restart + u'\n' + desktop.shutDown));
    }
    EXPECT_EQ(calls(traceOfLogin), QString());
}

TEST_F(BusSessionControlTest, aServiceOfAnotherDesktopThatIsOnlyInstalledIsNotAsked) {
    const auto service = login();
    const auto kde = onSessionBus({u"org.kde.Shutdown"_s});
    control->carryOut(ShutDown);
    EXPECT_TRUE(isCalled(traceOfLogin, u"PowerOff (true,)"_s));
    EXPECT_EQ(readFile(trace), QString());
}

TEST_F(BusSessionControlTest, whatASessionManagerDoesNotKnowLogindDoes) {
    const auto service = login();
    const auto manager =
        onSessionBus({u"--answer=Reboot=unknown"_s, u"org.gnome.SessionManager"_s});
    control->carryOut(Restart);
    EXPECT_TRUE(isCalled(traceOfLogin, u"Reboot (true,)"_s));
}

TEST_F(BusSessionControlTest, whatASessionManagerRefusesNobodyElseDoes) {
    const auto service = login();
    const auto manager =
        onSessionBus({u"--answer=Shutdown=refused"_s, u"org.gnome.SessionManager"_s});
    control->carryOut(ShutDown);
    EXPECT_TRUE(isCalled(trace, u"Shutdown ()"_s));
    control.reset(); // waits for what is under way
    EXPECT_EQ(calls(traceOfLogin), QString());
}

TEST_F(BusSessionControlTest, theScreenSaverOfTheSessionLocks) {
    const auto service = login();
    {
        const auto gnome = onSessionBus({u"org.gnome.ScreenSaver"_s});
        control->carryOut(Lock);
        EXPECT_TRUE(isCalled(trace, u"Lock ()"_s));
    }
    const auto other = onSessionBus({u"--answer=Lock=unknown"_s, u"org.freedesktop.ScreenSaver"_s});
    control->carryOut(Lock);
    EXPECT_TRUE(isCalled(traceOfLogin, u"LockSession ('auto',)"_s)) << "it only keeps it awake";
}

TEST_F(BusSessionControlTest, aServiceThatHangsHoldsUpNeitherUsNorTheOthers) {
    const auto service = login();
    const auto manager =
        onSessionBus({u"--answer=CanShutdown=(true,)"_s, u"org.gnome.SessionManager"_s});
    service->pause();
    EXPECT_TRUE(becomes({LogOut, Restart, ShutDown}));
    control->carryOut(Suspend);
    control->ask();
    control.reset(); // at once
}

TEST_F(BusSessionControlTest, aBusThatHangsHoldsUpNobody) {
    const auto service = login();
    systemBus->pause();
    control->ask();
    control->carryOut(ShutDown);
    control.reset(); // at once
    systemBus->goOn();
    control = std::make_unique<BusSessionControl>();
    EXPECT_TRUE(becomes(byLogin));
}
