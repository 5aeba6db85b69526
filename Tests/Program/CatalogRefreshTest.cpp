#include "Program/CatalogRefresh.h"

#include "AppCatalog.h"
#include "Fakes/FakeDesktopEntries.h"
#include "Fakes/FakeUserDefaults.h"
#include "Fakes/FakeVolumes.h"
#include "Fakes/FakeWorkspace.h"
#include "ProjectIndex.h"
#include "Worlds/Wait.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QJsonArray>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <semaphore>

using namespace corvid;
using namespace std::chrono_literals;
using namespace Qt::Literals::StringLiterals;

namespace {

class CatalogRefreshTest : public ::testing::Test {
protected:
    CatalogRefreshTest() {
        qputenv("XDG_DATA_HOME", QFile::encodeName(folder_.filePath(u"data"_s)));
        defaults_.set(u"projectRoots"_s, QJsonArray{folder_.filePath(u"src"_s)});
        clone(u"first"_s);
        entries_.whileListing = [this] {
            ++listings_;
            if (held_)
                mayGoOn_.acquire();
        };
        QObject::connect(&apps_, &AppCatalog::scanEnded, [this] { ++ended_; });
        apps_.load();
        projects_.load();
        EXPECT_TRUE(waitUntil([this] { return ended_ == 1 && !projects_.scanning(); }));
    }
    ~CatalogRefreshTest() override { qunsetenv("XDG_DATA_HOME"); }

    void clone(const QString &name) const {
        const QString project = folder_.filePath(u"src/"_s + name);
        ASSERT_TRUE(QDir().mkpath(project));
        ASSERT_TRUE(QFile(project + u"/Makefile"_s).open(QIODevice::WriteOnly));
    }
    bool waitForScans(int count) {
        return waitUntil([&] { return ended_ == count; });
    }

    QTemporaryDir folder_;
    FakeWorkspace workspace_;
    FakeDesktopEntries entries_;
    FakeUserDefaults defaults_;
    FakeVolumes volumes_;
    RoleCatalog roles_{{}};
    std::atomic<int> listings_ = 0;
    std::atomic<bool> held_ = false;
    std::counting_semaphore<> mayGoOn_{0};
    int ended_ = 0;
    AppCatalog apps_{workspace_, entries_, roles_};
    ProjectIndex projects_{defaults_, volumes_};
    BootClock::time_point now_{1h};
    CatalogRefresh refresh_{entries_, apps_, projects_, [this] { return now_; }};
};

} // namespace

TEST_F(CatalogRefreshTest, aShowingScansBothListsWhenTheLastScanIsOlderThan30Seconds) {
    now_ += 30s;
    refresh_.panelShown();
    EXPECT_TRUE(apps_.refresh()) << "no scan was under way";
    ASSERT_TRUE(waitForScans(2));
    refresh_.panelHidden();
    clone(u"second"_s);
    now_ += 1ms;
    refresh_.panelShown();
    ASSERT_TRUE(waitForScans(3));
    EXPECT_TRUE(waitUntil([this] { return projects_.projects().size() == 2; }));
    refresh_.panelHidden();
    now_ += 30s;
    refresh_.panelShown();
    EXPECT_TRUE(apps_.refresh()) << "30 seconds from the last scan, not from the start";
    EXPECT_TRUE(projects_.refresh());
}

TEST_F(CatalogRefreshTest, aChangeWhileThePanelIsShownScansTheApplicationsAtOnce) {
    refresh_.panelShown();
    entries_.onChange();
    ASSERT_TRUE(waitForScans(2));
    EXPECT_TRUE(projects_.refresh()) << "and them alone";
}

TEST_F(CatalogRefreshTest, aChangeWhileThePanelIsHiddenWaitsForTheNextShowing) {
    entries_.onChange();
    entries_.onChange();
    EXPECT_EQ(listings_, 1);
    EXPECT_TRUE(apps_.refresh()) << "no scan was under way";
    ASSERT_TRUE(waitForScans(2));
    refresh_.panelShown();
    ASSERT_TRUE(waitForScans(3));
    EXPECT_TRUE(projects_.refresh()) << "their scan is young";
    refresh_.panelHidden();
    refresh_.panelShown();
    EXPECT_TRUE(apps_.refresh()) << "one scan for all changes";
    ASSERT_TRUE(waitForScans(4));
}

TEST_F(CatalogRefreshTest, aChangeDuringAScanIsFollowedByOneMoreScan) {
    held_ = true;
    refresh_.panelShown();
    entries_.onChange();
    ASSERT_TRUE(waitUntil([this] { return listings_ == 2; }));
    for (int i = 0; i < 5; ++i)
        entries_.onChange();
    held_ = false;
    mayGoOn_.release();
    ASSERT_TRUE(waitForScans(3));
    EXPECT_TRUE(apps_.refresh()) << "one for all of them";
    ASSERT_TRUE(waitForScans(4));
    EXPECT_EQ(listings_, 4);
}

TEST_F(CatalogRefreshTest, aScanThatHangsIsTheOnlyOne) {
    held_ = true;
    for (int i = 0; i < 5; ++i) {
        now_ += 31s;
        refresh_.panelShown();
        entries_.onChange();
        refresh_.panelHidden();
    }
    ASSERT_TRUE(waitUntil([this] { return listings_ == 2; }));
    held_ = false;
    mayGoOn_.release();
    ASSERT_TRUE(waitForScans(2));
    EXPECT_EQ(listings_, 2) << "hidden: nothing follows";
    refresh_.panelShown();
    ASSERT_TRUE(waitForScans(3));
}
