#include "Base/Settings.h"

#include "Fakes/FakeUserDefaults.h"

#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>

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

TEST(Settings, anAddressOfASearchIsHttpOrHttpsAndMarksTheTextBehindItsHost) {
    for (const QString &address :
         {u"https://x.org/?q=%s"_s, u"http://localhost:8080/%s"_s, u"https://x.org?%s"_s,
          u"https://x.org/%s/find?q=%s"_s, u"https://x.org/#%s"_s})
        EXPECT_TRUE(settings::isSearchAddress(address)) << qPrintable(address);
    for (const QString &address :
         {u""_s, u"%s"_s, u"https://x.org/"_s, u"https://%s"_s, u"https://%s.org/"_s,
          u"https://x.org:%s/"_s, u"https://%s@x.org/"_s, u"https:///%s"_s, u"x.org/?q=%s"_s,
          u"javascript:alert('%s')"_s, u"file:///%s"_s, u"ftp://x.org/%s"_s, u"%s://x.org/%s"_s,
          u"https://x.org/a b?%s"_s})
        EXPECT_FALSE(settings::isSearchAddress(address)) << qPrintable(address);
}

TEST(Settings, aWebSearchWithoutAUsableAddressIsTheUsualOneWhateverItsName) {
    FakeUserDefaults defaults;
    const settings::WebSearch usual{u"Google"_s, u"https://www.google.com/search?q=%s"_s};
    EXPECT_EQ(settings::webSearch(defaults), usual);
    defaults.set(u"webSearchName"_s, u"Mine"_s);
    for (const QJsonValue &address : {QJsonValue(u"https://x.org/"_s), QJsonValue(7),
                                      QJsonValue(u"data:,%s"_s), QJsonValue(QJsonObject())}) {
        defaults.set(u"webSearchURL"_s, address);
        EXPECT_EQ(settings::webSearch(defaults), usual);
    }
}

TEST(Settings, aWebSearchWithoutANameHasThatOfItsHost) {
    FakeUserDefaults defaults;
    defaults.set(u"webSearchURL"_s, u"https://find.example.org/?q=%s"_s);
    for (const QJsonValue &name :
         {QJsonValue(QJsonValue::Undefined), QJsonValue(u" "_s), QJsonValue(7)}) {
        defaults.set(u"webSearchName"_s, name);
        EXPECT_EQ(settings::webSearch(defaults).name, u"find.example.org");
    }
    settings::setWebSearch(defaults, {u"Mine"_s, u"https://x.org/?q=%s"_s});
    EXPECT_EQ(settings::webSearch(defaults),
              (settings::WebSearch{u"Mine"_s, u"https://x.org/?q=%s"_s}));
}

TEST(Settings, everyShippedSearchWordCanBeSearchedBy) {
    const FakeUserDefaults defaults;
    const std::vector<settings::SearchWord> words = settings::searchWords(defaults);
    EXPECT_GE(words.size(), 12U);
    EXPECT_TRUE(std::ranges::is_sorted(words, {}, &settings::SearchWord::word));
    for (const auto &[word, name, address] : words) {
        EXPECT_TRUE(settings::isSearchWord(word)) << qPrintable(word);
        EXPECT_EQ(word, word.toLower());
        EXPECT_FALSE(name.isEmpty());
        EXPECT_TRUE(settings::isSearchAddress(address)) << qPrintable(address);
        EXPECT_TRUE(address.startsWith(u"https://"_s)) << qPrintable(address);
    }
}

TEST(Settings, storedSearchWordsReplaceTheShippedOnesAndOneThatIsWrongIsLeftOut) {
    FakeUserDefaults defaults;
    const auto entry = [](const QString &name, const QString &address) {
        return QJsonObject{{u"name"_s, name}, {u"address"_s, address}};
    };
    defaults.set(u"searchWords"_s,
                 QJsonObject{{u"Ex"_s, entry(u"Example"_s, u"https://x.org/%s"_s)},
                             {u"anon"_s, QJsonObject{{u"address"_s, u"https://y.org/%s"_s}}},
                             {u"no mark"_s, entry(u"a"_s, u"https://x.org/%s"_s)},
                             {u"bad"_s, entry(u"b"_s, u"https://x.org/"_s)},
                             {u"text"_s, u"https://x.org/%s"_s},
                             {u""_s, entry(u"c"_s, u"https://x.org/%s"_s)}});
    EXPECT_EQ(settings::searchWords(defaults),
              (std::vector<settings::SearchWord>{{u"ex"_s, u"Example"_s, u"https://x.org/%s"_s},
                                                 {u"anon"_s, u"anon"_s, u"https://y.org/%s"_s}}));
    defaults.set(u"searchWords"_s, QJsonObject());
    EXPECT_TRUE(settings::searchWords(defaults).empty());
    for (const QJsonValue &stored : {QJsonValue(7), QJsonValue(QJsonArray{u"x"_s})}) {
        defaults.set(u"searchWords"_s, stored);
        EXPECT_GE(settings::searchWords(defaults).size(), 12U);
    }
}

