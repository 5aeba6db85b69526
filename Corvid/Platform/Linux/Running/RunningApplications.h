#pragma once

#include "Base/FileDescriptor.h"
#include "Platform/DesktopEntries.h"

#include <QByteArray>
#include <QObject>
#include <QSet>
#include <QString>

#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace corvid {

/**
 * Which applications have a window on the desktop, kept up to date by events: a thread of its own
 * sleeps until the Wayland compositor's list of windows changes, or the X11 window manager's where
 * the compositor has none. Without either the set stays empty. Main thread.
 */
class RunningApplications {
public:
    struct Displays {
        QByteArray x11;     ///< as in $DISPLAY; empty for none
        QByteArray wayland; ///< as in $WAYLAND_DISPLAY; empty for none
    };

    /** `entries` (asked in the background) must outlive this. */
    RunningApplications(const DesktopEntries &entries, Displays displays);

    /** Begins to watch; once. */
    void start();

    /** Desktop ids, and identifiers of bundles. No system call. Valid until control returns to
        the event loop. */
    const QSet<QString> &ids() const { return ids_; }

    /** Called on the main thread: whether the application came to the front. */
    using Activated = std::function<void(bool)>;

    /** Brings the topmost window of an application to the front, which is named by the path of its
        entry or bundle. Returns false, and never calls `done`, when it has no window or when
        nobody here can do that. Else calls `done` from the event loop: with false when the window
        turns out to be gone or does not react within two seconds. Never called once this is
        destroyed. */
    bool activate(const QString &applicationPath, const Activated &done);

private:
    struct Wish {
        QString path; ///< of the application
        Activated done;
    };

    class Watcher;

    void wake() const;
    // For the thread:
    std::vector<Wish> takeWishes(bool last);
    void publish(const QSet<QString> &ids, const QSet<QString> &activatable);
    void answer(const Wish &wish, bool activated);

    const DesktopEntries &entries_;
    Displays displays_;

    QSet<QString> ids_;
    QSet<QString> activatable_; ///< paths; empty where no window can be brought to the front

    std::mutex mutex_;         ///< guards what follows
    std::vector<Wish> wishes_; ///< that the thread has not taken yet
    bool deaf_ = false;        ///< the thread takes no more wishes

    FileDescriptor waker_; ///< an eventfd that wakes the thread
    QObject receiver_;     ///< results addressed to it are dropped with us
    std::jthread thread_;
};

} // namespace corvid
