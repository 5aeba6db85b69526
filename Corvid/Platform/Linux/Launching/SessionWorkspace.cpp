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

} // namespace corvid
