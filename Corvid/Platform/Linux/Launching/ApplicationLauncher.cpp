#include "Platform/Linux/Launching/ApplicationLauncher.h"

#include "Base/Locations.h"
#include "Catalog/PropertyList.h"
#include "Platform/Linux/Bus/BusActivation.h"
#include "Platform/Linux/Bus/SessionBus.h"
#include "Platform/Linux/DesktopSettings.h"
#include "Platform/Linux/KeyFiles.h"
#include "Platform/Linux/Launching/DetachedProcess.h"
#include "Platform/Linux/Launching/ExecLine.h"
#include "Platform/Linux/Launching/StartupNotifier.h"
#include "Platform/Linux/Launching/TerminalCommand.h"

#include <gio/gdesktopappinfo.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int fileManagerTimeoutMs = 25'000; // it may have to be started first

enum class LaunchMode { Usual, NewWindow };

QString entryValue(GDesktopAppInfo *entry, const char *key) {
    const GFreePointer<gchar> value(g_desktop_app_info_get_string(entry, key));
    return QString::fromUtf8(value.get());
}

bool entryFlag(GDesktopAppInfo *entry, const char *key) {
    return g_desktop_app_info_get_boolean(entry, key) != FALSE;
}

LaunchedEntry launchedEntry(GDesktopAppInfo *entry, const QString &path) {
    return {QString::fromUtf8(g_app_info_get_name(G_APP_INFO(entry))),
            entryValue(entry, G_KEY_FILE_DESKTOP_KEY_ICON), path,
            entryValue(entry, G_KEY_FILE_DESKTOP_KEY_STARTUP_WM_CLASS)};
}

QString idOf(const QString &entryPath) {
    return QFileInfo(entryPath).completeBaseName();
}

/** The id of the entry's action for a new window; empty when it has none. */
QByteArray newWindowAction(GDesktopAppInfo *entry) {
    const gchar *const *actions = g_desktop_app_info_list_actions(entry);
    for (const char *name : {"new-window", "new-empty-window", "NewWindow"})
        if (g_strv_contains(actions, name))
            return name;
    return {};
}

/** The Exec line of one of the entry's actions; empty when it has none. */
QString execOfAction(const QString &path, const QByteArray &action) {
    const GKeyFilePointer file = readKeyFile(path);
    return file ? keyFileText(file.get(), "Desktop Action " + action, G_KEY_FILE_DESKTOP_KEY_EXEC)
                : QString();
}

GObjectPointer<GAppInfo> defaultApplication(const QUrl &url) {
    if (!url.isLocalFile())
        return GObjectPointer<GAppInfo>(
            g_app_info_get_default_for_uri_scheme(url.scheme().toUtf8().constData()));
    const QByteArray path = QFile::encodeName(url.toLocalFile());
    const GObjectPointer<GFile> file(g_file_new_for_path(path.constData()));
    const GObjectPointer<GFileInfo> info(
        g_file_query_info(file.get(), G_FILE_ATTRIBUTE_STANDARD_CONTENT_TYPE,
                          G_FILE_QUERY_INFO_NONE, nullptr, nullptr));
    if (!info)
        return nullptr;
    return GObjectPointer<GAppInfo>(
        g_app_info_get_default_for_type(g_file_info_get_content_type(info.get()), FALSE));
}

bool meansNoAnswer(const GError *error) {
    return g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_NO_REPLY) ||
           g_error_matches(error, G_IO_ERROR, G_IO_ERROR_TIMED_OUT) ||
           g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED);
}

} // namespace

/** One launch, on a background thread. Its steps block; each returns the reason in words when it
    fails, empty for success. */
struct ApplicationLauncher::Launch {
    QProcessEnvironment environment; ///< for the programs that are started
    QByteArray activationToken;      ///< of a Wayland compositor; empty for none
    GCancellable *shutdown;          ///< ends every wait for the bus
    StartupNotifier &startups;

    /** Starts a command line in the home folder, unless it names another. */
    QString run(DetachedCommand command) const {
        if (command.workingFolder.isEmpty() && QFileInfo(locations::home()).isDir())
            command.workingFolder = locations::home();
        command.environment = environment;
        command.activationToken = activationToken;
        return startDetached(command, shutdown);
    }

    QString application(const QString &path, const QList<QUrl> &urls, LaunchMode mode) const {
        return path.endsWith(".desktop"_L1) ? entry(path, urls, mode) : bundle(path, urls);
    }

