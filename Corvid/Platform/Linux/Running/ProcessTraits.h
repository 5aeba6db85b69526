#pragma once

#include <QString>

namespace corvid {

/** What the system knows of a process; empty where it does not tell, or tells only its owner. */
struct ProcessTraits {
    QString launchedEntry; ///< path of the desktop entry whose launch made exactly this process
    QString controlGroup;  ///< its line in /proc/<pid>/cgroup
    QString bundle;        ///< path of the application bundle ("….app") whose program it runs
};

/** Reads /proc: background only. */
ProcessTraits processTraits(qint64 pid);

} // namespace corvid
