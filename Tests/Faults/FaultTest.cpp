// The program in worlds that are broken in one way each: it goes on answering what is typed, and
// loses nothing that is the user's.

#include "Worlds/FaultWorld.h"
#include "Worlds/PrivateMounts.h"
#include "Worlds/QtPrinters.h"

#include <QProcess>

#include <chrono>
#include <ctime>
#include <sys/stat.h>

using namespace corvid;
using namespace corvid::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class FaultTest : public FaultWorld {};

/** Faults that only a mount can make. */
class MountFaultTest : public FaultWorld {
protected:
    void SetUp() override {
        if (!enterPrivateMounts())
            GTEST_SKIP() << "mounting is not permitted here";
    }
};

class ManyFilesTest : public FaultWorld {
protected:
    void answersWhileWalking(int foldersOfAThousand) const {
        furnish();
        for (int folder = 0; folder < foldersOfAThousand; ++folder) {
            const QString path = inHome(u"Code/many%1"_s.arg(folder));
            write(path + u"/file"_s);
            const QByteArray blank = QFile::encodeName(path + u"/file"_s);
            // Links to one empty file: entries like any other, made without an inode for each.
            for (int file = 1; file < 1000; ++file)
                ASSERT_EQ(link(blank.constData(),
                               QFile::encodeName(path + u"/file%1"_s.arg(file)).constData()),
                          0);
        }
        Program program;
        int answers = 0;
        ASSERT_TRUE(waitUntil(
            [&] {
                EXPECT_FALSE(program.typed(u"frob"_s).isEmpty());
                ++answers;
                return program.isScanned();
            },
            std::chrono::seconds(50)));
        EXPECT_GE(answers, 1);
        EXPECT_TRUE(program.typed(u"frob"_s).contains(u"Frobnicator"_s));
    }
};

/** What this thread has used of a processor, whatever else the machine is busy with. */
std::chrono::nanoseconds threadTime() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

/** Writes until there is no more room. */
void fill(const QString &path) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    for (const qsizetype size : {qsizetype(4096), qsizetype(1)})
        while (file.write(QByteArray(size, 'x')) == size) {
        }
}

} // namespace

TEST_F(MountFaultTest, onAFullDiskWhatWasChosenCountsAtOnceAndIsStoredWhenThereIsRoomAgain) {
    const SmallDisk disk(home(), 512);
    ASSERT_TRUE(disk.mounted());
    furnish();
    const QByteArray settingsBefore = contentOf(settingsFile());
    QByteArray catalogBefore;
    {
        Program first;
        ASSERT_TRUE(first.waitForScans());
        ASSERT_TRUE(waitUntil([&] {
            catalogBefore = contentOf(cacheFile(u"catalog"_s));
            return !catalogBefore.isEmpty() && !contentOf(cacheFile(u"projects"_s)).isEmpty();
        }));
    }
    fill(inHome(u"filler"_s));
    {
        Program program;
        ASSERT_TRUE(program.waitForScans());
        EXPECT_EQ(program.typed(u"frob"_s), bothFound);
        program.choose(u"frob"_s);
        program.defaults.synchronize();
        EXPECT_EQ(program.stats.counts().value(frobKey()), 1);
        EXPECT_EQ(contentOf(settingsFile()), settingsBefore);
        EXPECT_EQ(contentOf(cacheFile(u"catalog"_s)), catalogBefore);

        ASSERT_TRUE(QFile::remove(inHome(u"filler"_s)));
        program.choose(u"frob"_s);
        program.defaults.synchronize();
    }
    EXPECT_EQ(storedLaunches(frobKey()), 2);
    EXPECT_EQ(storedLaunches(u"x"_s), 3);
    EXPECT_EQ(settings()[u"theirs"_s], QJsonValue(QJsonArray{1, 2}));
}

TEST_F(MountFaultTest, inAReadOnlyHomeWhatWasChosenCountsAtOnceAndIsStoredOnceItCanBe) {
    furnish();
    const QByteArray settingsBefore = contentOf(settingsFile());
    ReadOnly readOnly(home());
    ASSERT_TRUE(readOnly.mounted());
    {
        Program program;
        ASSERT_TRUE(program.waitForScans());
        program.choose(u"frob"_s);
        program.defaults.synchronize();
        EXPECT_EQ(program.typed(u"frob"_s), bothFound);
        EXPECT_EQ(program.stats.counts().value(frobKey()), 1);
        EXPECT_EQ(contentOf(settingsFile()), settingsBefore);
        readOnly.makeWritable();
    }
    EXPECT_EQ(storedLaunches(frobKey()), 1);
    EXPECT_EQ(storedLaunches(u"x"_s), 3);
}

