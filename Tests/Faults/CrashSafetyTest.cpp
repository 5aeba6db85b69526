#include "Catalog/JsonCache.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <iostream>
#include <random>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

class CrashSafety : public ::testing::Test {
protected:
    CrashSafety() {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"XDG_DATA_HOME"_s, world_.filePath(u"data"_s));
        environment.insert(u"XDG_CONFIG_HOME"_s, world_.filePath(u"config"_s));
        writer_.setProcessEnvironment(environment);
        writer_.setProcessChannelMode(QProcess::ForwardedChannels);
        writer_.setProgram(QStringLiteral(CORVID_BUILD_FOLDER "/tests/CrashWriter"));
    }

    QString dataFile(const QString &name) const {
        return world_.filePath(u"data/Corvid/"_s + name);
    }
    QString defaultsFile() const { return world_.filePath(u"config/Corvid/defaults.json"_s); }

    void runAndKillAfter(std::chrono::microseconds delay) {
        writer_.setArguments({});
        writer_.start();
        ASSERT_TRUE(writer_.waitForStarted());
        QThread::usleep(static_cast<unsigned long>(delay.count()));
        ASSERT_EQ(writer_.state(), QProcess::Running);
        writer_.kill();
        ASSERT_TRUE(writer_.waitForFinished());
        ASSERT_EQ(writer_.exitStatus(), QProcess::CrashExit);
    }

    void runToTheEnd(qint64 rounds) {
        writer_.setArguments({QString::number(rounds)});
        writer_.start();
        ASSERT_TRUE(writer_.waitForFinished());
        ASSERT_EQ(writer_.exitStatus(), QProcess::NormalExit);
        ASSERT_EQ(writer_.exitCode(), 0);
    }

    /** All files of the world that are none of those that belong there. */
    QStringList litter() const {
        QStringList found;
        for (const QString &folder : {u"data/Corvid"_s, u"config/Corvid"_s})
            found += QDir(world_.filePath(folder))
                         .entryList(QDir::AllEntries | QDir::Hidden | QDir::System |
                                    QDir::NoDotAndDotDot);
        for (const QString &name :
             {u"catalog.json"_s, u"projects.json"_s, u"defaults.json"_s, u"defaults.json.lock"_s})
            found.removeAll(name);
        return found;
    }

    /** The round that wrote the cache, 0 when there is none yet. */
    template <typename Record>
    qint64 checkedRoundOf(const QString &name) const {
        if (!QFileInfo::exists(dataFile(name)))
            return 0;
        const std::vector<Record> records = readCache<Record>(openRegularFile(dataFile(name)));
        EXPECT_FALSE(records.empty()) << "damaged: " << qPrintable(name);
        if (records.empty())
            return 0;
        const qint64 round = records.front().name.toLongLong();
        EXPECT_EQ(qint64(records.size()), 100 + round % 100);
        EXPECT_TRUE(std::ranges::all_of(
            records, [&](const Record &record) { return record.name == records.front().name; }));
        return round;
    }

    QJsonObject checkedDefaults() const {
        QFile file(defaultsFile());
        if (!file.open(QIODevice::ReadOnly))
            return {};
        const QJsonDocument document = QJsonDocument::fromJson(file.readAll());
        EXPECT_TRUE(document.isObject()) << "damaged defaults";
        QJsonObject defaults = document.object();
        // Changes reach the file in their order, so the second key never overtakes the first.
        const qint64 first = defaults.value(u"first"_s).toInteger();
        const qint64 second = defaults.value(u"second"_s).toInteger();
        EXPECT_GE(first, second);
        EXPECT_LE(first, second + 1);
        const QJsonObject counts = defaults.value(u"counts"_s).toObject();
        for (int i = 0; i < counts.size(); ++i)
            EXPECT_EQ(counts.value(u"key %1"_s.arg(i)), QJsonValue(i));
        return defaults;
    }

    QTemporaryDir world_;
    QProcess writer_;
};

} // namespace

TEST_F(CrashSafety, aHundredKillsLeaveWholeFilesAndNoGrowingLitter) {
    constexpr int kills = 100;
    constexpr int mostLeftovers = 3; // one for each file
    // How long a run takes to get going depends on the machine, so it is measured first, and more
    // is given to it as long as nothing is written.
    qint64 rounds = 5;
    QElapsedTimer timer;
    timer.start();
    ASSERT_NO_FATAL_FAILURE(runToTheEnd(rounds));
    qint64 longest = 2 * timer.nsecsElapsed() / 1000;
    std::mt19937 random(std::random_device{}());
    qint64 catalog = rounds;
    qint64 projects = rounds;
    int runsThatWrote = 0;
    int killsThatLeftATemporaryFile = 0;
    for (int kill = 1; kill <= kills; ++kill) {
        ASSERT_NO_FATAL_FAILURE(runAndKillAfter(
            std::chrono::microseconds(std::uniform_int_distribution<qint64>(0, longest)(random))));
        const qint64 newCatalog = checkedRoundOf<AppEntry>(u"catalog.json"_s);
        const qint64 newProjects = checkedRoundOf<ProjectEntry>(u"projects.json"_s);
        const qint64 newRounds = checkedDefaults().value(u"second"_s).toInteger();
        const QStringList leftovers = litter();
        ASSERT_FALSE(HasFailure()) << "after kill " << kill;
        ASSERT_GE(newRounds, rounds) << "the next run carries on";
        ASSERT_LE(leftovers.size(), mostLeftovers) << qPrintable(leftovers.join(u' '));
        if (newCatalog != catalog || newProjects != projects || newRounds != rounds)
            ++runsThatWrote;
        else
            longest += longest / 20;
        if (!leftovers.isEmpty())
            ++killsThatLeftATemporaryFile;
        catalog = newCatalog;
        projects = newProjects;
        rounds = newRounds;
    }
    std::cout << kills << " kills, " << runsThatWrote << " of them after a write, "
              << killsThatLeftATemporaryFile << " within one; " << rounds << " rounds\n";
    EXPECT_GE(runsThatWrote, kills / 4) << "most kills came before anything was written";

    ASSERT_NO_FATAL_FAILURE(runToTheEnd(3));
    EXPECT_EQ(litter(), QStringList());
    EXPECT_EQ(checkedDefaults().value(u"first"_s).toInteger(), rounds + 3);
    EXPECT_EQ(checkedDefaults().value(u"second"_s).toInteger(), rounds + 3);
    EXPECT_EQ(checkedRoundOf<AppEntry>(u"catalog.json"_s), rounds + 3);
    EXPECT_EQ(checkedRoundOf<ProjectEntry>(u"projects.json"_s), rounds + 3);
}
