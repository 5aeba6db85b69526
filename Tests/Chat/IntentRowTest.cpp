#include "Chat/IntentRow.h"

#include "Base/Locations.h"
#include "Fakes/FakeSessionControl.h"
#include "Fakes/FakeUserDefaults.h"
#include "RoleCatalog.h"

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

/** Two applications and a project with the home folder's path twice in its own. */
class IntentRowTest : public ::testing::Test {
protected:
    std::optional<ResultItem> row(const Intent &intent) {
        return intentRow(intent, u"typed"_s,
                         {apps, appIndex, projects, projectIndex, roles, stats, running, defaults,
                          [this](const QString &path) {
                              iconPaths.append(path);
                              return Image();
                          },
                          session, [](const QString &) { return std::nullopt; }});
    }

    const QString home = locations::home();
    const std::vector<AppEntry> apps{{u"Zed"_s, u"id.Zed"_s, u"/Zed.app"_s, {}, {}, {}},
                                     {u"Zed"_s, u"id.Other"_s, u"/Other.app"_s, {}, {}, {}}};
    const std::vector<ProjectEntry> projects{
        {u"web"_s, home + u"/backup"_s + home + u"/web"_s, {}}};
    const SearchIndex appIndex{apps};
    const SearchIndex projectIndex{projects};
    const RoleCatalog roles{{}};
    FakeUserDefaults defaults;
    const FakeSessionControl session;
    const UsageStats stats{defaults};
    const QSet<QString> running{u"id.Zed"_s};
    QStringList iconPaths;
};

} // namespace

TEST_F(IntentRowTest, ofSeveralApplicationsWithANameTheFirstIsMeant) {
    const auto meant = row({u"open_app"_s, u"Zed"_s, {}, {}});
    ASSERT_TRUE(meant);
    EXPECT_EQ(meant->action, LauncherAction(OpenApp{apps[0]}));
    EXPECT_FALSE(meant->running);
    EXPECT_EQ(iconPaths, QStringList{u"/Zed.app"_s});
}

TEST_F(IntentRowTest, theHomeFolderIsATildeWhereverItStandsInAProjectsPath) {
    const auto meant = row({u"open_project"_s, {}, u"web"_s, u"Zed"_s});
    ASSERT_TRUE(meant);
    EXPECT_EQ(meant->subtitle, u"~/backup~/web");
    EXPECT_EQ(meant->action, LauncherAction(OpenProject{projects[0], apps[0]}));
    EXPECT_EQ(iconPaths, QStringList{home});
}

TEST_F(IntentRowTest, anActionCountsOnlyWithAThingOfItsKind) {
    EXPECT_FALSE(row({u"open_app"_s, {}, u"web"_s, {}}));
    EXPECT_FALSE(row({u"open_project"_s, u"Zed"_s, {}, u"Zed"_s}));
    EXPECT_FALSE(row({u"none"_s, u"Zed"_s, u"web"_s, u"Zed"_s}));
    EXPECT_TRUE(iconPaths.isEmpty());
}
