#pragma once

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

/** The systemd scope of a process that we launched: app-corvid-<application>-<pid>.scope, with
    the application escaped as unit names are. Pure. */
QString scopeName(const QString &application, qint64 pid);

} // namespace corvid
