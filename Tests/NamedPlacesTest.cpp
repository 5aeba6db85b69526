// Rows for what a query names besides applications and projects: a path, an address, a search at a
// site.

#include "Fakes/LauncherWorld.h"
#include "Worlds/QtPrinters.h"
#include "Worlds/Wait.h"

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

const QStringList fallbackIds{u"web-search"_s, u"ai-fallback"_s};

class NamedPlacesTest : public ::testing::Test {
protected:
    QStringList ids() const {
        QStringList result;
        for (const ResultItem &row : world.model.results())
            result.append(row.id);
        return result;
    }
    QStringList idsFor(const QString &query) {
        world.model.setQuery(query);
        return ids();
    }
    /** Types a path and waits for its row. */
    const ResultItem *rowOfPath(const QString &typed, const QString &path) {
        world.model.setQuery(typed);
        const ResultItem *found = nullptr;
        EXPECT_TRUE(waitUntil([&] {
            for (const ResultItem &row : world.model.results())
                if (row.id == u"path|"_s + path)
                    found = &row;
            return found != nullptr;
        })) << qPrintable(typed);
        return found;
    }
    QString makeFile(const QString &name) const {
        EXPECT_TRUE(QFile(files.filePath(name)).open(QIODevice::WriteOnly));
        return files.filePath(name);
    }

    QTemporaryDir files;
    LauncherWorld world{{makeApp(u"mdn viewer"_s), makeApp(u"github.com"_s)}, {}};
};

} // namespace

// Paths

TEST_F(NamedPlacesTest, aFolderThatIsThereIsARowAboveTheOnesThatAreAlwaysOffered) {
    const ResultItem *row = rowOfPath(files.path() + u"/x/../"_s, files.path());
    ASSERT_TRUE(row);
    EXPECT_EQ(row->title, files.path());
    EXPECT_EQ(row->subtitle, u"Opens in the file manager");
    EXPECT_EQ(row->badge, u"Folder");
    EXPECT_NE(row->icon, nullptr);
    EXPECT_EQ(row->action, LauncherAction(OpenPath{files.path()}));
    EXPECT_EQ(ids(), QStringList{u"path|"_s + files.path()} + fallbackIds);
}

TEST_F(NamedPlacesTest, aFileThatIsThereIsARow) {
    const QString file = makeFile(u"my notes"_s);
    const ResultItem *row = rowOfPath(u"file://"_s + file, file);
    ASSERT_TRUE(row);
    EXPECT_EQ(row->subtitle, u"Opens with its default application");
    EXPECT_EQ(row->badge, u"File");
    EXPECT_EQ(row->action, LauncherAction(OpenPath{file}));
}

TEST_F(NamedPlacesTest, theHomeFolderIsNamedByItsTilde) {
    EXPECT_TRUE(rowOfPath(u"~"_s, locations::home()));
    EXPECT_TRUE(rowOfPath(u"~/"_s, locations::home()));
}

TEST_F(NamedPlacesTest, theRowOfAPathComesWithoutMovingTheSelectionOffItsRow) {
    world.model.setQuery(files.path());
    world.model.setSelected(1);
    ASSERT_EQ(ids(), fallbackIds);
    ASSERT_TRUE(rowOfPath(files.path(), files.path()));
    EXPECT_EQ(world.model.selected(), 2) << "the row below the web search, still";
}

TEST_F(NamedPlacesTest, aSelectionThatNobodyHasMovedIsTheFirstRowWhenThePathIsFound) {
    ASSERT_TRUE(rowOfPath(files.path(), files.path()));
    EXPECT_EQ(world.model.selected(), 0);
    world.model.submit();
    EXPECT_EQ(world.actions, std::vector<LauncherAction>{OpenPath{files.path()}});
    EXPECT_EQ(world.stats.counts().value(u"path|"_s + files.path()), 1);
    EXPECT_EQ(world.stats.latches().value(files.path().toLower()), u"path|"_s + files.path());
}

TEST_F(NamedPlacesTest, thePathOfARowIsCopiedAndRevealedAsThatOfAnyOther) {
    ASSERT_TRUE(rowOfPath(files.path(), files.path()));
    EXPECT_TRUE(world.model.handleKeyEvent({true, false, u"c"_s}));
    EXPECT_EQ(world.pasteboard.texts, QStringList{files.path()});
    EXPECT_TRUE(world.model.handleKeyEvent({true, true, {}}));
    EXPECT_EQ(world.workspace.revealed, QStringList{files.path()});
}

TEST_F(NamedPlacesTest, theIconOfAPathArrivesInItsRow) {
    const QString file = makeFile(u"picture"_s);
    ASSERT_TRUE(rowOfPath(file, file));
    const Image icon = fakeImage();
    world.model.updateIcon(file, icon);
    EXPECT_EQ(world.model.results().front().icon, icon);
}

