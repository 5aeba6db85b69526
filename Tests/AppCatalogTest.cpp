#include "AppCatalog.h"

#include "Base/Locations.h"
#include "Catalog/JsonCache.h"
#include "Fakes/FakeDesktopEntries.h"
#include "Fakes/FakeWorkspace.h"
#include "Worlds/Wait.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <semaphore>

#include <sys/stat.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

DesktopEntry entry(const QString &name) {
    return {name.toLower(), u"/x/%1.desktop"_s.arg(name), name, name, {}, {}, {}};
}

QString pathOf(const QString &name) {
    return entry(name).path;
}

AppEntry cachedApp(const QString &name) {
    return {name, name.toLower(), pathOf(name), {}, {}, u""_s};
}

class AppCatalogTest : public testing::Test {
protected:
    AppCatalogTest() {
        qputenv("HOME", home_.path().toLocal8Bit());
        desktop_.whileListing = [this] {
            if (holdScans_)
                scansMayGoOn_.acquire();
        };
        workspace_.whileFetchingIcon = [this](const QString &) {
            if (holdIcons_)
                iconsMayGoOn_.acquire();
        };
    }
    ~AppCatalogTest() override { qputenv("HOME", oldHome_); }

    void install(const QStringList &names) {
        desktop_.entries.clear();
        for (const QString &name : names)
            desktop_.entries.push_back(entry(name));
    }

    void writeCacheFile(const QByteArray &bytes) const {
        ASSERT_TRUE(writeFileAtomically(cachePath(), bytes));
    }
    QByteArray cacheFile() const {
        QFile file(cachePath());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    QString cachePath() const { return home_.filePath(u".local/share/Corvid/catalog.json"_s); }

    QStringList names() const {
        QStringList names;
        for (const AppEntry &app : catalog().apps())
            names.append(app.name);
        return names;
    }

    AppCatalog &catalog() { return *catalog_; }
    const AppCatalog &catalog() const { return *catalog_; }

    void countUpdates() {
        catalog().onUpdate = [this] { ++updates_; };
    }
    /** Adds bundles to those in the home folder. */
    void writeBundles(int count) {
        for (int i = 0; i < count; ++i, ++bundles_) {
            EXPECT_TRUE(writeFileAtomically(
                home_.filePath(u"Applications/B%1.app/Contents/Info.plist"_s.arg(bundles_)),
                "<plist><dict><key>CFBundleIdentifier</key><string>com.example." +
                    QByteArray::number(bundles_) + "</string></dict></plist>"));
        }
    }
    /** Which file the cache is: every write makes another one. */
    ino_t cacheIdentity() const {
        struct stat status = {};
        stat(QFile::encodeName(cachePath()).constData(), &status);
        return status.st_ino;
    }
    /** Loads the list, and waits until it is shown, cached and has its icons. */
    void loadWhole() {
        countUpdates();
        ASSERT_TRUE(loadAndWaitForScan());
        ASSERT_TRUE(waitUntil([this] {
            return cacheFile() == encodeRecords<AppEntry>(catalog().apps()) &&
                   catalog().icons().size() == static_cast<qsizetype>(catalog().apps().size());
        }));
        updates_ = 0;
    }
    /** As in the next run of the program. */
    void startAgain() {
        catalog_.reset(); // its tasks use what the next one is made of, too
        catalog_ = std::make_unique<AppCatalog>(workspace_, desktop_, roles_);
        countUpdates();
    }
    bool refreshAndWait() {
        bool ended = false;
        const auto connection =
            QObject::connect(&catalog(), &AppCatalog::scanEnded, [&ended] { ended = true; });
        EXPECT_TRUE(catalog().refresh());
        EXPECT_TRUE(waitUntil([&ended] { return ended; }));
        return QObject::disconnect(connection) && ended;
    }
    bool loadAndWaitForScan() {
        const int before = updates_;
        catalog().load();
        return waitUntil([&] { return updates_ > before; });
    }

    QTemporaryDir home_;
    QByteArray oldHome_ = qgetenv("HOME");
    FakeWorkspace workspace_;
    FakeDesktopEntries desktop_;
    RoleCatalog roles_{{}};
    int updates_ = 0;
    int bundles_ = 0;
    std::atomic<bool> holdScans_ = false;
    std::counting_semaphore<> scansMayGoOn_{0};
    std::atomic<bool> holdIcons_ = false;
    std::counting_semaphore<> iconsMayGoOn_{0};
    // Last: its tasks use all of the above.
    std::unique_ptr<AppCatalog> catalog_ =
        std::make_unique<AppCatalog>(workspace_, desktop_, roles_);
};

using AppCatalogDeathTest = AppCatalogTest;

} // namespace

