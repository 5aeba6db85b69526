#include "Catalog/ApplicationScan.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

using Values = std::vector<std::pair<QString, QString>>;

QByteArray plist(const Values &values) {
    QString xml = u"<plist version=\"1.0\"><dict>"_s;
    for (const auto &[key, value] : values)
        xml += u"<key>%1</key><string>%2</string>"_s.arg(key, value);
    return (xml + u"</dict></plist>"_s).toUtf8();
}

void write(const QString &path, const QByteArray &bytes) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write(bytes), bytes.size());
}

class ApplicationScan : public testing::Test {
protected:
    QString folder(const QString &name) const { return disk_.filePath(name); }

    void bundle(const QString &path, const Values &values) {
        write(folder(path) + "/Contents/Info.plist"_L1, plist(values));
    }

    std::vector<AppEntry> scan() const {
        return scanAll({folder(u"first"_s), folder(u"second"_s)}, entries_, RoleCatalog(taxonomy_),
                       {});
    }

    QStringList names() const {
        QStringList names;
        for (const AppEntry &app : scan())
            names.append(app.name);
        return names;
    }

    AppEntry only() const {
        const std::vector<AppEntry> apps = scan();
        EXPECT_EQ(apps.size(), 1U);
        return apps.empty() ? AppEntry() : apps.front();
    }

    QTemporaryDir disk_;
    std::vector<DesktopEntry> entries_;
    RoleCatalog::Taxonomy taxonomy_;
};

const QString identifier = u"CFBundleIdentifier"_s;
const QString displayName = u"CFBundleDisplayName"_s;
const QString bundleName = u"CFBundleName"_s;
const QString categoryType = u"LSApplicationCategoryType"_s;

} // namespace

TEST(BundleFolders, areTheFiveFixedOnesTheHomeFoldersLast) {
    EXPECT_EQ(
        bundleFolders(u"/home/x"_s),
        (QStringList{u"/Applications"_s, u"/System/Applications"_s,
                     u"/System/Applications/Utilities"_s,
                     u"/System/Library/CoreServices/Applications"_s, u"/home/x/Applications"_s}));
}

TEST_F(ApplicationScan, readsABundlesPropertyList) {
    bundle(u"first/Foo.app"_s, {{identifier, u"com.example.foo"_s},
                                {displayName, u"Foo Deluxe"_s},
                                {bundleName, u"Foo"_s},
                                {categoryType, u"public.app-category.games"_s}});
    EXPECT_EQ(only(), (AppEntry{u"Foo Deluxe"_s,
                                u"com.example.foo"_s,
                                folder(u"first/Foo.app"_s),
                                {u"game"_s},
                                {},
                                u"public.app-category.games"_s}));
}

TEST_F(ApplicationScan, withoutADisplayNameTheBundleNameCounts) {
    bundle(u"first/Foo.app"_s, {{identifier, u"a"_s}, {bundleName, u"Fooish"_s}});
    EXPECT_EQ(only().name, u"Fooish");
}

TEST_F(ApplicationScan, withNeitherNameTheFileNameWithoutItsSuffixCounts) {
    bundle(u"first/Foo.app"_s, {{identifier, u"a"_s}});
    EXPECT_EQ(only().name, u"Foo");
}

TEST_F(ApplicationScan, anEmptyDisplayNameIsAName) {
    bundle(u"first/Foo.app"_s, {{identifier, u"a"_s}, {displayName, u""_s}, {bundleName, u"b"_s}});
    EXPECT_EQ(only().name, u"");
}

TEST_F(ApplicationScan, valuesThatAreNoStringsCountAsMissing) {
    write(folder(u"first/Foo.app/Contents/Info.plist"_s),
          "<plist><dict><key>CFBundleIdentifier</key><string>a</string>"
          "<key>CFBundleDisplayName</key><integer>1</integer>"
          "<key>CFBundleName</key><string>Foo Name</string>"
          "<key>LSApplicationCategoryType</key><array/></dict></plist>");
    EXPECT_EQ(only().name, u"Foo Name");
    EXPECT_EQ(only().category, u"");
}

