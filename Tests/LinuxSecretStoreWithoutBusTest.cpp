// Where there is no session bus, or no longer one.

#include "SecretsWorld.h"

using namespace corvid;
using namespace corvid::test;

namespace {

class WithoutBus : public ::testing::Test {
protected:
    WithoutBus() {
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + home.path(u"no bus"_s).toLocal8Bit());
    }
    SecretsHome home;
};

} // namespace

TEST_F(WithoutBus, secretsAreInOurOwnStore) {
    {
        LinuxSecretStore store;
        EXPECT_EQ(store.get(keyAccount), std::nullopt);
        store.set(keyAccount, u"mine"_s);
        EXPECT_EQ(store.get(keyAccount), u"mine");
    }
    EXPECT_TRUE(QFile::exists(home.secretsFile()));
    const LinuxSecretStore another;
    EXPECT_TRUE(becomes(another, u"mine"_s));
}

TEST_F(WithoutBus, aBusThatAcceptsAndSaysNothingKeepsNobodyWaiting) {
    // A listening socket that nobody accepts from.
    QProcess listener;
    makeDependent(listener);
    const QString path = home.path(u"mute"_s);
    listener.start(u"python3"_s, {u"-c"_s,
                                  u"import socket,sys\ns=socket.socket(socket.AF_UNIX)\n"
                                  "s.bind(sys.argv[1])\ns.listen()\nprint('ready',flush=True)\n"
                                  "sys.stdin.read()"_s,
                                  path});
    ASSERT_TRUE(listener.waitForReadyRead(10'000));
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + path.toLocal8Bit());
    LongestGap gap;
    QElapsedTimer timer;
    {
        const LinuxSecretStore store(std::chrono::milliseconds(200));
        int questions = 0;
        EXPECT_TRUE(eventually([&] {
            EXPECT_EQ(store.get(keyAccount), std::nullopt);
            return ++questions == 100;
        }));
        timer.start();
    }
    EXPECT_LT(timer.elapsed(), 1'000);
    EXPECT_LT(gap.milliseconds(), 1'000);
    listener.closeWriteChannel();
    listener.waitForFinished();
}

// The last one: a process does not get a second session bus.
TEST_F(WithoutBus, aBusThatIsLostTakesTheServiceAlongAndNotUs) {
    SecretsBus bus;
    ASSERT_NO_FATAL_FAILURE(bus.SetUp());
    {
        const ScriptedService service;
        LinuxSecretStore store;
        EXPECT_TRUE(becomes(store, u"from the stub"_s));
        bus.stop();
        EXPECT_TRUE(becomes(store, std::nullopt));
        store.set(keyAccount, u"mine"_s);
        EXPECT_TRUE(eventually([&] { return QFile::exists(home.secretsFile()); }));
        EXPECT_EQ(store.get(keyAccount), u"mine");
    }
}
