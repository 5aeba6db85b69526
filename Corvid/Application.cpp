#include "Application.h"

#include "AIService.h"
#include "AppDelegate.h"
#include "Base/Deadline.h"
#include "Front/CommandLine.h"
#include "Front/InstanceCall.h"
#include "HotKeyManager.h"
#include "Platform/Linux/Bus/BusInstance.h"
#include "Platform/Linux/Bus/PortalAppearance.h"
#include "Platform/Linux/Bus/PortalFolderDialog.h"
#include "Platform/Linux/Bus/SessionTrayWatch.h"
#include "Platform/Linux/ClipboardPasteboard.h"
#include "Platform/Linux/Icons/PictureHelper.h"
#include "Platform/Linux/JsonUserDefaults.h"
#include "Platform/Linux/Launching/GioDesktopEntries.h"
#include "Platform/Linux/Launching/SessionWorkspace.h"
#include "Platform/Linux/MountedVolumes.h"
#include "Platform/Linux/PlatformChoice.h"
#include "Platform/Linux/Secrets/CoreDumps.h"
#include "Platform/Linux/Secrets/SessionSecretStore.h"
#include "Platform/Linux/Syslog.h"
#include "Platform/Linux/TerminationSignals.h"
#include "Platform/Linux/WindowSystem.h"
#include "RoleCatalog.h"

#include <QApplication>
#include <QLoggingCategory>
#include <QProcessEnvironment>
#include <QSessionManager>
#include <QThread>

#include <chrono>
#include <cstdio>
#include <future>
#include <memory>
#include <optional>

#include <malloc.h>
#include <unistd.h>

namespace {

using namespace corvid;

Session chooseSession(const CommandLine &commandLine) {
    if (commandLine.isDiagnostic() && !commandLine.show) {
        // These answer on standard error alone, so they run where there is no display too.
        qputenv("QT_QPA_PLATFORM", "offscreen");
        // Standard error is the answer: no word of Qt's about the surroundings goes there.
        QLoggingCategory::setFilterRules(QStringLiteral("*.warning=false"));
        return Session::X11;
    }
    return choosePlatform();
}

void introduce(const QApplication &application) {
    // The display name is left unset: the toolkit would add it to the titles of windows.
    QApplication::setApplicationName(QStringLiteral("Corvid"));
    // Desktops look up the name and icon of a window by this.
    QApplication::setDesktopFileName(QStringLiteral("app.corvid.Launcher"));
    QApplication::setQuitOnLastWindowClosed(false);
    // The session's autostart starts us. If the session manager did so too, the second process
    // would make the first one show its panel at every login.
    QObject::connect(
        &application, &QGuiApplication::saveStateRequest, &application,
        [](QSessionManager &manager) { manager.setRestartHint(QSessionManager::RestartNever); },
        Qt::DirectConnection);
}

int run(const CommandLine &commandLine, char **argv, Instance &instance) {
    // What we start gets the environment that we were started with.
    const QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    const Session session = chooseSession(commandLine);
    if (session == Session::Unreachable) {
        std::fputs("Corvid needs a display: start it in a desktop session, or set DISPLAY or "
                   "WAYLAND_DISPLAY.\n",
                   stderr);
        return 1;
    }
    // The toolkit takes the first thread that asks this for the main one.
    static_cast<void>(QThread::currentThread());
    // Decoding what is stored takes about as long as the toolkit needs to start: side by side.
    const std::future<void> roles =
        std::async(std::launch::async, [] { static_cast<void>(RoleCatalog::shared()); });
    AppDelegate::CachedLists cachedLists = AppDelegate::readCachedLists();

    // The toolkit gets no arguments: it would take some out of a query's text.
    int argc = 1;
    QApplication application(argc, argv);
    introduce(application);
    const TerminationSignals terminationSignals;
    std::optional<Deadline> exitDeadline;

    JsonUserDefaults defaults;
    UserDefaults::installStandard(&defaults);
    Syslog log;
    const GioDesktopEntries desktopEntries;
    const MountedVolumes volumes;
    const WindowSystem windowSystem = makeWindowSystem();
    SessionWorkspace workspace(desktopEntries, {environment,
                                                {qgetenv("DISPLAY"), qgetenv("WAYLAND_DISPLAY")},
                                                windowSystem.activationToken,
                                                application.devicePixelRatio(),
                                                QStringLiteral("/proc/self/exe")});
    workspace.start();
    ClipboardPasteboard pasteboard;
    SessionSecretStore secrets;
    AIService::installSecrets(&secrets);
    SessionTrayWatch tray;
    PortalAppearance appearance;
    PortalFolderDialog folderDialog;
    const std::unique_ptr<HotKeyBackend> hotKeys = makeHotKeys(session, windowSystem);
    HotKeyManager::installBackend(hotKeys.get());

    AppDelegate delegate({defaults, workspace, pasteboard, secrets, log, desktopEntries, volumes,
                          *windowSystem.surface, windowSystem.clickMonitor.get(),
                          HotKeyManager::shared(), instance, tray, appearance, folderDialog,
                          AIService::shared()});
    const auto finishLaunching = [&] {
        delegate.applicationDidFinishLaunching(commandLine, std::move(cachedLists));
    };
    QMetaObject::invokeMethod(&delegate, finishLaunching, Qt::QueuedConnection);
    const int exitCode = QApplication::exec();
    // Everything that follows may have to wait for a disk, even without end: threads are waited
    // for, and one may be in the kernel, asking a file system that no longer answers. What the user
    // did is stored first.
    constexpr std::chrono::seconds patience(5);
    exitDeadline.emplace(patience, [exitCode] { _exit(exitCode); });
    defaults.synchronize();
    workspace.endIcons();
    return exitCode;
}

} // namespace

int drawPictures(bool withFonts) {
    return runPictureHelper(withFonts);
}

int runCorvid(const CommandLine &commandLine, char **argv) {
    // With a heap for each thread, those of the scans would keep some 7 MB. The threads are too
    // short-lived to get in each other's way in one heap.
    mallopt(M_ARENA_MAX, 1);
    forbidCoreDumps();
    BusInstance instance;
    if (commandLine.isDiagnostic()) {
        checkBus(); // as claiming does
    } else {
        switch (instance.claim(commandLine.wishesOfRunning())) {
        case BusInstance::Claim::Sole:
            break;
        case BusInstance::Claim::HandedOver:
            return 0;
        case BusInstance::Claim::Unanswered:
            return reportUnanswered();
        }
    }
    return run(commandLine, argv, instance);
}
