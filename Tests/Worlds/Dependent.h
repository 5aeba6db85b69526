#pragma once

#include <QProcess>

#include <csignal>
#include <sys/prctl.h>

namespace corvid::test {

/** Makes a helper process end with the test program, however that ends. */
inline void makeDependent(QProcess &process) {
    process.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
}

} // namespace corvid::test