TEST_F(ApplicationScan, aBundleWithoutIdentifierIsNeverListed) {
    bundle(u"first/Foo.app"_s, {{displayName, u"Foo"_s}, {bundleName, u"Foo"_s}});
    write(folder(u"first/Bar.app/Contents/Info.plist"_s),
          "<plist><dict><key>CFBundleIdentifier</key><integer>1</integer>"
          "<key>CFBundleName</key><string>Bar</string></dict></plist>");
    EXPECT_EQ(names(), QStringList());
}

TEST_F(ApplicationScan, anEmptyIdentifierIsAccepted) {
    bundle(u"first/Foo.app"_s, {{identifier, u""_s}});
    EXPECT_EQ(only().bundleID, u"");
}

TEST_F(ApplicationScan, aMissingOrDamagedPropertyListSkipsTheBundle) {
    QDir().mkpath(folder(u"first/NoList.app/Contents"_s));
    write(folder(u"first/Damaged.app/Contents/Info.plist"_s),
          plist({{identifier, u"d"_s}}).chopped(9));
    write(folder(u"first/Empty.app/Contents/Info.plist"_s), "<plist><dict/></plist>");
    write(folder(u"first/Array.app/Contents/Info.plist"_s), "<plist><array/></plist>");
    write(folder(u"first/File.app"_s), "x");
    bundle(u"first/Sound.app"_s, {{identifier, u"s"_s}});
    EXPECT_EQ(names(), QStringList{u"Sound"_s});
}

TEST_F(ApplicationScan, aPropertyListThatIsAPipeDoesNotBlock) {
    QDir().mkpath(folder(u"first/Pipe.app/Contents"_s));
    const QByteArray pipe = QFile::encodeName(folder(u"first/Pipe.app/Contents/Info.plist"_s));
    ASSERT_EQ(mkfifo(pipe.constData(), 0600), 0);
    EXPECT_EQ(names(), QStringList());
}

TEST_F(ApplicationScan, aPropertyListBeyondSixteenMebibytesIsNotRead) {
    const QByteArray list = plist({{identifier, u"a"_s}});
    const QString path = folder(u"first/Foo.app/Contents/Info.plist"_s);
    constexpr qsizetype limit = 16 * 1024 * 1024;
    write(path, list + QByteArray(limit - list.size(), ' '));
    EXPECT_EQ(names(), QStringList{u"Foo"_s});
    write(path, list + QByteArray(limit - list.size() + 1, ' '));
    EXPECT_EQ(names(), QStringList());
}

TEST_F(ApplicationScan, onlyNamesThatEndWithDotAppAreBundles) {
    for (const QString &name : {u"Upper.APP"_s, u"Foo.app.bak"_s, u"Foo"_s, u"Fooapp"_s})
        bundle(u"first/"_s + name, {{identifier, name}});
    bundle(u"first/.app"_s, {{identifier, u"nameless"_s}});
    bundle(u"first/.Hidden.app"_s, {{identifier, u"hidden"_s}});
    EXPECT_EQ(names(), (QStringList{u""_s, u".Hidden"_s}));
}

TEST_F(ApplicationScan, subfoldersAreNotSearched) {
    bundle(u"first/Utilities/Foo.app"_s, {{identifier, u"a"_s}});
    bundle(u"first/Bar.app/Inner.app"_s, {{identifier, u"b"_s}});
    EXPECT_EQ(names(), QStringList());
}

TEST_F(ApplicationScan, aFolderThatCannotBeListedIsSkipped) {
    write(folder(u"first"_s), "not a folder");
    bundle(u"second/Foo.app"_s, {{identifier, u"a"_s}});
    EXPECT_EQ(names(), QStringList{u"Foo"_s});
}

TEST_F(ApplicationScan, bundlesThatAreLinksAreRead) {
    bundle(u"elsewhere/Foo.app"_s, {{identifier, u"a"_s}});
    QDir().mkpath(folder(u"first"_s));
    QFile::link(folder(u"elsewhere/Foo.app"_s), folder(u"first/Foo.app"_s));
    QFile::link(folder(u"nowhere.app"_s), folder(u"first/Dangling.app"_s));
    EXPECT_EQ(only().path, folder(u"first/Foo.app"_s));
}

