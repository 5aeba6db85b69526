// The whole program in broken worlds: it starts, it answers, and it ends when it is told to.

#include "DesktopTest.h"
#include "Worlds/Onlooker.h"
#include "Worlds/PrivateMounts.h"

#include <QElapsedTimer>

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>

using namespace corvid::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class FaultyWorldTest : public ::testing::Test {
protected:
    ~FaultyWorldTest() override {
        program_.kill();
        program_.waitForFinished();
    }

    /** What the program prints for a query where there is no display. */
    QString answerTo(const QString &query, const QProcessEnvironment &environment,
                     const QStringList &wrapper = {}) {
        makeDependent(program_);
        program_.setProcessEnvironment(environment);
        const QStringList line = wrapper + QStringList{executable, u"--query"_s, query};
        program_.start(line.first(), line.mid(1));
        QString answer;
        EXPECT_TRUE(eventually([&] {
            answer += QString::fromUtf8(program_.readAllStandardError());
            return answer.contains(u"-- end --"_s) || program_.state() == QProcess::NotRunning;
        })) << qPrintable(answer);
        return answer;
    }
    QString answerTo(const QString &query) { return answerTo(query, environment()); }
    /** How it ends when no more files can be opened than so many: its exit code, -1 for a crash. */
    int exitCodeWith(int files, const QStringList &arguments) {
        makeDependent(program_);
        program_.setProcessEnvironment(environment());
        program_.start(u"prlimit"_s,
                       QStringList{u"--nofile=%1:%1"_s.arg(files), executable} + arguments);
        EXPECT_TRUE(eventually([this] { return program_.state() == QProcess::NotRunning; }));
        return program_.exitStatus() == QProcess::NormalExit ? program_.exitCode() : -1;
    }
    bool endsWhenAsked() {
        program_.terminate();
        return eventually([this] { return program_.state() == QProcess::NotRunning; }) &&
               program_.exitStatus() == QProcess::NormalExit && program_.exitCode() == 0;
    }
    QProcessEnvironment environment() const {
        QProcessEnvironment result = home.environment(QProcessEnvironment::systemEnvironment());
        result.remove(u"DISPLAY"_s);
        return result;
    }

    Home home;
    QProcess program_;
};

class FaultyMountTest : public FaultyWorldTest {
protected:
    void SetUp() override {
        if (!enterPrivateMounts())
            GTEST_SKIP() << "mounting is not permitted here";
    }
};

} // namespace

