#include "Platform/Linux/Launching/SessionWorkspace.h"

#include "Platform/DesktopEntries.h"
#include "Platform/Linux/DesktopSettings.h"
#include "Platform/Linux/Icons/IconTheme.h"
#include "Platform/Linux/Launching/DefaultTerminal.h"
#include "Platform/Linux/Launching/Launch.h"

#include <QDir>
#include <QFileInfo>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

SessionWorkspace::SessionWorkspace(const DesktopEntries &entries, const Options &options)
    : options_(options), entries_(entries),
      icons_(desktopsettings::iconTheme, {iconBaseFolders(), {u"/usr/share/pixmaps"_s}},
             options.devicePixelRatio, options.pictureProgram),
      running_(options.displays) {}

void SessionWorkspace::inBackground(const Completion &done,
                                    const std::function<QString(const Launch &)> &task) {
    const QByteArray token = options_.activationToken ? options_.activationToken() : QByteArray();
    tasks_.start([=, this](const std::stop_token &stop) {
        const GObjectPointer<GCancellable> shutdown(g_cancellable_new());
        const std::stop_callback cancel(stop, [&] { g_cancellable_cancel(shutdown.get()); });
        StartupNotifier startups(options_.displays.x11);
        const QString error = task({options_.childEnvironment, token, shutdown.get(), startups});
        if (done)
            QMetaObject::invokeMethod(
                &receiver_, [done, error] { done(error); }, Qt::QueuedConnection);
        startups.finish(shutdown.get());
    });
}

void SessionWorkspace::openApplication(const QString &applicationPath, const Completion &done) {
    const bool runs = running_.activate(applicationPath, [=, this](bool activated) {
        // It has ended meanwhile, or hangs.
        if (!activated)
            openFiles({}, applicationPath, done);
        else if (done)
            done({});
    });
    if (!runs)
        openFiles({}, applicationPath, done);
}

void SessionWorkspace::openNewWindow(const QString &applicationPath, const Completion &done) {
    inBackground(done, [=](const Launch &launch) {
        return launch.application(applicationPath, {}, LaunchMode::NewWindow);
    });
}

void SessionWorkspace::runAction(const QString &applicationPath, const QString &action,
                                 const Completion &done) {
    inBackground(done, [=, id = action.toUtf8()](const Launch &launch) {
        return launch.action(applicationPath, id);
    });
}

void SessionWorkspace::openFiles(const QStringList &paths, const QString &applicationPath,
                                 const Completion &done) {
    QList<QUrl> urls;
    for (const QString &path : paths)
        urls.append(QUrl::fromLocalFile(path));
    inBackground(done,
                 [=](const Launch &launch) { return launch.openFiles(urls, applicationPath); });
}

void SessionWorkspace::openTerminal(const QString &folder, const QString &terminalPath,
                                    const Completion &done) {
    inBackground(done, [=](const Launch &launch) { return launch.terminal(folder, terminalPath); });
}

void SessionWorkspace::findTerminal(
    const std::function<void(const std::optional<Terminal> &)> &found) {
    tasks_.start([=, this](const std::stop_token &) {
        const ChildEnvironment &environment = options_.childEnvironment;
        const auto installed = [&](const QString &program) {
            return installedProgram(environment, program);
        };
        // Only where it runs are its lists what the user's terminal is chosen by.
        const bool hasChooser = !installed(u"xdg-terminal-exec"_s).isEmpty();
        const auto terminal =
            defaultTerminal(entries_.list(), hasChooser ? preferredTerminalIds() : QStringList(),
                            preferredTerminals(environment), installed);
        QMetaObject::invokeMethod(
            &receiver_, [found, terminal] { found(terminal); }, Qt::QueuedConnection);
    });
}

void SessionWorkspace::openUrl(const QUrl &url) {
    inBackground({}, [url](const Launch &launch) { return launch.openWithDefault(url); });
}

void SessionWorkspace::reveal(const QString &path) {
    inBackground({}, [path](const Launch &launch) { return launch.reveal(path); });
}

void SessionWorkspace::startTool(const QString &executable, const QStringList &arguments,
                                 const Completion &done) {
    inBackground(done, [=](const Launch &launch) {
        return launch.run({.arguments = QStringList{executable} + arguments,
                           .workingFolder = QDir::currentPath(),
                           .application = QFileInfo(executable).fileName()});
    });
}

} // namespace corvid
