// Against scripted services, good and bad ones.

#include "Platform/Linux/Secrets/SessionSecretStore.h"

#include "Fakes/LauncherWorld.h"
#include "KeychainHelper.h"
#include "Platform/Linux/Secrets/FileSecretStore.h"
#include "Worlds/SecretsWorld.h"

#include <iostream>
#include <sys/stat.h>

using namespace corvid;
using namespace corvid::test;
using namespace std::chrono_literals;

namespace {

auto *const bus = static_cast<SecretsBus *>(::testing::AddGlobalTestEnvironment(new SecretsBus));

constexpr auto soon = 300ms; ///< a deadline for services that let it pass

class SessionSecretStoreTest : public ::testing::Test {
protected:
    ~SessionSecretStoreTest() override { bus->startsService({}); }

    SecretsHome home;
};

bool asked(const ScriptedService &service, const QString &method) {
    return eventually([&] { return service.calls().contains(method); });
}

/** A key stroke in ask mode, a thousand times, while whatever else happens. */
void expectNoFrozenKeyStroke(SecretStore &store) {
    LauncherWorld world({}, {});
    KeychainHelper keychain(store);
    LauncherViewModel model({world.defaults, world.stats, world.roles, world.workspace,
                             world.pasteboard, keychain, world.ai, world.session, world.volumes});
    model.setQuery(u"ai what is x"_s);
    LongestGap gap;
    int refreshes = 0;
    EXPECT_TRUE(eventually([&] {
        for (int i = 0; i < 10; ++i, ++refreshes)
            model.refresh();
        return refreshes >= 1'000;
    }));
    EXPECT_EQ(model.results().back().id, u"ai-setup");
    EXPECT_LT(gap.milliseconds(), 1'000) << "waiting for the service would take its deadline";
    std::cout << "longest gap of the event loop: " << gap.exactMilliseconds() << " ms\n";
}

} // namespace

TEST_F(SessionSecretStoreTest, nothingIsKnownBeforeTheServiceHasAnswered) {
    const ScriptedService service;
    SessionSecretStore store;
    int changes = 0;
    store.onChange = [&] { ++changes; };
    EXPECT_EQ(store.get(keyAccount), std::nullopt);
    EXPECT_EQ(changes, 0);
    EXPECT_TRUE(eventually([&] { return changes > 0; }));
    EXPECT_EQ(store.get(keyAccount), u"from the stub");
    EXPECT_EQ(changes, 1);
}

TEST_F(SessionSecretStoreTest, aSavedSecretIsThereAtOnceAndThenInTheService) {
    const ScriptedService service;
    {
        SessionSecretStore store;
        EXPECT_TRUE(becomes(store, u"from the stub"_s));
        int changes = 0;
        store.onChange = [&] { ++changes; };
        store.set(keyAccount, u"new"_s);
        EXPECT_EQ(store.get(keyAccount), u"new");
        EXPECT_TRUE(asked(service, u"SetSecret"_s));
        EXPECT_TRUE(eventually([&] { return changes > 0; }));
    }
    const SessionSecretStore another;
    EXPECT_TRUE(becomes(another, u"new"_s));
}

TEST_F(SessionSecretStoreTest, whatIsSavedRightBeforeTheEndIsNotLost) {
    const ScriptedService service;
    SessionSecretStore().set(keyAccount, u"last words"_s);
    const SessionSecretStore another;
    EXPECT_TRUE(becomes(another, u"last words"_s));
}

TEST_F(SessionSecretStoreTest, ofManySavesTheLastOneStays) {
    const ScriptedService service;
    {
        SessionSecretStore store;
        for (int i = 0; i <= 50; ++i) {
            store.set(keyAccount, QString::number(i));
            EXPECT_EQ(store.get(keyAccount), QString::number(i));
        }
    }
    const SessionSecretStore another;
    EXPECT_TRUE(becomes(another, u"50"_s));
}

TEST_F(SessionSecretStoreTest, savesToDifferentAccountsDoNotDisplaceOneAnother) {
    {
        SessionSecretStore store;
        for (const QString &account : {u"one"_s, u"two"_s, u"three"_s})
            store.set(account, account);
    }
    const FileSecretStore file;
    for (const QString &account : {u"one"_s, u"two"_s, u"three"_s})
        EXPECT_EQ(file.get(account), account);
}

TEST_F(SessionSecretStoreTest, aLockedItemIsNoValueAndNobodyIsAskedForAPassword) {
    const ScriptedService service({u"--locked"_s});
    const SessionSecretStore store;
    EXPECT_EQ(store.get(keyAccount), std::nullopt);
    EXPECT_TRUE(asked(service, u"SearchItems"_s));
    // The second look follows the first one's end.
    const SessionSecretStore another;
    another.get(u"another account"_s);
    EXPECT_TRUE(eventually([&] { return service.calls().count(u"SearchItems"_s) == 2; }));
    EXPECT_EQ(store.get(keyAccount), std::nullopt);
    EXPECT_FALSE(service.calls().contains(u"Unlock"_s));
    EXPECT_FALSE(service.calls().contains(u"Prompt"_s));
}

TEST_F(SessionSecretStoreTest, savingUnlocksWithTheDesktopsPrompt) {
    const ScriptedService service({u"--locked"_s, u"--prompt=accept"_s});
    SessionSecretStore store;
    store.set(keyAccount, u"new"_s);
    EXPECT_TRUE(asked(service, u"SetSecret"_s));
    const SessionSecretStore another;
    EXPECT_TRUE(becomes(another, u"new"_s));
    EXPECT_EQ(service.calls().count(u"Prompt"_s), 1);
}

TEST_F(SessionSecretStoreTest, whatTheUserRefusesToUnlockIsNotStored) {
    const ScriptedService service({u"--locked"_s, u"--prompt=dismiss"_s});
    SessionSecretStore store;
    store.set(keyAccount, u"new"_s);
    EXPECT_EQ(store.get(keyAccount), u"new");
    EXPECT_TRUE(becomes(store, std::nullopt));
    EXPECT_FALSE(service.calls().contains(u"SetSecret"_s));
    EXPECT_FALSE(QFile::exists(home.secretsFile())) << "a weaker store was not asked for";
}

TEST_F(SessionSecretStoreTest, unlockingHasTheUserAskedOnceAndThenTheSecretIsThere) {
    const ScriptedService service({u"--locked"_s, u"--prompt=accept"_s});
    SessionSecretStore store;
    EXPECT_FALSE(store.locked(keyAccount)) << "nothing is known yet";
    EXPECT_TRUE(eventually([&] { return store.locked(keyAccount); }));
    EXPECT_EQ(service.calls().count(u"Prompt"_s), 0);
    QList<std::optional<QString>> seen;
    const auto look = [&] { seen.append(store.get(keyAccount)); };
    store.unlock(keyAccount, look);
    store.unlock(keyAccount, look);
    EXPECT_TRUE(seen.isEmpty());
    EXPECT_TRUE(eventually([&] { return seen.size() == 2; }));
    EXPECT_EQ(seen, QList<std::optional<QString>>(2, u"from the stub"_s));
    EXPECT_FALSE(store.locked(keyAccount));
    EXPECT_EQ(service.calls().count(u"Prompt"_s), 1);
}

TEST_F(SessionSecretStoreTest, whatTheUserDoesNotUnlockStaysLockedAndCanBeAskedForAgain) {
    const ScriptedService service({u"--locked"_s, u"--prompt=dismiss"_s});
    SessionSecretStore store;
    for (int round = 1; round <= 2; ++round) {
        bool over = false;
        store.unlock(keyAccount, [&] { over = true; });
        EXPECT_TRUE(eventually([&] { return over; }));
        EXPECT_TRUE(store.locked(keyAccount));
        EXPECT_EQ(store.get(keyAccount), std::nullopt);
        EXPECT_EQ(service.calls().count(u"Prompt"_s), round);
    }
}

TEST_F(SessionSecretStoreTest, unlockingWhereThereIsNothingToUnlockIsOverAtOnce) {
    ASSERT_TRUE(FileSecretStore().set(keyAccount, u"mine"_s));
    SessionSecretStore store;
    bool over = false;
    store.unlock(keyAccount, [&] { over = true; });
    EXPECT_TRUE(eventually([&] { return over; }));
    EXPECT_FALSE(store.locked(keyAccount));
    EXPECT_EQ(store.get(keyAccount), u"mine");
}

TEST_F(SessionSecretStoreTest, anUnlockingThatNobodyAnswersKeepsNeitherSavesNorTheEndWaiting) {
    const ScriptedService service({u"--locked"_s, u"--prompt=ignore"_s});
    QElapsedTimer timer;
    {
        SessionSecretStore store;
        store.unlock(keyAccount, [] {});
        EXPECT_TRUE(asked(service, u"Prompt"_s));
        store.set(keyAccount, u"new"_s);
        EXPECT_TRUE(eventually([&] { return service.calls().count(u"Prompt"_s) == 2; }));
    }
    {
        SessionSecretStore store;
        store.unlock(keyAccount, [] {});
        EXPECT_TRUE(eventually([&] { return service.calls().count(u"Prompt"_s) == 3; }));
        timer.start();
    }
    EXPECT_LT(timer.elapsed(), 5'000);
}

TEST_F(SessionSecretStoreTest, whoSavesIsToldWhatCameOfIt) {
    const auto outcome = [](SessionSecretStore &store) {
        std::optional<SecretStore::Saved> saved;
        store.set(keyAccount, u"new"_s, [&](SecretStore::Saved how) { saved = how; });
        EXPECT_FALSE(saved);
        EXPECT_TRUE(eventually([&] { return saved.has_value(); }));
        return saved;
    };
    {
        SessionSecretStore store;
        EXPECT_EQ(outcome(store), SecretStore::Saved::Stored) << "in our own store";
    }
    for (const auto &[prompt, expected] :
         {std::pair{u"--prompt=accept"_s, SecretStore::Saved::Stored},
          std::pair{u"--prompt=dismiss"_s, SecretStore::Saved::Locked}}) {
        const ScriptedService service({u"--locked"_s, prompt});
        SessionSecretStore store;
        EXPECT_EQ(outcome(store), expected) << prompt.toStdString();
    }
    const ScriptedService broken({u"SearchItems=('x',)"_s});
    SessionSecretStore store;
    EXPECT_EQ(outcome(store), SecretStore::Saved::Failed);
}

TEST_F(SessionSecretStoreTest, aNewerSaveTakesThePlaceOfOneThatWaitsForThePrompt) {
    const ScriptedService service({u"--locked"_s, u"--prompt=ignore"_s});
    SessionSecretStore store;
    store.set(keyAccount, u"old"_s);
    EXPECT_TRUE(asked(service, u"Prompt"_s));
    store.set(keyAccount, u"new"_s);
    EXPECT_TRUE(eventually([&] { return service.calls().count(u"Prompt"_s) == 2; }));
    EXPECT_EQ(store.get(keyAccount), u"new");
}

TEST_F(SessionSecretStoreTest, aPromptThatNobodyAnswersDoesNotKeepTheProgramFromEnding) {
    const ScriptedService service({u"--locked"_s, u"--prompt=ignore"_s});
    QElapsedTimer timer;
    {
        SessionSecretStore store;
        store.set(keyAccount, u"new"_s);
        EXPECT_TRUE(asked(service, u"Prompt"_s));
        timer.start();
    }
    EXPECT_LT(timer.elapsed(), 5'000);
}

TEST_F(SessionSecretStoreTest, aServiceThatNeverAnswersFreezesNoKeyStroke) {
    const ScriptedService service({u"--silent"_s});
    SessionSecretStore store;
    expectNoFrozenKeyStroke(store);
    EXPECT_FALSE(service.calls().isEmpty());
}

TEST_F(SessionSecretStoreTest, aServiceThatNeverComesUpFreezesNoKeyStroke) {
    bus->startsService(u"/bin/sleep 1000"_s);
    SessionSecretStore store;
    expectNoFrozenKeyStroke(store);
}

TEST_F(SessionSecretStoreTest, aServiceThatNeverAnswersDoesNotKeepTheProgramFromEnding) {
    const ScriptedService service({u"--silent"_s});
    QElapsedTimer timer;
    {
        const SessionSecretStore store;
        store.get(keyAccount);
        EXPECT_TRUE(eventually([&] { return !service.calls().isEmpty(); }));
        timer.start();
    }
    EXPECT_LT(timer.elapsed(), 1'000);
}

TEST_F(SessionSecretStoreTest, aServiceThatDidNotAnswerIsAskedAgainWhenItMatters) {
    auto service = std::make_unique<ScriptedService>(QStringList{u"--silent"_s});
    const SessionSecretStore store(soon);
    EXPECT_EQ(store.get(keyAccount), std::nullopt);
    EXPECT_TRUE(eventually([&] {
        store.get(keyAccount);
        return service->calls().size() >= 3;
    }));
    service.reset();
    const ScriptedService healthy;
    EXPECT_TRUE(becomes(store, u"from the stub"_s));
}

TEST_F(SessionSecretStoreTest, withoutAServiceSecretsAreInOurOwnStore) {
    {
        SessionSecretStore store;
        store.set(keyAccount, u"mine"_s);
    }
    EXPECT_TRUE(QFile::exists(home.secretsFile()));
    const SessionSecretStore another;
    EXPECT_TRUE(becomes(another, u"mine"_s));
}

TEST_F(SessionSecretStoreTest, aServiceThatCannotBeStartedIsNone) {
    bus->startsService(u"/bin/false"_s);
    {
        SessionSecretStore store;
        store.set(keyAccount, u"mine"_s);
    }
    EXPECT_EQ(FileSecretStore().get(keyAccount), u"mine");
}

TEST_F(SessionSecretStoreTest, aServiceThatTheBusCanStartIsStarted) {
    // The service ends with its standard input, and that with this test.
    const QString pipe = home.path(u"pipe"_s);
    ASSERT_EQ(mkfifo(pipe.toLocal8Bit().constData(), S_IRWXU), 0);
    QFile input(pipe);
    ASSERT_TRUE(input.open(QIODevice::ReadWrite));
    bus->startsService(u"/bin/sh -c \"exec %1 %2 < %3\""_s.arg(
        QStringLiteral(CORVID_BUILD_FOLDER "/tests/corvid_secret_service"), home.path(u"trace"_s),
        pipe));
    const SessionSecretStore store;
    EXPECT_TRUE(becomes(store, u"from the stub"_s));
    bus->startsService({}); // again, to wait for that pipe without end
    input.close();
    EXPECT_TRUE(becomes(store, std::nullopt));
}

TEST_F(SessionSecretStoreTest, theMomentAServiceIsThereItIsPreferred) {
    SessionSecretStore store;
    store.set(keyAccount, u"mine"_s);
    EXPECT_TRUE(eventually([&] { return QFile::exists(home.secretsFile()); }));
    const ScriptedService service;
    EXPECT_TRUE(becomes(store, u"from the stub"_s));
    store.set(keyAccount, u"new"_s);
    EXPECT_TRUE(eventually([&] { return !QFile::exists(home.secretsFile()); }))
        << "the weaker copy stayed";
    EXPECT_TRUE(eventually([&] { return !QFile::exists(home.keyFile()); }));
    EXPECT_TRUE(service.calls().contains(u"SetSecret"_s));
}

TEST_F(SessionSecretStoreTest, whatTheServiceDoesNotHaveIsReadFromOurOwnStore) {
    ASSERT_TRUE(FileSecretStore().set(keyAccount, u"mine"_s));
    const ScriptedService service({u"SearchItems=(@ao [], @ao [])"_s});
    const SessionSecretStore store;
    EXPECT_TRUE(becomes(store, u"mine"_s));
}

TEST_F(SessionSecretStoreTest, whatTheServiceHasLockedIsNotReadFromOurOwnStore) {
    ASSERT_TRUE(FileSecretStore().set(keyAccount, u"mine"_s));
    SessionSecretStore store;
    EXPECT_TRUE(becomes(store, u"mine"_s));
    const ScriptedService service({u"--locked"_s});
    EXPECT_TRUE(becomes(store, std::nullopt));
}

TEST_F(SessionSecretStoreTest, aServiceThatVanishesTakesItsSecretsAlongAndBringsThemBack) {
    SessionSecretStore store;
    store.get(keyAccount);
    for (int round = 0; round < 3; ++round) {
        auto service = std::make_unique<ScriptedService>();
        EXPECT_TRUE(becomes(store, u"from the stub"_s)) << round;
        service.reset();
        EXPECT_TRUE(becomes(store, std::nullopt)) << round;
    }
}

namespace {

class GarbageTest : public SessionSecretStoreTest,
                    public ::testing::WithParamInterface<const char *> {};

} // namespace

TEST_P(GarbageTest, isNoValueAndDoesNoHarm) {
    {
        const ScriptedService service({QString::fromUtf8(GetParam())});
        SessionSecretStore store(2s);
        EXPECT_EQ(store.get(keyAccount), std::nullopt);
        const QString method = QString::fromUtf8(GetParam()).section(u'=', 0, 0);
        EXPECT_TRUE(asked(service, method));
        store.set(u"another"_s, u"value"_s);
        EXPECT_TRUE(becomes(store, std::nullopt));
    }
    const ScriptedService healthy;
    const SessionSecretStore store;
    EXPECT_TRUE(becomes(store, u"from the stub"_s));
}

INSTANTIATE_TEST_SUITE_P(
    Replies, GarbageTest,
    ::testing::Values("OpenSession=(42,)", "OpenSession=()", "OpenSession=(<1>, 'x')",
                      "OpenSession=(<'no key'>, objectpath '/s')", "SearchItems=('x',)",
                      "SearchItems=()", "SearchItems=(['/not/a/path'], @as [])",
                      "SearchItems=([objectpath '/nowhere'], @ao [])", "GetAll=(1,)",
                      "GetAll=({'Locked': <'maybe'>, 'Label': <7>},)", "GetSecrets=(1,)",
                      "GetSecrets=({objectpath '/x': 'y'},)",
                      "GetSecrets=({objectpath '/org/freedesktop/secrets/collection/stub/1': "
                      "(objectpath '/other', [byte 1], [byte 0xff, 0xfe], 'text/plain')},)",
                      "GetSecrets=({objectpath '/org/freedesktop/secrets/collection/stub/1': "
                      "(objectpath '/org/freedesktop/secrets/session/1', @ay [], "
                      "[byte 0xff, 0xfe], 'text/plain')},)"));