TEST_F(AppCatalogTest, startsEmpty) {
    EXPECT_TRUE(catalog().apps().empty());
    EXPECT_TRUE(catalog().icons().isEmpty());
    EXPECT_FALSE(catalog().onUpdate);
    EXPECT_EQ(catalog().appAtPath(u"/x"_s), std::nullopt);
}

TEST_F(AppCatalogTest, theCachedListIsThereWhenLoadReturnsAndTheScanReplacesIt) {
    writeCacheFile(encodeRecords<AppEntry>({cachedApp(u"Old"_s)}));
    install({u"New"_s, u"Also"_s});
    countUpdates();
    catalog().load();
    EXPECT_EQ(names(), QStringList{u"Old"_s});
    EXPECT_EQ(updates_, 1);
    EXPECT_TRUE(waitUntil([this] { return updates_ == 2; }));
    EXPECT_EQ(names(), (QStringList{u"Also"_s, u"New"_s}));
}

TEST_F(AppCatalogTest, anEmptyCachedListIsNotAppliedAndTheScanOverwritesIt) {
    writeCacheFile("[]");
    install({u"New"_s});
    countUpdates();
    catalog().load();
    EXPECT_EQ(updates_, 0);
    EXPECT_TRUE(waitUntil([this] { return updates_ == 1; }));
    EXPECT_EQ(names(), QStringList{u"New"_s});
    EXPECT_TRUE(waitUntil([this] { return cacheFile().contains("New"); }));
}

TEST_F(AppCatalogTest, aCacheThatCannotBeReadIsNotApplied) {
    QJsonObject incomplete = toJson(cachedApp(u"Old"_s));
    incomplete.remove(u"aliases"_s);
    for (const QByteArray &bytes :
         {QByteArray("{"), QByteArray("null"),
          QJsonDocument(QJsonArray{toJson(cachedApp(u"Sound"_s)), incomplete}).toJson()}) {
        writeCacheFile(bytes);
        countUpdates();
        updates_ = 0;
        catalog().load();
        EXPECT_EQ(updates_, 0) << bytes.constData();
        EXPECT_TRUE(waitUntil([this] { return updates_ == 1 && cacheFile() == "[]"; }));
    }
}

TEST_F(AppCatalogTest, withoutACacheTheScanFillsTheList) {
    install({u"New"_s});
    countUpdates();
    ASSERT_TRUE(loadAndWaitForScan());
    EXPECT_EQ(names(), QStringList{u"New"_s});
}

TEST_F(AppCatalogTest, aScanThatFindsNothingIsAppliedAndCached) {
    writeCacheFile(encodeRecords<AppEntry>({cachedApp(u"Old"_s)}));
    countUpdates();
    catalog().load();
    EXPECT_TRUE(waitUntil([this] { return updates_ == 2; }));
    EXPECT_TRUE(catalog().apps().empty());
    EXPECT_TRUE(waitUntil([this] { return cacheFile() == "[]"; }));
}

TEST_F(AppCatalogTest, theCacheHoldsTheScannedListInCompactForm) {
    install({u"New"_s});
    countUpdates();
    ASSERT_TRUE(loadAndWaitForScan());
    EXPECT_TRUE(
        waitUntil([this] { return cacheFile() == encodeRecords<AppEntry>(catalog().apps()); }));
    EXPECT_FALSE(cacheFile().contains('\n'));
}

