#include "UsageStats.h"

#include "Fakes/FakeUserDefaults.h"

#include <QJsonArray>
#include <QJsonObject>

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

class UsageStatsTest : public ::testing::Test {
protected:
    void setLatches(int count) {
        QJsonObject table;
        for (int i = 0; i < count; ++i)
            table.insert(u"q%1"_s.arg(i), u"id"_s);
        defaults.set(u"queryLatches"_s, table);
    }

    FakeUserDefaults defaults;
    UsageStats stats{defaults};
};

} // namespace

TEST_F(UsageStatsTest, aFreshInstallationHasEmptyTables) {
    EXPECT_TRUE(stats.counts().isEmpty());
    EXPECT_TRUE(stats.latches().isEmpty());
}

TEST_F(UsageStatsTest, eachLaunchAddsOneAndIsSeenByTheNextRead) {
    stats.recordLaunch(u"a"_s);
    EXPECT_EQ(stats.counts(), (QHash<QString, qint64>{{u"a"_s, 1}}));
    stats.recordLaunch(u"a"_s);
    stats.recordLaunch(u"b"_s);
    EXPECT_EQ(stats.counts(), (QHash<QString, qint64>{{u"a"_s, 2}, {u"b"_s, 1}}));
    EXPECT_EQ(defaults.value(u"launchCounts"_s), (QJsonObject{{u"a"_s, 2}, {u"b"_s, 1}}));
}

TEST_F(UsageStatsTest, anAbsentIdRecordsNothing) {
    stats.recordLaunch(std::nullopt);
    EXPECT_TRUE(defaults.value(u"launchCounts"_s).isUndefined());
}

TEST_F(UsageStatsTest, aTableOfAnotherShapeReadsAsEmpty) {
    for (const QJsonValue &table :
         {QJsonValue(7), QJsonValue(u"x"_s), QJsonValue(QJsonArray{1}), QJsonValue(),
          QJsonValue(QJsonObject{{u"a"_s, 1}, {u"b"_s, u"1"_s}}),
          QJsonValue(QJsonObject{{u"a"_s, 1.5}}), QJsonValue(QJsonObject{{u"a"_s, true}}),
          QJsonValue(QJsonObject{{u"a"_s, 1e300}})}) {
        defaults.set(u"launchCounts"_s, table);
        defaults.set(u"queryLatches"_s, table);
        EXPECT_TRUE(stats.counts().isEmpty());
        EXPECT_TRUE(stats.latches().isEmpty());
    }
}

TEST_F(UsageStatsTest, recordingOverATableOfAnotherShapeStartsAfresh) {
    defaults.set(u"launchCounts"_s, 7);
    stats.recordLaunch(u"a"_s);
    EXPECT_EQ(stats.counts(), (QHash<QString, qint64>{{u"a"_s, 1}}));
}

TEST_F(UsageStatsTest, aQueryThatNobodyTypesTwiceIsNotLatched) {
    stats.recordLatch(QString(256, u'x'), u"a"_s);
    stats.recordLatch(QString(257, u'x'), u"b"_s);
    EXPECT_EQ(stats.latches(), (QHash<QString, QString>{{QString(256, u'x'), u"a"_s}}));
}

TEST_F(UsageStatsTest, aLatchIsKeptUnderTheLowerCasedUntrimmedQuery) {
    stats.recordLatch(u" Foo"_s, u"a"_s);
    EXPECT_EQ(stats.latches(), (QHash<QString, QString>{{u" foo"_s, u"a"_s}}));
}

TEST_F(UsageStatsTest, aLaterChoiceReplacesTheEarlierOne) {
    stats.recordLatch(u"foo"_s, u"a"_s);
    stats.recordLatch(u"FOO"_s, u"b"_s);
    EXPECT_EQ(stats.latches(), (QHash<QString, QString>{{u"foo"_s, u"b"_s}}));
}

TEST_F(UsageStatsTest, fiveHundredLatchesAreKept) {
    setLatches(500);
    stats.recordLatch(u"new"_s, u"a"_s);
    EXPECT_EQ(stats.latches().size(), 501);
}

TEST_F(UsageStatsTest, moreThanFiveHundredLatchesAreEmptiedByTheNextOne) {
    setLatches(501);
    stats.recordLatch(u"new"_s, u"a"_s);
    EXPECT_EQ(stats.latches(), (QHash<QString, QString>{{u"new"_s, u"a"_s}}));
}

TEST_F(UsageStatsTest, aChangeByAnotherHandIsSeenByTheNextRead) {
    stats.recordLaunch(u"a"_s);
    EXPECT_EQ(stats.counts().value(u"a"_s), 1);
    defaults.set(u"launchCounts"_s, QJsonObject{{u"a"_s, 40}});
    EXPECT_EQ(stats.counts().value(u"a"_s), 40);
}

