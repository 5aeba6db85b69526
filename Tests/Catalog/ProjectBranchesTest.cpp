#include "Catalog/ProjectBranches.h"

#include "Fakes/FakeVolumes.h"
#include "Worlds/QtPrinters.h"
#include "Worlds/Wait.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

class ProjectBranchesTest : public ::testing::Test {
protected:
    ProjectBranchesTest() {
        QObject::connect(&branches_, &ProjectBranches::arrived,
                         [this](const QString &path, const QString &branch) {
                             arrived_.append(QFileInfo(path).fileName() + u'=' + branch);
                         });
    }

    QString project(const QString &name, const QByteArray &branch) const {
        const QString folder = disk_.filePath(name);
        QDir().mkpath(folder + "/.git"_L1);
        QFile head(folder + "/.git/HEAD"_L1);
        EXPECT_TRUE(head.open(QIODevice::WriteOnly));
        head.write("ref: refs/heads/" + branch + '\n');
        return folder;
    }
    /** Asks about one more project, whose answer comes after all that was asked before. */
    void waitForAnswers() {
        const QString name = u"last%1"_s.arg(++asked_);
        branches_.branch(project(name, "x"));
        ASSERT_TRUE(waitUntil([&] { return arrived_.contains(name + u"=x"_s); }));
        arrived_.removeOne(name + u"=x"_s);
    }

    FakeVolumes volumes_;
    QStringList arrived_;
    int asked_ = 0;
    QTemporaryDir disk_;
    ProjectBranches branches_{volumes_};
};

} // namespace

TEST_F(ProjectBranchesTest, anAnswerArrivesLaterAndStays) {
    const QString web = project(u"web"_s, "main");
    const QString api = project(u"api"_s, "fix");
    EXPECT_EQ(branches_.branch(web), QString());
    EXPECT_EQ(branches_.branch(api), QString());
    EXPECT_TRUE(waitUntil([this] { return arrived_.size() == 2; }));
    EXPECT_EQ(arrived_, (QStringList{u"web=main"_s, u"api=fix"_s}));
    EXPECT_EQ(branches_.branch(web), u"main");
    EXPECT_EQ(branches_.branch(api), u"fix");
}

TEST_F(ProjectBranchesTest, untilRenewedABranchIsReadOnce) {
    const QString web = project(u"web"_s, "main");
    branches_.branch(web);
    waitForAnswers();
    project(u"web"_s, "other");
    EXPECT_EQ(branches_.branch(web), u"main");
    waitForAnswers();
    EXPECT_EQ(branches_.branch(web), u"main");
    branches_.renew();
    EXPECT_EQ(branches_.branch(web), u"main") << "until the new one is there";
    waitForAnswers();
    EXPECT_EQ(branches_.branch(web), u"other");
    EXPECT_EQ(arrived_, (QStringList{u"web=main"_s, u"web=other"_s}));
}

TEST_F(ProjectBranchesTest, onlyAnotherAnswerArrives) {
    const QString web = project(u"web"_s, "main");
    const QString plain = disk_.filePath(u"plain"_s);
    branches_.branch(web);
    branches_.branch(plain);
    waitForAnswers();
    branches_.renew();
    branches_.branch(web);
    branches_.branch(plain);
    waitForAnswers();
    EXPECT_EQ(arrived_, QStringList{u"web=main"_s});
}

TEST_F(ProjectBranchesTest, aBranchThatIsGoneArrivesAsNone) {
    const QString web = project(u"web"_s, "main");
    branches_.branch(web);
    waitForAnswers();
    ASSERT_TRUE(QDir(web).removeRecursively());
    branches_.renew();
    branches_.branch(web);
    waitForAnswers();
    EXPECT_EQ(arrived_, (QStringList{u"web=main"_s, u"web="_s}));
    EXPECT_EQ(branches_.branch(web), QString());
}

TEST_F(ProjectBranchesTest, itMayGoWhileBranchesAreRead) {
    for (int i = 0; i < 20; ++i) {
        ProjectBranches some(volumes_);
        for (int j = 0; j < i; ++j)
            some.branch(project(u"p%1"_s.arg(j), "main"));
        QCoreApplication::processEvents();
    }
}
