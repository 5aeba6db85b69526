// With a real Secret Service, seen from both sides: ours and secret-tool's.

#include "KeychainHelper.h"

#include "Platform/Linux/GLibPointers.h"
#include "Worlds/SecretsWorld.h"

using namespace corvid;
using namespace corvid::test;

namespace {

const QStringList attributes{u"service"_s, u"app.corvid.launcher"_s, u"account"_s, keyAccount};

[[maybe_unused]] auto *const bus = ::testing::AddGlobalTestEnvironment(new SecretsBus);

struct ToolResult {
    int exitCode = -1;
    QByteArray output;
};

ToolResult run(const QString &program, const QStringList &arguments, const QByteArray &input = {}) {
    QProcess process;
    makeDependent(process);
    process.start(program, arguments);
    process.write(input);
    process.closeWriteChannel();
    EXPECT_TRUE(process.waitForFinished()) << qPrintable(program);
    return {process.exitCode(), process.readAllStandardOutput() + process.readAllStandardError()};
}

ToolResult secretTool(const QStringList &arguments, const QByteArray &input = {}) {
    return run(u"secret-tool"_s, arguments + attributes, input);
}

QByteArray storedSecret() {
    return secretTool({u"lookup"_s}).output;
}

void store(const QByteArray &secret) {
    const ToolResult stored = secretTool({u"store"_s, u"--label=My key"_s}, secret);
    ASSERT_EQ(stored.exitCode, 0) << stored.output.constData();
}

// In place of the item that is there: what secret-tool refuses to store, other programs may not.
void storeBytes(const QByteArray &secret) {
    const GObjectPointer<GDBusConnection> connection(
        g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
    const auto call = [&connection](const char *path, const char *interface, const char *method,
                                    GVariant *arguments) {
        return GVariantPointer(g_dbus_connection_call_sync(
            connection.get(), "org.freedesktop.secrets", path, interface, method, arguments,
            nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr));
    };
    const GVariantPointer session =
        call("/org/freedesktop/secrets", "org.freedesktop.Secret.Service", "OpenSession",
             g_variant_new("(sv)", "plain", g_variant_new_string("")));
    ASSERT_TRUE(session);
    const char *path = nullptr;
    g_variant_get_child(session.get(), 1, "&o", &path);
    const GVariantPointer found =
        call("/org/freedesktop/secrets", "org.freedesktop.Secret.Service", "SearchItems",
             g_variant_new_parsed("({'account': %s},)", keyAccount.toUtf8().constData()));
    ASSERT_TRUE(found);
    const gchar *item = nullptr;
    const GVariantPointer items(g_variant_get_child_value(found.get(), 0));
    ASSERT_EQ(g_variant_n_children(items.get()), 1U);
    g_variant_get_child(items.get(), 0, "&o", &item);
    EXPECT_TRUE(call(item, "org.freedesktop.Secret.Item", "Delete", nullptr));
    GVariant *properties = g_variant_new_parsed(
        "{'org.freedesktop.Secret.Item.Label': <'My key'>,"
        " 'org.freedesktop.Secret.Item.Attributes': <{'service': 'app.corvid.launcher',"
        " 'account': %s, 'xdg:schema': 'org.freedesktop.Secret.Generic'}>}",
        keyAccount.toUtf8().constData());
    GVariant *bytes = g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, secret.constData(),
                                                static_cast<gsize>(secret.size()), 1);
    GVariant *parameters = g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, "", 0, 1);
    EXPECT_TRUE(call("/org/freedesktop/secrets/collection/login",
                     "org.freedesktop.Secret.Collection", "CreateItem",
                     g_variant_new("(@a{sv}(o@ay@ays)b)", properties, path, parameters, bytes,
                                   "text/plain", FALSE)));
}

qsizetype countOfItems() {
    return secretTool({u"search"_s, u"--all"_s}).output.count("\nlabel = ");
}

class KeychainHelperTest : public ::testing::Test {
protected:
    KeychainHelperTest() { startDaemon(); }
    ~KeychainHelperTest() override { stopDaemon(); }

    void startDaemon() {
        QDir().mkpath(home.path(u"data"_s));
        daemon = std::make_unique<QProcess>();
        makeDependent(*daemon);
        daemon->setProcessChannelMode(QProcess::MergedChannels);
        daemon->start(u"gnome-keyring-daemon"_s,
                      {u"--foreground"_s, u"--unlock"_s, u"--components=secrets"_s,
                       u"--control-directory="_s + home.path(u"control"_s)});
        daemon->write("password");
        daemon->closeWriteChannel();
        ASSERT_TRUE(eventually([] {
            return run(u"dbus-send"_s,
                       {u"--session"_s, u"--print-reply"_s, u"--dest=org.freedesktop.secrets"_s,
                        u"/org/freedesktop/secrets/collection/login"_s,
                        u"org.freedesktop.DBus.Peer.Ping"_s})
                       .exitCode == 0;
        }));
    }
    void stopDaemon() {
        daemon->terminate();
        daemon->waitForFinished();
    }
    // Not with secret-tool, which crashes over this.
    void lock() {
        const ToolResult locked =
            run(u"dbus-send"_s,
                {u"--session"_s, u"--print-reply"_s, u"--dest=org.freedesktop.secrets"_s,
                 u"/org/freedesktop/secrets"_s, u"org.freedesktop.Secret.Service.Lock"_s,
                 u"array:objpath:/org/freedesktop/secrets/collection/login"_s});
        EXPECT_EQ(locked.exitCode, 0) << locked.output.constData();
    }
    void unlock() {
        EXPECT_EQ(run(QStringLiteral(CORVID_BUILD_FOLDER "/tests/KeyringUnlocker"), {u"password"_s})
                      .exitCode,
                  0);
    }

