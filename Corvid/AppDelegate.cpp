#include "AppDelegate.h"

#include "Base/Settings.h"
#include "Base/Text.h"
#include "Front/CommandLine.h"
#include "HotKeyManager.h"
#include "Panel/Style.h"
#include "Platform/Appearance.h"
#include "Platform/Instance.h"
#include "Platform/Pasteboard.h"
#include "Platform/SecretStore.h"
#include "Platform/SessionControl.h"
#include "Platform/Workspace.h"
#include "Program/Benchmark.h"
#include "Program/StartNotice.h"
#include "Program/StatusItem.h"
#include "RoleCatalog.h"
#include "SettingsView.h"

#include <QCoreApplication>
#include <QPointer>
#include <QTimer>
#include <QUrl>

#include <chrono>
#include <cstdio>

namespace corvid {

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto freshAfter = 10s;
constexpr auto idleAfter = freshAfter + 2s; // the start's scans have ended, too
constexpr auto catalogsLoadTime = 800ms;
constexpr auto queryDumpPause = 100ms;

void printError(const QString &line) {
    std::fprintf(stderr, "%s\n", qUtf8Printable(line));
}

} // namespace

AppDelegate::AppDelegate(const Platform &platform)
    : platform_(platform), keychain_(platform.secrets),
      viewModel_({platform.defaults, UsageStats::shared(), RoleCatalog::shared(),
                  platform.workspace, platform.pasteboard, keychain_, platform.ai, platform.session,
                  platform.volumes}),
      catalog_(platform.workspace, platform.desktopEntries, RoleCatalog::shared()),
      projects_(platform.defaults, platform.volumes), branches_(platform.volumes),
      editorLauncher_(platform.workspace, platform.log) {}

AppDelegate::~AppDelegate() {
    platform_.appearance.onChange = nullptr;
    platform_.session.onChange = nullptr;
}

AppDelegate::CachedLists AppDelegate::readCachedLists(std::function<void()> before) {
    AppCatalog::CachedList apps = AppCatalog::readCachedList(before);
    if (apps.isQuick)
        before = [reading = apps.list] { reading.wait(); };
    return {std::move(apps), ProjectIndex::readCachedList(std::move(before))};
}

void AppDelegate::applicationDidFinishLaunching(const CommandLine &commandLine, CachedLists lists) {
    if (!commandLine.wishes().empty())
        holdScans();
    makePanel();
    connectParts();
    viewModel_.refresh();
    // Lists that take long to read have been there for long.
    const bool hadLists = !lists.apps.isQuick || !lists.projects.isQuick;
    catalog_.load(std::move(lists.apps));
    projects_.load(std::move(lists.projects));
    const bool isFirst = !hadLists && catalog_.apps().empty() && projects_.projects().empty() &&
                         settings::nothingStored(platform_.defaults);
    untilIdle_.start();
    catalogRefresh_.emplace(platform_.desktopEntries, catalog_, projects_, platform_.now);
    // A process that answers on standard error and shows nothing must not take the hot key from
    // the one that people use, nor a place in the tray.
    if (commandLine.show || !commandLine.isDiagnostic()) {
        statusItem_ = std::make_unique<StatusItem>(
            platform_.tray, StatusItem::Actions{[this] { show(); }, [this] { openSettings(); },
                                                [] { QCoreApplication::exit(); }});
        startNotice_ = std::make_unique<StartNotice>(
            platform_.defaults, platform_.notifier,
            isFirst ? StartNotice::Start::First : StartNotice::Start::Later, [this] { show(); });
        applyHotkey();
    }
    connect(qApp, &QCoreApplication::aboutToQuit, this, [this] { platform_.hotKeys.unregister(); });
    if (!commandLine.sticky) {
        panel_->onResignKey = [this] {
            if (!stickyShowing_)
                hide();
        };
    }
    obey(commandLine);
    platform_.instance.serve([this](const Wish &wish) { fulfil(wish); });
}

// Who summons the panel sees the lists of the last time first, and nobody else has the processors
// until then. A window manager that does not show it may do so for ever.
void AppDelegate::holdScans() {
    constexpr auto longest = 1s;
    scanHold_.emplace();
    QTimer::singleShot(longest, this, [this] { scanHold_.reset(); });
}

