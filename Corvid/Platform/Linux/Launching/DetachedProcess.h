#pragma once

#include "Platform/Linux/Launching/ChildEnvironment.h"

#include <gio/gio.h>

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace corvid {

struct DetachedCommand {
    QStringList arguments;          ///< the program, looked up in the environment's PATH, first
    ChildEnvironment environment{}; ///< without what describes how we were started ourselves
    QString workingFolder{};        ///< empty for ours
    QString application{};          ///< names its systemd scope; empty for none
    QString desktopFile{};          ///< path of the entry that is launched; empty for none
    QByteArray startupId{};         ///< by which the desktop knows its window; empty for none
    QByteArray activationToken{};   ///< lets its window come to the front; empty for none
};

/**
 * Starts a program that outlives us: in a session of its own, so that no key of our terminal
 * reaches it, adopted by the system, so that it leaves no zombie, its streams on the null device,
 * and in a scope of its own where there is a systemd user manager, so that it does not end with our
 * service. Returns why it could not be run; empty for success. Takes as long as a fork and until
 * the manager has answered or `shutdown` is cancelled. Any thread.
 */
QString startDetached(const DetachedCommand &command, GCancellable *shutdown = nullptr);

} // namespace corvid
