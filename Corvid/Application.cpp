#include "Application.h"

#include "AIService.h"
#include "AppDelegate.h"
#include "Base/Deadline.h"
#include "Front/CommandLine.h"
#include "Front/Inheritance.h"
#include "Front/InstanceCall.h"
#include "HotKeyManager.h"
#include "Platform/Linux/Bus/BusInstance.h"
#include "Platform/Linux/Bus/BusNotifier.h"
#include "Platform/Linux/Bus/BusReturn.h"
#include "Platform/Linux/Bus/BusSessionControl.h"
#include "Platform/Linux/Bus/PortalFolderDialog.h"
#include "Platform/Linux/Bus/SessionTrayWatch.h"
#include "Platform/Linux/ClipboardPasteboard.h"
#include "Platform/Linux/DesktopSettings.h"
#include "Platform/Linux/Icons/PictureHelper.h"
#include "Platform/Linux/JsonUserDefaults.h"
#include "Platform/Linux/Launching/GioDesktopEntries.h"
#include "Platform/Linux/Launching/InheritedLimits.h"
#include "Platform/Linux/Launching/Restart.h"
#include "Platform/Linux/Launching/SessionWorkspace.h"
#include "Platform/Linux/MountedVolumes.h"
#include "Platform/Linux/PlatformChoice.h"
#include "Platform/Linux/Secrets/CoreDumps.h"
#include "Platform/Linux/Secrets/SessionSecretStore.h"
#include "Platform/Linux/Secrets/Tracing.h"
#include "Platform/Linux/Syslog.h"
#include "Platform/Linux/TerminationSignals.h"
#include "Platform/Linux/WindowSystem.h"
#include "RoleCatalog.h"
#include "Settings/FlatStyle.h"
#include "UsageStats.h"

#include <QApplication>
#include <QLoggingCategory>
#include <QSessionManager>
#include <QThread>
#include <QTimer>

#include <chrono>
#include <cstdio>
#include <future>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <malloc.h>
#include <unistd.h>

namespace {

using namespace corvid;
using namespace std::chrono_literals;

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
    QApplication::setStyle(new FlatStyle);
    // The session's autostart starts us. If the session manager did so too, the second process
    // would make the first one show its panel at every login.
    QObject::connect(
        &application, &QGuiApplication::saveStateRequest, &application,
        [](QSessionManager &manager) { manager.setRestartHint(QSessionManager::RestartNever); },
        Qt::DirectConnection);
}

/** Ends the event loop for a new start, once the bus answers and that disturbs nobody. */
class RestartWithBus {
public:
    RestartWithBus(const std::string &busAddress, const AppDelegate &delegate)
        : delegate_(delegate), bus_(busAddress, [this] { retry_.start(0ms); }) {
        QObject::connect(&retry_, &QTimer::timeout, &retry_, [this] {
            retry_.start(1s);
            if (delegate_.isIdle()) {
                begun_ = true;
                QCoreApplication::exit();
            }
        });
    }

    bool begun() const { return begun_; }

private:
    const AppDelegate &delegate_;
    QTimer retry_;
    bool begun_ = false;
    BusReturn bus_;
};

// The options that hold for the whole life of a process. A wish is granted by now.
std::vector<std::string> optionsOfRestart(const CommandLine &commandLine) {
    std::vector<std::string> options{restartedOption};
    if (commandLine.sticky)
        options.emplace_back("--sticky");
    return options;
}

/** How the event loop ended. */
struct End {
    int exitCode = 0;
    bool restart = false;
};