void AppDelegate::makePanel() {
    style::setAppearance(platform_.appearance.current());
    panel_ = std::make_unique<LauncherPanel>(viewModel_, platform_.panelSurface);
    panel_->onClose = [this] { hide(); };
    // Nothing of this shall keep the panel from being seen.
    panel_->onPainted = [this] {
        scanHold_.reset();
        catalogRefresh_->panelShown();
        platform_.session.ask();
    };
    platform_.appearance.onChange = [this] {
        style::setAppearance(platform_.appearance.current());
        panel_->applyStyle();
        if (settingsWindow_)
            settingsWindow_->applyStyle();
    };
}

void AppDelegate::connectParts() {
    untilIdle_.setSingleShot(true);
    untilIdle_.setInterval(idleAfter);
    untilIdle_.callOnTimeout([this] {
        if (isIdle() && onIdle)
            onIdle();
    });
    viewModel_.catalog = &catalog_;
    viewModel_.projects = &projects_;
    viewModel_.branches = &branches_;
    viewModel_.onAction = [this](const LauncherAction &action) { performAction(action); };
    viewModel_.onHide = [this] { hide(); };
    viewModel_.onQuit = [] { QCoreApplication::exit(); };
    viewModel_.onShow = [this] {
        if (!panel_->isVisible())
            bringUp();
    };
    catalog_.onUpdate = projects_.onUpdate = [this] { viewModel_.refreshInPlace(); };
    connect(&catalog_, &AppCatalog::iconArrived, &viewModel_, [this](const QString &path) {
        viewModel_.updateIcon(path, catalog_.icons().value(path));
    });
    platform_.session.onChange = [this] {
        // Only what is typed names what the session can do. Who has chosen no row means the first.
        if (viewModel_.query().isEmpty())
            return;
        if (viewModel_.selected() == 0)
            viewModel_.refresh();
        else
            viewModel_.refreshInPlace();
    };
    viewModel_.onTakeHotKey = [this](const HotKey &hotKey) {
        settings::setHotKey(platform_.defaults, hotKey);
        applyHotkey();
    };
    connect(&platform_.hotKeys, &HotKeyManager::answerChanged, this, &AppDelegate::sayHowToShow);
    connect(&branches_, &ProjectBranches::arrived, &viewModel_, &LauncherViewModel::updateBranch);
    platform_.secrets.onChange = [delegate = QPointer(this)] {
        if (!delegate)
            return;
        // Only what is typed can depend on the key.
        if (!delegate->viewModel_.query().isEmpty())
            delegate->viewModel_.refresh();
        if (delegate->settingsWindow_)
            delegate->settingsWindow_->loadKey();
    };
}

void AppDelegate::obey(const CommandLine &commandLine) {
    for (const Wish &wish : commandLine.wishes())
        fulfil(wish);
    if (commandLine.bench) {
        QTimer::singleShot(catalogsLoadTime, this, [this] {
            printError(benchmarkRefresh(viewModel_));
            QCoreApplication::exit();
        });
    }
    if (commandLine.query) {
        platform_.session.ask();
        QTimer::singleShot(
            catalogsLoadTime, this,
            [this, text = QString::fromLocal8Bit(*commandLine.query)] { dumpQuery(text); });
    }
}

bool AppDelegate::startsAfresh() const {
    return !lastHideTime_ || platform_.now() - *lastHideTime_ > freshAfter;
}

bool AppDelegate::isIdle() const {
    return panel_ && !panel_->isVisible() && startsAfresh() &&
           !(settingsWindow_ && settingsWindow_->isVisible());
}

void AppDelegate::show(quint32 time) {
    if (startsAfresh())
        viewModel_.reset();
    bringUp(time);
}

void AppDelegate::bringUp(quint32 time) {
    viewModel_.lookUpAgain();
    panel_->position();
    panel_->present(time);
    mouseMonitor_.reset();
    if (!platform_.clickMonitor)
        return;
    mouseMonitor_ = platform_.clickMonitor->install([this](const std::optional<QPoint> &pointer) {
        const auto hideUnlessInside = [this, pointer] {
            if (panel_->isVisible() && !(pointer && panel_->frameGeometry().contains(*pointer)))
                hide();
        };
        QMetaObject::invokeMethod(this, hideUnlessInside, Qt::QueuedConnection);
    });
}

void AppDelegate::hide() {
    lastHideTime_ = platform_.now();
    untilIdle_.start();
    stickyShowing_ = false;
    mouseMonitor_.reset();
    viewModel_.withdrawQuestion();
    panel_->hide();
    catalogRefresh_->panelHidden();
}

void AppDelegate::toggle(quint32 time) {
    if (panel_->isVisible())
        hide();
    else
        show(time);
}

