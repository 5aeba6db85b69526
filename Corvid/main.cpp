#include "AppDelegate.h"
#include "HotKeyManager.h"
#include "Platform/Linux/ClipboardPasteboard.h"
#include "Platform/Linux/CoreDumps.h"
#include "Platform/Linux/GioDesktopEntries.h"
#include "Platform/Linux/JsonUserDefaults.h"
#include "Platform/Linux/LinuxDesktop.h"
#include "Platform/Linux/LinuxSecretStore.h"
#include "Platform/Linux/LinuxSystemLog.h"
#include "Platform/Linux/LinuxVolumes.h"
#include "Platform/Linux/LinuxWorkspace.h"
#include "Platform/Linux/TerminationSignals.h"
#include "Platform/Linux/X11HotKeys.h"

#include <QApplication>
#include <QLoggingCategory>
#include <QProcessEnvironment>
#include <QScreen>

#include <algorithm>
#include <cstdio>
#include <span>
#include <string_view>

namespace {

bool contains(std::span<char *> arguments, std::string_view option) {
    return std::any_of(arguments.begin(), arguments.end(),
                       [option](const char *argument) { return argument == option; });
}

qreal highestDevicePixelRatio() {
    qreal highest = 1;
    const QList<QScreen *> screens = QGuiApplication::screens();
    for (const QScreen *screen : screens)
        highest = std::max(highest, screen->devicePixelRatio());
    return highest;
}

} // namespace

int main(int argc, char **argv) {
    using namespace corvid;

    forbidCoreDumps();
    // What we start gets the environment that we were started with.
    const QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();

    const std::span<char *> options(argv, static_cast<std::size_t>(argc));
    const bool diagnostic = contains(options, "--query") || contains(options, "--bench");
    if (diagnostic && !contains(options, "--show")) {
        // These answer on standard error alone, so they run where there is no display too.
        qputenv("QT_QPA_PLATFORM", "offscreen");
        // Standard error is the answer: no word of Qt's about the surroundings goes there.
        QLoggingCategory::setFilterRules(QStringLiteral("*.warning=false"));
    } else if (!displayIsReachable()) {
        std::fputs("Corvid needs a display: start it in a desktop session, or set DISPLAY or "
                   "WAYLAND_DISPLAY.\n",
                   stderr);
        return 1;
    }
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("corvid"));
    QApplication::setApplicationDisplayName(QStringLiteral("Corvid"));
    QApplication::setQuitOnLastWindowClosed(false);
    const TerminationSignals terminationSignals;

    JsonUserDefaults defaults;
    UserDefaults::installStandard(&defaults);
    LinuxSystemLog log;
    const GioDesktopEntries desktopEntries;
    const LinuxVolumes volumes;
    const LinuxDesktop desktop;
    LinuxWorkspace workspace(desktopEntries,
                             {environment, qgetenv("DISPLAY"), highestDevicePixelRatio()});
    workspace.start();
    ClipboardPasteboard pasteboard;
    LinuxSecretStore secrets;
    X11HotKeys hotKeys(qgetenv("DISPLAY"));
    HotKeyManager::installBackend(&hotKeys);

    AppDelegate delegate({defaults, workspace, pasteboard, secrets, log, desktopEntries, volumes,
                          desktop, HotKeyManager::shared()});
    const auto finishLaunching = [&delegate] {
        delegate.applicationDidFinishLaunching(QApplication::arguments());
    };
    QMetaObject::invokeMethod(&delegate, finishLaunching, Qt::QueuedConnection);
    return QApplication::exec();
}