End run(const Start &start, bool busIsSilent, char **argv, Instance &instance,
        TerminationSignals &signals) {
    const CommandLine &commandLine = start.commandLine;
    const Session session = chooseSession(commandLine);
    if (session == Session::Unreachable) {
        std::fputs("Corvid needs a display: start it in a desktop session, or set DISPLAY or "
                   "WAYLAND_DISPLAY.\n",
                   stderr);
        return {1};
    }
    // The toolkit takes the first thread that asks this for the main one.
    static_cast<void>(QThread::currentThread());
    // Decoding what is stored takes about as long as the toolkit needs to start: side by side.
    const std::shared_future<void> roles =
        std::async(std::launch::async, [] { static_cast<void>(RoleCatalog::shared()); });
    AppDelegate::CachedLists cachedLists = AppDelegate::readCachedLists([roles] { roles.wait(); });

    // The toolkit gets no arguments: it would take some out of a query's text.
    int argc = 1;
    // Else the toolkit loads GTK to ask for fonts and colours, which weighs more than all of the
    // rest. What counts of it is had from makeAppearance(). KDE's comes with the toolkit itself.
    QApplication::setDesktopSettingsAware(desktopsettings::isKde());
    QApplication application(argc, argv);
    introduce(application);
    signals.loopBegins();
    std::optional<Deadline> exitDeadline;

    JsonUserDefaults defaults;
    UserDefaults::installStandard(&defaults);
    Syslog log;
    GioDesktopEntries desktopEntries;
    desktopEntries.watch();
    const MountedVolumes volumes;
    const WindowSystem windowSystem = makeWindowSystem();
    SessionWorkspace workspace(desktopEntries, {ChildEnvironment(start.inheritance.environment),
                                                {qgetenv("DISPLAY"), qgetenv("WAYLAND_DISPLAY")},
                                                windowSystem.activationToken,
                                                application.devicePixelRatio(),
                                                QStringLiteral("/proc/self/exe")});
    workspace.start();
    ClipboardPasteboard pasteboard;
    SessionSecretStore secrets;
    AIService::installSecrets(&secrets);
    BusSessionControl sessionControl;
    SessionTrayWatch tray;
    const std::unique_ptr<AppearanceSettings> appearance = makeAppearance();
    PortalFolderDialog folderDialog;
    BusNotifier notifier(windowSystem.entitlePanel);
    const std::unique_ptr<HotKeyBackend> hotKeys = makeHotKeys(session, windowSystem);
    HotKeyManager::installBackend(hotKeys.get());

    AppDelegate delegate({defaults, workspace, pasteboard, secrets, log, desktopEntries, volumes,
                          *windowSystem.surface, windowSystem.clickMonitor.get(),
                          HotKeyManager::shared(), instance, tray, *appearance, folderDialog,
                          AIService::shared(), sessionControl, notifier});
    // Scans and showings leave their memory in pieces, which the heap would keep.
    delegate.onIdle = [] { malloc_trim(0); };
    const auto finishLaunching = [&] {
        delegate.applicationDidFinishLaunching(commandLine, std::move(cachedLists));
    };
    QMetaObject::invokeMethod(&delegate, finishLaunching, Qt::QueuedConnection);
    std::optional<RestartWithBus> restart;
    if (busIsSilent && !commandLine.isDiagnostic())
        restart.emplace(sessionBusAddress(start.inheritance.environment), delegate);
    const int exitCode = QApplication::exec();
    signals.loopHasEnded();
    const bool again = restart && restart->begun();
    const auto leave = [&, exitCode, again] {
        if (again && !signals.received())
            startAnew(start.inheritance.environment, optionsOfRestart(commandLine));
        _exit(exitCode);
    };
    // What the user did is stored, but a disk or a keyring may never answer.
    exitDeadline.emplace(3s, leave);
    defaults.synchronize();
    workspace.endIcons();
    secrets.complete();
    // The rest only waits for threads, and one may be in the kernel, asking a file system that no
    // longer answers.
    exitDeadline.emplace(500ms, leave);
    return {exitCode, again};
}

bool isAnsweredWithYes(const QString &question) {
    std::fputs(qUtf8Printable(question + QStringLiteral(" [y/N] ")), stdout);
    std::fflush(stdout);
    std::string answer;
    if (!std::getline(std::cin, answer))
        std::fputs("\n", stdout);
    return answer == "y" || answer == "Y" || answer == "yes";
}

} // namespace

int drawPictures(bool withFonts) {
    return runPictureHelper(withFonts);
}

int forgetLearnt(bool ask) {
    if (ask && !isatty(STDIN_FILENO)) {
        std::fputs("corvid: Standard input is no terminal to ask on. 'corvid --forget --yes' does "
                   "not ask.\n",
                   stderr);
        return 1;
    }
    JsonUserDefaults defaults;
    UsageStats stats(defaults);
    const QString amount = stats.amount();
    if (amount.isEmpty()) {
        std::puts("Nothing was learnt yet.");
        return 0;
    }
    if (ask && !isAnsweredWithYes(QStringLiteral("Forget %1?").arg(amount)))
        return 1;
    stats.forgetAll();
    defaults.synchronize();
    // From the file: what cannot be written, this process alone takes for done.
    JsonUserDefaults written;
    if (UsageStats(written).amount() == amount) {
        std::fputs("corvid: The settings' file cannot be written.\n", stderr);
        return 1;
    }
    std::printf("Forgot %s.\n", qUtf8Printable(amount));
    return 0;
}

int runCorvid(const Start &start, char **argv) {
    forbidCoreDumps();
    // For developers. Whoever can set this could have us load a library just as well.
    if (qEnvironmentVariableIsEmpty("CORVID_TRACEABLE"))
        forbidTracing();
    rememberLimit(RLIMIT_NOFILE, start.inheritance.openFiles);
    End end;
    {
        TerminationSignals signals;
        BusInstance instance;
        bool silent = start.busIsSilent;
        if (start.commandLine.isDiagnostic()) {
            silent = busIsSilent(); // as claiming finds out
        } else if (!silent) {
            switch (instance.claim(start.commandLine.wishesOfRunning())) {
            case BusInstance::Claim::Sole:
                break;
            case BusInstance::Claim::BusSilent:
                silent = true;
                break;
            case BusInstance::Claim::HandedOver:
                return 0;
            case BusInstance::Claim::Unanswered:
                return reportUnanswered();
            }
        }
        end = run(start, silent, argv, instance, signals);
        end.restart = end.restart && !signals.received();
    }
    if (end.restart)
        startAnew(start.inheritance.environment, optionsOfRestart(start.commandLine));
    return end.exitCode;
}
