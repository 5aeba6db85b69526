#include "Platform/Linux/Launching/SessionWorkspace.h"

#include "Platform/Linux/DesktopSettings.h"
#include "Platform/Linux/Icons/IconTheme.h"

namespace corvid {

using namespace Qt::Literals::StringLiterals;

SessionWorkspace::SessionWorkspace(const DesktopEntries &entries, const Options &options)
    : icons_(desktopsettings::iconTheme, {iconBaseFolders(), {u"/usr/share/pixmaps"_s}},
             options.devicePixelRatio),
      running_(entries, options.displays),
      launcher_(options.childEnvironment, options.displays.x11, options.activationToken) {}

void SessionWorkspace::start() {
    running_.start();
}

const QSet<QString> &SessionWorkspace::runningApplications() const {
    return running_.ids();
}

Image SessionWorkspace::icon(const QString &path) const {
    return icons_.icon(path);
}

Image SessionWorkspace::genericIcon() const {
    return icons_.genericIcon();
}

void SessionWorkspace::openApplication(const QString &applicationPath, const Completion &done) {
    const bool runs = running_.activate(applicationPath, [=, this](bool activated) {
        // It has ended meanwhile, or hangs.
        if (!activated)
            launcher_.launch(applicationPath, {}, done);
        else if (done)
            done({});
    });
    if (!runs)
        launcher_.launch(applicationPath, {}, done);
}

void SessionWorkspace::openNewWindow(const QString &applicationPath, const Completion &done) {
    launcher_.launchNewWindow(applicationPath, done);
}

void SessionWorkspace::open(const QString &path) {
    launcher_.openWithDefault(QUrl::fromLocalFile(path));
}

void SessionWorkspace::openFiles(const QStringList &paths, const QString &applicationPath,
                                 const Completion &done) {
    launcher_.launch(applicationPath, paths, done);
}

void SessionWorkspace::openUrl(const QUrl &url) {
    launcher_.openWithDefault(url);
}

void SessionWorkspace::reveal(const QString &path) {
    launcher_.reveal(path);
}

void SessionWorkspace::startTool(const QString &executable, const QStringList &arguments,
                                 const Completion &done) {
    launcher_.startTool(executable, arguments, done);
}

} // namespace corvid