void AppDelegate::fulfil(const Wish &wish) {
    switch (wish.kind) {
    case Wish::Kind::Show:
        show();
        break;
    case Wish::Kind::Toggle:
        toggle();
        break;
    case Wish::Kind::OpenSettings:
        openSettings();
        break;
    }
    if (wish.sticky && panel_->isVisible())
        stickyShowing_ = true;
}

void AppDelegate::applyHotkey() {
    const HotKey hotKey = settings::hotKey(platform_.defaults);
    platform_.hotKeys.registerHotKey(hotKey.keyCode, hotKey.modifiers, [delegate = QPointer(this)] {
        if (!delegate)
            return;
        HotKeyManager &hotKeys = delegate->platform_.hotKeys;
        delegate->toggle(hotKeys.lastPressTime());
        if (delegate->panel_->isVisible())
            hotKeys.expectKeyboard();
    });
}

void AppDelegate::sayHowToShow() {
    const HotKeyHelp help = platform_.hotKeys.help();
    viewModel_.setHotKeyHelp(help);
    if (!startNotice_ || !help.answer)
        return;
    if (isIdle())
        startNotice_->hotKeyAnswered(help);
    else
        startNotice_->seen();
}

void AppDelegate::performAction(const LauncherAction &action) {
    // An application that does not start is noticed by who waits for it.
    const auto ignore = [](const QString &) {};
    if (const auto *app = std::get_if<OpenApp>(&action)) {
        if (app->window == OpenApp::Window::New)
            platform_.workspace.openNewWindow(app->app.path, ignore);
        else
            platform_.workspace.openApplication(app->app.path, ignore);
    } else if (const auto *project = std::get_if<OpenProject>(&action)) {
        editorLauncher_.open(project->project, project->editor);
        if (project->editor)
            settings::setLastProject(platform_.defaults,
                                     {project->project.path, project->editor->path});
    } else if (const auto *copy = std::get_if<CopyAI>(&action)) {
        platform_.pasteboard.setText(copy->text);
    } else if (const auto *address = std::get_if<OpenURL>(&action)) {
        if (const QUrl url(address->url, QUrl::StrictMode); url.isValid())
            platform_.workspace.openUrl(url);
    } else if (std::holds_alternative<OpenLastProject>(action)) {
        openLastProject();
    } else if (std::holds_alternative<OpenSettings>(action)) {
        openSettings();
    } else if (const auto *run = std::get_if<RunAction>(&action)) {
        platform_.workspace.runAction(run->applicationPath, run->action, ignore);
    } else if (const auto *control = std::get_if<ControlSession>(&action)) {
        platform_.session.carryOut(control->command);
    } else if (const auto *place = std::get_if<OpenPath>(&action)) {
        platform_.workspace.open(place->path);
    } // a question is the view model's own matter
}

void AppDelegate::openLastProject() {
    const std::optional<settings::LastProject> last = settings::lastProject(platform_.defaults);
    if (!last)
        return;
    const QUrl folder = QUrl::fromLocalFile(last->project).adjusted(QUrl::StripTrailingSlash);
    editorLauncher_.open({folder.fileName(), last->project, {}}, catalog_.appAtPath(last->editor));
}

void AppDelegate::openSettings() {
    if (!settingsWindow_) {
        settingsWindow_ = std::make_unique<SettingsView>(
            SettingsView::Environment{.defaults = platform_.defaults,
                                      .projects = projects_,
                                      .hotKeys = platform_.hotKeys,
                                      .folderDialog = platform_.folderDialog,
                                      .keychain = keychain_,
                                      .stats = UsageStats::shared(),
                                      .ai = platform_.ai,
                                      .panelSurface = platform_.panelSurface,
                                      .onHotkeyChanged = [this] { applyHotkey(); }});
    }
    settingsWindow_->present();
}

void AppDelegate::dumpQuery(const QString &query) {
    const auto ask = [this, query] {
        viewModel_.setQuery(query);
        viewModel_.refresh();
    };
    ask();
    QTimer::singleShot(queryDumpPause, this, [this, ask] {
        ask();
        QTimer::singleShot(queryDumpPause, this, [this] {
            // A name comes from outside: it neither makes rows of its own nor steers a terminal.
            for (const ResultItem &row : viewModel_.results())
                printError(displayLine(row.badge) + u'\t' + displayLine(row.title) + u'\t' +
                           displayLine(row.subtitle));
            printError(u"-- end --"_s);
        });
    });
}

} // namespace corvid
