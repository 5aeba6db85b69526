#pragma once

#include "Platform/DesktopEntries.h"

#include <QByteArray>
#include <QString>

#include <optional>
#include <vector>

namespace corvid {

/** What a window and its process tell about their application; empty where they do not. */
struct WindowTraits {
    QString instance;         ///< first half of WM_CLASS
    QString windowClass;      ///< second half of WM_CLASS
    QString gtkApplicationId; ///< _GTK_APPLICATION_ID
    QString hintedEntry;      ///< _BAMF_DESKTOP_FILE, a path
    QString launchedEntry;    ///< path of the entry whose launch made exactly this process
    QString controlGroup;     ///< the process's line in /proc/<pid>/cgroup
    QString bundle = {};      ///< path of the bundle ("….app") whose program the process runs
};

/** What the system tells of a process, as it stands in /proc. */
struct ProcessRecord {
    qint64 pid = 0;
    QByteArray controlGroups;
    QByteArray environment;
    QByteArray arguments;
    QString program; ///< a path
};

/** Adds what a process tells about its application. Pure, for any bytes. */
void addTraits(const ProcessRecord &process, WindowTraits &traits);

/** Adds what the system tells of the window's process; nothing when `pid` is 0. Reads /proc:
    background only. */
void addProcessTraits(qint64 pid, WindowTraits &traits);

/**
 * Tells which desktop entry a window belongs to: by its class where an entry claims it
 * (StartupWMClass), by what the toolkit and the launcher wrote down, by the class's likeness to an
 * entry's id or program, and last by the name of the process's systemd unit.
 * Immutable: any thread. Letter case is never told apart.
 */
class WindowMatcher {
public:
    WindowMatcher() = default;
    explicit WindowMatcher(const std::vector<DesktopEntry> &entries);

    struct Match {
        QString id;   ///< desktop id
        QString path; ///< the entry file
        bool operator==(const Match &) const = default;
    };
    std::optional<Match> match(const WindowTraits &window) const;

private:
    /** What an entry is known by. */
    struct Candidate {
        Match entry;
        QString windowClass; ///< that it claims; may be empty
        QString program;     ///< may be empty
    };

    // Thousands of them, looked through once for a new window: tables would weigh more than they
    // are worth. Of several entries the first counts.
    std::vector<Candidate> candidates_;
};

/** The application id in the name of a systemd unit of a launched application,
    "app-<launcher>-<id>-<number>.scope" or "app-<launcher>-<id>@<number>.service"; empty when the
    control group has no such unit. Pure. */
QString applicationOfControlGroup(const QString &controlGroup);

} // namespace corvid