    QString openWithDefault(const QUrl &url) const {
        sessionBus(shutdown); // before GLib needs the bus by itself
        const GObjectPointer<GAppInfo> handler = defaultApplication(url);
        if (handler && G_IS_DESKTOP_APP_INFO(handler.get())) {
            const char *path = g_desktop_app_info_get_filename(G_DESKTOP_APP_INFO(handler.get()));
            if (entry(QFile::decodeName(path), {url}, LaunchMode::Usual).isEmpty())
                return {};
        }
        return run(
            {.arguments = {u"xdg-open"_s, pathOrAddress(url)}, .application = u"xdg-open"_s});
    }

    QString reveal(const QString &path) const {
        if (const GObjectPointer<GDBusConnection> bus = sessionBus(shutdown)) {
            const QByteArray address = QUrl::fromLocalFile(path).toEncoded();
            GErrorHolder error;
            const GVariantPointer reply(g_dbus_connection_call_sync(
                bus.get(), "org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
                "org.freedesktop.FileManager1", "ShowItems",
                g_variant_new_parsed("([%s], '')", address.constData()), nullptr,
                G_DBUS_CALL_FLAGS_NONE, fileManagerTimeoutMs, shutdown, error.out()));
            // A file manager that is slow to answer may still show its window.
            if (reply || meansNoAnswer(error.get()))
                return error.message();
        }
        return openWithDefault(QUrl::fromLocalFile(QFileInfo(path).path()));
    }

private:
    bool isInstalled(const QString &program) const {
        const QStringList folders = environment.value(u"PATH"_s).split(u':', Qt::SkipEmptyParts);
        return !folders.isEmpty() && !QStandardPaths::findExecutable(program, folders).isEmpty();
    }

    /** What the desktop shall know the window by; empty for nothing. */
    QByteArray startupId(const LaunchedEntry &entry,
                         StartupNotifier::Announcement announcement) const {
        return activationToken.isEmpty() ? startups.begin(entry, announcement) : activationToken;
    }

    QString entry(const QString &path, const QList<QUrl> &urls, LaunchMode mode) const {
        const GObjectPointer<GDesktopAppInfo> info(
            g_desktop_app_info_new_from_filename(QFile::encodeName(path).constData()));
        if (!info && !QFileInfo::exists(path))
            return u"“%1” does not exist."_s.arg(path);
        if (!info)
            return u"“%1” is no desktop entry, or its program is not installed."_s.arg(path);

        QString exec = entryValue(info.get(), G_KEY_FILE_DESKTOP_KEY_EXEC);
        bool byBus = entryFlag(info.get(), G_KEY_FILE_DESKTOP_KEY_DBUS_ACTIVATABLE);
        BusRequest request{urls, {}, {}};
        if (mode == LaunchMode::NewWindow) {
            const QByteArray action = newWindowAction(info.get());
            if (!action.isEmpty()) {
                request.action = action;
                if (const QString ofAction = execOfAction(path, action); !ofAction.isEmpty())
                    exec = ofAction;
            } else if (!exec.isEmpty()) {
                // Activating shows the window that is there already; the program may open another.
                byBus = false;
            }
        }
        const LaunchedEntry launched = launchedEntry(info.get(), path);
        if (byBus)
            if (const std::optional<QString> result = activate(info.get(), launched, request))
                return *result;

        const std::vector<QStringList> lines = expandExec(exec, launched, urls);
        if (lines.empty())
            return u"“%1” does not say what to run."_s.arg(path);
        for (const QStringList &line : lines)
            if (QString error = runLine(info.get(), launched, line); !error.isEmpty())
                return error;
        return {};
    }

    /** Asks over the bus; absent when there is no such service. */
    std::optional<QString> activate(GDesktopAppInfo *info, const LaunchedEntry &entry,
                                    BusRequest request) const {
        const bool notifies = entryFlag(info, G_KEY_FILE_DESKTOP_KEY_STARTUP_NOTIFY);
        request.startupId = startupId(entry, notifies ? StartupNotifier::Announcement::Public
                                                      : StartupNotifier::Announcement::Silent);
        GErrorHolder error;
        const BusActivation result = activateByBus(idOf(entry.path), request, shutdown, error);
        if (result == BusActivation::Done)
            return QString();
        startups.cancel(request.startupId);
        if (result == BusActivation::ServiceMissing)
            return std::nullopt;
        g_dbus_error_strip_remote_error(error.get());
        return error.message();
    }