    bool keyBecomes(const std::optional<QString> &value) {
        return eventually([&] { return keychain().get(keyAccount) == value; });
    }
    /** Made when first asked for, so that a test can prepare the service before. */
    KeychainHelper &keychain() {
        if (!keychain_) {
            secrets_.emplace();
            secrets_->onChange = [this] { ++changes; };
            keychain_.emplace(*secrets_);
        }
        return *keychain_;
    }
    /** Waits until all that was saved is. */
    void close() {
        keychain_.reset();
        secrets_.reset();
    }

    SecretsHome home;
    std::unique_ptr<QProcess> daemon;
    int changes = 0;

private:
    std::optional<SessionSecretStore> secrets_;
    std::optional<KeychainHelper> keychain_;
};

} // namespace

TEST_F(KeychainHelperTest, anAccountThatWasNeverSavedYieldsNoValue) {
    store("secret");
    EXPECT_TRUE(keyBecomes(u"secret"_s)); // so the service answers
    EXPECT_EQ(keychain().get(u"another"_s), std::nullopt);
    keychain().save(u"marker"_s, u"x"_s);
    EXPECT_TRUE(eventually([&] { return keychain().get(u"marker"_s) == u"x"; }));
    EXPECT_EQ(keychain().get(u"another"_s), std::nullopt);
}

TEST_F(KeychainHelperTest, theKeyIsFetchedBeforeAnybodyAsksForIt) {
    store("secret");
    const KeychainHelper &helper = keychain();
    EXPECT_TRUE(eventually([&] { return changes == 1; }));
    EXPECT_EQ(helper.get(keyAccount), u"secret");
}

TEST_F(KeychainHelperTest, whatSecretToolStoredBeforeIsRead) {
    store("sk-ü€");
    EXPECT_TRUE(keyBecomes(u"sk-ü€"_s));
}

TEST_F(KeychainHelperTest, whatSecretToolStoresOrClearsWhileWeRunIsSeen) {
    EXPECT_EQ(keychain().get(keyAccount), std::nullopt);
    store("one");
    EXPECT_TRUE(keyBecomes(u"one"_s));
    store("two");
    EXPECT_TRUE(keyBecomes(u"two"_s));
    EXPECT_EQ(secretTool({u"clear"_s}).exitCode, 0);
    EXPECT_TRUE(keyBecomes(std::nullopt));
    EXPECT_EQ(changes, 3);
}

TEST_F(KeychainHelperTest, whatWeSaveIsReadBySecretTool) {
    keychain().save(keyAccount, u"sk-ü€"_s);
    close();
    EXPECT_EQ(storedSecret(), "sk-ü€");
    EXPECT_FALSE(QFile::exists(home.secretsFile()));
}

TEST_F(KeychainHelperTest, savingAgainReplacesTheSecretWithoutASecondItem) {
    for (const QString &value : {u"one"_s, u"two"_s, u"three"_s}) {
        keychain().save(keyAccount, value);
        EXPECT_EQ(keychain().get(keyAccount), value);
        EXPECT_TRUE(eventually([&] { return storedSecret() == value.toUtf8(); }));
    }
    EXPECT_EQ(countOfItems(), 1);
}

TEST_F(KeychainHelperTest, secretToolAndWeReplaceOneAnothersItem) {
    store("tool's");
    EXPECT_TRUE(keyBecomes(u"tool's"_s));
    keychain().save(keyAccount, u"ours"_s);
    EXPECT_TRUE(eventually([] { return storedSecret() == "ours"; }));
    EXPECT_EQ(countOfItems(), 1);
    EXPECT_TRUE(secretTool({u"search"_s}).output.contains("My key")) << "the label is the user's";
    store("tool's again");
    EXPECT_TRUE(keyBecomes(u"tool's again"_s));
    EXPECT_EQ(countOfItems(), 1);
}

TEST_F(KeychainHelperTest, secretToolReplacesAnItemThatWeMade) {
    keychain().save(keyAccount, u"ours"_s);
    EXPECT_TRUE(eventually([] { return storedSecret() == "ours"; }));
    store("tool's");
    EXPECT_TRUE(keyBecomes(u"tool's"_s));
    EXPECT_EQ(countOfItems(), 1);
}

