#include "ProjectIndex.h"

#include "Base/Locations.h"
#include "Catalog/JsonCache.h"
#include "Fakes/FakeUserDefaults.h"
#include "Fakes/FakeVolumes.h"
#include "Worlds/Wait.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QTemporaryDir>
#include <QThread>

#include <chrono>
#include <condition_variable>
#include <future>
#include <memory>
#include <mutex>

#include <sys/stat.h>
#include <unistd.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

/** Keeps a scan from going on at the roots that a test has closed, until it opens them. */
class Gate final : public Volumes {
public:
    void shut(const QString &path) {
        const std::lock_guard lock(mutex_);
        closed_.append(path);
    }
    void open(const QString &path) {
        const std::lock_guard lock(mutex_);
        closed_.removeAll(path);
        changed_.notify_all();
    }
    bool isWaitingAt(const QString &path) {
        const std::lock_guard lock(mutex_);
        return waiting_.contains(path);
    }

    VolumeProperties properties(const QString &path) const override {
        // The roots are asked for on the main thread, which nothing holds up.
        if (QThread::currentThread() == QCoreApplication::instance()->thread())
            return {};
        std::unique_lock lock(mutex_);
        waiting_.append(path);
        changed_.wait(lock, [&] { return !closed_.contains(path); });
        waiting_.removeOne(path);
        return {};
    }

private:
    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    QStringList closed_;
    mutable QStringList waiting_;
};

class ProjectIndexTest : public testing::Test {
protected:
    void SetUp() override { qputenv("HOME", QFile::encodeName(home_.path())); }
    void TearDown() override { qputenv("HOME", homeBefore_); }

    QString at(const QString &relative) const { return home_.path() + u'/' + relative; }

    void project(const QString &relative, const QString &marker = u"package.json"_s) {
        ASSERT_TRUE(QDir().mkpath(at(relative)));
        ASSERT_TRUE(QFile(at(relative) + u'/' + marker).open(QIODevice::WriteOnly));
    }

    void storeRoots(const QJsonValue &roots) { defaults_.set(u"projectRoots"_s, roots); }

    static QString cachePath() { return locations::cacheFile(u"projects.json"_s); }
    static void writeCacheBytes(const QByteArray &bytes) {
        ASSERT_TRUE(writeFileAtomically(cachePath(), bytes));
    }
    static QByteArray cacheBytes() {
        QFile file(cachePath());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    static QStringList names(const std::vector<ProjectEntry> &projects) {
        QStringList result;
        for (const ProjectEntry &project : projects)
            result.append(project.name);
        return result;
    }
    static QStringList names(const ProjectIndex &index) { return names(index.projects()); }
    static bool cacheFollows(const ProjectIndex &index) {
        return waitUntil([&] { return cacheBytes() == encodeRecords(index.projects()); });
    }
    static auto threads() { return QDir(u"/proc/self/task"_s).count(); }

    FakeUserDefaults defaults_;
    FakeVolumes volumes_;
    Gate gate_;

private:
    QTemporaryDir home_;
    QByteArray homeBefore_ = qgetenv("HOME");
};

const ProjectEntry cached{u"cached"_s, u"/somewhere/cached"_s, {u"git"_s}};

} // namespace

// Roots

TEST_F(ProjectIndexTest, storedRootsAreReturnedExactlyAsStored) {
    const ProjectIndex index(defaults_, volumes_);
    storeRoots(QJsonArray{u"/missing/"_s, u"~/Code"_s, u"/missing/"_s, u""_s});
    EXPECT_EQ(index.roots(), (QStringList{u"/missing/"_s, u"~/Code"_s, u"/missing/"_s, u""_s}));
}

TEST_F(ProjectIndexTest, storedRootsAreReadAfresh) {
    const ProjectIndex index(defaults_, volumes_);
    storeRoots(QJsonArray{u"/a"_s});
    EXPECT_EQ(index.roots(), QStringList{u"/a"_s});
    storeRoots(QJsonArray{u"/b"_s});
    EXPECT_EQ(index.roots(), QStringList{u"/b"_s});
}

