// The program while the time of day is set, as it happens when a machine's clock was wrong.

#include "Worlds/FaultWorld.h"
#include "Worlds/QtPrinters.h"

#include <atomic>
#include <ctime>

#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

using namespace corvid;
using namespace corvid::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/** What every clock that can be set shows less than the right time. The file system's own clock,
    which files get their times from, stays right: for the program, they are from the future. */
std::atomic<std::time_t> secondsBack = 0;

} // namespace

// The whole process, Qt included, asks these instead of the C library's.
extern "C" [[gnu::visibility("default")]] int clock_gettime(clockid_t clock,
                                                            timespec *time) noexcept {
    const long result = syscall(SYS_clock_gettime, clock, time);
    if (result == 0 && (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE))
        time->tv_sec -= secondsBack;
    return static_cast<int>(result);
}
extern "C" [[gnu::visibility("default")]] int gettimeofday(timeval *time, void *) noexcept {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    *time = {now.tv_sec, now.tv_nsec / 1000};
    return 0;
}

namespace {

class ClockFaultTest : public FaultWorld {
protected:
    ~ClockFaultTest() override { secondsBack = 0; }
};

constexpr std::time_t hours = 3600;

/** The parameter: so many seconds back. */
class ClockJumpTest : public ClockFaultTest, public ::testing::WithParamInterface<std::time_t> {};

INSTANTIATE_TEST_SUITE_P(ADay, ClockJumpTest, ::testing::Values(24 * hours, -24 * hours));

} // namespace

TEST_F(ClockFaultTest, theTestHoldsTheClock) {
    const qint64 before = QDateTime::currentSecsSinceEpoch();
    secondsBack = 24 * hours;
    EXPECT_LT(QDateTime::currentSecsSinceEpoch(), before - 23 * hours);
}

TEST_P(ClockJumpTest, whatIsChosenBeforeAndAfterItIsCountedAndStored) {
    furnish();
    {
        Program program;
        ASSERT_TRUE(program.waitForScans());
        program.choose(u"frob"_s);
        program.defaults.synchronize();
        secondsBack = GetParam();
        EXPECT_EQ(program.typed(u"frob"_s), bothFound);
        program.choose(u"frob"_s);
        EXPECT_EQ(program.stats.counts().value(frobKey()), 2);
    }
    EXPECT_EQ(storedLaunches(frobKey()), 2);
    EXPECT_EQ(storedLaunches(u"x"_s), 3);
    // And a start in the past or the future finds what was stored.
    Program program;
    EXPECT_EQ(program.typed(u"frob"_s), bothFound) << "from the caches";
    EXPECT_EQ(program.stats.counts().value(frobKey()), 2);
}

TEST_F(ClockFaultTest, everyChangeByAnotherIsSeenWhicheverTimesTheFilesCarry) {
    furnish();
    Program program;
    for (const std::time_t back :
         {0 * hours, 24 * hours, 1 * hours, 48 * hours, -24 * hours, 0 * hours}) {
        secondsBack = back;
        for (int value = 1; value <= 3; ++value) {
            // Of the same size, into the same file.
            write(settingsFile(),
                  QByteArray(R"({"launchCounts": {"x": )") + QByteArray::number(value) + "}}");
            ASSERT_EQ(program.stats.counts().value(u"x"_s), value) << back;
        }
    }
}

TEST_F(ClockFaultTest, whatIsKeptAsideNeverReplacesAnEarlierOneOfTheSameTime) {
    for (int round = 0; round < 3; ++round) {
        secondsBack = round * 24 * hours; // the same second may come again
        write(settingsFile(), "damaged " + QByteArray::number(round));
        Program program;
        program.defaults.set(u"aiEnabled"_s, false);
    }
    QByteArrayList kept;
    const QDir folder(QFileInfo(settingsFile()).path());
    for (const QString &name : folder.entryList({u"defaults.json.damaged-*"_s}))
        kept.append(contentOf(folder.filePath(name)));
    std::sort(kept.begin(), kept.end());
    EXPECT_EQ(kept, (QByteArrayList{"damaged 0", "damaged 1", "damaged 2"}));
}
