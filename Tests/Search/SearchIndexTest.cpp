#include "Search/SearchIndex.h"

#include "Fakes/FakeUserDefaults.h"

#include <QJsonObject>

#include <gtest/gtest.h>

#include <random>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

/** Short random strings over an alphabet small enough that queries often match, with every kind of
    character that folding and segmentation treat specially. */
class RandomText {
public:
    QString operator()(int longest) {
        static const QStringList pieces = {
            u"a"_s,       u"b"_s,  u"A"_s,          u"B"_s,
            u"c"_s,       u" "_s,  u"-"_s,          u"é"_s,
            u"e\u0301"_s, u"É"_s,  u"ß"_s,          u"İ"_s,
            u"\u0307"_s,  u"日"_s, u"\U0001F44D"_s, u"\U0001F44D\U0001F3FD"_s,
            u"\r"_s,      u"\n"_s, u"\u200d"_s,     QString(QChar(0xd83d)),
        };
        QString text;
        const int length = std::uniform_int_distribution(0, longest)(random_);
        for (int i = 0; i < length; ++i)
            text += pieces[pick(static_cast<int>(pieces.size()))];
        return text;
    }
    int pick(int count) { return std::uniform_int_distribution(0, count - 1)(random_); }

private:
    std::mt19937 random_{20261121};
};

/** The score of one entry by itself, without a list that is prepared for many queries. */
qint64 pureScore(const QString &query, const AppEntry &app, const UsageStats &stats) {
    const FoldedText q(query.trimmed());
    const auto scoreOf = [&q](const QString &name, const SearchEngine::Tiers &tiers) {
        return SearchEngine::matchScore(q.view(), FoldedText(name).view(), tiers);
    };
    qint64 best = scoreOf(app.name, SearchEngine::appNameTiers);
    for (const QString &alias : app.aliases)
        best = std::max(best, scoreOf(alias, SearchEngine::appAliasTiers));
    return best < 1 ? best : best + SearchEngine::usageBoost(stats.counts().value(usageKey(app)));
}
qint64 pureScore(const QString &query, const ProjectEntry &project, const UsageStats &stats) {
    const FoldedText q(query.trimmed());
    const qint64 best = SearchEngine::matchScore(q.view(), FoldedText(project.name).view(),
                                                 SearchEngine::projectNameTiers);
    return best < 1 ? best
                    : best + SearchEngine::usageBoost(stats.counts().value(usageKey(project)));
}

} // namespace

TEST(SearchIndex, preparedScoresEqualThePureOnesOnRandomNames) {
    RandomText text;
    FakeUserDefaults defaults;
    UsageStats stats(defaults);
    int matches = 0;
    int leftOut = 0;
    for (int round = 0; round < 200; ++round) {
        std::vector<AppEntry> apps;
        std::vector<ProjectEntry> projects;
        QJsonObject launches;
        for (int i = 0; i < 20; ++i) {
            AppEntry app{text(8), u"id%1"_s.arg(i), u"/a/%1"_s.arg(i), {}, {}, {}};
            for (int alias = text.pick(3); alias > 0; --alias)
                app.aliases.append(text(6));
            ProjectEntry project{text(8), u"/p/%1"_s.arg(i), {}};
            if (text.pick(3) == 0) {
                launches.insert(usageKey(app), text.pick(30) - 10);
                launches.insert(usageKey(project), text.pick(30) - 10);
            }
            apps.push_back(app);
            projects.push_back(project);
        }
        defaults.set(u"launchCounts"_s, launches);
        SearchIndex appIndex(apps);
        SearchIndex projectIndex(projects);
        appIndex.updateUsage(stats);
        projectIndex.updateUsage(stats);
        for (int i = 0; i < 20; ++i) {
            const QString query = text(4);
            const PreparedQuery prepared(query);
            for (std::size_t at = 0; at < apps.size(); ++at) {
                const qint64 pure = pureScore(query, apps[at], stats);
                ASSERT_EQ(appIndex.score(prepared, at), pure)
                    << qPrintable(query) << " in " << qPrintable(apps[at].name);
                ASSERT_EQ(projectIndex.score(prepared, at), pureScore(query, projects[at], stats))
                    << qPrintable(query) << " in " << qPrintable(projects[at].name);
                matches += pure > 0;
                const qint64 atLeast = text.pick(1200);
                if (const qint64 asked = appIndex.score(prepared, at, atLeast); asked != pure) {
                    ASSERT_LT(asked, pure);
                    ASSERT_LT(pure, atLeast) << "what counts is told as it is";
                    ++leftOut;
                }
            }
        }
    }
    EXPECT_GT(matches, 1000) << "the random names hardly ever match: nothing was compared";
    EXPECT_GT(leftOut, 1000) << "nothing is saved where only high scores count";
}

TEST(SearchIndex, usageIsTakenOverWhenItChangesAndDroppedWhenItGoes) {
    FakeUserDefaults defaults;
    UsageStats stats(defaults);
    const std::vector<ProjectEntry> projects{{u"web"_s, u"/p/web"_s, {}}};
    SearchIndex index(projects);
    const PreparedQuery query(u"web"_s);
    stats.recordLaunch(u"/p/web"_s);
    index.updateUsage(stats);
    EXPECT_EQ(index.score(query, 0), 1015);
    defaults.set(u"launchCounts"_s, QJsonObject{});
    index.updateUsage(stats);
    EXPECT_EQ(index.score(query, 0), 1000);
}

TEST(SearchIndex, anEntryAmongManyIsFoundByItsKeyAndLaunchesCountForAllThatShareOne) {
    std::vector<ProjectEntry> projects;
    for (int i = 0; i < 20'000; ++i)
        projects.push_back({u"p"_s, u"/p/%1"_s.arg(i % 10'000), {}});
    FakeUserDefaults defaults;
    UsageStats stats(defaults);
    stats.recordLaunch(u"/p/7"_s);
    stats.recordLaunch(u"/gone"_s);
    SearchIndex index(projects);
    index.updateUsage(stats);
    for (std::size_t i = 0; i < projects.size(); ++i) {
        ASSERT_EQ(index.indexOf(projects[i].path), i % 10'000);
        ASSERT_EQ(index.launches(i), i % 10'000 == 7 ? 1 : 0) << i;
    }
    EXPECT_EQ(index.indexOf(u"/gone"_s), std::nullopt);
    defaults.set(u"launchCounts"_s, QJsonValue::Undefined);
    index.updateUsage(stats);
    EXPECT_EQ(index.launches(7), 0) << "forgotten";
}
