// Where there is no session bus, or no longer one.

#include "Platform/Linux/Bus/SessionBus.h"
#include "Platform/Linux/Secrets/FileSecretStore.h"
#include "Platform/Linux/Secrets/SecretServiceStore.h"
#include "Worlds/SecretsWorld.h"

#include <atomic>
#include <thread>

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

/** Somebody's thread, in which a store lives. */
class ThreadWithStore {
public:
    std::atomic<bool> asked = false;
    std::atomic<bool> told = false;          ///< of a change, by the store
    std::atomic<bool> toldElsewhere = false; ///< in another thread

private:
    void run(const std::stop_token &stop) {
        GMainContext *const context = g_main_context_new();
        g_main_context_push_thread_default(context);
        {
            const std::stop_callback wake(stop, [=] { g_main_context_wakeup(context); });
            SecretServiceStore store([this, id = std::this_thread::get_id()] {
                told = true;
                toldElsewhere = toldElsewhere || std::this_thread::get_id() != id;
            });
            store.get(keyAccount, SecretServiceStore::Start::Never, nullptr);
            asked = true;
            while (!stop.stop_requested())
                g_main_context_iteration(context, TRUE);
        }
        while (g_main_context_iteration(context, FALSE)) { // frees what it left behind
        }
        g_main_context_pop_thread_default(context);
        g_main_context_unref(context);
    }

    std::jthread thread_{[this](const std::stop_token &stop) { run(stop); }};
};

} // namespace

TEST_F(WithoutBus, secretsAreInOurOwnStore) {
    {
        SessionSecretStore store;
        EXPECT_EQ(store.get(keyAccount), std::nullopt);
        store.set(keyAccount, u"mine"_s);
        EXPECT_EQ(store.get(keyAccount), u"mine");
    }
    EXPECT_TRUE(QFile::exists(home.secretsFile()));
    const SessionSecretStore another;
    EXPECT_TRUE(becomes(another, u"mine"_s));
}

TEST_F(WithoutBus, aSecretThatIsRefusedGivesWayToTheOneThatIsStored) {
    SessionSecretStore store;
    store.set(keyAccount, u"mine"_s);
    ASSERT_TRUE(eventually([] { return FileSecretStore().get(keyAccount) == u"mine"; }));
    store.set(keyAccount, QString(1 << 20, u'x'));
    EXPECT_TRUE(becomes(store, u"mine"_s));
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
    ASSERT_TRUE(listener.waitForReadyRead(60'000));
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + path.toLocal8Bit());
    LongestGap gap;
    QElapsedTimer timer;
    {
        const SessionSecretStore store(std::chrono::milliseconds(200));
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
        // As in the program, another thread used the connection first, which learns of its end.
        const GObjectPointer<GDBusConnection> connection = sessionBus(nullptr);
        ASSERT_NE(connection, nullptr);
        SessionSecretStore store;
        EXPECT_TRUE(becomes(store, u"from the stub"_s));
        ThreadWithStore thread;
        ASSERT_TRUE(eventually([&] { return thread.asked.load(); }));
        bool lost = false;
        g_signal_connect_after(
            connection.get(), "closed",
            G_CALLBACK(+[](GDBusConnection *, gboolean, GError *, gpointer data) {
                *static_cast<bool *>(data) = true;
            }),
            &lost);
        bus.stop();
        EXPECT_TRUE(eventually([&] { return lost && thread.told; }));
        EXPECT_FALSE(thread.toldElsewhere);
        EXPECT_TRUE(becomes(store, std::nullopt));
        store.set(keyAccount, u"mine"_s);
        EXPECT_TRUE(eventually([&] { return QFile::exists(home.secretsFile()); }));
        EXPECT_EQ(store.get(keyAccount), u"mine");
    }
}
