#include "Catalog/CheckedOutBranch.h"

#include "Fakes/FakeVolumes.h"
#include "Worlds/QtPrinters.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

const QByteArray commit = "0123456789abcdef0123456789abcdef01234567";

class CheckedOutBranchTest : public ::testing::Test {
protected:
    QString path(const QString &name) const { return disk_.filePath(name); }
    void write(const QString &name, const QByteArray &content) const {
        QDir().mkpath(QFileInfo(path(name)).path());
        QFile file(path(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(content), content.size());
    }
    void makePipe(const QString &name) const {
        QDir().mkpath(QFileInfo(path(name)).path());
        ASSERT_EQ(mkfifo(QFile::encodeName(path(name)).constData(), 0600), 0);
    }
    QString branch(const QString &folder = u"web"_s) const {
        return checkedOutBranch(path(folder), volumes_);
    }

    FakeVolumes volumes_;

private:
    QTemporaryDir disk_;
};

} // namespace

TEST(BranchOfHead, aBranchIsNamedWithoutWhereItIsKept) {
    EXPECT_EQ(branchOfHead("ref: refs/heads/main\n"), u"main");
    EXPECT_EQ(branchOfHead("ref: refs/heads/feature/a-b\n"), u"feature/a-b");
    EXPECT_EQ(branchOfHead("ref: refs/heads/no-line-feed"), u"no-line-feed");
    EXPECT_EQ(branchOfHead("ref: refs/heads/ünïcode\n"), u"ünïcode");
}

TEST(BranchOfHead, ofACommitTheFirstSevenDigitsAreTold) {
    EXPECT_EQ(branchOfHead(commit + '\n'), u"0123456");
    EXPECT_EQ(branchOfHead(QByteArray(64, 'e')), u"eeeeeee");
}

TEST(BranchOfHead, whatIsNeitherTellsNothing) {
    for (const QByteArray &head :
         {QByteArray(), QByteArray("\n"), QByteArray("main\n"), QByteArray("ref: \n"),
          QByteArray("ref: refs/heads/\n"), QByteArray("ref: refs/remotes/origin/main\n"),
          commit.left(39), commit + '0', QByteArray(40, 'g'), QByteArray(3, '\0'),
          QByteArray("ref: refs/heads/.invalid\n"), "\n" + commit})
        EXPECT_EQ(branchOfHead(head), QString()) << head.constData();
}

TEST(BranchOfHead, aNameThatIsNoTextIsShownAsFarAsItIsSome) {
    EXPECT_EQ(branchOfHead("ref: refs/heads/a\xff z\n"), u"a\uFFFD z");
}

TEST(BranchOfHead, aHugeNameIsCut) {
    EXPECT_EQ(branchOfHead("ref: refs/heads/" + QByteArray(900, 'x')).size(), 256);
}

TEST(GitFolderOf, isWhatTheFileSays) {
    EXPECT_EQ(gitFolderOf("gitdir: /a b/.git/worktrees/c\n"), u"/a b/.git/worktrees/c");
    EXPECT_EQ(gitFolderOf("gitdir: ../.git/modules/c"), u"../.git/modules/c");
    EXPECT_EQ(gitFolderOf("gitdir: \n"), QString());
    EXPECT_EQ(gitFolderOf("/a\n"), QString());
    EXPECT_EQ(gitFolderOf(QByteArray("gitdir: /a\0b\n", 13)), QString());
    EXPECT_EQ(gitFolderOf({}), QString());
}

TEST_F(CheckedOutBranchTest, isTheOneThatHeadNames) {
    write(u"web/.git/HEAD"_s, "ref: refs/heads/main\n");
    EXPECT_EQ(branch(), u"main");
}

TEST_F(CheckedOutBranchTest, aBranchWhoseCommitIsPackedOrThatHasNoneYetIsToldAsWell) {
    write(u"web/.git/HEAD"_s, "ref: refs/heads/main\n");
    write(u"web/.git/packed-refs"_s, commit + " refs/heads/main\n");
    EXPECT_EQ(branch(), u"main");
}

TEST_F(CheckedOutBranchTest, aWorktreeAndASubmoduleHaveTheirOwn) {
    write(u"web/.git/HEAD"_s, "ref: refs/heads/main\n");
    write(u"web/.git/worktrees/fix/HEAD"_s, "ref: refs/heads/fix\n");
    write(u"web-fix/.git"_s, "gitdir: " + QFile::encodeName(path(u"web/.git/worktrees/fix"_s)));
    EXPECT_EQ(branch(u"web-fix"_s), u"fix");
    write(u"web/.git/modules/lib/HEAD"_s, commit + '\n');
    write(u"web/lib/.git"_s, "gitdir: ../.git/modules/lib\n");
    EXPECT_EQ(branch(u"web/lib"_s), u"0123456");
}

TEST_F(CheckedOutBranchTest, aLinkToAnotherFolderIsFollowedOnce) {
    write(u"a/.git"_s, "gitdir: ../b/.git\n");
    write(u"b/.git"_s, "gitdir: ../c/.git\n");
    write(u"c/.git/HEAD"_s, "ref: refs/heads/main\n");
    EXPECT_EQ(branch(u"b"_s), u"main");
    EXPECT_EQ(branch(u"a"_s), QString());
    write(u"self/.git"_s, "gitdir: .\n");
    EXPECT_EQ(branch(u"self"_s), QString());
}

TEST_F(CheckedOutBranchTest, aFolderThatIsNoWorkingTreeHasNone) {
    write(u"web/package.json"_s, "{}");
    EXPECT_EQ(branch(), QString());
    EXPECT_EQ(branch(u"gone"_s), QString());
}

TEST_F(CheckedOutBranchTest, whatIsNoSmallRegularFileIsNotRead) {
    makePipe(u"pipe/.git/HEAD"_s);
    EXPECT_EQ(branch(u"pipe"_s), QString());
    makePipe(u"pipe-of-link/.git"_s);
    EXPECT_EQ(branch(u"pipe-of-link"_s), QString());
    QDir().mkpath(path(u"folder/.git/HEAD"_s));
    EXPECT_EQ(branch(u"folder"_s), QString());
    const QByteArray line = "ref: refs/heads/main\n";
    write(u"large/.git/HEAD"_s, line + QByteArray(10'000'000, '\n'));
    EXPECT_EQ(branch(u"large"_s), QString());
    write(u"large-link/.git"_s, "gitdir: ../web/.git\n" + QByteArray(10'000'000, '\n'));
    write(u"web/.git/HEAD"_s, line);
    EXPECT_EQ(branch(u"large-link"_s), QString());
}

TEST_F(CheckedOutBranchTest, networkVolumesAndAutomountersAreLeftAlone) {
    write(u"web/.git/HEAD"_s, "ref: refs/heads/main\n");
    write(u"link/.git"_s, "gitdir: ../web/.git\n");
    const QString head = path(u"web/.git/HEAD"_s);
    volumes_.known[head] = {.local = true, .automounted = false};
    EXPECT_EQ(branch(), u"main");
    volumes_.known[head] = {.local = false, .automounted = false};
    EXPECT_EQ(branch(), QString());
    volumes_.known[head] = {.local = true, .automounted = true};
    EXPECT_EQ(branch(), QString());
    volumes_.known[path(u"link/../web/.git/HEAD"_s)] = {.local = false, .automounted = {}};
    EXPECT_EQ(branch(u"link"_s), QString());
}