TEST_F(ProjectIndexTest, theDefaultRootsAreTheseInThisOrder) {
    const QStringList names{u"Developer"_s, u"Code"_s, u"code"_s,  u"Projects"_s,
                            u"dev"_s,       u"src"_s,  u"Github"_s};
    QStringList expected;
    for (const QString &name : names) {
        ASSERT_TRUE(QDir().mkpath(at(name)));
        expected.append(at(name));
    }
    EXPECT_EQ(ProjectIndex(defaults_, volumes_).roots(), expected);
}

TEST_F(ProjectIndexTest, defaultRootsThatDoNotExistAreLeftOut) {
    EXPECT_EQ(ProjectIndex(defaults_, volumes_).roots(), QStringList());
    ASSERT_TRUE(QDir().mkpath(at(u"src"_s)));
    ASSERT_TRUE(QFile(at(u"Projects"_s)).open(QIODevice::WriteOnly));
    EXPECT_EQ(ProjectIndex(defaults_, volumes_).roots(),
              (QStringList{at(u"Projects"_s), at(u"src"_s)}))
        << "a file exists as well";
}

TEST_F(ProjectIndexTest, aDefaultRootIsFoundInOtherLetterCaseWhereOnlyOneFolderIsMeant) {
    for (const QString &name : {u"projects"_s, u"github"_s, u"CODE"_s, u"Src"_s, u"SRC"_s})
        ASSERT_TRUE(QDir().mkpath(at(name)));
    EXPECT_EQ(ProjectIndex(defaults_, volumes_).roots(),
              (QStringList{at(u"CODE"_s), at(u"projects"_s), at(u"github"_s)}))
        << "once for two default ones, and none of two";
}

TEST_F(ProjectIndexTest, otherLetterCaseCountsForNothingBesideTheUsualOne) {
    for (const QString &name : {u"Projects"_s, u"projects"_s, u"code"_s, u"CODE"_s})
        ASSERT_TRUE(QDir().mkpath(at(name)));
    EXPECT_EQ(ProjectIndex(defaults_, volumes_).roots(),
              (QStringList{at(u"code"_s), at(u"Projects"_s)}));
}

TEST_F(ProjectIndexTest, projectsBelowADefaultRootInOtherLetterCaseAreFound) {
    project(u"projects/web"_s);
    ProjectIndex index(defaults_, volumes_);
    index.load();
    EXPECT_TRUE(waitUntil([&] { return names(index) == QStringList{u"web"_s}; }));
}

TEST_F(ProjectIndexTest, whoMissesProjectsIsToldWhereTheyWereLookedFor) {
    ProjectIndex index(defaults_, volumes_);
    const auto why = [&] {
        index.load();
        EXPECT_EQ(index.whyThereAreNone(), std::nullopt) << "not known yet";
        EXPECT_TRUE(waitUntil([&] { return !index.scanning(); }));
        return index.whyThereAreNone();
    };
    EXPECT_EQ(why(), u"No projects: there is no ~/Developer, ~/Code, ~/code, ~/Projects, ~/dev, "
                     "~/src or ~/Github."_s);
    ASSERT_TRUE(QDir().mkpath(at(u"src"_s)));
    EXPECT_EQ(why(), u"No projects were found in ~/src."_s);
    ASSERT_TRUE(QDir().mkpath(at(u"projects"_s)));
    EXPECT_EQ(why(), u"No projects were found in ~/projects and ~/src."_s);
    QJsonArray many;
    for (int i = 1; i <= 9; ++i)
        many.append(u"/srv/%1"_s.arg(i));
    storeRoots(many);
    EXPECT_EQ(why(), u"No projects were found in /srv/1, /srv/2, /srv/3, /srv/4, /srv/5, /srv/6 "
                     "and 3 more."_s);
    storeRoots(QJsonArray{u"/srv/\n"_s + QString(100, u'x') + u"/end"_s});
    EXPECT_EQ(why(), u"No projects were found in /srv/ xxxxxxxxxxxxxx…"_s + QString(35, u'x') +
                         u"/end."_s);
    project(u"src/web"_s);
    storeRoots({});
    EXPECT_EQ(why(), std::nullopt);
}