TEST_F(FaultyMountTest, aFolderOfProjectsThatNeverAnswersHoldsUpNeitherTheAnswerNorTheEnd) {
    const Hanging hanging(home.path(u"Code"_s));
    if (!hanging.mounted())
        GTEST_SKIP() << "there is no FUSE here";
    EXPECT_TRUE(answerTo(u"frob"_s).contains(u"App\tFrobnicator"_s));
    QElapsedTimer timer;
    timer.start();
    EXPECT_TRUE(endsWhenAsked());
    // Half a second, and what a busy machine adds.
    EXPECT_LT(timer.elapsed(), 3'000);
}

TEST_F(FaultyMountTest, aPathThatNeverAnswersHoldsUpNeitherTheAnswerNorTheEnd) {
    const QString place = home.path(u"far"_s);
    ASSERT_TRUE(QDir().mkpath(place));
    const Hanging hanging(place);
    if (!hanging.mounted())
        GTEST_SKIP() << "there is no FUSE here";
    const QString answer = answerTo(place + u"/deep"_s);
    EXPECT_TRUE(answer.contains(u"Web\tSearch"_s)) << qPrintable(answer);
    EXPECT_FALSE(answer.contains(u"Folder\t"_s)) << qPrintable(answer);
    QElapsedTimer timer;
    timer.start();
    EXPECT_TRUE(endsWhenAsked());
    // As above.
    EXPECT_LT(timer.elapsed(), 3'000);
}

TEST_F(FaultyMountTest, aReadOnlyHomeIsNotMissed) {
    const ReadOnly readOnly(home.path({}));
    ASSERT_TRUE(readOnly.mounted());
    const QString answer = answerTo(u"frob"_s);
    EXPECT_TRUE(answer.contains(u"App\tFrobnicator"_s)) << qPrintable(answer);
    EXPECT_TRUE(answer.contains(u"frobs"_s)) << qPrintable(answer);
    EXPECT_TRUE(endsWhenAsked());
}

TEST_F(FaultyMountTest, aFullDiskIsNotMissed) {
    const SmallDisk disk(home.path(u".local/share"_s), 64);
    ASSERT_TRUE(disk.mounted());
    QFile filler(home.path(u".local/share/filler"_s));
    ASSERT_TRUE(filler.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    while (filler.write(QByteArray(4096, 'x')) > 0) {
    }
    EXPECT_TRUE(answerTo(u"frob"_s).contains(u"make\tfrobs"_s));
    EXPECT_TRUE(endsWhenAsked());
}

TEST_F(FaultyWorldTest, whoHasNoHomeAndNoAccountGetsAnAnswer) {
    if (geteuid() != 0)
        GTEST_SKIP() << "it takes an administrator to be somebody else";
    QProcessEnvironment nobodys = environment();
    nobodys.remove(u"HOME"_s);
    // Installed for everybody, unlike the rest of this home.
    writeFile(home.path(u"applications/frob.desktop"_s),
              u"[Desktop Entry]\nType=Application\nName=Frobnicator\nExec=true\n"_s);
    for (const QString &path : {QString(), u"applications"_s})
        ASSERT_EQ(chmod(QFile::encodeName(home.path(path)).constData(), 0755), 0);
    const QString answer =
        answerTo(u"frob"_s, nobodys,
                 {u"setpriv"_s, u"--reuid=54321"_s, u"--regid=54321"_s, u"--clear-groups"_s});
    EXPECT_TRUE(answer.contains(u"App\tFrobnicator"_s)) << qPrintable(answer);
    EXPECT_TRUE(endsWhenAsked());
}

TEST_F(FaultyWorldTest, nobodyOfTheSameUserReadsItsMemoryOrTracesIt) {
    if (geteuid() != 0)
        GTEST_SKIP() << "it takes an administrator to be somebody else";
    QProcessEnvironment somebodys = environment();
    somebodys.remove(u"HOME"_s);
    const QString id = QString::number(somebody);
    answerTo(u"2+3"_s, somebodys,
             {u"setpriv"_s, u"--reuid="_s + id, u"--regid="_s + id, u"--clear-groups"_s});
    const Onlooker seen = lookAt(static_cast<pid_t>(program_.processId()));
    EXPECT_FALSE(seen.reads || seen.traces);
    EXPECT_TRUE(endsWhenAsked());
}

TEST_F(FaultyWorldTest, whereTooFewFilesCanBeOpenedItSaysSoInALineAndEnds) {
    int refusals = 0;
    // With fewer the system itself may be unable to load a program.
    for (int files = 8; files <= 80; files += files < 32 ? 1 : 8) {
        const int exitCode = exitCodeWith(files, {u"--bench"_s});
        const QString said = QString::fromUtf8(program_.readAllStandardError());
        EXPECT_EQ(said.count(u'\n'), 1) << files << ": " << qPrintable(said);
        if (exitCode == 0) {
            EXPECT_TRUE(said.startsWith(u"n=200 "_s)) << files << ": " << qPrintable(said);
            continue;
        }
        ++refusals;
        EXPECT_EQ(exitCode, 1) << files;
        EXPECT_TRUE(said.contains(u"'ulimit -n'"_s)) << files << ": " << qPrintable(said);
    }
    EXPECT_GT(refusals, 0);
    EXPECT_EQ(exitCodeWith(8, {u"--version"_s}), 0);
}

TEST_F(FaultyWorldTest, aLimitThatMayBeRaisedIsNone) {
    makeDependent(program_);
    program_.setProcessEnvironment(environment());
    program_.start(u"prlimit"_s, {u"--nofile=8:1024"_s, executable, u"--bench"_s});
    EXPECT_TRUE(eventually([this] { return program_.state() == QProcess::NotRunning; }));
    EXPECT_EQ(program_.exitCode(), 0);
}

TEST_F(FaultyWorldTest, itEndsWhenAskedThoughNothingCanBeOpenedAnyMore) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "to look at an object's type, or for leaks, the sanitizer opens files";
#endif
    answerTo(u"2+3"_s);
    const rlimit none{0, 0};
    ASSERT_EQ(prlimit(static_cast<pid_t>(program_.processId()), RLIMIT_NOFILE, &none, nullptr), 0);
    EXPECT_TRUE(endsWhenAsked());
}

TEST_F(FaultyWorldTest, cachesAndSettingsThatArePipesAreNotWaitedFor) {
    const QString settings = home.path(u".config/Corvid/defaults.json"_s);
    ASSERT_TRUE(QFile::remove(settings));
    ASSERT_TRUE(QDir().mkpath(home.path(u".local/share/Corvid"_s)));
    for (const QString &path : {settings, home.path(u".local/share/Corvid/catalog.json"_s),
                                home.path(u".local/share/Corvid/projects.json"_s)})
        ASSERT_EQ(mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    const QString answer = answerTo(u"frob"_s);
    EXPECT_TRUE(answer.contains(u"App\tFrobnicator"_s)) << qPrintable(answer);
    EXPECT_TRUE(endsWhenAsked());
}

TEST_F(FaultyWorldTest, namesOfManyLinesAndDirectionsStayOnTheirLine) {
    writeFile(home.path(u".local/share/applications/strange.desktop"_s),
              u"[Desktop Entry]\nType=Application\nExec=true\n"
              "Name=strange\\nApp\\tFake\u202egnirts\x1b[31m\n"_s);
    const QString answer = answerTo(u"strange"_s);
    EXPECT_EQ(answer.count(u'\n'), 2) << qPrintable(answer);
    EXPECT_FALSE(answer.contains(QChar(0x202e)) || answer.contains(QChar(0x1b)));
}