TEST_F(NamedPlacesTest, aNameThatSpellsBackwardsIsShownWithoutItsOverride) {
    const QString file = makeFile(u"a\u202etxt.exe"_s);
    const ResultItem *row = rowOfPath(file, file);
    ASSERT_TRUE(row);
    EXPECT_EQ(row->title, files.filePath(u"atxt.exe"_s));
    EXPECT_EQ(row->action, LauncherAction(OpenPath{file}));
}

TEST_F(NamedPlacesTest, aPathIsNamedInASearchAlone) {
    EXPECT_EQ(idsFor(u"/etc in foo"_s), fallbackIds);
    for (const ResultItem &row : world.model.results())
        EXPECT_FALSE(row.id.startsWith(u"path|"_s));
}

// Addresses

TEST_F(NamedPlacesTest, anAddressIsARowThatTheBrowserOpens) {
    EXPECT_EQ(idsFor(u"localhost:3000/x"_s),
              QStringList{u"url|http://localhost:3000/x"_s} + fallbackIds);
    const ResultItem &row = world.model.results().front();
    EXPECT_EQ(row.icon, nullptr);
    EXPECT_EQ(row.title, u"http://localhost:3000/x");
    EXPECT_EQ(row.subtitle, u"Opens in your default browser");
    EXPECT_EQ(row.badge, u"Link");
    EXPECT_EQ(row.action, LauncherAction(OpenURL{u"http://localhost:3000/x"_s}));
    EXPECT_FALSE(row.running);
}

TEST_F(NamedPlacesTest, whatIsFoundByItsNameStandsAboveAnAddress) {
    EXPECT_EQ(idsFor(u"github.com"_s),
              (QStringList{usageKey(makeApp(u"github.com"_s)), u"url|https://github.com"_s}));
}

TEST_F(NamedPlacesTest, whatIsNeitherPathNorAddressIsNoRow) {
    for (const QString &query : {u"quux"_s, u"javascript:alert(1)"_s, u"notes.md"_s, u"3.x"_s})
        EXPECT_EQ(idsFor(query), fallbackIds) << qPrintable(query);
}

// Searches at a site

TEST_F(NamedPlacesTest, aWordInFrontSearchesItsSite) {
    EXPECT_EQ(idsFor(u" GH  corvid & co "_s), QStringList{u"search|gh"_s} + fallbackIds);
    const ResultItem &row = world.model.results().front();
    EXPECT_EQ(row.icon, nullptr);
    EXPECT_EQ(row.title, u"Search GitHub for “corvid & co”");
    EXPECT_EQ(row.subtitle, u"Opens in your default browser");
    EXPECT_EQ(row.badge, u"Web");
    EXPECT_EQ(row.action,
              LauncherAction(OpenURL{u"https://github.com/search?q=corvid%20&%20co"_s}));
}

TEST_F(NamedPlacesTest, aWordAloneOrOneThatIsUnknownSearchesNothing) {
    for (const QString &query : {u"npm"_s, u" npm  "_s, u"quux corvid"_s, u"npmx corvid"_s})
        EXPECT_EQ(idsFor(query), fallbackIds) << qPrintable(query);
}

TEST_F(NamedPlacesTest, whatIsFoundByItsNameStandsAboveASearch) {
    EXPECT_EQ(idsFor(u"mdn v"_s),
              (QStringList{usageKey(makeApp(u"mdn viewer"_s)), u"search|mdn"_s}));
}

TEST_F(NamedPlacesTest, aWordOfTheUsersOwnWorksWithTheNextKeyStroke) {
    world.defaults.set(
        u"searchWords"_s,
        QJsonObject{{u"ex"_s, QJsonObject{{u"name"_s, u"%2 \u202eX"_s},
                                          {u"address"_s, u"https://x.org/%s?a=%s"_s}}}});
    world.model.setQuery(u"ex %1 é"_s);
    const ResultItem &row = world.model.results().front();
    EXPECT_EQ(row.title, u"Search %2 X for “%1 é”");
    EXPECT_EQ(row.action,
              LauncherAction(OpenURL{u"https://x.org/%251%20%C3%A9?a=%251%20%C3%A9"_s}));
    EXPECT_EQ(idsFor(u"gh corvid"_s), fallbackIds) << "the shipped ones are replaced";
}

TEST_F(NamedPlacesTest, theWebSearchLeadsWhereTheUserWants) {
    world.defaults.set(u"webSearchURL"_s, u"https://x.org/find?q=%s"_s);
    world.defaults.set(u"webSearchName"_s, u"Mine"_s);
    EXPECT_EQ(idsFor(u"a b"_s), fallbackIds);
    const ResultItem &row = world.model.results().front();
    EXPECT_EQ(row.title, u"Search Mine for “a b”");
    EXPECT_EQ(row.action, LauncherAction(OpenURL{u"https://x.org/find?q=a%20b"_s}));
}

TEST_F(NamedPlacesTest, nothingIsNamedInAnEmptyQueryOrAQuestion) {
    for (const QString &query : {u""_s, u"ai https://x.org"_s, u"ai /"_s}) {
        world.model.setQuery(query);
        for (const QString &id : ids())
            EXPECT_FALSE(id.contains(u'|')) << qPrintable(id);
    }
}
