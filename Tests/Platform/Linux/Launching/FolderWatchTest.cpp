#include "Platform/Linux/Launching/FolderWatch.h"

#include "Worlds/EventLoop.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace corvid;
using namespace corvid::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class FolderWatchTest : public ::testing::Test {
protected:
    FolderWatchTest() { QDir().mkpath(path(u"apps"_s)); }

    QString path(const QString &name) const { return folder_.filePath(name); }
    void put(const QString &name) const {
        ASSERT_TRUE(QFile(path(name)).open(QIODevice::WriteOnly));
    }
    /** Whether what was done in the meantime was reported. */
    bool isReported() {
        return eventually([this] { return std::exchange(changes_, 0) > 0; });
    }
    /** Events come in their order: what follows the change of another folder is seen with it. */
    bool isNotReported() {
        changes_ = 0;
        bool marked = false;
        FolderWatch marker([&marked] { marked = true; });
        QDir().mkpath(path(u"marks"_s));
        marker.add(path(u"marks"_s));
        put(u"marks/mark.desktop"_s);
        EXPECT_TRUE(eventually([&marked] { return marked; }));
        return changes_ == 0;
    }

    QTemporaryDir folder_;
    int changes_ = 0;
    const FolderWatch watch_{[this] { ++changes_; }};
};

} // namespace

TEST_F(FolderWatchTest, whatHappensToAnEntryIsReported) {
    watch_.add(path(u"apps"_s));
    put(u"apps/a.desktop"_s);
    EXPECT_TRUE(isReported());
    EXPECT_TRUE(isNotReported()) << "once it is over";
    put(u"elsewhere"_s);
    QFile::rename(path(u"elsewhere"_s), path(u"apps/b.desktop"_s));
    EXPECT_TRUE(isReported());
    QFile::rename(path(u"apps/b.desktop"_s), path(u"apps/hidden"_s));
    EXPECT_TRUE(isReported());
    QFile::remove(path(u"apps/a.desktop"_s));
    EXPECT_TRUE(isReported());
}

TEST_F(FolderWatchTest, anAppImageThatMayBeExecutedFromNowOnIsReported) {
    put(u"apps/a.AppImage"_s);
    watch_.add(path(u"apps"_s));
    QFile::setPermissions(path(u"apps/a.AppImage"_s), QFile::ReadOwner | QFile::ExeOwner);
    EXPECT_TRUE(isReported());
}

TEST_F(FolderWatchTest, foldersThatComeAndGoAreReported) {
    watch_.add(path(u"apps"_s));
    QDir().mkpath(path(u"apps/sub"_s));
    EXPECT_TRUE(isReported());
    QDir(path(u"apps"_s)).removeRecursively();
    EXPECT_TRUE(isReported());
}

TEST_F(FolderWatchTest, otherFilesAreNot) {
    watch_.add(path(u"apps"_s));
    put(u"apps/mimeinfo.cache"_s);
    put(u"apps/.a.desktop.Xq3"_s);
    put(u"apps/film.part"_s);
    EXPECT_TRUE(isNotReported());
}

TEST_F(FolderWatchTest,
       aFolderThatIsNotThereYetIsReportedWhenItIsThoughSeveralOfItsPathAreMissing) {
    watch_.add(path(u"no/such/applications"_s));
    QDir().mkpath(path(u"no"_s));
    EXPECT_TRUE(isReported());
    watch_.add(path(u"no/such/applications"_s));
    QDir().mkpath(path(u"no/such/applications"_s));
    EXPECT_TRUE(isReported());
    watch_.add(path(u"no/such/applications"_s));
    put(u"no/such/applications/a.desktop"_s);
    EXPECT_TRUE(isReported());
}

TEST_F(FolderWatchTest, whatCannotBeWatchedIsNot) {
    put(u"file"_s);
    for (const QString &unfit : {path(u"file"_s), path(u"file/below"_s), u"relative"_s, QString()})
        watch_.add(unfit);
    EXPECT_TRUE(isNotReported());
}