TEST_F(ProjectIndexTest, aDefaultRootOnAnotherKindOfVolumeThanTheHomeFolderCountsAsExisting) {
    // To ask a mount whose server is gone would take for ever.
    volumes_.known[locations::home()] = {true, false};
    for (const QString &name :
         {u"Developer"_s, u"Code"_s, u"code"_s, u"Projects"_s, u"dev"_s, u"src"_s, u"Github"_s})
        volumes_.known[at(name)] = {true, false};
    volumes_.known[at(u"Code"_s)] = {false, false};
    volumes_.known[at(u"dev"_s)] = {std::nullopt, false};
    volumes_.known[at(u"src"_s)] = {true, true};
    EXPECT_EQ(ProjectIndex(defaults_, volumes_).roots(),
              (QStringList{at(u"Code"_s), at(u"dev"_s), at(u"src"_s)}));
}

TEST_F(ProjectIndexTest, anEmptyListOfRootsFallsBackToTheDefaults) {
    ASSERT_TRUE(QDir().mkpath(at(u"src"_s)));
    storeRoots(QJsonArray{});
    EXPECT_EQ(ProjectIndex(defaults_, volumes_).roots(), QStringList{at(u"src"_s)});
}

TEST_F(ProjectIndexTest, rootsOfAnotherShapeReadAsAbsent) {
    ASSERT_TRUE(QDir().mkpath(at(u"src"_s)));
    const ProjectIndex index(defaults_, volumes_);
    for (const QJsonValue &value :
         {QJsonValue(u"/a"_s), QJsonValue(7), QJsonValue(QJsonObject{{u"0"_s, u"/a"_s}}),
          QJsonValue(QJsonArray{u"/a"_s, 7}), QJsonValue(QJsonArray{QJsonValue::Null})}) {
        storeRoots(value);
        EXPECT_EQ(index.roots(), QStringList{at(u"src"_s)});
    }
}

// The life of an index

TEST_F(ProjectIndexTest, startsEmptyAndIdle) {
    writeCacheBytes(encodeRecords<ProjectEntry>({cached}));
    const ProjectIndex index(defaults_, volumes_);
    EXPECT_TRUE(index.projects().empty());
    EXPECT_FALSE(index.scanning());
}

TEST_F(ProjectIndexTest, theCachedListShowsBeforeLoadReturns) {
    writeCacheBytes(encodeRecords<ProjectEntry>({cached}));
    ProjectIndex index(defaults_, volumes_);
    QList<QStringList> updates;
    index.onUpdate = [&] { updates.append(names(index)); };
    index.load();
    EXPECT_EQ(index.projects(), std::vector<ProjectEntry>{cached});
    EXPECT_EQ(updates, (QList<QStringList>{{u"cached"_s}}));
    EXPECT_TRUE(index.scanning());
}

TEST_F(ProjectIndexTest, theScanReplacesTheCachedListAndRewritesTheCache) {
    project(u"src/web"_s);
    writeCacheBytes(encodeRecords<ProjectEntry>({cached}));
    ProjectIndex index(defaults_, volumes_);
    QList<QStringList> updates;
    index.onUpdate = [&] { updates.append(names(index)); };
    index.load();
    ASSERT_TRUE(waitUntil([&] { return !index.scanning(); }));
    EXPECT_EQ(index.projects(),
              (std::vector<ProjectEntry>{{u"web"_s, at(u"src/web"_s), {u"js"_s}}}));
    EXPECT_EQ(updates, (QList<QStringList>{{u"cached"_s}, {u"web"_s}}));
    EXPECT_TRUE(cacheFollows(index));
}

