#pragma once

#include "Base/TaskGroup.h"
#include "Platform/Workspace.h"

#include <QByteArray>
#include <QObject>
#include <QProcessEnvironment>

namespace corvid {

/**
 * Starts applications and hands files to them. What it starts lives on when we end: in a session
 * of its own and, where a systemd user manager runs, in a scope of its own.
 *
 * Main thread. Whatever touches a disk or the bus, or forks, happens in the background; a
 * completion is called from the event loop, or never once the launcher is destroyed. Destroying it
 * lets a launch that has begun come to its end, but does not wait for a silent bus.
 */
class ApplicationLauncher {
public:
    /** `childEnvironment`: what the started programs are given; the environment that we were
        started with, before any change of our own. `display`: as in $DISPLAY, the X11 desktop that
        is told of launches; empty for none. `activationToken` is asked within each call for what
        lets the program come to the front; without one, the display is told. */
    ApplicationLauncher(const QProcessEnvironment &childEnvironment, QByteArray display,
                        std::function<QByteArray()> activationToken = {});

    /** Launches the application with these files, possibly none. A desktop entry: by D-Bus
        activation where it asks for that and the service exists, else by its Exec line, in a
        terminal if need be. A bundle: by its executable. */
    void launch(const QString &applicationPath, const QStringList &files,
                const Workspace::Completion &done);

    /** Launches the application by its entry's action for a new window where it has one, else by
        its Exec line, even where it would be activated over D-Bus. */
    void launchNewWindow(const QString &applicationPath, const Workspace::Completion &done);

    /** Opens with the default handler of a file's type or a URL's scheme, else by xdg-open.
        Failures are silent. */
    void openWithDefault(const QUrl &url);

    /** Shows the file in the file manager, or opens its folder where none can do that. */
    void reveal(const QString &path);

    /** See Workspace::startTool. The program starts in our own working folder. */
    void startTool(const QString &executable, const QStringList &arguments,
                   const Workspace::Completion &done);

private:
    struct Launch;

    void start(const std::function<QString(const Launch &)> &task,
               const Workspace::Completion &done);

    QProcessEnvironment environment_;
    QByteArray display_;
    std::function<QByteArray()> activationToken_; ///< may be null
    QObject receiver_; ///< completions addressed to it are dropped with us
    TaskGroup tasks_;
};

} // namespace corvid
