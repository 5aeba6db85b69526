#pragma once

#include "AppCatalog.h"
#include "EditorLauncher.h"
#include "KeychainHelper.h"
#include "LauncherPanel.h"
#include "LauncherViewModel.h"
#include "ProjectIndex.h"
#include "Records.h"

#include <QObject>
#include <QStringList>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace corvid {

class DesktopEntries;
class Desktop;
class HotKeyManager;
class Pasteboard;
class SecretStore;
class SystemLog;
class UserDefaults;
class Volumes;
class Workspace;

/**
 * The process's one long-lived controller: owns the panel, the view model and the catalogs, and
 * wires them together. Main thread only.
 */
class AppDelegate final : public QObject {
    Q_OBJECT

public:
    /** The desktop, as the platform offers it; all of it outlives the delegate. */
    struct Platform {
        UserDefaults &defaults;
        Workspace &workspace;
        Pasteboard &pasteboard;
        SecretStore &secrets;
        SystemLog &log;
        const DesktopEntries &desktopEntries;
        const Volumes &volumes;
        const Desktop &desktop;
        HotKeyManager &hotKeys;
        /** Never goes backwards, whatever is done to the clock on the wall. */
        std::function<std::chrono::steady_clock::time_point()> now = std::chrono::steady_clock::now;
    };

    explicit AppDelegate(const Platform &platform);

    /** Start-up, once the event loop can run. `arguments` are the process's own. */
    void applicationDidFinishLaunching(const QStringList &arguments);

    /** Brings the panel up; afresh when it was hidden for more than ten seconds. */
    void show();
    void hide();
    /** Hides the panel when it is shown, shows it otherwise. */
    void toggle();

    /** Registers the stored key combination, which toggles the panel. Where none is stored it is
        Alt+Space. A stored number that is no 32-bit one is fatal. */
    void applyHotkey();

    /** Carries out a row's action. Every failure is swallowed or logged. */
    void performAction(const LauncherAction &action);

    /** Opens the user's settings file in the default editor. */
    void openSettings();

    LauncherViewModel &viewModel() { return viewModel_; }
    LauncherPanel *panel() { return panel_.get(); }

private:
    void openLastProject();
    void runBenchmark();
    void dumpQuery(const QString &query);

    Platform platform_;
    KeychainHelper keychain_;
    LauncherViewModel viewModel_;
    AppCatalog catalog_;
    ProjectIndex projects_;
    EditorLauncher editorLauncher_;
    std::unique_ptr<LauncherPanel> panel_;
    /** Absent until the panel was hidden for the first time. */
    std::optional<std::chrono::steady_clock::time_point> lastHideTime_;
};

} // namespace corvid