TEST_F(ProjectIndexTest, aScanThatFindsNothingEmptiesTheListAndTheCache) {
    writeCacheBytes(encodeRecords<ProjectEntry>({cached}));
    ProjectIndex index(defaults_, volumes_);
    int updates = 0;
    index.onUpdate = [&] { ++updates; };
    index.load();
    ASSERT_TRUE(waitUntil([&] { return !index.scanning(); }));
    EXPECT_TRUE(index.projects().empty());
    EXPECT_EQ(updates, 2);
    EXPECT_TRUE(cacheFollows(index));
    EXPECT_EQ(cacheBytes(), "[]");
}

TEST_F(ProjectIndexTest, aCacheThatIsAPipeDoesNotBlock) {
    writeCacheBytes("[]");
    const QByteArray path = QFile::encodeName(locations::cacheFile(u"projects.json"_s));
    ASSERT_EQ(unlink(path.constData()), 0);
    ASSERT_EQ(mkfifo(path.constData(), 0600), 0);
    ProjectIndex index(defaults_, volumes_);
    index.load();
    EXPECT_TRUE(index.projects().empty());
    EXPECT_TRUE(waitUntil([&] { return !index.scanning(); }));
}

TEST_F(ProjectIndexTest, aCacheWithoutWholeRecordsIsIgnored) {
    for (const char *bytes :
         {"", "[]", "{}", "[", "\xff\xfe", R"([{"name":"a","path":"/a"}])",
          R"([{"name":"a","path":"/a","stack":["git"]},{"name":"b","stack":[]}])",
          R"([{"name":"a","path":"/a","stack":[1]}])"}) {
        writeCacheBytes(bytes);
        ProjectIndex index(defaults_, volumes_);
        int updates = 0;
        index.onUpdate = [&] { ++updates; };
        index.load();
        EXPECT_TRUE(index.projects().empty()) << bytes;
        EXPECT_EQ(updates, 0) << bytes;
        ASSERT_TRUE(waitUntil([&] { return !index.scanning(); }));
        EXPECT_EQ(updates, 1) << bytes;
    }
}

std::vector<ProjectEntry> manyProjects() {
    std::vector<ProjectEntry> many;
    for (int i = 0; i < 10'000; ++i) {
        const QString name = u"project number %1"_s.arg(i);
        many.push_back({name, u"/somewhere/"_s + name, {u"git"_s}});
    }
    return many;
}

TEST_F(ProjectIndexTest, aLargeCacheIsReadInTheBackground) {
    project(u"src/web"_s);
    gate_.shut(at(u"src"_s));
    writeCacheBytes(encodeRecords(manyProjects()));
    ProjectIndex index(defaults_, gate_);
    int updates = 0;
    index.onUpdate = [&] { ++updates; };
    index.load();
    EXPECT_EQ(updates, 0) << "not within the call";
    EXPECT_TRUE(index.scanning());
    EXPECT_TRUE(waitUntil([&] { return updates == 1; }));
    EXPECT_EQ(index.projects(), manyProjects());
    EXPECT_TRUE(index.scanning());
    gate_.open(at(u"src"_s));
    EXPECT_TRUE(waitUntil([&] { return updates == 2; }));
    EXPECT_EQ(names(index), QStringList{u"web"_s});
}

TEST_F(ProjectIndexTest, aLargeCacheKeepsNobodyWaitingThoughASmallOneHasTakenItsPlace) {
    gate_.shut(at(u"src"_s));
    writeCacheBytes(encodeRecords(manyProjects()));
    ProjectIndex::CachedList reading = ProjectIndex::readCachedList();
    writeCacheBytes(encodeRecords<ProjectEntry>({cached}));
    ProjectIndex index(defaults_, gate_);
    int updates = 0;
    index.onUpdate = [&] { ++updates; };
    index.load(std::move(reading));
    EXPECT_EQ(updates, 0) << "not within the call";
    EXPECT_TRUE(waitUntil([&] { return updates > 0; }));
    gate_.open(at(u"src"_s));
}

