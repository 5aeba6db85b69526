#pragma once

#include <QList>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <gio/gio.h>

/**
 * The steps of launching, each a blocking function for a background thread. An error is the
 * reason in words, empty for success.
 */
namespace corvid {
class StartupNotifier;
}

namespace corvid::launching {

struct World {
    QProcessEnvironment environment; ///< for the programs that are started
    GCancellable *shutdown;          ///< ends every wait for the bus; not owned
    StartupNotifier *startups;       ///< of this launch; not owned
    QByteArray activationToken;      ///< of a Wayland compositor, for this launch; empty for none
};

/** Desktop entry: by D-Bus activation where the entry asks for it and the service exists, else
    by its Exec line, in a terminal if need be. Bundle: by its executable. */
QString launchApplication(const World &world, const QString &applicationPath,
                          const QList<QUrl> &urls);

/** Desktop entry: by its action for a new window, over D-Bus or by the action's own Exec line;
    without such an action by the entry's Exec line. Bundle: by its executable. */
QString launchNewWindow(const World &world, const QString &applicationPath);

/** By the default application for the type or scheme, else by xdg-open. */
QString openWithDefault(const World &world, const QUrl &url);

QString reveal(const World &world, const QString &path);

/** Starts a program, given by its path, in our own working folder. */
QString startTool(const World &world, const QString &executable, const QStringList &arguments);

} // namespace corvid::launching