TEST_F(AppCatalogTest, aCacheThatCannotBeWrittenIsLostAndNothingMore) {
    QFile blocking(home_.filePath(u".local"_s));
    ASSERT_TRUE(blocking.open(QIODevice::WriteOnly));
    install({u"New"_s});
    countUpdates();
    ASSERT_TRUE(loadAndWaitForScan());
    EXPECT_EQ(names(), QStringList{u"New"_s});
}

TEST_F(AppCatalogTest, bundlesInTheHomeFoldersApplicationsAreListed) {
    const QString bundle = home_.filePath(u"Applications/Foo.app"_s);
    ASSERT_TRUE(writeFileAtomically(bundle + "/Contents/Info.plist"_L1,
                                    "<plist><dict><key>CFBundleIdentifier</key>"
                                    "<string>com.example.foo</string></dict></plist>"));
    countUpdates();
    ASSERT_TRUE(loadAndWaitForScan());
    ASSERT_TRUE(catalog().appAtPath(bundle));
    EXPECT_EQ(catalog().appAtPath(bundle)->bundleID, u"com.example.foo");
}

TEST_F(AppCatalogTest, observersSeeTheNewListAndItsPaths) {
    install({u"New"_s});
    QStringList seen;
    QObject::connect(&catalog(), &AppCatalog::appsChanged, [&] {
        EXPECT_TRUE(catalog().appAtPath(pathOf(u"New"_s)));
        seen.append(u"signal"_s);
    });
    catalog().onUpdate = [&] {
        EXPECT_TRUE(catalog().appAtPath(pathOf(u"New"_s)));
        seen.append(u"callback"_s);
    };
    catalog().load();
    EXPECT_TRUE(waitUntil([&] { return seen.size() == 2; }));
    EXPECT_EQ(seen, (QStringList{u"signal"_s, u"callback"_s}));
}

TEST_F(AppCatalogTest, anApplicationIsFoundByExactlyItsPath) {
    install({u"New"_s});
    countUpdates();
    ASSERT_TRUE(loadAndWaitForScan());
    EXPECT_EQ(catalog().appAtPath(u"/x/New.desktop"_s), catalog().apps().front());
    for (const QString &path : {u"/x/New.desktop/"_s, u"/x/new.desktop"_s, u"New"_s, u""_s})
        EXPECT_EQ(catalog().appAtPath(path), std::nullopt) << qPrintable(path);
}

TEST_F(AppCatalogTest, pathsOfTheEarlierListAreForgotten) {
    writeCacheFile(encodeRecords<AppEntry>({cachedApp(u"Old"_s)}));
    countUpdates();
    catalog().load();
    EXPECT_TRUE(catalog().appAtPath(pathOf(u"Old"_s)));
    EXPECT_TRUE(waitUntil([this] { return updates_ == 2; }));
    EXPECT_EQ(catalog().appAtPath(pathOf(u"Old"_s)), std::nullopt);
}

TEST_F(AppCatalogDeathTest, aCachedListThatRepeatsAPathStopsTheProgram) {
    AppEntry twin = cachedApp(u"Old"_s);
    twin.bundleID = u"other"_s;
    writeCacheFile(encodeRecords<AppEntry>({cachedApp(u"Old"_s), twin}));
    EXPECT_DEATH(catalog().load(), "Duplicate values for key: '/x/Old.desktop'");
}

TEST_F(AppCatalogTest, aSecondLoadScansAgainAndTheLaterResultCounts) {
    holdScans_ = true;
    countUpdates();
    catalog().load();
    catalog().load();
    scansMayGoOn_.release(2);
    EXPECT_TRUE(waitUntil([this] { return updates_ == 2; }));
    holdScans_ = false;
    install({u"Third"_s});
    ASSERT_TRUE(loadAndWaitForScan());
    EXPECT_EQ(names(), QStringList{u"Third"_s});
}

TEST_F(AppCatalogTest, afterManyOverlappingLoadsTheCacheHoldsTheListShown) {
    // Each list is longer than the one before, so that writing them one beside the other would
    // end in no order.
    countUpdates();
    int applied = 0;
    for (int i = 0; i < 8; ++i) {
        writeBundles(30);
        const int before = updates_;
        catalog().load();
        applied += updates_ - before; // the cache, within the call
    }
    EXPECT_TRUE(waitUntil([&] { return updates_ - applied == 8; }));
    EXPECT_TRUE(
        waitUntil([this] { return cacheFile() == encodeRecords<AppEntry>(catalog().apps()); }));
}

