#pragma once

#include "Platform/Linux/Bus/BusActivation.h"
#include "Platform/Linux/Launching/DetachedProcess.h"
#include "Platform/Linux/Launching/ExecLine.h"
#include "Platform/Linux/Launching/LoadedEntry.h"
#include "Platform/Linux/Launching/StartupNotifier.h"

#include <optional>

namespace corvid {

enum class LaunchMode { Usual, NewWindow, Action, Terminal };

/** Where a program lies for those that are started in this environment; empty when it is not
    installed. Blocks on the disk. */
QString installedProgram(const ChildEnvironment &environment, const QString &program);

/** The terminals of the user's own choice, see terminalCommand(). Reads files; background only. */
QStringList preferredTerminals(const ChildEnvironment &environment);

/** One launch, on a background thread. Its steps block; each returns the reason in words when it
    fails, empty for success. See SessionWorkspace for what they do. */
struct Launch {
    ChildEnvironment environment; ///< for the programs that are started
    QByteArray activationToken;   ///< of a Wayland compositor; empty for none
    GCancellable *shutdown;       ///< ends every wait for the bus
    StartupNotifier &startups;

    /** Starts a command line in the home folder, unless it names another. */
    QString run(DetachedCommand command) const;

    /** `folder`: the one that the application shall work on, if any. */
    QString application(const QString &path, const QList<QUrl> &urls, LaunchMode mode,
                        const QString &folder = {}) const;
    QString action(const QString &path, const QByteArray &id) const;
    QString openFiles(const QList<QUrl> &urls, const QString &path) const;
    QString terminal(const QString &folder, const QString &path) const;
    QString openWithDefault(const QUrl &url) const;
    QString reveal(const QString &path) const;

private:
    /** With the first handler that is one, of this category if one is given. */
    bool openWithHandler(const QString &type, const QUrl &url,
                         QLatin1StringView category = {}) const;

    /** What the desktop shall know the window by; empty for nothing. */
    QByteArray startupId(const LaunchedEntry &entry) const;

    /** `action`: of the mode with that name. */
    QString entry(const LoadedEntry &loaded, const QList<QUrl> &urls, LaunchMode mode,
                  QByteArray action = {}, const QString &folder = {}) const;

    /** Asks over the bus; absent when there is no such service. */
    std::optional<QString> activate(const LaunchedEntry &entry, BusRequest request) const;

    /** In the given folder; empty for where the entry says. */
    QString runLine(GDesktopAppInfo *info, const LaunchedEntry &entry, const QStringList &line,
                    const QString &folder) const;

    QString appImage(const QString &path, const QList<QUrl> &urls, const QString &folder) const;
    QString bundle(const QString &path, const QList<QUrl> &urls, const QString &folder = {}) const;
};

} // namespace corvid
