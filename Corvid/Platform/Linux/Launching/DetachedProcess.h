#pragma once

#include <gio/gio.h>

#include <QByteArray>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

namespace corvid {

struct DetachedCommand {
    QStringList arguments;           ///< the program, looked up in the environment's PATH, first
    QProcessEnvironment environment; ///< variables that describe how we were started are left out
    QString workingFolder;           ///< empty for ours
    QString desktopFile;             ///< path of the entry that is launched; empty for none
    QByteArray startupId;            ///< by which the desktop knows its window; empty for none
    QByteArray activationToken;      ///< by which its window may come to the front; empty for none
};

struct DetachedProcess {
    qint64 pid = 0;
    QString error; ///< empty when the program runs, else the reason in words
};

/**
 * Starts a program that outlives us: in a session of its own, so that no key of our terminal
 * reaches it, adopted by the system, so that it leaves no zombie, its streams on the null device.
 * Returns when the program runs or could not be run; takes as long as a fork. Any thread.
 */
DetachedProcess startDetached(const DetachedCommand &command);

/** Moves a process that was just started into a systemd scope of its own, so that it does not end
    with our service: app-corvid-<application>-<pid>.scope. Without a user manager nothing happens.
    Blocks until the manager has answered or `shutdown` is cancelled; any thread. */
void moveToScope(qint64 pid, const QString &application, GCancellable *shutdown);

} // namespace corvid
