#include "Platform/Linux/Secrets/CoreDumps.h"

#include "Platform/Linux/Launching/DetachedProcess.h"
#include "Worlds/ChildEnvironments.h"
#include "Worlds/LaunchWorld.h"

#include <sys/resource.h>
#include <sys/wait.h>

using namespace corvid;
using namespace corvid::test;

namespace {

/** Whether a process that does this and then aborts leaves a core. */
bool dumpsCore(const QString &folder, void (*prepare)()) {
    const QByteArray path = QFile::encodeName(folder);
    const pid_t child = fork();
    if (child == 0) {
        rlimit limit = {};
        getrlimit(RLIMIT_CORE, &limit);
        limit.rlim_cur = limit.rlim_max;
        if (chdir(path.constData()) != 0 || setrlimit(RLIMIT_CORE, &limit) != 0)
            _exit(1);
        prepare();
        abort();
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status));
    return WCOREDUMP(status);
}

} // namespace

TEST(CoreDumps, areForbidden) {
    const QTemporaryDir folder;
    if (!dumpsCore(folder.path(), [] {}))
        GTEST_SKIP() << "no process dumps core here";
    EXPECT_FALSE(dumpsCore(folder.path(), forbidCoreDumps));
}

TEST(CoreDumps, areAllowedAgainInWhatWeStart) {
    const QTemporaryDir folder;
    rlimit limit = {};
    getrlimit(RLIMIT_CORE, &limit);
    const rlimit before = limit;
    limit.rlim_cur = limit.rlim_max;
    ASSERT_EQ(setrlimit(RLIMIT_CORE, &limit), 0);
    forbidCoreDumps();
    const QString result = folder.filePath(u"limit"_s);
    const QString script =
        u"grep 'Max core' /proc/self/limits > '%1.part' && mv '%1.part' '%1'"_s.arg(result);
    DetachedCommand command;
    command.arguments = QStringList{u"/bin/sh"_s, u"-c"_s, script};
    command.environment = childEnvironment(QProcessEnvironment::systemEnvironment());
    startDetached(command);
    EXPECT_TRUE(eventually([&] { return QFile::exists(result); }));
    const QString expected =
        limit.rlim_max == RLIM_INFINITY ? u"unlimited"_s : QString::number(limit.rlim_max);
    EXPECT_EQ(readFile(result).simplified().section(u' ', 4, 4), expected);
    rlimit ours = {};
    getrlimit(RLIMIT_CORE, &ours);
    EXPECT_LE(ours.rlim_cur, 1U);
    setrlimit(RLIMIT_CORE, &before);
}