TEST_F(ApplicationScan, ofOneIdentifierInTwoFoldersTheLaterFolderWins) {
    bundle(u"first/Foo.app"_s, {{identifier, u"a"_s}, {bundleName, u"Old"_s}});
    bundle(u"second/Foo.app"_s, {{identifier, u"a"_s}, {bundleName, u"New"_s}});
    EXPECT_EQ(only().path, folder(u"second/Foo.app"_s));
    EXPECT_EQ(only().name, u"New");
}

TEST_F(ApplicationScan, ofOneIdentifierTwiceInAFolderTheOneListedLaterWins) {
    bundle(u"first/B.app"_s, {{identifier, u"a"_s}});
    bundle(u"first/A.app"_s, {{identifier, u"a"_s}});
    EXPECT_EQ(only().path, folder(u"first/B.app"_s));
}

TEST_F(ApplicationScan, rolesAreTheCatalogsThenTheCategorysDuplicatesKept) {
    taxonomy_.apps[u"a"_s] = {{u"video"_s, u"chat"_s}, {u"x"_s, u"y"_s}};
    bundle(u"first/Foo.app"_s,
           {{identifier, u"a"_s}, {categoryType, u"public.app-category.social-networking"_s}});
    EXPECT_EQ(only().roles, (QStringList{u"video"_s, u"chat"_s, u"chat"_s}));
    EXPECT_EQ(only().aliases, (QStringList{u"x"_s, u"y"_s}));
}

TEST_F(ApplicationScan, aBundleWithoutCategoryHasOnlyTheCatalogsRoles) {
    taxonomy_.apps[u"a"_s] = {{u"terminal"_s}, {}};
    bundle(u"first/Foo.app"_s, {{identifier, u"a"_s}});
    bundle(u"first/Unknown.app"_s, {{identifier, u"b"_s}});
    const std::vector<AppEntry> apps = scan();
    ASSERT_EQ(apps.size(), 2U);
    EXPECT_EQ(apps[0].category, u"");
    EXPECT_EQ(apps[0].roles, QStringList{u"terminal"_s});
    EXPECT_EQ(apps[1].roles, QStringList());
    EXPECT_EQ(apps[1].aliases, QStringList());
}

TEST_F(ApplicationScan, anUnknownCategoryIsKeptWithoutRoles) {
    bundle(u"first/Foo.app"_s,
           {{identifier, u"a"_s}, {categoryType, u"public.app-category.action-games"_s}});
    EXPECT_EQ(only().category, u"public.app-category.action-games");
    EXPECT_EQ(only().roles, QStringList());
}

TEST_F(ApplicationScan, categoriesGiveChatAndOffice) {
    bundle(u"first/A.app"_s,
           {{identifier, u"a"_s}, {categoryType, u"public.app-category.social-networking"_s}});
    bundle(u"first/B.app"_s,
           {{identifier, u"b"_s}, {categoryType, u"public.app-category.business"_s}});
    const std::vector<AppEntry> apps = scan();
    ASSERT_EQ(apps.size(), 2U);
    EXPECT_EQ(apps[0].roles, QStringList{u"chat"_s});
    EXPECT_EQ(apps[1].roles, QStringList{u"office"_s});
}

TEST_F(ApplicationScan, theCatalogIsAskedForTheIdentifierNotTheName) {
    taxonomy_.apps[u"Foo"_s] = {{u"terminal"_s}, {u"x"_s}};
    bundle(u"first/Foo.app"_s, {{identifier, u"a"_s}, {displayName, u"Foo"_s}});
    EXPECT_EQ(only().roles, QStringList());
    EXPECT_EQ(only().aliases, QStringList());
}

TEST_F(ApplicationScan, desktopEntriesStandBesideBundles) {
    bundle(u"first/Foo.app"_s, {{identifier, u"com.example.foo"_s}});
    entries_ = {{u"bar"_s, u"/x/bar.desktop"_s, u"Bar"_s, u"Bar"_s, {}, {}, {u"Game"_s}}};
    EXPECT_EQ(names(), (QStringList{u"Bar"_s, u"Foo"_s}));
    EXPECT_EQ(scan().front(), (AppEntry{u"Bar"_s,
                                        u"bar"_s,
                                        u"/x/bar.desktop"_s,
                                        {u"game"_s},
                                        {},
                                        u"public.app-category.games"_s,
                                        "game"}));
}

