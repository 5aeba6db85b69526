#pragma once

#include "AppCatalog.h"
#include "Base/BootClock.h"
#include "Base/Records.h"
#include "Base/TaskGroup.h"
#include "Catalog/ProjectBranches.h"
#include "EditorLauncher.h"
#include "KeychainHelper.h"
#include "LauncherPanel.h"
#include "LauncherViewModel.h"
#include "Platform/ClickMonitor.h"
#include "Program/CatalogRefresh.h"
#include "ProjectIndex.h"

#include <QObject>
#include <QTimer>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace corvid {

struct CommandLine;
class AIService;
class AppearanceSettings;
class DesktopEntries;
class FolderDialog;
class HotKeyManager;
class Instance;
class Notifier;
class PanelSurface;
class Pasteboard;
class SecretStore;
class SessionControl;
class SettingsView;
class StartNotice;
class StatusItem;
class SystemLog;
class TrayWatch;
class UserDefaults;
class Volumes;
class Workspace;
struct Wish;

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
        DesktopEntries &desktopEntries;
        const Volumes &volumes;
        PanelSurface &panelSurface;
        /** Null where nothing sees clicks elsewhere. */
        ClickMonitor *clickMonitor;
        HotKeyManager &hotKeys;
        Instance &instance;
        TrayWatch &tray;
        AppearanceSettings &appearance;
        FolderDialog &folderDialog;
        AIService &ai;
        SessionControl &session;
        Notifier &notifier;
        std::function<BootClock::time_point()> now = BootClock::now;
    };

    explicit AppDelegate(const Platform &platform);
    ~AppDelegate() override;

    /** The catalogs as the last run stored them. */
    struct CachedLists {
        AppCatalog::CachedList apps;
        ProjectIndex::CachedList projects;
    };

    /** Starts to read them, once `before` has returned; needs no application object. One after the
        other, as long as that is quick: the main thread has the other processor to itself. */
    static CachedLists readCachedLists(std::function<void()> before = [] {});

    /** Start-up, once the event loop can run. */
    void applicationDidFinishLaunching(const CommandLine &commandLine,
                                       CachedLists lists = readCachedLists());

    /** Brings the panel up; afresh when it was hidden for more than ten seconds. `time` is the
        window system's of the key press or click that asked for it; 0 means now. */
    void show(quint32 time = 0);
    void hide();
    /** Hides the panel when it is shown, shows it otherwise. */
    void toggle(quint32 time = 0);

    /** Nothing is shown, nor kept for a panel that comes back soon: nobody would notice if the
        process were another. */
    bool isIdle() const;

    /** Called some time after the start and after each hiding, if it is idle by then: what is kept
        for nothing can be given back. */
    std::function<void()> onIdle;

    /** Does what the command line or another process asks for. */
    void fulfil(const Wish &wish);

    /** Registers the stored key combination, which toggles the panel. Where none is stored it is
        Alt+Space. A stored number that is no 32-bit one is fatal. */
    void applyHotkey();

    /** Carries out a row's action. Every failure is swallowed or logged. */
    void performAction(const LauncherAction &action);

    /** Brings the settings up, in the one window that they have. */
    void openSettings();

    LauncherViewModel &viewModel() { return viewModel_; }
    LauncherPanel *panel() { return panel_.get(); }
    /** Null until the settings were first opened. */
    SettingsView *settingsWindow() { return settingsWindow_.get(); }
    /** Null in a process that only answers. */
    const StatusItem *statusItem() const { return statusItem_.get(); }

private:
    bool startsAfresh() const;
    void holdScans();
    void makePanel();
    void connectParts();
    /** Shows the panel as it was left. */
    void bringUp(quint32 time = 0);
    /** Fulfils the wishes at once; benchmark and query follow when the catalogs have loaded. */
    void obey(const CommandLine &commandLine);
    void sayHowToShow();
    void openLastProject();
    void dumpQuery(const QString &query);

    Platform platform_;
    KeychainHelper keychain_;
    LauncherViewModel viewModel_;
    AppCatalog catalog_;
    ProjectIndex projects_;
    std::optional<CatalogRefresh> catalogRefresh_; ///< once they have been loaded
    ProjectBranches branches_;
    EditorLauncher editorLauncher_;
    std::unique_ptr<LauncherPanel> panel_;
    std::unique_ptr<StatusItem> statusItem_;
    std::unique_ptr<StartNotice> startNotice_; ///< null in a process that only answers
    std::unique_ptr<SettingsView> settingsWindow_;
    std::optional<BootClock::time_point> lastHideTime_;
    std::optional<UtilityHold> scanHold_; ///< until the panel was painted
    QTimer untilIdle_;
    bool stickyShowing_ = false; ///< until it is hidden, the panel stays without the keyboard
    std::unique_ptr<ClickMonitor::Token> mouseMonitor_; ///< while the panel is shown
};

} // namespace corvid