TEST(Settings, searchWordsThatAreLeftOutStayStoredUntilTheirWordIsTakenOrAllIsRestored) {
    FakeUserDefaults defaults;
    const auto stored = [&] { return defaults.value(u"searchWords"_s).toObject(); };
    defaults.set(u"searchWords"_s, QJsonObject{{u"bad"_s, u"draft"_s}, {u"worse"_s, 7}});
    settings::setSearchWords(defaults, {{u"ok"_s, u"OK"_s, u"https://x.org/%s"_s}});
    EXPECT_EQ(stored().keys(), (QStringList{u"bad"_s, u"ok"_s, u"worse"_s}));
    EXPECT_EQ(stored()[u"bad"_s], QJsonValue(u"draft"_s));
    settings::setSearchWords(defaults, {{u"BAD"_s, u""_s, u"https://x.org/%s"_s}});
    EXPECT_EQ(stored().keys(), (QStringList{u"bad"_s, u"worse"_s}));
    EXPECT_EQ(settings::searchWords(defaults),
              (std::vector<settings::SearchWord>{{u"bad"_s, u"bad"_s, u"https://x.org/%s"_s}}));
    settings::restoreSearchWords(defaults);
    EXPECT_TRUE(defaults.value(u"searchWords"_s).isUndefined());
}

TEST(Settings, noticesAreRememberedOnceEach) {
    FakeUserDefaults defaults;
    EXPECT_EQ(settings::noticesGiven(defaults), QStringList());
    for (const QString &name : {u"ready"_s, u"taken"_s, u"ready"_s})
        settings::addNoticeGiven(defaults, name);
    EXPECT_EQ(settings::noticesGiven(defaults), (QStringList{u"ready"_s, u"taken"_s}));
    defaults.set(u"noticesGiven"_s, 7);
    EXPECT_EQ(settings::noticesGiven(defaults), QStringList());
    settings::addNoticeGiven(defaults, u"taken"_s);
    EXPECT_EQ(settings::noticesGiven(defaults), QStringList{u"taken"_s});
}

TEST(Settings, anyValueOfOursIsSomethingStored) {
    for (const QString &key :
         {u"hotkeyKeyCode"_s, u"hotkeyModifiers"_s, u"projectRoots"_s, u"aiEnabled"_s,
          u"aiBaseURL"_s, u"aiModel"_s, u"aiInstruction"_s, u"aiSendsNames"_s, u"aiNamesNoted"_s,
          u"lastProject"_s, u"webSearchURL"_s, u"webSearchName"_s, u"searchWords"_s,
          u"launchCounts"_s, u"queryLatches"_s, u"noticesGiven"_s}) {
        FakeUserDefaults defaults;
        EXPECT_TRUE(settings::nothingStored(defaults));
        defaults.set(key, 7);
        EXPECT_FALSE(settings::nothingStored(defaults)) << qPrintable(key);
    }
}

TEST(Settings, whoHasLaunchedSomethingHasDoneSoForGood) {
    FakeUserDefaults defaults;
    EXPECT_FALSE(settings::launchedBefore(defaults));
    settings::updateLaunchCounts(defaults,
                                 [](settings::LaunchCounts &counts) { ++counts[u"a"_s]; });
    EXPECT_TRUE(settings::launchedBefore(defaults));
    settings::updateLaunchCounts(defaults, [](settings::LaunchCounts &counts) { counts.clear(); });
    EXPECT_TRUE(settings::launchedBefore(defaults)) << "forgotten";
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
