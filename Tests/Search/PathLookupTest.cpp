#include "Search/PathLookup.h"

#include "Platform/Volumes.h"
#include "Worlds/Wait.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>
#include <thread>

#include <sys/stat.h>
#include <unistd.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

/** One volume. Whoever asks of a path that is held is kept until it is let go. */
class HeldVolumes final : public Volumes {
public:
    VolumeProperties properties(const QString &) const override { return {}; }

    int volume(const QString &path) const override {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return path != held_; });
        return 1;
    }
    void hold(const QString &path) {
        const std::scoped_lock lock(mutex_);
        held_ = path;
        changed_.notify_all();
    }

private:
    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    QString held_;
};

class PathLookupTest : public ::testing::Test {
protected:
    QString path(const QString &name) const { return folder.filePath(name); }
    QString makeFile(const QString &name) const {
        EXPECT_TRUE(QFile(path(name)).open(QIODevice::WriteOnly));
        return path(name);
    }
    /** What is found at a path in the end; fails when nothing is. */
    std::optional<PathKind> foundAt(const QString &asked) {
        lookup.kindOf(asked);
        EXPECT_TRUE(waitUntil([&] { return lookup.kindOf(asked).has_value(); }));
        return lookup.kindOf(asked);
    }

    /** How many there are while nobody looks, those included that a sanitizer adds to the first
        one of a program. */
    static qsizetype threadsAtRest() {
        QString first;
        std::thread([&first] { first = u"/proc/self/task/%1"_s.arg(gettid()); }).join();
        EXPECT_TRUE(waitUntil([&first] { return !QFile::exists(first); }));
        return threads();
    }
    static qsizetype threads() {
        return QDir(u"/proc/self/task"_s).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size();
    }

    QTemporaryDir folder;
    HeldVolumes volumes;
    int found = 0;
    PathLookup lookup{volumes, [this] { ++found; }};
};

} // namespace

TEST_F(PathLookupTest, tellsAFolderFromAFile) {
    EXPECT_EQ(lookup.kindOf(folder.path()), std::nullopt) << "not known yet";
    EXPECT_EQ(foundAt(folder.path()), PathKind::Folder);
    EXPECT_EQ(foundAt(makeFile(u"file"_s)), PathKind::File);
    EXPECT_EQ(found, 2) << "each is told once";
}

TEST_F(PathLookupTest, followsLinks) {
    ASSERT_TRUE(QFile::link(folder.path(), path(u"link"_s)));
    EXPECT_EQ(foundAt(path(u"link"_s)), PathKind::Folder);
}

TEST_F(PathLookupTest, findsNothingWhereThereIsNothingToOpen) {
    ASSERT_EQ(mkfifo(QFile::encodeName(path(u"pipe"_s)).constData(), 0600), 0);
    ASSERT_TRUE(QFile::link(u"nowhere"_s, path(u"dangling"_s)));
    const qsizetype threadsBefore = threadsAtRest(); // now: later one may still look
    for (const QString &asked :
         {path(u"missing"_s), path(u"pipe"_s), path(u"dangling"_s), path(u"missing/below"_s),
          makeFile(u"file"_s) + u"/below"_s, u"/dev/null"_s}) {
        EXPECT_EQ(lookup.kindOf(asked), std::nullopt);
        ASSERT_TRUE(waitUntil([&] { return threads() <= threadsBefore; })) << "it was looked at";
        QCoreApplication::processEvents();
        EXPECT_EQ(lookup.kindOf(asked), std::nullopt) << qPrintable(asked);
    }
    EXPECT_EQ(found, 0);
}

TEST_F(PathLookupTest, anAnswerForAnEarlierPathIsDropped) {
    const QString file = makeFile(u"file"_s);
    volumes.hold(file);
    lookup.kindOf(file);
    EXPECT_EQ(foundAt(folder.path()), PathKind::Folder);
    volumes.hold({});
    EXPECT_EQ(foundAt(path(u"."_s)), PathKind::Folder);
    EXPECT_EQ(found, 2);
}

TEST_F(PathLookupTest, whatWasForgottenIsLookedAtAnew) {
    const QString file = makeFile(u"file"_s);
    EXPECT_EQ(foundAt(file), PathKind::File);
    ASSERT_TRUE(QFile::remove(file));
    EXPECT_EQ(lookup.kindOf(file), PathKind::File) << "the answer of this typing";
    lookup.forget();
    EXPECT_EQ(lookup.kindOf(file), std::nullopt);
    EXPECT_EQ(foundAt(folder.path()), PathKind::Folder);
    EXPECT_EQ(found, 2);
}