TEST_F(ProjectIndexTest, aCacheIsReadOnceWhatIsToComeBeforeIt) {
    writeCacheBytes(encodeRecords<ProjectEntry>({cached}));
    std::promise<void> before;
    ProjectIndex::CachedList reading =
        ProjectIndex::readCachedList([come = before.get_future().share()] { come.wait(); });
    EXPECT_EQ(reading.list.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
    before.set_value();
    EXPECT_EQ(reading.list.get()->records, std::vector{cached});
}

TEST_F(ProjectIndexTest, aCacheOfMoreThanSixtyFourMebibytesIsNone) {
    const QByteArray sound = encodeRecords<ProjectEntry>({cached});
    constexpr qsizetype most = 64 * 1024 * 1024;
    QFile file(at(u"cache"_s));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    ASSERT_EQ(file.write(sound.leftJustified(most)), most);
    EXPECT_EQ(readCache<ProjectEntry>(openRegularFile(file.fileName())).size(), 1U);
    ASSERT_EQ(file.write(" "), 1);
    EXPECT_TRUE(readCache<ProjectEntry>(openRegularFile(file.fileName())).empty());
}

TEST_F(ProjectIndexTest, aLargeCacheThatIsSlowerThanTheScanIsNotShown) {
    project(u"src/web"_s);
    writeCacheBytes(encodeRecords(manyProjects()));
    ProjectIndex index(defaults_, volumes_);
    QList<QStringList> updates;
    index.onUpdate = [&] { updates.append(names(index)); };
    index.load();
    // Both results wait for the event loop; whichever came first, the scan's is the last.
    ASSERT_TRUE(waitUntil([&] { return !index.scanning(); }));
    EXPECT_TRUE(cacheFollows(index));
    EXPECT_FALSE(waitUntil([&] { return names(index) != QStringList{u"web"_s}; },
                           std::chrono::milliseconds(300)));
    EXPECT_EQ(updates.last(), QStringList{u"web"_s});
}

TEST_F(ProjectIndexTest, anEmptyCacheDoesNotReplaceAListThatIsShown) {
    project(u"src/web"_s);
    ProjectIndex index(defaults_, gate_);
    index.load();
    ASSERT_TRUE(waitUntil([&] { return !index.scanning(); }));
    ASSERT_TRUE(cacheFollows(index));
    writeCacheBytes("[]");
    gate_.shut(at(u"src"_s));
    int updates = 0;
    index.onUpdate = [&] { ++updates; };
    index.load();
    EXPECT_EQ(names(index), QStringList{u"web"_s});
    EXPECT_EQ(updates, 0);
    gate_.open(at(u"src"_s));
}

TEST_F(ProjectIndexTest, withoutACacheOrItsFolderTheScanMakesBoth) {
    project(u"src/web"_s);
    ProjectIndex index(defaults_, volumes_);
    index.load();
    ASSERT_TRUE(waitUntil([&] { return !index.scanning(); }));
    EXPECT_TRUE(cacheFollows(index));
}

TEST_F(ProjectIndexTest, aCacheThatCannotBeWrittenIsQuietlyLost) {
    project(u"src/web"_s);
    project(u".local/share"_s, u"Corvid"_s); // a file where the folder should be
    ProjectIndex index(defaults_, volumes_);
    index.load();
    ASSERT_TRUE(waitUntil([&] { return !index.scanning(); }));
    index.load();
    ASSERT_TRUE(waitUntil([&] { return !index.scanning(); }));
    EXPECT_EQ(names(index), QStringList{u"web"_s});
}

TEST_F(ProjectIndexTest, changesAreAnnouncedAndTheListIsInPlaceWhenTheyAre) {
    project(u"src/web"_s);
    writeCacheBytes(encodeRecords<ProjectEntry>({cached}));
    ProjectIndex index(defaults_, volumes_);
    QStringList events;
    const auto note = [&](const QString &what) {
        events.append(what + u' ' + names(index).join(u',') +
                      (index.scanning() ? u" scanning"_s : u" idle"_s));
    };
    QObject::connect(&index, &ProjectIndex::projectsChanged, &index, [&] { note(u"projects"_s); });
    QObject::connect(&index, &ProjectIndex::scanningChanged, &index, [&] { note(u"scanning"_s); });
    index.onUpdate = [&] { note(u"update"_s); };
    index.load();
    ASSERT_TRUE(waitUntil([&] { return !index.scanning(); }));
    EXPECT_EQ(events, (QStringList{u"projects cached idle"_s, u"update cached idle"_s,
                                   u"scanning cached scanning"_s, u"projects web scanning"_s,
                                   u"scanning web idle"_s, u"update web idle"_s}));
}

TEST_F(ProjectIndexTest, theRootsAreThoseOfTheMomentOfLoading) {
    project(u"a/one"_s);
    project(u"b/two"_s);
    storeRoots(QJsonArray{at(u"a"_s)});
    gate_.shut(at(u"a"_s));
    ProjectIndex index(defaults_, gate_);
    index.load();
    storeRoots(QJsonArray{at(u"b"_s)});
    gate_.open(at(u"a"_s));
    ASSERT_TRUE(waitUntil([&] { return !index.scanning(); }));
    EXPECT_EQ(names(index), QStringList{u"one"_s});
}

TEST_F(ProjectIndexTest, ofOverlappingScansTheLastToFinishWinsAndTheFirstEndsScanning) {
    project(u"slow/slow"_s);
    project(u"fast/fast"_s);
    gate_.shut(at(u"slow"_s));
    ProjectIndex index(defaults_, gate_);
    int updates = 0;
    index.onUpdate = [&] { ++updates; };

    storeRoots(QJsonArray{at(u"slow"_s)});
    index.load();
    ASSERT_TRUE(waitUntil([&] { return gate_.isWaitingAt(at(u"slow"_s)); }));
    storeRoots(QJsonArray{at(u"fast"_s)});
    index.load();

    ASSERT_TRUE(waitUntil([&] { return updates == 1; }));
    EXPECT_EQ(names(index), QStringList{u"fast"_s});
    EXPECT_FALSE(index.scanning()) << "although one scan still runs";

    gate_.open(at(u"slow"_s));
    ASSERT_TRUE(waitUntil([&] { return updates == 2; }));
    EXPECT_EQ(names(index), QStringList{u"slow"_s});
    EXPECT_FALSE(index.scanning());
    EXPECT_TRUE(cacheFollows(index));
}

TEST_F(ProjectIndexTest, afterManyOverlappingScansTheCacheHoldsTheListShown) {
    for (int i = 0; i < 20; ++i) {
        project(QStringLiteral("r%1/p%1").arg(i));
        project(QStringLiteral("r%1/q%1").arg(i));
    }
    ProjectIndex index(defaults_, volumes_);
    int scans = 0;
    bool loading = false;
    index.onUpdate = [&] { scans += loading ? 0 : 1; };
    for (int i = 0; i < 20; ++i) {
        storeRoots(QJsonArray{at(QStringLiteral("r%1").arg(i))});
        loading = true; // may apply the cache, which is an update but no scan
        index.load();
        loading = false;
    }
    ASSERT_TRUE(waitUntil([&] { return scans == 20; }));
    EXPECT_TRUE(cacheFollows(index));
}

TEST_F(ProjectIndexTest, anUpdateMayLoadAgain) {
    project(u"src/web"_s);
    ProjectIndex index(defaults_, volumes_);
    int updates = 0;
    index.onUpdate = [&] {
        if (++updates == 1)
            index.load();
    };
    index.load();
    ASSERT_TRUE(waitUntil([&] { return updates >= 2 && !index.scanning(); }));
    EXPECT_EQ(names(index), QStringList{u"web"_s});
}

TEST_F(ProjectIndexTest, withoutACallbackTheListIsReplacedAllTheSame) {
    project(u"src/web"_s);
    ProjectIndex index(defaults_, volumes_);
    index.load();
    ASSERT_TRUE(waitUntil([&] { return !index.scanning(); }));
    EXPECT_EQ(names(index), QStringList{u"web"_s});
}

// Destruction

TEST_F(ProjectIndexTest, destroyedInMidScanItEndsWithTheScanAndCallsNobody) {
    project(u"src/web"_s);
    gate_.shut(at(u"src"_s));
    auto index = std::make_unique<ProjectIndex>(defaults_, gate_);
    int updates = 0;
    index->onUpdate = [&] { ++updates; };
    index->load();
    ASSERT_TRUE(waitUntil([&] { return gate_.isWaitingAt(at(u"src"_s)); }));
    // While the destructor waits, or a little before.
    std::jthread opener([this] { gate_.open(at(u"src"_s)); });
    index.reset();
    QCoreApplication::processEvents();
    EXPECT_EQ(updates, 0);
    EXPECT_FALSE(gate_.isWaitingAt(at(u"src"_s)));
}

TEST_F(ProjectIndexTest, destroyedAtAnyMomentOfAWalkItIsGoneSoonAndLeavesAWholeCache) {
    for (int i = 0; i < 500; ++i)
        project(QStringLiteral("src/g%1/p%2/sub").arg(i / 50).arg(i));
    for (int round = 0; round < 50; ++round) {
        auto index = std::make_unique<ProjectIndex>(defaults_, volumes_);
        index->load();
        for (int i = 0; i < round; ++i)
            QCoreApplication::processEvents();
        QElapsedTimer timer;
        timer.start();
        index.reset();
        EXPECT_LT(timer.elapsed(), 2'000);
        const QByteArray bytes = cacheBytes();
        EXPECT_TRUE(bytes.isEmpty() || decodeRecords<ProjectEntry>(bytes).size() == 500);
    }
}

TEST_F(ProjectIndexTest, aResultThatWaitsWhenTheIndexIsDestroyedReachesNobody) {
    project(u"src/web"_s);
    std::thread([] {}).join(); // the first one may bring along others that stay
    const auto threadsBefore = threads();
    auto index = std::make_unique<ProjectIndex>(defaults_, volumes_);
    int updates = 0;
    index->onUpdate = [&] { ++updates; };
    index->load();
    // The scan's thread ends without the event loop having run.
    const QDeadlineTimer deadline(std::chrono::seconds(30));
    while (threads() > threadsBefore)
        ASSERT_FALSE(deadline.hasExpired());
    index.reset();
    QCoreApplication::processEvents();
    EXPECT_EQ(updates, 0);
}

// Refreshing

TEST_F(ProjectIndexTest, aRefreshFindsWhatWasClonedSinceAlsoInADefaultRootThatWasNotThere) {
    project(u"src/web"_s);
    ProjectIndex index(defaults_, volumes_);
    index.load();
    ASSERT_TRUE(waitUntil([&] { return !index.scanning(); }));
    project(u"Code/cloned"_s);
    int updates = 0;
    index.onUpdate = [&] { ++updates; };
    ASSERT_TRUE(index.refresh());
    EXPECT_FALSE(index.scanning());
    ASSERT_TRUE(waitUntil([&] { return updates == 1; }));
    EXPECT_EQ(names(index), (QStringList{u"cloned"_s, u"web"_s}));
    EXPECT_TRUE(cacheFollows(index));
}

TEST_F(ProjectIndexTest, whatARefreshFoundIsDroppedWhenTheRootsWereLoadedAnewMeanwhile) {
    project(u"old/gone"_s);
    project(u"new/here"_s);
    storeRoots(QJsonArray{at(u"old"_s)});
    gate_.shut(at(u"old"_s));
    ProjectIndex index(defaults_, gate_);
    ASSERT_TRUE(index.refresh());
    ASSERT_TRUE(waitUntil([&] { return gate_.isWaitingAt(at(u"old"_s)); }));
    storeRoots(QJsonArray{at(u"new"_s)});
    index.load();
    ASSERT_TRUE(waitUntil([&] { return !index.scanning(); }));
    gate_.open(at(u"old"_s));
    // There is room for the next scan when the first one has handed its result over.
    ASSERT_TRUE(waitUntil([&] { return index.refresh(); }));
    EXPECT_EQ(names(index), QStringList{u"here"_s});
}
