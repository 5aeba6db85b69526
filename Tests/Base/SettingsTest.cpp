#include "Base/Settings.h"

#include "Fakes/FakeUserDefaults.h"

#include <QJsonObject>

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

TEST(Settings, nothingStoredReadsAsTheDefaults) {
    const FakeUserDefaults defaults;
    EXPECT_EQ(settings::hotKey(defaults), (HotKey{49, HotKey::option}));
    EXPECT_EQ(settings::storedHotKey(defaults), std::nullopt);
    EXPECT_EQ(settings::projectRoots(defaults), QStringList());
    EXPECT_TRUE(settings::aiEnabled(defaults));
    EXPECT_EQ(settings::aiBaseURL(defaults), u"https://api.openai.com/v1");
    EXPECT_EQ(settings::aiModel(defaults), u"gpt-4o-mini");
    EXPECT_FALSE(settings::lastProject(defaults));
    EXPECT_TRUE(settings::launchCounts(defaults).isEmpty());
    EXPECT_TRUE(settings::queryLatches(defaults).isEmpty());
}

TEST(Settings, whatIsWrittenIsRead) {
    FakeUserDefaults defaults;
    settings::setHotKey(defaults, {40, HotKey::command});
    settings::setProjectRoots(defaults, {u"/a"_s, u""_s});
    settings::setAiEnabled(defaults, false);
    settings::setAiBaseURL(defaults, u""_s);
    settings::setAiModel(defaults, u"m"_s);
    settings::setLastProject(defaults, {u"/a/web"_s, u"/x/zed.desktop"_s});
    settings::updateLaunchCounts(defaults, [](auto &counts) { counts[u"id"_s] = 7; });
    settings::updateQueryLatches(defaults, [](auto &latches) { latches[u"q"_s] = u"id"_s; });
    EXPECT_EQ(settings::hotKey(defaults), (HotKey{40, HotKey::command}));
    EXPECT_EQ(settings::storedHotKey(defaults), (HotKey{40, HotKey::command}));
    EXPECT_EQ(settings::projectRoots(defaults), (QStringList{u"/a"_s, u""_s}));
    EXPECT_FALSE(settings::aiEnabled(defaults));
    EXPECT_EQ(settings::aiBaseURL(defaults), u"");
    EXPECT_EQ(settings::aiModel(defaults), u"m");
    ASSERT_TRUE(settings::lastProject(defaults));
    EXPECT_EQ(settings::lastProject(defaults)->project, u"/a/web");
    EXPECT_EQ(settings::lastProject(defaults)->editor, u"/x/zed.desktop");
    EXPECT_EQ(settings::launchCounts(defaults), (settings::LaunchCounts{{u"id"_s, 7}}));
    EXPECT_EQ(settings::queryLatches(defaults), (settings::QueryLatches{{u"q"_s, u"id"_s}}));
}

TEST(Settings, aLastProjectThatLacksATextIsNone) {
    FakeUserDefaults defaults;
    for (const QJsonValue &stored :
         {QJsonValue(u"x"_s), QJsonValue(QJsonObject{{u"project"_s, u"/a"_s}}),
          QJsonValue(QJsonObject{{u"project"_s, u"/a"_s}, {u"editor"_s, 7}})}) {
        defaults.set(u"lastProject"_s, stored);
        EXPECT_FALSE(settings::lastProject(defaults));
    }
}