    QString runLine(GDesktopAppInfo *info, const LaunchedEntry &entry,
                    const QStringList &line) const {
        DetachedCommand command{.arguments = line,
                                .workingFolder = entryValue(info, G_KEY_FILE_DESKTOP_KEY_PATH),
                                .application = idOf(entry.path)};
        if (entryFlag(info, G_KEY_FILE_DESKTOP_KEY_TERMINAL)) {
            const auto inTerminal = terminalCommand(
                line, {environment.value(u"TERMINAL"_s), desktopsettings::terminal()},
                [this](const QString &program) { return isInstalled(program); });
            if (!inTerminal)
                return u"There is no terminal to run “%1” in."_s.arg(entry.name);
            // Without desktopFile: the process is the terminal, not the application.
            command.arguments = *inTerminal;
            return run(command);
        }
        command.desktopFile = entry.path;
        // Only for programs that know of it, as GIO does. Others would hand the id on to their own
        // children, whose windows would then be taken for old ones.
        if (entryFlag(info, G_KEY_FILE_DESKTOP_KEY_STARTUP_NOTIFY))
            command.startupId = startupId(entry, StartupNotifier::Announcement::Public);
        const QString error = run(command);
        if (!error.isEmpty())
            startups.cancel(command.startupId);
        return error;
    }

    QString bundle(const QString &path, const QList<QUrl> &urls) const {
        // The executable that the properties name, else the one named like the bundle.
        QString name = bundleProperties(path).value(u"CFBundleExecutable"_s);
        if (name.isEmpty() || name.contains(u'/'))
            name = QFileInfo(path).completeBaseName();
        const QString executable = path + "/Contents/MacOS/"_L1 + name;
        if (!QFileInfo(executable).isFile() || !QFileInfo(executable).isExecutable())
            return u"“%1” is not executable."_s.arg(executable);
        QStringList arguments{executable};
        for (const QUrl &url : urls)
            arguments.append(pathOrAddress(url));
        return run({.arguments = arguments, .application = QFileInfo(path).completeBaseName()});
    }
};

ApplicationLauncher::ApplicationLauncher(const QProcessEnvironment &childEnvironment,
                                         QByteArray display,
                                         std::function<QByteArray()> activationToken)
    : environment_(childEnvironment), display_(std::move(display)),
      activationToken_(std::move(activationToken)) {}

void ApplicationLauncher::start(const std::function<QString(const Launch &)> &task,
                                const Workspace::Completion &done) {
    const QByteArray token = activationToken_ ? activationToken_() : QByteArray();
    tasks_.start(
        [=, this, environment = environment_, display = display_](const std::stop_token &stop) {
            const GObjectPointer<GCancellable> shutdown(g_cancellable_new());
            const std::stop_callback cancel(stop, [&] { g_cancellable_cancel(shutdown.get()); });
            StartupNotifier startups(display);
            const QString error = task({environment, token, shutdown.get(), startups});
            if (done)
                QMetaObject::invokeMethod(
                    &receiver_, [done, error] { done(error); }, Qt::QueuedConnection);
            startups.finish(shutdown.get());
        });
}

void ApplicationLauncher::launch(const QString &applicationPath, const QStringList &files,
                                 const Workspace::Completion &done) {
    QList<QUrl> urls;
    for (const QString &file : files)
        urls.append(QUrl::fromLocalFile(file));
    start(
        [=](const Launch &launch) {
            return launch.application(applicationPath, urls, LaunchMode::Usual);
        },
        done);
}

void ApplicationLauncher::launchNewWindow(const QString &applicationPath,
                                          const Workspace::Completion &done) {
    start(
        [=](const Launch &launch) {
            return launch.application(applicationPath, {}, LaunchMode::NewWindow);
        },
        done);
}

void ApplicationLauncher::openWithDefault(const QUrl &url) {
    start([url](const Launch &launch) { return launch.openWithDefault(url); }, {});
}

void ApplicationLauncher::reveal(const QString &path) {
    start([path](const Launch &launch) { return launch.reveal(path); }, {});
}

void ApplicationLauncher::startTool(const QString &executable, const QStringList &arguments,
                                    const Workspace::Completion &done) {
    start(
        [=](const Launch &launch) {
            return launch.run({.arguments = QStringList{executable} + arguments,
                               .workingFolder = QDir::currentPath(),
                               .application = QFileInfo(executable).fileName()});
        },
        done);
}

} // namespace corvid