TEST_F(UsageStatsTest, forgettingTakesTheLaunchesAndTheChoiceForThatQueryAlone) {
    for (const QString &id : {u"a"_s, u"a"_s, u"b"_s})
        stats.recordLaunch(id);
    stats.recordLatch(u"Foo"_s, u"a"_s);
    stats.recordLatch(u"bar"_s, u"a"_s);
    EXPECT_FALSE(stats.forget(u"FOO"_s, u"a"_s).isNothing());
    EXPECT_EQ(stats.counts(), (QHash<QString, qint64>{{u"b"_s, 1}}));
    EXPECT_EQ(stats.latches(), (QHash<QString, QString>{{u"bar"_s, u"a"_s}}));
}

TEST_F(UsageStatsTest, forgettingLeavesTheChoiceOfAnother) {
    stats.recordLaunch(u"a"_s);
    stats.recordLatch(u"foo"_s, u"b"_s);
    stats.forget(u"foo"_s, u"a"_s);
    EXPECT_EQ(stats.latches(), (QHash<QString, QString>{{u"foo"_s, u"b"_s}}));
}

TEST_F(UsageStatsTest, whereNothingWasLearntNothingIsWritten) {
    defaults.set(u"launchCounts"_s, 7);
    EXPECT_TRUE(stats.forget(u"foo"_s, u"a"_s).isNothing());
    EXPECT_EQ(defaults.value(u"launchCounts"_s), QJsonValue(7));
    EXPECT_TRUE(defaults.value(u"queryLatches"_s).isUndefined());
}

TEST_F(UsageStatsTest, restoringPutsBackExactlyWhatWasForgotten) {
    for (const qint64 count : {qint64{3}, qint64{0}, std::numeric_limits<qint64>::max()}) {
        defaults.set(u"launchCounts"_s, QJsonObject{{u"a"_s, count}, {u"b"_s, 1}});
        defaults.set(u"queryLatches"_s, QJsonObject{{u"foo"_s, u"a"_s}, {u"x"_s, u"b"_s}});
        const auto counts = stats.counts();
        const auto latches = stats.latches();
        stats.restore(stats.forget(u"foo"_s, u"a"_s));
        EXPECT_EQ(stats.counts(), counts);
        EXPECT_EQ(stats.latches(), latches);
    }
}

TEST_F(UsageStatsTest, restoringLeavesWhatWasRecordedSince) {
    stats.recordLaunch(u"a"_s);
    stats.recordLaunch(u"a"_s);
    stats.recordLatch(u"foo"_s, u"a"_s);
    const UsageStats::Forgotten forgotten = stats.forget(u"foo"_s, u"a"_s);
    stats.recordLaunch(u"a"_s);
    stats.recordLatch(u"foo"_s, u"b"_s);
    stats.restore(forgotten);
    EXPECT_EQ(stats.counts(), (QHash<QString, qint64>{{u"a"_s, 1}}));
    EXPECT_EQ(stats.latches(), (QHash<QString, QString>{{u"foo"_s, u"b"_s}}));
}

TEST_F(UsageStatsTest, allThatWasLearntCanBeForgottenWhateverItsShape) {
    defaults.set(u"launchCounts"_s, 7);
    stats.recordLatch(u"foo"_s, u"a"_s);
    defaults.set(u"aiModel"_s, u"m"_s);
    stats.forgetAll();
    EXPECT_EQ(defaults.value(u"launchCounts"_s), QJsonObject());
    EXPECT_EQ(defaults.value(u"queryLatches"_s), QJsonObject());
    EXPECT_EQ(defaults.value(u"aiModel"_s), u"m"_s);
}

TEST_F(UsageStatsTest, theAmountLearntIsSaidAsPeopleSayIt) {
    EXPECT_EQ(stats.amount(), QString());
    stats.recordLaunch(u"a"_s);
    EXPECT_EQ(stats.amount(), u"1 launch and 0 choices");
    stats.recordLaunch(u"b"_s);
    stats.recordLatch(u"foo"_s, u"a"_s);
    EXPECT_EQ(stats.amount(), u"2 launches and 1 choice");
    defaults.set(u"launchCounts"_s,
                 QJsonObject{{u"a"_s, std::numeric_limits<qint64>::max()}, {u"b"_s, 1}});
    EXPECT_TRUE(stats.amount().endsWith(u" launches and 1 choice")) << "and nothing overflows";
}

TEST(UsageStatsDeathTest, aCountThatOverflowsIsAFatalStop) {
    FakeUserDefaults defaults;
    UsageStats stats(defaults);
    defaults.set(u"launchCounts"_s, QJsonObject{{u"a"_s, std::numeric_limits<qint64>::max()}});
    EXPECT_DEATH(stats.recordLaunch(u"a"_s), "overflows");
}
