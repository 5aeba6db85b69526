#include "Platform/Linux/LinuxWorkspace.h"

#include "Platform/Linux/DesktopSettings.h"
#include "Platform/Linux/IconTheme.h"

namespace corvid {

using namespace Qt::Literals::StringLiterals;

LinuxWorkspace::LinuxWorkspace(const DesktopEntries &entries, const Options &options)
    : icons_(desktopsettings::iconTheme, {iconBaseFolders(), {u"/usr/share/pixmaps"_s}},
             options.devicePixelRatio),
      running_(entries, options.displays),
      launcher_(options.childEnvironment, options.displays.x11, options.activationToken) {}

void LinuxWorkspace::start() {
    running_.start();
}

const QSet<QString> &LinuxWorkspace::runningApplications() const {
    return running_.ids();
}

Image LinuxWorkspace::icon(const QString &path) const {
    return icons_.icon(path);
}

Image LinuxWorkspace::genericIcon() const {
    return icons_.genericIcon();
}

void LinuxWorkspace::openApplication(const QString &applicationPath, const Completion &done) {
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

void LinuxWorkspace::openNewWindow(const QString &applicationPath, const Completion &done) {
    launcher_.launchNewWindow(applicationPath, done);
}

void LinuxWorkspace::open(const QString &path) {
    launcher_.openWithDefault(QUrl::fromLocalFile(path));
}

void LinuxWorkspace::openFiles(const QStringList &paths, const QString &applicationPath,
                               const Completion &done) {
    launcher_.launch(applicationPath, paths, done);
}

void LinuxWorkspace::openUrl(const QUrl &url) {
    launcher_.openWithDefault(url);
}

void LinuxWorkspace::reveal(const QString &path) {
    launcher_.reveal(path);
}

void LinuxWorkspace::startTool(const QString &executable, const QStringList &arguments,
                               const Completion &done) {
    launcher_.startTool(executable, arguments, done);
}

} // namespace corvid