TEST_F(KeychainHelperTest, whatIsNoUtf8IsNoValue) {
    store("good");
    EXPECT_TRUE(keyBecomes(u"good"_s));
    storeBytes("\xff\xfe");
    EXPECT_TRUE(keyBecomes(std::nullopt));
    storeBytes("cut \xc3");
    EXPECT_TRUE(keyBecomes(std::nullopt));
    store("good again");
    EXPECT_TRUE(keyBecomes(u"good again"_s));
}

TEST_F(KeychainHelperTest, anEmptyTextIsStoredAsAnEmptyItem) {
    keychain().save(keyAccount, QString());
    close();
    EXPECT_EQ(countOfItems(), 1);
    EXPECT_EQ(storedSecret(), "");
    EXPECT_TRUE(keyBecomes(u""_s));
}

TEST_F(KeychainHelperTest, aLockedCollectionGivesNoValueAndUnlockingBringsItBack) {
    store("secret");
    EXPECT_TRUE(keyBecomes(u"secret"_s));
    lock();
    EXPECT_TRUE(keyBecomes(std::nullopt));
    unlock();
    EXPECT_TRUE(keyBecomes(u"secret"_s));
}

TEST_F(KeychainHelperTest, aLockedKeyIsKnownToBeThere) {
    EXPECT_FALSE(keychain().locked(keyAccount));
    store("secret");
    EXPECT_TRUE(keyBecomes(u"secret"_s));
    EXPECT_FALSE(keychain().locked(keyAccount));
    lock();
    EXPECT_TRUE(eventually([&] { return keychain().locked(keyAccount); }));
    EXPECT_FALSE(keychain().has(keyAccount));
    unlock();
    EXPECT_TRUE(eventually([&] { return !keychain().locked(keyAccount); }));
    EXPECT_EQ(keychain().get(keyAccount), u"secret");
}

TEST_F(KeychainHelperTest, unlockingWhereNobodyCanAskForThePasswordLeavesTheKeyLocked) {
    store("secret");
    lock();
    bool over = false;
    keychain().unlock(keyAccount, [&] { over = true; });
    EXPECT_TRUE(eventually([&] { return over; }));
    EXPECT_TRUE(keychain().locked(keyAccount));
    unlock();
    EXPECT_TRUE(keyBecomes(u"secret"_s));
}

TEST_F(KeychainHelperTest, aSaveIntoALockedKeyringIsToldAsSuch) {
    std::optional<SecretStore::Saved> saved;
    const auto keep = [&](SecretStore::Saved how) { saved = how; };
    keychain().save(keyAccount, u"old"_s, keep);
    EXPECT_TRUE(eventually([&] { return saved == SecretStore::Saved::Stored; }));
    lock();
    keychain().save(keyAccount, u"new"_s, keep);
    EXPECT_TRUE(eventually([&] { return saved == SecretStore::Saved::Locked; }));
    EXPECT_EQ(keychain().get(keyAccount), std::nullopt);
    unlock();
    EXPECT_TRUE(keyBecomes(u"old"_s));
}

TEST_F(KeychainHelperTest, aFirstKeyForALockedKeyringIsToldAsNotStored) {
    lock();
    std::optional<SecretStore::Saved> saved;
    keychain().save(keyAccount, u"new"_s, [&](SecretStore::Saved how) { saved = how; });
    EXPECT_TRUE(eventually([&] { return saved.has_value(); }));
    EXPECT_NE(saved, SecretStore::Saved::Stored);
    EXPECT_EQ(keychain().get(keyAccount), std::nullopt);
}

TEST_F(KeychainHelperTest, aCollectionThatIsLockedAtStartGivesNoValueUntilItIsUnlocked) {
    store("secret");
    lock();
    EXPECT_EQ(keychain().get(keyAccount), std::nullopt);
    // Whatever else is saved or found, the answer to this stays.
    EXPECT_EQ(keychain().get(u"another"_s), std::nullopt);
    EXPECT_TRUE(eventually([&] { return keychain().locked(keyAccount); }));
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(keychain().get(keyAccount), std::nullopt);
    unlock();
    EXPECT_TRUE(keyBecomes(u"secret"_s));
    EXPECT_EQ(changes, 2);
}

TEST_F(KeychainHelperTest, aSaveThatCannotUnlockLeavesTheOldSecretAndNoSecondItem) {
    // There is no program here that could ask for the password.
    store("old");
    lock();
    keychain().save(keyAccount, u"new"_s);
    EXPECT_TRUE(keyBecomes(std::nullopt));
    unlock();
    EXPECT_TRUE(keyBecomes(u"old"_s));
    EXPECT_EQ(countOfItems(), 1);
    EXPECT_FALSE(QFile::exists(home.secretsFile()));
}

TEST_F(KeychainHelperTest, aServiceThatComesBackBringsTheSecretWithIt) {
    store("secret");
    EXPECT_TRUE(keyBecomes(u"secret"_s));
    stopDaemon();
    EXPECT_TRUE(keyBecomes(std::nullopt));
    startDaemon();
    EXPECT_TRUE(keyBecomes(u"secret"_s));
    keychain().save(keyAccount, u"new"_s);
    EXPECT_TRUE(eventually([] { return storedSecret() == "new"; }));
}
