#include "Search/LastProjectRow.h"

#include "Base/Locations.h"
#include "Base/Settings.h"
#include "Fakes/SearchWorld.h"

#include <gtest/gtest.h>

using namespace corvid;
using namespace corvid::test;
using namespace Qt::Literals::StringLiterals;

TEST(LastProjectRow, saysWhichProjectAndEditorReturnOpens) {
    SearchWorld world({describedApp(u"Zed"_s, "")}, {});
    settings::setLastProject(world.defaults, {locations::home() + u"/Code/web/"_s, u"/a/Zed"_s});
    for (const QString &typed : {u"last project"_s, u"Open Last Project "_s}) {
        const Rows rows = lastProjectRows(parseQuery(typed, world.roles), world.sources());
        ASSERT_EQ(rows.size(), 1U) << qPrintable(typed);
        EXPECT_EQ(rows[0].id, u"last-project");
        EXPECT_EQ(rows[0].title, u"Open web in Zed");
        EXPECT_EQ(rows[0].subtitle, u"~/Code/web/");
        EXPECT_EQ(rows[0].badge, u"Last Project");
        EXPECT_EQ(rows[0].action, LauncherAction(OpenLastProject{}));
    }
    EXPECT_TRUE(lastProjectRows(parseQuery(u"last"_s, world.roles), world.sources()).empty());
}

TEST(LastProjectRow, anEditorThatIsGoneIsTheDefaultOne) {
    SearchWorld world({}, {});
    settings::setLastProject(world.defaults, {u"/p/web"_s, u"/a/Gone"_s});
    EXPECT_EQ(world.titles(lastProjectRows, u"last project"_s),
              QStringList{u"Open web in default editor"_s});
}

TEST(LastProjectRow, thereIsNoneBeforeAProjectWasOpened) {
    SearchWorld world({describedApp(u"Zed"_s, "")}, {projectNamed(u"web"_s)});
    EXPECT_EQ(world.titles(lastProjectRows, u"last project"_s), QStringList());
}
