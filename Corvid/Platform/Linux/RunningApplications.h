#pragma once

#include "Platform/DesktopEntries.h"

#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QSet>
#include <QString>

#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

namespace corvid {

/**
 * Which applications have a window on the X11 display, kept up to date by events: a thread of its
 * own sleeps until the window manager's list changes. Without a display the set stays empty.
 * Main thread.
 */
class RunningApplications {
public:
    /** `entries` (asked in the background) must outlive this. `display`: as in $DISPLAY; empty
        for none. */
    RunningApplications(const DesktopEntries &entries, QByteArray display);
    RunningApplications(const RunningApplications &) = delete;
    RunningApplications &operator=(const RunningApplications &) = delete;
    ~RunningApplications();

    /** Begins to watch; once. */
    void start();

    /** Desktop ids, and identifiers of bundles. No system call. Valid until control returns to
        the event loop. */
    const QSet<QString> &ids() const { return ids_; }

    /** Brings the application's topmost window to the front; it is named by the path of its
        entry or bundle. False when it has no window, or when nobody here can do that. */
    bool activate(const QString &applicationPath);

private:
    using Windows = std::vector<std::uint32_t>;

    class Watcher;

    void wake() const;

    const DesktopEntries &entries_;
    QByteArray display_;

    QSet<QString> ids_;
    QHash<QString, Windows> windowsByPath_; ///< empty where no window can be brought to the front

    std::mutex mutex_;                ///< guards what follows
    std::vector<Windows> toActivate_; ///< wishes that the thread has not taken yet

    int wakeDescriptor_ = -1; ///< an eventfd that wakes the thread
    QObject receiver_;        ///< results addressed to it are dropped with us
    std::jthread thread_;
};

} // namespace corvid