TEST_F(FaultTest, withoutAHomeThatCanBeMadeTheSystemsApplicationsAreFoundAndCounted) {
    // Nobody can make a folder there, not even an administrator.
    qputenv("HOME", "/proc/nobody");
    write(root_.filePath(u"system/applications/frob.desktop"_s),
          "[Desktop Entry]\nType=Application\nExec=true\nName=Frobnicator\n");
    Program program;
    ASSERT_TRUE(program.waitForScans());
    program.choose(u"frob"_s);
    EXPECT_EQ(program.typed(u"frob"_s), QStringList{u"Frobnicator"_s});
    ASSERT_EQ(program.stats.counts().size(), 1);
    EXPECT_EQ(*program.stats.counts().begin(), 1);
    program.defaults.synchronize();
    EXPECT_EQ(*program.stats.counts().begin(), 1);
}

TEST_F(MountFaultTest, aCacheFolderThatCannotBeWrittenKeepsTheOldCacheAndNothingElseIsMissing) {
    furnish();
    const QByteArray old = R"([{"name":"old","path":"/old","stack":[]}])";
    write(cacheFile(u"projects"_s), old);
    const ReadOnly readOnly(QFileInfo(cacheFile({})).path());
    ASSERT_TRUE(readOnly.mounted());
    Program program;
    ASSERT_TRUE(program.waitForScans());
    EXPECT_EQ(program.typed(u"frob"_s), bothFound);
    program.choose(u"frob"_s);
    program.defaults.synchronize();
    EXPECT_EQ(storedLaunches(frobKey()), 1);
    EXPECT_EQ(contentOf(cacheFile(u"projects"_s)), old);
}

TEST_F(FaultTest, aCacheFolderThatIsAFileStaysThatFile) {
    furnish();
    const QString folder = QFileInfo(cacheFile({})).path();
    write(folder, "somebody's notes");
    Program program;
    ASSERT_TRUE(program.waitForScans());
    EXPECT_EQ(program.typed(u"frob"_s), bothFound);
    program.choose(u"frob"_s);
    program.defaults.synchronize();
    EXPECT_EQ(storedLaunches(frobKey()), 1);
    EXPECT_EQ(contentOf(folder), "somebody's notes");
}

