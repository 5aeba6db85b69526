#include "Base/AtomicFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

class AtomicFile : public ::testing::Test {
protected:
    QString path(const QString &name) const { return folder_.filePath(name); }

    static QByteArray contentOf(const QString &path) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
    }

    static void write(const QString &path, const QByteArray &bytes) {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(bytes), bytes.size());
    }

    static mode_t modeOf(const QString &path) {
        struct stat status = {};
        EXPECT_EQ(stat(QFile::encodeName(path).constData(), &status), 0);
        return status.st_mode & 07777;
    }

    QStringList names(const QString &below = {}) const {
        return QDir(folder_.filePath(below))
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                       QDir::Name);
    }

    QTemporaryDir folder_;
};

} // namespace

TEST_F(AtomicFile, writesAFileThatDidNotExist) {
    EXPECT_TRUE(writeFileAtomically(path(u"a.json"_s), "new"));
    EXPECT_EQ(contentOf(path(u"a.json"_s)), "new");
}

TEST_F(AtomicFile, replacesAFileAndLeavesNothingElse) {
    write(path(u"a.json"_s), "a longer old text");
    EXPECT_TRUE(writeFileAtomically(path(u"a.json"_s), "new"));
    EXPECT_EQ(contentOf(path(u"a.json"_s)), "new");
    EXPECT_EQ(names(), QStringList{u"a.json"_s});
}

TEST_F(AtomicFile, whoHasTheOldFileOpenKeepsTheOldBytes) {
    write(path(u"a.json"_s), "old");
    QFile reader(path(u"a.json"_s));
    ASSERT_TRUE(reader.open(QIODevice::ReadOnly));
    EXPECT_TRUE(writeFileAtomically(path(u"a.json"_s), "new"));
    EXPECT_EQ(reader.readAll(), "old");
}

TEST_F(AtomicFile, missingFoldersAreMadeForTheUserAlone) {
    EXPECT_TRUE(writeFileAtomically(path(u"one/two/a.json"_s), "new"));
    EXPECT_EQ(contentOf(path(u"one/two/a.json"_s)), "new");
    EXPECT_EQ(modeOf(path(u"one"_s)), 0700U);
    EXPECT_EQ(modeOf(path(u"one/two"_s)), 0700U);
}

TEST_F(AtomicFile, theFileIsForTheUserAlone) {
    write(path(u"a.json"_s), "old");
    ASSERT_EQ(chmod(QFile::encodeName(path(u"a.json"_s)).constData(), 0644), 0);
    EXPECT_TRUE(writeFileAtomically(path(u"a.json"_s), "new"));
    EXPECT_EQ(modeOf(path(u"a.json"_s)), 0600U);
}

TEST_F(AtomicFile, emptyContentIsContent) {
    write(path(u"a.json"_s), "old");
    EXPECT_TRUE(writeFileAtomically(path(u"a.json"_s), ""));
    EXPECT_EQ(contentOf(path(u"a.json"_s)), "");
}

TEST_F(AtomicFile, namesWithAnyCharactersAreWritten) {
    const QString name = u"caf\u00e9 [*?] .corvid- \U0001F600"_s;
    EXPECT_TRUE(writeFileAtomically(path(name), "1"));
    EXPECT_TRUE(writeFileAtomically(path(name), "2"));
    EXPECT_EQ(names(), QStringList{name});
    EXPECT_EQ(contentOf(path(name)), "2");
}

TEST_F(AtomicFile, aLinkStaysALinkAndItsTargetIsReplaced) {
    ASSERT_TRUE(QDir(folder_.path()).mkdir(u"dotfiles"_s));
    write(path(u"dotfiles/real.json"_s), "old");
    ASSERT_TRUE(QFile::link(u"dotfiles/real.json"_s, path(u"second.json"_s)));
    ASSERT_TRUE(QFile::link(path(u"second.json"_s), path(u"a.json"_s)));
    EXPECT_TRUE(writeFileAtomically(path(u"a.json"_s), "new"));
    EXPECT_TRUE(QFileInfo(path(u"a.json"_s)).isSymLink());
    EXPECT_TRUE(QFileInfo(path(u"second.json"_s)).isSymLink());
    EXPECT_FALSE(QFileInfo(path(u"dotfiles/real.json"_s)).isSymLink());
    EXPECT_EQ(contentOf(path(u"dotfiles/real.json"_s)), "new");
    EXPECT_EQ(names(u"dotfiles"_s), QStringList{u"real.json"_s});
}

TEST_F(AtomicFile, theTargetOfADanglingLinkIsCreated) {
    ASSERT_TRUE(QFile::link(path(u"elsewhere/real.json"_s), path(u"a.json"_s)));
    EXPECT_TRUE(writeFileAtomically(path(u"a.json"_s), "new"));
    EXPECT_TRUE(QFileInfo(path(u"a.json"_s)).isSymLink());
    EXPECT_EQ(contentOf(path(u"elsewhere/real.json"_s)), "new");
}

