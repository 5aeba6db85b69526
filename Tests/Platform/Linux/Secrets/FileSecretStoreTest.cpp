#include "Platform/Linux/Secrets/FileSecretStore.h"

#include "Worlds/SecretsWorld.h"

#include <QDirIterator>
#include <QThread>

#include <csignal>
#include <random>
#include <sys/stat.h>

using namespace corvid;
using namespace corvid::test;

namespace {

const QString secret = u"sk-Th1s-M4y-N0t-Be-Re4d-0123456789"_s;

class FileSecretStoreTest : public ::testing::Test {
protected:
    static mode_t modeOf(const QString &path) {
        struct stat status = {};
        EXPECT_EQ(lstat(QFile::encodeName(path).constData(), &status), 0) << qPrintable(path);
        return status.st_mode & ALLPERMS;
    }
    static QString folderOf(const QString &path) { return QFileInfo(path).path(); }
    QByteArray content(const QString &path) const {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(path);
        return file.readAll();
    }
    void overwrite(const QString &path, const QByteArray &bytes) const {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << qPrintable(path);
        file.write(bytes);
    }
    QStringList allFiles() const {
        QStringList files;
        QDirIterator entries(home.path(u"."_s),
                             QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                             QDirIterator::Subdirectories);
        while (entries.hasNext()) {
            entries.next();
            if (!entries.fileInfo().isDir() || entries.fileInfo().isSymLink())
                files.append(entries.filePath());
        }
        return files;
    }
    QStringList keptAside() const { return allFiles().filter(u".damaged-"_s); }

    SecretsHome home;
    FileSecretStore store;
};

} // namespace

TEST_F(FileSecretStoreTest, whatWasNeverSavedIsNoValue) {
    EXPECT_EQ(store.get(keyAccount), std::nullopt);
    EXPECT_EQ(allFiles(), QStringList()) << "a look left something behind";
}

TEST_F(FileSecretStoreTest, aSavedSecretIsReadByTheNextProcess) {
    ASSERT_TRUE(store.set(keyAccount, secret));
    EXPECT_EQ(FileSecretStore().get(keyAccount), secret);
}