TEST_F(FaultTest, cachesAndSettingsThatArePipesKeepNobodyWaiting) {
    furnish();
    ASSERT_TRUE(QFile::remove(settingsFile()));
    ASSERT_TRUE(QDir().mkpath(QFileInfo(cacheFile({})).path()));
    for (const QString &path : {settingsFile(), cacheFile(u"catalog"_s), cacheFile(u"projects"_s)})
        ASSERT_EQ(mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    Program program;
    ASSERT_TRUE(program.waitForScans());
    EXPECT_EQ(program.typed(u"frob"_s), bothFound);
    program.choose(u"frob"_s);
    EXPECT_EQ(program.stats.counts().value(frobKey()), 1);
}

TEST_F(FaultTest, pipesWhereFilesShouldBeKeepNoScanWaiting) {
    furnish();
    const QString bundle = inHome(u"Applications/Frob.app/Contents"_s);
    ASSERT_TRUE(QDir().mkpath(bundle));
    ASSERT_TRUE(QDir().mkpath(inHome(u"Code/frobs/.git"_s)));
    for (const QString &path :
         {bundle + u"/Info.plist"_s, inHome(u".local/share/applications/pipe.desktop"_s),
          inHome(u"Code/frobs/package.json"_s), inHome(u"Code/pipe"_s)})
        ASSERT_EQ(mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    Program program;
    ASSERT_TRUE(program.waitForScans());
    EXPECT_EQ(program.typed(u"frob"_s), bothFound);
}

TEST_F(ManyFilesTest, whileAHundredThousandFilesAreWalkedEveryLetterIsAnswered) {
    answersWhileWalking(100);
}

// For a soak: takes minutes on a disk, and is quick with TMPDIR=/dev/shm.
TEST_F(ManyFilesTest, DISABLED_whileAMillionFilesAreWalkedEveryLetterIsAnswered) {
    answersWhileWalking(1000);
}

TEST_F(FaultTest, rootsThatAreLoopsOfLinksHoldNobodyUp) {
    furnish();
    const auto makeLink = [](const QString &target, const QString &path) {
        ASSERT_TRUE(QFile::link(target, path));
    };
    makeLink(inHome(u"dev"_s), inHome(u"src"_s));
    makeLink(inHome(u"src"_s), inHome(u"dev"_s));
    makeLink(inHome(u"Projects"_s), inHome(u"Projects"_s));
    makeLink(inHome(u"Code"_s), inHome(u"Code/again"_s));
    Program program;
    ASSERT_TRUE(program.waitForScans());
    EXPECT_EQ(program.typed(u"frob"_s), bothFound);
}

TEST_F(MountFaultTest, aRootThatIsMountedInItselfIsWalkedToItsUsualDepth) {
    furnish();
    ASSERT_TRUE(QDir().mkpath(inHome(u"Code/a"_s)));
    const SeenAlsoAt loop(inHome(u"Code"_s), inHome(u"Code/a"_s));
    // And once more, so that there is a loop below the loop.
    const SeenAlsoAt inner(inHome(u"Code"_s), inHome(u"Code/a/a"_s));
    ASSERT_TRUE(loop.mounted() && inner.mounted());
    Program program;
    ASSERT_TRUE(program.waitForScans());
    EXPECT_EQ(program.typed(u"frob"_s),
              (QStringList{u"Frobnicator"_s, u"frobs"_s, u"frobs"_s, u"frobs"_s}));
}

TEST_F(MountFaultTest, aRootThatNeverAnswersHoldsUpNeitherTheStartNorAnyLetter) {
    furnish();
    write(cacheFile(u"projects"_s),
          R"([{"name":"frobs","path":"/last/time/frobs","stack":["make"]}])");
    std::unique_ptr<Program> program; // ends after what it waits for
    const Hanging hanging(inHome(u"Code"_s));
    if (!hanging.mounted())
        GTEST_SKIP() << "there is no FUSE here";
    // Links lead there, too.
    ASSERT_TRUE(QFile::link(inHome(u"Code/deep"_s), inHome(u"Projects"_s)));
    program = std::make_unique<Program>();
    ASSERT_TRUE(waitUntil([&] { return program->applicationsAreScanned(); }));
    EXPECT_EQ(program->typed(u"frob"_s), bothFound) << "those of the last run";
    program->choose(u"frob"_s);
    program->defaults.synchronize();
    EXPECT_EQ(storedLaunches(frobKey()), 1);
    EXPECT_TRUE(program->projects.scanning());
}

TEST_F(MountFaultTest, aPathThatNeverAnswersIsNoRowAndKeepsNoOtherWaiting) {
    furnish();
    ASSERT_TRUE(QDir().mkpath(inHome(u"far"_s)) && QDir().mkpath(inHome(u"near"_s)));
    std::unique_ptr<Program> program; // ends after what it waits for
    const Hanging hanging(inHome(u"far"_s));
    if (!hanging.mounted())
        GTEST_SKIP() << "there is no FUSE here";
    program = std::make_unique<Program>();
    ASSERT_TRUE(program->waitForScans());
    const auto threads = [] {
        return QDir(u"/proc/self/task"_s).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size();
    };
    const auto findsNear = [&] {
        return program->typed(u"~/near"_s).first() == inHome(u"near"_s) || waitUntil([&] {
                   return program->model.results().front().title == inHome(u"near"_s);
               });
    };
    // Each letter of it is a path that leads there.
    const QString far = u"~/far/"_s + QString(200, u'x');
    EXPECT_EQ(program->typed(far).size(), 2) << "the rows that are always there";
    EXPECT_TRUE(findsNear());
    const qsizetype threadsBefore = threads();
    EXPECT_EQ(program->typed(far).size(), 2);
    EXPECT_TRUE(findsNear());
    EXPECT_TRUE(waitUntil([&] { return threads() <= threadsBefore; }))
        << "one waits, and no more come";
}

TEST_F(FaultTest, ofFiveThousandEntriesTheSoundHalfIsFound) {
    const QString folder = inHome(u".local/share/applications/"_s);
    ASSERT_TRUE(QDir().mkpath(folder));
    const std::vector<QByteArray> broken{
        "",
        "[Desktop Entry]\nType=Application\nExec=true\n",
        "[Desktop Entry]\nType=Application\nName=Frob\xff\xfe\nExec=true\n[",
        "Name=Frob\nType=Application\nExec=true\n",
        "[Desktop Entry\nType=Application\nName=Frob\nExec=true\n",
        QByteArray(5000, '\0'),
        QByteArray("\x7f"
                   "ELF\x02\x01\x01",
                   7) +
            QByteArray(3000, '\xa5'),
        "[Desktop Entry]\nType=Application\nName=Frob\nExec=\"true\n",
        "[Desktop Entry]\nName=Frob\nExec=true\n",
        QByteArray("[Desktop Entry]\n").repeated(2000),
    };
    for (int i = 0; i < 2500; ++i) {
        writeEntry(u"sound%1"_s.arg(i), "Frob " + QByteArray::number(i));
        const QString path = folder + u"broken%1.desktop"_s.arg(i);
        switch (i % 12) {
        case 0:
            ASSERT_TRUE(QDir().mkpath(path));
            break;
        case 1:
            ASSERT_TRUE(QFile::link(u"nowhere"_s, path));
            break;
        default:
            write(path, broken[static_cast<std::size_t>(i) % broken.size()]);
        }
    }
    Program program;
    ASSERT_TRUE(program.waitForScans());
    EXPECT_EQ(program.catalog.apps().size(), 2500U);
    EXPECT_EQ(program.typed(u"frob 2499"_s), QStringList{u"Frob 2499"_s});
    EXPECT_EQ(program.typed(u"frob"_s).size(), 9);
}

TEST_F(FaultTest, anEntryThatSeveralNamesLeadToEndsTheProgramAtNoStart) {
    furnish();
    const QString system = root_.filePath(u"system"_s);
    const QString inner = system + "/applications/sub"_L1;
    qputenv("XDG_DATA_DIRS", QFile::encodeName(system + u':' + inner));
    const QByteArray entry = "[Desktop Entry]\nType=Application\nExec=true\nName=Frob twice\n";
    write(inner + "/applications/twice.desktop"_L1, entry);
    // Two names that differ by nothing but a mark that readers of JSON like to drop.
    write(system + "/applications/x\".desktop"_L1, entry);
    write(system + u"/applications/x\"\ufeff.desktop"_s, entry);
    for (int start = 0; start < 2; ++start) {
        Program program; // the second one starts from the cache
        ASSERT_TRUE(program.waitForScans());
        EXPECT_EQ(program.catalog.apps().size(), 4U);
        EXPECT_EQ(program.typed(u"frob twice"_s).size(), 3);
        ASSERT_TRUE(waitUntil([&] {
            return readCache<AppEntry>(openRegularFile(cacheFile(u"catalog"_s))) ==
                   program.catalog.apps();
        }));
    }
}

TEST_F(FaultTest, anEntryOfTenMegabytesIsLeftOutAndTheOthersAreFound) {
    furnish();
    writeEntry(u"huge"_s, "Frob huge\nComment=" + QByteArray(10'000'000, 'x'));
    Program program;
    ASSERT_TRUE(program.waitForScans());
    EXPECT_EQ(program.typed(u"frob"_s), bothFound);
}

TEST_F(FaultTest, namesOfAnyCharactersAndLengthAreFoundAndKept) {
    const QByteArray longName = "Frob" + QByteArray("\xc3\xa9l").repeated(50'000);
    writeEntry(u"long"_s, longName);
    writeEntry(u"lines"_s, R"(Frob\nbelow\r\tbeside)");
    writeEntry(u"control"_s, "Frob\x01\x1b[31m\x7f");
    writeEntry(u"bidi"_s, "Frob \u202etxt.exe\u202c \u2067x\u2069");
    const QString lines = u"frob\nlines\u202e\x01"_s;
    write(inHome(u"Code/"_s + lines + u"/Makefile"_s));
    std::vector<AppEntry> found;
    for (int run = 0; run < 2; ++run) {
        Program program; // the second one starts from the caches
        ASSERT_TRUE(program.waitForScans());
        EXPECT_EQ(program.typed(u"frob"_s).size(), 5);
        EXPECT_EQ(program.typed(QString::fromUtf8(longName.left(90))),
                  QStringList{QString::fromUtf8(longName).left(256)});
        EXPECT_TRUE(program.typed(u"frob\nli"_s).contains(lines));
        program.choose(QString::fromUtf8(longName.left(30)));
        program.defaults.synchronize();
        if (run == 1) {
            EXPECT_EQ(program.catalog.apps(), found);
        }
        found = program.catalog.apps();
        ASSERT_TRUE(waitUntil([&] {
            return readCache<AppEntry>(openRegularFile(cacheFile(u"catalog"_s))) == found &&
                   readCache<ProjectEntry>(openRegularFile(cacheFile(u"projects"_s))) ==
                       program.projects.projects();
        }));
    }
    EXPECT_EQ(storedLaunches(u"long|"_s + inHome(u".local/share/applications/long.desktop"_s)), 2);
}

TEST_F(FaultTest, namesOfAMegabyteAreCutBeforeTheyAreMatchedAndCached) {
    furnish();
    for (int i = 0; i < 20; ++i)
        writeEntry(u"long%1"_s.arg(i), "Frob" + QByteArray::number(i) + QByteArray(1'000'000, 'x'));
    Program program;
    ASSERT_TRUE(program.waitForScans());
    ASSERT_EQ(program.catalog.apps().size(), 21U);
    for (const AppEntry &app : program.catalog.apps()) {
        EXPECT_LE(app.name.size(), 256);
        for (const QString &alias : app.aliases)
            EXPECT_LE(alias.size(), 256);
    }
    EXPECT_TRUE(program.typed(u"frob7"_s).value(0).startsWith("Frob7x"_L1));
    ASSERT_TRUE(waitUntil([&] { return QFileInfo(cacheFile(u"catalog"_s)).size() > 0; }));
    EXPECT_LT(QFileInfo(cacheFile(u"catalog"_s)).size(), 21 * 1024);
}

// In memory: on a disk it would take minutes.
TEST_F(MountFaultTest, ofTwentyThousandApplicationsAndThreeHundredThousandProjectsEachIsFound) {
    const SmallDisk disk(home(), 4 * 1024 * 1024);
    ASSERT_TRUE(disk.mounted());
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    constexpr int applications = 2'000; // each takes twenty times as long
    constexpr int roots = 1;
#else
    constexpr int applications = 20'000;
    constexpr int roots = 10;
#endif
    constexpr int projectsOfARoot = 30'000; // as many as a walk lists
    for (int i = 0; i < applications; ++i)
        writeEntry(u"app%1"_s.arg(i), "Application " + QByteArray::number(i));
    write(inHome(u"git"_s));
    const QByteArray marker = QFile::encodeName(inHome(u"git"_s));
    QJsonArray rootPaths;
    for (int root = 0; root < roots; ++root) {
        const QString path = inHome(u"root%1"_s.arg(root));
        ASSERT_TRUE(QDir().mkpath(path));
        rootPaths.append(path);
        for (int i = 0; i < projectsOfARoot; ++i) {
            const QByteArray folder = QFile::encodeName(path) + "/project-" +
                                      QByteArray::number(root) + '-' + QByteArray::number(i);
            ASSERT_EQ(mkdir(folder.constData(), 0700), 0);
            ASSERT_EQ(link(marker.constData(), (folder + "/.git").constData()), 0);
        }
    }
    write(settingsFile(), QJsonDocument(QJsonObject{{u"projectRoots"_s, rootPaths}}).toJson());
    Program program;
    ASSERT_TRUE(waitUntil(
        [&] {
            EXPECT_FALSE(program.typed(u"pr"_s).isEmpty());
            return program.isScanned();
        },
        std::chrono::seconds(200)));
    EXPECT_EQ(program.catalog.apps().size(), std::size_t{applications});
    EXPECT_EQ(program.projects.projects().size(), std::size_t{roots * projectsOfARoot});
    const QString application = u"Application %1"_s.arg(applications - 1);
    EXPECT_EQ(program.typed(application).value(0), application);
    const QString project = u"project-%1-%2"_s.arg(roots - 1).arg(projectsOfARoot - 1);
    EXPECT_EQ(program.typed(project).value(0), project);
    program.choose(project);
    EXPECT_EQ(program.stats.counts().size(), 1);
    ASSERT_TRUE(waitUntil([&] {
        return QFileInfo::exists(cacheFile(u"projects"_s)) &&
               QFileInfo::exists(cacheFile(u"catalog"_s));
    }));
    EXPECT_EQ(readCache<ProjectEntry>(openRegularFile(cacheFile(u"projects"_s))),
              program.projects.projects())
        << "for the next start";
    EXPECT_EQ(readCache<AppEntry>(openRegularFile(cacheFile(u"catalog"_s))),
              program.catalog.apps());
}

TEST_F(FaultTest, aQueryAsLongAsTheFieldTakesIsAnswered) {
    furnish();
    Program program;
    ASSERT_TRUE(program.waitForScans());
    constexpr qsizetype longest = 32'767;
    for (const QString &piece :
         {u"frob"_s, u"("_s, u"1+"_s, u"é\u0301"_s, u" in "_s, u"\n\x01"_s}) {
        const std::chrono::nanoseconds before = threadTime();
        program.model.setQuery(piece.repeated(longest / piece.size()));
        EXPECT_LT(threadTime() - before, std::chrono::seconds(5)) << qPrintable(piece);
        EXPECT_FALSE(program.model.results().empty());
    }
    EXPECT_EQ(program.typed(u"frob"_s), bothFound);
}