TEST_F(AppCatalogTest, aLargeCacheIsReadInTheBackgroundAndAppliedUnlessAScanWasFaster) {
    std::vector<AppEntry> many;
    for (int i = 0; i < 5'000; ++i)
        many.push_back(cachedApp(u"Application number %1"_s.arg(i)));
    writeCacheFile(encodeRecords(many));
    holdScans_ = true;
    countUpdates();
    catalog().load();
    EXPECT_EQ(updates_, 0) << "not within the call";
    EXPECT_TRUE(waitUntil([this] { return updates_ == 1; }));
    EXPECT_EQ(catalog().apps(), many);
    EXPECT_TRUE(catalog().appAtPath(many.back().path));
    scansMayGoOn_.release();
    EXPECT_TRUE(waitUntil([this] { return updates_ == 2; }));
    EXPECT_TRUE(catalog().apps().empty());
}

TEST_F(AppCatalogTest, mayBeDestroyedInMidScan) {
    holdScans_ = true;
    countUpdates();
    catalog().load();
    scansMayGoOn_.release();
    catalog_.reset();
    QCoreApplication::processEvents();
    EXPECT_EQ(updates_, 0);
}

TEST_F(AppCatalogTest, mayBeDestroyedWhileIconsAreFetched) {
    holdIcons_ = true;
    install({u"A"_s, u"B"_s, u"C"_s});
    countUpdates();
    ASSERT_TRUE(loadAndWaitForScan());
    iconsMayGoOn_.release(3);
    catalog_.reset();
    QCoreApplication::processEvents();
}

TEST_F(AppCatalogTest, iconsAreFetchedInListOrder) {
    install({u"C"_s, u"A"_s, u"B"_s});
    countUpdates();
    ASSERT_TRUE(loadAndWaitForScan());
    EXPECT_TRUE(waitUntil([this] { return catalog().icons().size() == 3; }));
    EXPECT_EQ(workspace_.iconsFetched(),
              (QStringList{pathOf(u"A"_s), pathOf(u"B"_s), pathOf(u"C"_s)}));
}

TEST_F(AppCatalogTest, anIconIsGenericUntilItsOwnHasArrived) {
    const Image own = fakeImage();
    workspace_.setIcon(pathOf(u"A"_s), own);
    holdIcons_ = true;
    install({u"A"_s});
    QStringList arrived;
    QObject::connect(&catalog(), &AppCatalog::iconArrived,
                     [&arrived](const QString &path) { arrived.append(path); });
    countUpdates();
    ASSERT_TRUE(loadAndWaitForScan());
    EXPECT_EQ(catalog().icon(catalog().apps().front()), workspace_.genericIcon());
    iconsMayGoOn_.release();
    EXPECT_TRUE(waitUntil([&arrived] { return !arrived.isEmpty(); }));
    EXPECT_EQ(arrived, QStringList{pathOf(u"A"_s)});
    EXPECT_EQ(catalog().icon(catalog().apps().front()), own);
    EXPECT_EQ(workspace_.iconsFetched().size(), 1);
}

TEST_F(AppCatalogTest, anIconThatIsAskedForIsFetchedNext) {
    holdIcons_ = true;
    install({u"A"_s, u"B"_s, u"C"_s, u"D"_s});
    countUpdates();
    ASSERT_TRUE(loadAndWaitForScan());
    catalog().icon(*catalog().appAtPath(pathOf(u"D"_s)));
    catalog().icon(*catalog().appAtPath(pathOf(u"D"_s)));
    iconsMayGoOn_.release(4);
    EXPECT_TRUE(waitUntil([this] { return catalog().icons().size() == 4; }));
    // The task may already have been at work on A when D was asked for.
    QStringList fetched = workspace_.iconsFetched();
    EXPECT_LE(fetched.indexOf(pathOf(u"D"_s)), 1);
    fetched.removeOne(pathOf(u"D"_s));
    EXPECT_EQ(fetched, (QStringList{pathOf(u"A"_s), pathOf(u"B"_s), pathOf(u"C"_s)}));
}

TEST_F(AppCatalogTest, anIconOutsideTheListIsFetchedWhenAskedFor) {
    const AppEntry stranger = cachedApp(u"Stranger"_s);
    EXPECT_EQ(catalog().icon(stranger), workspace_.genericIcon());
    EXPECT_TRUE(waitUntil([&] { return catalog().icons().contains(stranger.path); }));
}

TEST_F(AppCatalogTest, iconsOfTheCachedListAreNotFetchedAgainByItsScan) {
    writeCacheFile(encodeRecords<AppEntry>({cachedApp(u"A"_s), cachedApp(u"Gone"_s)}));
    install({u"A"_s, u"B"_s});
    holdScans_ = true;
    countUpdates();
    catalog().load();
    EXPECT_TRUE(waitUntil([this] { return catalog().icons().size() == 2; }));
    scansMayGoOn_.release();
    EXPECT_TRUE(waitUntil([this] { return catalog().icons().contains(pathOf(u"B"_s)); }));
    EXPECT_EQ(workspace_.iconsFetched(),
              (QStringList{pathOf(u"A"_s), pathOf(u"Gone"_s), pathOf(u"B"_s)}));
    EXPECT_TRUE(catalog().icons().contains(pathOf(u"Gone"_s))) << "icons are never evicted";
}

TEST_F(AppCatalogTest, aLaterLoadFetchesAllIconsAnewAndKeepsTheOldOnesMeanwhile) {
    const Image own = fakeImage();
    workspace_.setIcon(pathOf(u"A"_s), own);
    install({u"A"_s});
    countUpdates();
    ASSERT_TRUE(loadAndWaitForScan());
    EXPECT_TRUE(waitUntil([this] { return !catalog().icons().isEmpty(); }));
    holdIcons_ = true;
    ASSERT_TRUE(loadAndWaitForScan());
    EXPECT_EQ(catalog().icon(catalog().apps().front()), own);
    iconsMayGoOn_.release(2);
    EXPECT_TRUE(waitUntil([this] { return workspace_.iconsFetched().size() >= 2; }));
}

TEST_F(AppCatalogTest, aNewListEndsTheFetchingForTheOldOne) {
    writeCacheFile(encodeRecords<AppEntry>(
        {cachedApp(u"Old1"_s), cachedApp(u"Old2"_s), cachedApp(u"Old3"_s)}));
    install({u"New"_s});
    holdIcons_ = true;
    countUpdates();
    catalog().load();
    EXPECT_TRUE(waitUntil([this] { return updates_ == 2; }));
    iconsMayGoOn_.release(4);
    EXPECT_TRUE(waitUntil([this] { return catalog().icons().contains(pathOf(u"New"_s)); }));
    catalog_.reset();
    EXPECT_FALSE(workspace_.iconsFetched().contains(pathOf(u"Old2"_s)));
    EXPECT_FALSE(workspace_.iconsFetched().contains(pathOf(u"Old3"_s)));
}

TEST_F(AppCatalogTest, aScanThatFindsTheCachedListKeepsItAndWritesNothing) {
    install({u"A"_s, u"B"_s});
    loadWhole();
    const ino_t cache = cacheIdentity();
    startAgain();
    catalog().load();
    const AppEntry *const list = catalog().apps().data();
    EXPECT_TRUE(waitUntil([this] { return updates_ == 2; })) << "the scan's end is told";
    EXPECT_EQ(catalog().apps().data(), list);
    catalog_.reset(); // waits for whatever is still under way
    EXPECT_EQ(cacheIdentity(), cache);
}

TEST_F(AppCatalogTest, aCachedListThatIsFoundAgainIsWrittenWhereAnotherWasWrittenMeanwhile) {
    install({u"A"_s});
    loadWhole();
    const QByteArray before = cacheFile();
    install({u"A"_s, u"B"_s});
    ASSERT_TRUE(loadAndWaitForScan());
    ASSERT_TRUE(waitUntil([&] { return cacheFile() != before; }));
    writeCacheFile(before); // as where the list is read before the last one has been written
    const ino_t cache = cacheIdentity();
    install({u"A"_s});
    updates_ = 0;
    catalog().load();
    ASSERT_TRUE(waitUntil([this] { return updates_ == 2; }));
    EXPECT_EQ(names(), QStringList{u"A"_s});
    catalog_.reset(); // waits for whatever is still under way
    EXPECT_EQ(cacheFile(), before);
    EXPECT_NE(cacheIdentity(), cache) << "it was written";
}

TEST_F(AppCatalogTest, aRefreshThatFindsNothingNewChangesNothingAndWritesNothing) {
    install({u"A"_s, u"B"_s});
    loadWhole();
    const AppEntry *const list = catalog().apps().data();
    const ino_t cache = cacheIdentity();
    int signals = 0;
    QObject::connect(&catalog(), &AppCatalog::appsChanged, [&signals] { ++signals; });
    ASSERT_TRUE(refreshAndWait());
    EXPECT_EQ(updates_, 0);
    EXPECT_EQ(signals, 0);
    EXPECT_EQ(catalog().apps().data(), list);
    catalog_.reset(); // waits for whatever is still under way
    EXPECT_EQ(cacheIdentity(), cache);
    EXPECT_EQ(workspace_.iconsFetched().size(), 2);
}

TEST_F(AppCatalogTest, aRefreshShowsAndCachesWhatIsNewAndWhatIsGone) {
    install({u"A"_s, u"B"_s});
    loadWhole();
    install({u"B"_s, u"C"_s});
    ASSERT_TRUE(refreshAndWait());
    EXPECT_EQ(updates_, 1);
    EXPECT_EQ(names(), (QStringList{u"B"_s, u"C"_s}));
    EXPECT_TRUE(
        waitUntil([this] { return cacheFile() == encodeRecords<AppEntry>(catalog().apps()); }));
    EXPECT_TRUE(waitUntil([this] { return catalog().icons().contains(pathOf(u"C"_s)); }));
    EXPECT_EQ(workspace_.iconsFetched(),
              (QStringList{pathOf(u"A"_s), pathOf(u"B"_s), pathOf(u"C"_s)}))
        << "the icon of what was there before is known";
}

TEST_F(AppCatalogTest, whatWasTakenAwayAndInstalledAgainHasItsIconFetchedAnew) {
    install({u"A"_s});
    loadWhole();
    install({});
    ASSERT_TRUE(refreshAndWait());
    install({u"A"_s});
    ASSERT_TRUE(refreshAndWait());
    EXPECT_TRUE(waitUntil([this] { return workspace_.iconsFetched().size() == 2; }));
}

TEST_F(AppCatalogTest, theDesktopHearsOfTheEntriesAtEachScan) {
    install({u"A"_s});
    loadWhole();
    EXPECT_EQ(workspace_.entries(), desktop_.entries);
    install({u"A"_s, u"B"_s});
    ASSERT_TRUE(refreshAndWait());
    EXPECT_EQ(workspace_.entries(), desktop_.entries);
}

TEST_F(AppCatalogTest, noRefreshBeginsWhileAScanIsUnderWay) {
    std::atomic<int> listings = 0;
    desktop_.whileListing = [&] {
        ++listings;
        scansMayGoOn_.acquire();
    };
    int ended = 0;
    QObject::connect(&catalog(), &AppCatalog::scanEnded, [&ended] { ++ended; });
    catalog().load();
    EXPECT_FALSE(catalog().refresh());
    scansMayGoOn_.release();
    ASSERT_TRUE(waitUntil([&ended] { return ended == 1; }));
    EXPECT_TRUE(catalog().refresh());
    for (int i = 0; i < 10; ++i)
        EXPECT_FALSE(catalog().refresh()) << "such as one that hangs";
    scansMayGoOn_.release();
    ASSERT_TRUE(waitUntil([&ended] { return ended == 2; }));
    EXPECT_EQ(listings, 2);
}
