#include "Platform/Linux/Launching/SessionWorkspace.h"

#include "Base/Locations.h"
#include "Catalog/PropertyList.h"
#include "Platform/Linux/Bus/BusActivation.h"
#include "Platform/Linux/Bus/SessionBus.h"
#include "Platform/Linux/DesktopSettings.h"
#include "Platform/Linux/Icons/IconTheme.h"
#include "Platform/Linux/KeyFiles.h"
#include "Platform/Linux/Launching/AppImages.h"
#include "Platform/Linux/Launching/DefaultHandlers.h"
#include "Platform/Linux/Launching/DetachedProcess.h"
#include "Platform/Linux/Launching/ExecLine.h"
#include "Platform/Linux/Launching/FileType.h"
#include "Platform/Linux/Launching/StartupNotifier.h"
#include "Platform/Linux/Launching/TerminalCommand.h"

#include <gio/gdesktopappinfo.h>

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int fileManagerTimeoutMs = 25'000; // it may have to be started first

enum class LaunchMode { Usual, NewWindow, Action };

QString entryValue(GDesktopAppInfo *entry, const char *key) {
    const GFreePointer<gchar> value(g_desktop_app_info_get_string(entry, key));
    return QString::fromUtf8(value.get());
}

QString idOf(const QString &entryPath) {
    return QFileInfo(entryPath).completeBaseName();
}

bool hasAction(GDesktopAppInfo *entry, const QByteArray &id) {
    return g_strv_contains(g_desktop_app_info_list_actions(entry), id.constData()) != FALSE;
}

/** The id of the entry's action for a new window; empty when it has none. */
QByteArray newWindowAction(GDesktopAppInfo *entry) {
    for (const char *name : {"new-window", "new-empty-window", "NewWindow"})
        if (hasAction(entry, name))
            return name;
    return {};
}

/** What the desktop's lists of handlers call it. */
FileType handledType(const QUrl &url) {
    if (!url.isLocalFile())
        return {{"x-scheme-handler/"_L1 + url.scheme()}};
    const QString path = url.toLocalFile();
    return QFileInfo(path).isDir() ? FileType{{u"inode/directory"_s}} : fileType(path);
}

QStringList pathsOrAddresses(const QList<QUrl> &urls) {
    QStringList arguments;
    for (const QUrl &url : urls)
        arguments.append(pathOrAddress(url));
    return arguments;
}

/** A desktop entry as it was when it was read. */
struct LoadedEntry {
    QString path;
    GKeyFilePointer file;
    GObjectPointer<GDesktopAppInfo> info; ///< null when it is none, or its program is missing

    // Not by GLib, which would wait for ever where a pipe has taken the file's place.
    explicit LoadedEntry(QString entryPath)
        : path(std::move(entryPath)), file(readKeyFile(path, largestEntry)),
          info(file ? g_desktop_app_info_new_from_keyfile(file.get()) : nullptr) {}
};

} // namespace

/** One launch, on a background thread. Its steps block; each returns the reason in words when it
    fails, empty for success. */
struct SessionWorkspace::Launch {
    ChildEnvironment environment; ///< for the programs that are started
    QByteArray activationToken;   ///< of a Wayland compositor; empty for none
    GCancellable *shutdown;       ///< ends every wait for the bus
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
        if (isAppImage(path))
            return appImage(path, urls);
        return path.endsWith(".desktop"_L1) ? entry(LoadedEntry(path), urls, mode)
                                            : bundle(path, urls);
    }

    QString action(const QString &path, const QByteArray &id) const {
        const LoadedEntry loaded(path);
        if (loaded.info && !hasAction(loaded.info.get(), id))
            return u"“%1” has no action “%2”."_s.arg(path, QString::fromUtf8(id));
        return entry(loaded, {}, LaunchMode::Action, id);
    }

    QString openWithDefault(const QUrl &url) const {
        const FileType type = handledType(url);
        for (const QString &handled : type.types)
            if (openWithHandler(handled, url))
                return {};
        // Nor is xdg-open asked: it knows programs that would run the file.
        if (type.runs)
            return reveal(url.toLocalFile());
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
            if (reply || meansNoAnswer(error))
                return error.message();
        }
        return openWithDefault(QUrl::fromLocalFile(QFileInfo(path).path()));
    }

