#pragma once

#include <QByteArray>
#include <QtGlobal>

#include <cerrno>

#include <fcntl.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

namespace corvid::test {

/** What another process of the same user could do to one. */
struct Onlooker {
    bool recognizes = false; ///< sees its root folder, as portals do
    bool reads = false;      ///< its memory
    bool traces = false;
};

/** A user who is not the administrator, to whom everything is allowed. */
inline constexpr uid_t somebody = 54321;

/** Looks from a process of that user's. Needs an administrator. */
inline Onlooker lookAt(pid_t process) {
    enum Sight { Recognized = 1, Readable = 2, Traceable = 4, Failed = 8 };
    const pid_t onlooker = fork();
    if (onlooker == 0) {
        if (setresgid(somebody, somebody, somebody) != 0 ||
            setresuid(somebody, somebody, somebody) != 0)
            _exit(Failed);
        const QByteArray folder = "/proc/" + QByteArray::number(process);
        int sight = 0;
        if (open((folder + "/root").constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC) >= 0)
            sight |= Recognized;
        if (open((folder + "/mem").constData(), O_RDONLY | O_CLOEXEC) >= 0)
            sight |= Readable;
        if (ptrace(PTRACE_SEIZE, process, nullptr, nullptr) == 0)
            sight |= Traceable;
        _exit(sight);
    }
    int status = 0;
    if (onlooker < 0 || waitpid(onlooker, &status, 0) != onlooker || !WIFEXITED(status) ||
        WEXITSTATUS(status) == Failed)
        qFatal("nobody could look");
    const int sight = WEXITSTATUS(status);
    return {(sight & Recognized) != 0, (sight & Readable) != 0, (sight & Traceable) != 0};
}

} // namespace corvid::test