TEST_F(FileSecretStoreTest, anySecretIsKeptAsItIs) {
    for (const QString &text :
         {QString(), u"ü€😀"_s, QString(QChar(0)) + u'x', u"\"\\\n"_s, QString(100'000, u'x')}) {
        ASSERT_TRUE(store.set(keyAccount, text));
        EXPECT_EQ(store.get(keyAccount), text);
    }
}

TEST_F(FileSecretStoreTest, eachAccountHasItsOwnSecret) {
    ASSERT_TRUE(store.set(keyAccount, secret));
    ASSERT_TRUE(store.set(u"another"_s, u"other"_s));
    EXPECT_EQ(store.get(keyAccount), secret);
    store.remove(keyAccount);
    EXPECT_EQ(store.get(keyAccount), std::nullopt);
    EXPECT_EQ(store.get(u"another"_s), u"other");
}

TEST_F(FileSecretStoreTest, noFileHoldsTheSecretInPlain) {
    ASSERT_TRUE(store.set(keyAccount, secret));
    const QStringList files = allFiles();
    EXPECT_EQ(files.size(), 2);
    for (const QString &path : files) {
        const QByteArray bytes = content(path);
        EXPECT_FALSE(bytes.contains(secret.toUtf8())) << qPrintable(path);
        EXPECT_FALSE(bytes.contains(secret.toUtf8().toBase64().chopped(4))) << qPrintable(path);
        EXPECT_FALSE(bytes.contains(secret.toUtf8().toHex())) << qPrintable(path);
        EXPECT_FALSE(bytes.contains(keyAccount.toUtf8())) << qPrintable(path);
        for (qsizetype i = 0; i + 5 <= secret.size(); ++i)
            EXPECT_FALSE(bytes.contains(secret.sliced(i, 5).toUtf8())) << qPrintable(path);
    }
}

TEST_F(FileSecretStoreTest, theSameSecretIsNeverEncryptedTheSameWayTwice) {
    ASSERT_TRUE(store.set(keyAccount, secret));
    const QByteArray first = content(home.secretsFile());
    const QByteArray key = content(home.keyFile());
    ASSERT_TRUE(store.set(keyAccount, secret));
    EXPECT_NE(content(home.secretsFile()), first);
    EXPECT_EQ(content(home.keyFile()), key);
}

TEST_F(FileSecretStoreTest, filesAndFoldersAreTheUsersAlone) {
    const mode_t before = umask(0);
    ASSERT_TRUE(store.set(keyAccount, secret));
    umask(before);
    for (const QString &file : {home.secretsFile(), home.keyFile()}) {
        EXPECT_EQ(modeOf(file), 0600U);
        EXPECT_EQ(modeOf(folderOf(file)), 0700U);
    }
    EXPECT_NE(folderOf(home.secretsFile()), folderOf(home.keyFile()));
}

TEST_F(FileSecretStoreTest, wrongPermissionsAreCorrectedByTheFirstLook) {
    ASSERT_TRUE(store.set(keyAccount, secret));
    for (const QString &file : {home.secretsFile(), home.keyFile()})
        ASSERT_EQ(chmod(QFile::encodeName(file).constData(), 0666), 0);
    ASSERT_EQ(chmod(QFile::encodeName(folderOf(home.secretsFile())).constData(), 0777), 0);
    EXPECT_EQ(store.get(keyAccount), secret);
    EXPECT_EQ(modeOf(home.secretsFile()), 0600U);
    EXPECT_EQ(modeOf(home.keyFile()), 0600U);
    EXPECT_EQ(modeOf(folderOf(home.secretsFile())), 0700U);
}

TEST_F(FileSecretStoreTest, aFolderForStateThatOthersMayEnterIsClosedBySaving) {
    QDir().mkpath(folderOf(home.keyFile()));
    ASSERT_EQ(chmod(QFile::encodeName(folderOf(home.keyFile())).constData(), 0755), 0);
    ASSERT_TRUE(store.set(keyAccount, secret));
    EXPECT_EQ(modeOf(folderOf(home.keyFile())), 0700U);
}

TEST_F(FileSecretStoreTest, theLastRemovalLeavesNoFileBehind) {
    ASSERT_TRUE(store.set(keyAccount, secret));
    store.remove(u"another"_s);
    EXPECT_EQ(store.get(keyAccount), secret);
    store.remove(keyAccount);
    EXPECT_EQ(allFiles(), QStringList());
}

TEST_F(FileSecretStoreTest, aDamagedFileReadsAsNothingAndIsKeptAside) {
    ASSERT_TRUE(store.set(keyAccount, secret));
    const QByteArray good = content(home.secretsFile());
    QByteArray flipped = good;
    flipped.back() = static_cast<char>(flipped.back() ^ 1);
    int kept = 0;
    for (const QByteArray &damaged :
         {QByteArray(), QByteArray("x"), QByteArray("Corvid secrets 1\n"), good.chopped(1),
          good.first(40), flipped, good + 'x', QByteArray("Corvid secrets 2\n") + good.mid(17),
          QByteArray(3'000'000, 'x')}) {
        overwrite(home.secretsFile(), damaged);
        EXPECT_EQ(store.get(keyAccount), std::nullopt);
        EXPECT_EQ(content(home.secretsFile()), damaged) << "a look changes nothing";
        ASSERT_TRUE(store.set(keyAccount, secret));
        EXPECT_EQ(store.get(keyAccount), secret);
        EXPECT_EQ(keptAside().size(), ++kept);
        EXPECT_TRUE(std::ranges::any_of(
            keptAside(), [&](const QString &path) { return content(path) == damaged; }));
    }
}

TEST_F(FileSecretStoreTest, withoutItsKeyTheFileIsNothingAndKeptAside) {
    ASSERT_TRUE(store.set(keyAccount, secret));
    ASSERT_TRUE(QFile::remove(home.keyFile()));
    EXPECT_EQ(store.get(keyAccount), std::nullopt);
    ASSERT_TRUE(store.set(keyAccount, u"new"_s));
    EXPECT_EQ(store.get(keyAccount), u"new");
    EXPECT_EQ(keptAside().size(), 1);
}

TEST_F(FileSecretStoreTest, aDamagedKeyIsKeptAsideToo) {
    for (const QByteArray &damaged : {QByteArray(), QByteArray(31, 'k'), QByteArray(33, 'k')}) {
        ASSERT_TRUE(store.set(keyAccount, secret));
        overwrite(home.keyFile(), damaged);
        EXPECT_EQ(store.get(keyAccount), std::nullopt);
        ASSERT_TRUE(store.set(keyAccount, u"new"_s));
        EXPECT_EQ(store.get(keyAccount), u"new");
    }
    EXPECT_EQ(keptAside().size(), 6);
}

TEST_F(FileSecretStoreTest, symbolicLinksAreNotFollowed) {
    const QString elsewhere = home.path(u"elsewhere"_s);
    for (const QString &file : {home.secretsFile(), home.keyFile()}) {
        ASSERT_TRUE(store.set(keyAccount, secret));
        QFile::remove(elsewhere);
        ASSERT_TRUE(QFile::rename(file, elsewhere));
        ASSERT_TRUE(QFile::link(elsewhere, file));
        const QByteArray before = content(elsewhere);
        EXPECT_EQ(store.get(keyAccount), std::nullopt);
        ASSERT_TRUE(store.set(keyAccount, secret));
        EXPECT_EQ(store.get(keyAccount), secret);
        EXPECT_EQ(content(elsewhere), before);
        EXPECT_FALSE(QFileInfo(file).isSymLink());
    }
}

TEST_F(FileSecretStoreTest, aFolderThatIsALinkIsNotUsed) {
    const QString elsewhere = home.path(u"elsewhere"_s);
    QDir().mkpath(elsewhere);
    const QString folder = folderOf(home.secretsFile());
    QDir().mkpath(folderOf(folder));
    ASSERT_TRUE(QFile::link(elsewhere, folder));
    EXPECT_FALSE(store.set(keyAccount, secret));
    EXPECT_EQ(store.get(keyAccount), std::nullopt);
    EXPECT_TRUE(QDir(elsewhere).isEmpty());
}

TEST_F(FileSecretStoreTest, aPipeOrAFolderInPlaceOfAFileHoldsNobodyUp) {
    ASSERT_TRUE(store.set(keyAccount, secret));
    ASSERT_TRUE(QFile::remove(home.secretsFile()));
    ASSERT_EQ(mkfifo(QFile::encodeName(home.secretsFile()).constData(), 0600), 0);
    EXPECT_EQ(store.get(keyAccount), std::nullopt);
    ASSERT_TRUE(store.set(keyAccount, secret));
    EXPECT_EQ(store.get(keyAccount), secret);

    ASSERT_TRUE(QFile::remove(home.secretsFile()));
    ASSERT_TRUE(QDir().mkdir(home.secretsFile()));
    EXPECT_EQ(store.get(keyAccount), std::nullopt);
    ASSERT_TRUE(store.set(keyAccount, secret));
    EXPECT_EQ(store.get(keyAccount), secret);
}

TEST_F(FileSecretStoreTest, aSecretThatCannotBeWrittenIsLostQuietly) {
    overwrite(home.path(u"data"_s), "a file where a folder should be");
    EXPECT_FALSE(store.set(keyAccount, secret));
    EXPECT_EQ(store.get(keyAccount), std::nullopt);
}

TEST_F(FileSecretStoreTest, aSecretThatCouldNotBeReadBackIsRefused) {
    EXPECT_FALSE(store.set(keyAccount, QString(1 << 20, u'x')));
    EXPECT_EQ(allFiles(), QStringList());
    ASSERT_TRUE(store.set(keyAccount, secret));
    EXPECT_FALSE(store.set(keyAccount, QString(1 << 20, u'x')));
    EXPECT_FALSE(store.set(u"another"_s, QString(1 << 18, u'\x01'))) << "six bytes each";
    EXPECT_EQ(store.get(keyAccount), secret);
    EXPECT_EQ(keptAside(), QStringList());
    const QString large((1 << 20) - 1000, u'x');
    ASSERT_TRUE(store.set(keyAccount, large));
    EXPECT_EQ(store.get(keyAccount), large);
}

namespace {

/** Tests/Helpers/SecretWriter.cpp, a process that saves without end or so many times. */
class Writer {
public:
    Writer(const QString &account, int times) {
        makeDependent(process);
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(QStringLiteral(CORVID_BUILD_FOLDER "/tests/SecretWriter"),
                      {account, QString::number(times)});
        EXPECT_TRUE(process.waitForReadyRead(60'000));
    }
    QProcess process;
};

} // namespace

TEST_F(FileSecretStoreTest, twoProcessesLoseNothingOfOneAnother) {
    constexpr int times = 50;
    Writer one(u"one"_s, times);
    Writer two(u"two"_s, times);
    ASSERT_TRUE(one.process.waitForFinished(60'000));
    ASSERT_TRUE(two.process.waitForFinished(60'000));
    EXPECT_EQ(one.process.exitCode(), 0);
    EXPECT_EQ(two.process.exitCode(), 0);
    EXPECT_EQ(store.get(u"one"_s), QString::number(times));
    EXPECT_EQ(store.get(u"two"_s), QString::number(times));
    EXPECT_EQ(keptAside(), QStringList());
}

TEST_F(FileSecretStoreTest, whenAWriterIsKilledTheOldSecretOrTheNewOneIsThere) {
    ASSERT_TRUE(store.set(u"steady"_s, secret));
    std::mt19937 random(std::random_device{}());
    std::uniform_int_distribution<unsigned long> delays(0, 5'000);
    for (int kill = 0; kill < 50; ++kill) {
        Writer writer(u"changing"_s, 1'000'000);
        QThread::usleep(delays(random));
        writer.process.kill();
        ASSERT_TRUE(writer.process.waitForFinished());
        ASSERT_EQ(store.get(u"steady"_s), secret) << kill;
        ASSERT_TRUE(store.get(u"changing"_s)) << kill;
    }
    EXPECT_EQ(keptAside(), QStringList());
    ASSERT_TRUE(store.set(u"steady"_s, secret));
    EXPECT_EQ(allFiles().size(), 2) << qPrintable(allFiles().join(u' '));
}

TEST_F(FileSecretStoreTest, aProcessThatWasStoppedInMidWriteDoesNotHoldOthersForLong) {
    Writer writer(u"one"_s, 1'000'000);
    // Half of the time it holds the lock; a dozen tries meet that.
    for (int i = 0; i < 12; ++i) {
        ::kill(static_cast<pid_t>(writer.process.processId()), SIGSTOP);
        QElapsedTimer timer;
        timer.start();
        EXPECT_TRUE(store.get(u"one"_s));
        EXPECT_LT(timer.elapsed(), 5'000);
        ::kill(static_cast<pid_t>(writer.process.processId()), SIGCONT);
    }
    writer.process.kill();
    writer.process.waitForFinished();
}