private:
    bool openWithHandler(const QString &type, const QUrl &url) const {
        for (const QString &path : defaultHandlers(type)) {
            const LoadedEntry handler(path);
            if (handler.info && !g_desktop_app_info_get_is_hidden(handler.info.get()))
                return entry(handler, {url}, LaunchMode::Usual).isEmpty();
        }
        return false;
    }

    bool isInstalled(const QString &program) const {
        const QStringList folders =
            QFile::decodeName(environment.value("PATH")).split(u':', Qt::SkipEmptyParts);
        return !folders.isEmpty() && !QStandardPaths::findExecutable(program, folders).isEmpty();
    }

    /** What the desktop shall know the window by; empty for nothing. */
    QByteArray startupId(const LaunchedEntry &entry) const {
        return activationToken.isEmpty() ? startups.begin(entry) : activationToken;
    }

    /** `action`: of the mode with that name. */
    QString entry(const LoadedEntry &loaded, const QList<QUrl> &urls, LaunchMode mode,
                  QByteArray action = {}) const {
        const auto &[path, file, info] = loaded;
        if (!info && !QFileInfo::exists(path))
            return u"“%1” does not exist."_s.arg(path);
        if (!info)
            return u"“%1” is no desktop entry, or its program is not installed."_s.arg(path);

        QString exec = entryValue(info.get(), G_KEY_FILE_DESKTOP_KEY_EXEC);
        bool byBus =
            g_desktop_app_info_get_boolean(info.get(), G_KEY_FILE_DESKTOP_KEY_DBUS_ACTIVATABLE);
        BusRequest request{urls, {}, {}};
        if (mode == LaunchMode::NewWindow)
            action = newWindowAction(info.get());
        if (!action.isEmpty()) {
            request.action = action;
            const QString ofAction =
                keyFileText(file.get(), "Desktop Action " + action, G_KEY_FILE_DESKTOP_KEY_EXEC);
            // Starting the application as usual may open a window; it does nothing else.
            if (!ofAction.isEmpty() || mode == LaunchMode::Action)
                exec = ofAction;
        } else if (mode == LaunchMode::NewWindow && !exec.isEmpty()) {
            // Activating shows the window that is there already; the program may open another.
            byBus = false;
        }
        const LaunchedEntry launched{
            QString::fromUtf8(g_app_info_get_name(G_APP_INFO(info.get()))),
            entryValue(info.get(), G_KEY_FILE_DESKTOP_KEY_ICON), path,
            entryValue(info.get(), G_KEY_FILE_DESKTOP_KEY_STARTUP_WM_CLASS),
            g_desktop_app_info_get_boolean(info.get(), G_KEY_FILE_DESKTOP_KEY_STARTUP_NOTIFY) !=
                FALSE};
        if (byBus)
            if (const std::optional<QString> result = activate(launched, request))
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
    std::optional<QString> activate(const LaunchedEntry &entry, BusRequest request) const {
        request.startupId = startupId(entry);
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
        if (g_desktop_app_info_get_boolean(info, G_KEY_FILE_DESKTOP_KEY_TERMINAL)) {
            const auto inTerminal = terminalCommand(
                line,
                {QFile::decodeName(environment.value("TERMINAL")), desktopsettings::terminal()},
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
        if (entry.notifiesOfStart)
            command.startupId = startupId(entry);
        QString error = run(command);
        if (!error.isEmpty())
            startups.cancel(command.startupId);
        return error;
    }

    // Its path stands where an entry's would: by it the window is known for its own.
    QString appImage(const QString &path, const QList<QUrl> &urls) const {
        return run({.arguments = QStringList{path} + pathsOrAddresses(urls),
                    .application = appImageId(path),
                    .desktopFile = path});
    }

    QString bundle(const QString &path, const QList<QUrl> &urls) const {
        // The executable that the properties name, else the one named like the bundle.
        QString name = bundleProperties(path).value(u"CFBundleExecutable"_s);
        if (name.isEmpty() || name.contains(u'/'))
            name = QFileInfo(path).completeBaseName();
        const QString executable = path + "/Contents/MacOS/"_L1 + name;
        if (!QFileInfo(executable).isFile() || !QFileInfo(executable).isExecutable())
            return u"“%1” is not executable."_s.arg(executable);
        return run({.arguments = QStringList{executable} + pathsOrAddresses(urls),
                    .application = QFileInfo(path).completeBaseName()});
    }
};

SessionWorkspace::SessionWorkspace(const DesktopEntries &entries, const Options &options)
    : options_(options),
      icons_(desktopsettings::iconTheme, {iconBaseFolders(), {u"/usr/share/pixmaps"_s}},
             options.devicePixelRatio, options.pictureProgram),
      running_(entries, options.displays) {}

void SessionWorkspace::inBackground(const Completion &done,
                                    const std::function<QString(const Launch &)> &task) {
    const QByteArray token = options_.activationToken ? options_.activationToken() : QByteArray();
    tasks_.start([=, this](const std::stop_token &stop) {
        const GObjectPointer<GCancellable> shutdown(g_cancellable_new());
        const std::stop_callback cancel(stop, [&] { g_cancellable_cancel(shutdown.get()); });
        StartupNotifier startups(options_.displays.x11);
        const QString error = task({options_.childEnvironment, token, shutdown.get(), startups});
        if (done)
            QMetaObject::invokeMethod(
                &receiver_, [done, error] { done(error); }, Qt::QueuedConnection);
        startups.finish(shutdown.get());
    });
}

void SessionWorkspace::openApplication(const QString &applicationPath, const Completion &done) {
    const bool runs = running_.activate(applicationPath, [=, this](bool activated) {
        // It has ended meanwhile, or hangs.
        if (!activated)
            openFiles({}, applicationPath, done);
        else if (done)
            done({});
    });
    if (!runs)
        openFiles({}, applicationPath, done);
}

void SessionWorkspace::openNewWindow(const QString &applicationPath, const Completion &done) {
    inBackground(done, [=](const Launch &launch) {
        return launch.application(applicationPath, {}, LaunchMode::NewWindow);
    });
}

void SessionWorkspace::runAction(const QString &applicationPath, const QString &action,
                                 const Completion &done) {
    inBackground(done, [=, id = action.toUtf8()](const Launch &launch) {
        return launch.action(applicationPath, id);
    });
}

void SessionWorkspace::openFiles(const QStringList &paths, const QString &applicationPath,
                                 const Completion &done) {
    QList<QUrl> urls;
    for (const QString &path : paths)
        urls.append(QUrl::fromLocalFile(path));
    inBackground(done, [=](const Launch &launch) {
        return launch.application(applicationPath, urls, LaunchMode::Usual);
    });
}

void SessionWorkspace::openUrl(const QUrl &url) {
    inBackground({}, [url](const Launch &launch) { return launch.openWithDefault(url); });
}

void SessionWorkspace::reveal(const QString &path) {
    inBackground({}, [path](const Launch &launch) { return launch.reveal(path); });
}

void SessionWorkspace::startTool(const QString &executable, const QStringList &arguments,
                                 const Completion &done) {
    inBackground(done, [=](const Launch &launch) {
        return launch.run({.arguments = QStringList{executable} + arguments,
                           .workingFolder = QDir::currentPath(),
                           .application = QFileInfo(executable).fileName()});
    });
}

} // namespace corvid
