#pragma once

#include "Base/FileDescriptor.h"
#include "Platform/Linux/Running/WindowMatcher.h"

#include <QByteArray>
#include <QObject>
#include <QSet>
#include <QString>

#include <functional>
#include <mutex>
#include <optional>
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

    explicit RunningApplications(Displays displays);

    /** Begins to watch; once. */
    void start();

    /** Those that windows may belong to, in place of what was set before. Before the first time
        nothing is known to run. Any thread. */
    void setEntries(const std::vector<DesktopEntry> &entries);

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

    /** What the thread has not taken yet. */
    struct Inbox {
        std::vector<Wish> wishes;
        std::optional<WindowMatcher> matcher; ///< in place of the one that it has
    };

    class Watcher;

    void wake() const;
    // For the thread:
    Inbox takeInbox(bool last);
    void publish(const QSet<QString> &ids, const QSet<QString> &activatable);
    void answer(const Wish &wish, bool activated);

    Displays displays_;

    QSet<QString> ids_;
    QSet<QString> activatable_; ///< paths; empty where no window can be brought to the front

    std::mutex mutex_; ///< guards what follows
    Inbox inbox_;
    bool deaf_ = false; ///< the thread takes no more wishes

    FileDescriptor waker_; ///< an eventfd that wakes the thread
    QObject receiver_;     ///< results addressed to it are dropped with us
    std::jthread thread_;
};

} // namespace corvid