TEST_F(AtomicFile, linksInACircleCannotBeWritten) {
    ASSERT_TRUE(QFile::link(path(u"b.json"_s), path(u"a.json"_s)));
    ASSERT_TRUE(QFile::link(path(u"a.json"_s), path(u"b.json"_s)));
    EXPECT_FALSE(writeFileAtomically(path(u"a.json"_s), "new"));
    EXPECT_EQ(names(), (QStringList{u"a.json"_s, u"b.json"_s}));
}

TEST_F(AtomicFile, aFolderBelowAFileCannotBeMade) {
    write(path(u"file"_s), "old");
    EXPECT_FALSE(writeFileAtomically(path(u"file/a.json"_s), "new"));
    EXPECT_EQ(contentOf(path(u"file"_s)), "old");
}

TEST_F(AtomicFile, whatIsNotARegularFileIsLeftAlone) {
    ASSERT_TRUE(QDir(folder_.path()).mkdir(u"folder"_s));
    ASSERT_EQ(mkfifo(QFile::encodeName(path(u"pipe"_s)).constData(), 0600), 0);
    EXPECT_FALSE(writeFileAtomically(path(u"folder"_s), "new"));
    EXPECT_FALSE(writeFileAtomically(path(u"pipe"_s), "new"));
    EXPECT_EQ(names(), (QStringList{u"folder"_s, u"pipe"_s}));
    EXPECT_FALSE(QFileInfo(path(u"pipe"_s)).isFile());
}

TEST_F(AtomicFile, aWriteProtectedFileIsLeftAlone) {
    if (geteuid() == 0)
        GTEST_SKIP() << "nothing is write-protected for root";
    write(path(u"a.json"_s), "old");
    ASSERT_EQ(chmod(QFile::encodeName(path(u"a.json"_s)).constData(), 0400), 0);
    EXPECT_FALSE(writeFileAtomically(path(u"a.json"_s), "new"));
    EXPECT_EQ(contentOf(path(u"a.json"_s)), "old");
}

TEST_F(AtomicFile, whenTheDiskRefusesTheBytesTheOldFileStandsAndNothingIsLeft) {
    write(path(u"a.json"_s), "old");
    rlimit before = {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit small{1000, before.rlim_max};
    const auto oldHandler = signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const bool written = writeFileAtomically(path(u"a.json"_s), QByteArray(100'000, 'x'));
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    signal(SIGXFSZ, oldHandler);
    EXPECT_FALSE(written);
    EXPECT_EQ(contentOf(path(u"a.json"_s)), "old");
    EXPECT_EQ(names(), QStringList{u"a.json"_s});
}

TEST_F(AtomicFile, whatKilledWritersLeftIsRemovedByTheNextWriteOfThatFile) {
    write(path(u".a.json.corvid-AbCdEf"_s), "half");
    write(path(u".a.json.corvid-012345"_s), "");
    EXPECT_TRUE(writeFileAtomically(path(u"a.json"_s), "new"));
    EXPECT_EQ(names(), QStringList{u"a.json"_s});
}

TEST_F(AtomicFile, nobodyElsesFilesAreTakenForLeftovers) {
    const QStringList others{u".b.json.corvid-AbCdEf"_s, u"a.json.backup"_s, u"a.json.corvid-1"_s};
    for (const QString &name : others)
        write(path(name), "kept");
    EXPECT_TRUE(writeFileAtomically(path(u"a.json"_s), "new"));
    EXPECT_EQ(names(), (QStringList{u".b.json.corvid-AbCdEf"_s, u"a.json"_s, u"a.json.backup"_s,
                                    u"a.json.corvid-1"_s}));
}

TEST_F(AtomicFile, theTemporaryFileOfALivingWriterIsNotALeftover) {
    const QString temporary = path(u".a.json.corvid-AbCdEf"_s);
    write(temporary, "half");
    QFile otherWriter(temporary);
    ASSERT_TRUE(otherWriter.open(QIODevice::ReadWrite));
    ASSERT_EQ(flock(otherWriter.handle(), LOCK_EX), 0);
    EXPECT_TRUE(writeFileAtomically(path(u"a.json"_s), "new"));
    EXPECT_EQ(contentOf(temporary), "half");
}

TEST_F(AtomicFile, manyWritersAtOnceAllSucceedAndTheFileIsOneOfTheirs) {
    constexpr int writers = 4;
    constexpr int rounds = 50;
    std::atomic<int> failures = 0;
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < writers; ++i) {
            threads.emplace_back([&, i] {
                const QByteArray bytes(10'000 + i, static_cast<char>('a' + i));
                for (int round = 0; round < rounds; ++round)
                    failures += writeFileAtomically(path(u"a.json"_s), bytes) ? 0 : 1;
            });
        }
    }
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(names(), QStringList{u"a.json"_s});
    const QByteArray content = contentOf(path(u"a.json"_s));
    ASSERT_GE(content.size(), 10'000);
    EXPECT_EQ(content, QByteArray(content.size(), content.front()));
    EXPECT_EQ(content.size(), 10'000 + content.front() - 'a');
}