TEST_F(ApplicationScan, aDesktopEntryWinsOverABundleWithItsIdentifier) {
    bundle(u"second/Foo.app"_s, {{identifier, u"foo"_s}});
    entries_ = {{u"foo"_s, u"/x/foo.desktop"_s, u"Entry"_s, {}, {}, {}, {}}};
    EXPECT_EQ(only().path, u"/x/foo.desktop");
}

TEST_F(ApplicationScan, noPathOccursTwiceWhateverIsListed) {
    bundle(u"first/Foo.app"_s, {{identifier, u"com.example.foo"_s}});
    const QString foo = folder(u"first/Foo.app"_s);
    const auto entry = [](const QString &id, const QString &path) {
        return DesktopEntry{id, path, id, {}, {}, {}, {}};
    };
    entries_ = {entry(u"a"_s, u"/x/same"_s), entry(u"b"_s, u"/x/same"_s),
                entry(u"b"_s, u"/x/other"_s), entry(u"c"_s, u"/x/other"_s), entry(u"d"_s, foo)};
    EXPECT_EQ(names(), (QStringList{u"b"_s, u"c"_s, u"d"_s})) << "the last of each";
}

TEST_F(ApplicationScan, namesOfAMegabyteAreCut) {
    const QString endless(1'000'000, u'x');
    bundle(u"first/Foo.app"_s,
           {{identifier, endless}, {displayName, endless}, {categoryType, endless}});
    const QString cut = endless.left(256);
    EXPECT_EQ(only(), (AppEntry{cut, cut, folder(u"first/Foo.app"_s), {}, {}, cut}));
}

TEST_F(ApplicationScan, namesAreSortedByLettersNotByTheirCase) {
    for (const QString &name :
         {u"beta"_s, u"Alpha"_s, u"Zeta"_s, u"alpine"_s, u"BETB"_s, u"éclair"_s})
        bundle(u"first/%1.app"_s.arg(name), {{identifier, name}});
    EXPECT_EQ(names(),
              (QStringList{u"Alpha"_s, u"alpine"_s, u"beta"_s, u"BETB"_s, u"éclair"_s, u"Zeta"_s}));
}

TEST_F(ApplicationScan, namesThatDifferOnlyInCaseAreNeighbours) {
    for (const auto &[id, name] : {std::pair(u"1"_s, u"tool"_s), std::pair(u"2"_s, u"Tool"_s),
                                   std::pair(u"3"_s, u"TOOK"_s), std::pair(u"4"_s, u"toom"_s)})
        bundle(u"first/%1.app"_s.arg(id), {{identifier, id}, {bundleName, name}});
    EXPECT_EQ(names(), (QStringList{u"TOOK"_s, u"tool"_s, u"Tool"_s, u"toom"_s}));
}

TEST_F(ApplicationScan, equalNamesComeInTheSameOrderEveryTime) {
    for (int i = 99; i >= 10; --i)
        bundle(u"first/%1.app"_s.arg(i), {{identifier, u"id%1"_s.arg(i)}, {bundleName, u"Same"_s}});
    const std::vector<AppEntry> apps = scan();
    ASSERT_EQ(apps.size(), 90U);
    for (size_t i = 0; i < apps.size(); ++i)
        EXPECT_EQ(apps[i].bundleID, u"id%1"_s.arg(i + 10));
}

TEST_F(ApplicationScan, askedToStopItReadsNoMore) {
    bundle(u"first/Foo.app"_s, {{identifier, u"a"_s}});
    entries_ = {{u"bar"_s, u"/x/bar.desktop"_s, u"Bar"_s, {}, {}, {}, {}}};
    std::stop_source stop;
    stop.request_stop();
    EXPECT_TRUE(
        scanAll({folder(u"first"_s)}, entries_, RoleCatalog(taxonomy_), stop.get_token()).empty());
}
