#include "Platform/Linux/Launching/LaunchTasks.h"

#include "Base/Locations.h"
#include "Platform/Linux/Bus/BusActivation.h"
#include "Platform/Linux/Bus/SessionBus.h"
#include "Platform/Linux/DesktopSettings.h"
#include "Platform/Linux/Launching/BundleProperties.h"
#include "Platform/Linux/Launching/DetachedProcess.h"
#include "Platform/Linux/Launching/ExecLine.h"
#include "Platform/Linux/Launching/StartupNotifier.h"
#include "Platform/Linux/Launching/TerminalCommand.h"

#include <gio/gdesktopappinfo.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

namespace corvid::launching {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int scopeTimeoutMs = 2'000;
constexpr int fileManagerTimeoutMs = 25'000; // it may have to be started first

struct KeyFileUnref {
    void operator()(GKeyFile *file) const { g_key_file_unref(file); }
};

bool isInstalled(const World &world, const QString &program) {
    const QStringList folders = world.environment.value(u"PATH"_s).split(u':', Qt::SkipEmptyParts);
    return !folders.isEmpty() && !QStandardPaths::findExecutable(program, folders).isEmpty();
}

QString stringOf(GDesktopAppInfo *entry, const char *key) {
    const GFreePointer<gchar> value(g_desktop_app_info_get_string(entry, key));
    return QString::fromUtf8(value.get());
}

/** Moves a process that was just started into a systemd scope of its own, so that it does not
    end with our service. Without a user manager there is nothing to do and nothing is done. */
void moveToScope(const World &world, qint64 pid, const QString &application) {
    const GObjectPointer<GDBusConnection> bus = sessionBus(world.shutdown);
    if (!bus)
        return;
    GVariantBuilder pids;
    g_variant_builder_init(&pids, G_VARIANT_TYPE("au"));
    g_variant_builder_add(&pids, "u", static_cast<guint32>(pid));
    GVariantBuilder properties;
    g_variant_builder_init(&properties, G_VARIANT_TYPE("a(sv)"));
    g_variant_builder_add(&properties, "(sv)", "PIDs", g_variant_builder_end(&pids));
    g_variant_builder_add(&properties, "(sv)", "Slice", g_variant_new_string("app.slice"));
    g_variant_builder_add(&properties, "(sv)", "CollectMode",
                          g_variant_new_string("inactive-or-failed"));
    // Not waking a manager that is not there, and not caring: the session of its own remains.
    GErrorHolder error;
    GVariant *reply = g_dbus_connection_call_sync(
        bus.get(), "org.freedesktop.systemd1", "/org/freedesktop/systemd1",
        "org.freedesktop.systemd1.Manager", "StartTransientUnit",
        g_variant_new("(ssa(sv)@a(sa(sv)))", scopeName(application, pid).toUtf8().constData(),
                      "fail", &properties,
                      g_variant_new_array(G_VARIANT_TYPE("(sa(sv))"), nullptr, 0)),
        nullptr, G_DBUS_CALL_FLAGS_NO_AUTO_START, scopeTimeoutMs, world.shutdown, error.out());
    if (reply)
        g_variant_unref(reply);
}

/** Starts one command line in the home folder, or in `folder` when that is not empty. */
QString start(const World &world, const QStringList &arguments, const QString &folder,
              const QString &application, const QString &desktopFile,
              const QByteArray &startupId = {}) {
    QString workingFolder = folder;
    if (workingFolder.isEmpty() && QFileInfo(locations::home()).isDir())
        workingFolder = locations::home();
    const DetachedProcess process = startDetached({arguments, world.environment, workingFolder,
                                                   desktopFile, startupId, world.activationToken});
    if (process.error.isEmpty())
        moveToScope(world, process.pid, application);
    return process.error;
}

StartupNotifier::Application startingApplication(GDesktopAppInfo *entry, const QString &path) {
    return {path, QString::fromUtf8(g_app_info_get_name(G_APP_INFO(entry))),
            stringOf(entry, G_KEY_FILE_DESKTOP_KEY_ICON),
            stringOf(entry, G_KEY_FILE_DESKTOP_KEY_STARTUP_WM_CLASS)};
}

/** What the desktop shall know the window by; empty for nothing. */
QByteArray startupIdFor(const World &world, const StartupNotifier::Application &application,
                        StartupNotifier::Announcement announcement) {
    if (!world.activationToken.isEmpty())
        return world.activationToken;
    return world.startups->begin(application, announcement);
}

bool saysWhenStarted(GDesktopAppInfo *entry) {
    return g_desktop_app_info_get_boolean(entry, G_KEY_FILE_DESKTOP_KEY_STARTUP_NOTIFY) != FALSE;
}

QString startByExec(const World &world, GDesktopAppInfo *entry, const QString &path,
                    const QString &exec, const QList<QUrl> &urls) {
    const QString id = QFileInfo(path).completeBaseName();
    const ExecFields fields{QString::fromUtf8(g_app_info_get_name(G_APP_INFO(entry))),
                            stringOf(entry, G_KEY_FILE_DESKTOP_KEY_ICON), path};
    std::vector<QStringList> lines = expandExec(exec, fields, urls);
    if (lines.empty())
        return u"“%1” does not say what to run."_s.arg(path);

    const bool inTerminal =
        g_desktop_app_info_get_boolean(entry, G_KEY_FILE_DESKTOP_KEY_TERMINAL) != FALSE;
    for (QStringList &line : lines) {
        if (inTerminal) {
            const auto inUsersTerminal = terminalCommand(
                line, {world.environment.value(u"TERMINAL"_s), desktopsettings::terminal()},
                [&](const QString &program) { return isInstalled(world, program); });
            if (!inUsersTerminal)
                return u"There is no terminal to run “%1” in."_s.arg(fields.name);
            line = *inUsersTerminal;
        }
        // The process of an entry that runs in a terminal is the terminal, not the application.
        // As GIO does: one that knows nothing of the id would hand it on to its own children, whose
        // windows would then be taken for old ones.
        QByteArray startupId;
        if (!inTerminal && saysWhenStarted(entry))
            startupId = startupIdFor(world, startingApplication(entry, path),
                                     StartupNotifier::Announcement::Public);
        QString error = start(world, line, stringOf(entry, G_KEY_FILE_DESKTOP_KEY_PATH), id,
                              inTerminal ? QString() : path, startupId);
        if (!error.isEmpty())
            world.startups->cancel(startupId);
        if (!error.isEmpty())
            return error;
    }
    return {};
}

bool meansNoAnswer(const GError *error) {
    return g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_NO_REPLY) ||
           g_error_matches(error, G_IO_ERROR, G_IO_ERROR_TIMED_OUT) ||
           g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED);
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
    const std::unique_ptr<GKeyFile, KeyFileUnref> file(g_key_file_new());
    g_key_file_load_from_file(file.get(), QFile::encodeName(path).constData(), G_KEY_FILE_NONE,
                              nullptr);
    const GFreePointer<gchar> exec(g_key_file_get_string(file.get(), "Desktop Action " + action,
                                                         G_KEY_FILE_DESKTOP_KEY_EXEC, nullptr));
    return QString::fromUtf8(exec.get());
}

enum class Window { AsUsual, New };

QString launchEntry(const World &world, const QString &path, const QList<QUrl> &urls,
                    Window window = Window::AsUsual) {
    const GObjectPointer<GDesktopAppInfo> entry(
        g_desktop_app_info_new_from_filename(QFile::encodeName(path).constData()));
    if (!entry && !QFileInfo::exists(path))
        return u"“%1” does not exist."_s.arg(path);
    if (!entry)
        return u"“%1” is no desktop entry, or its program is not installed."_s.arg(path);

    QString exec = stringOf(entry.get(), G_KEY_FILE_DESKTOP_KEY_EXEC);
    bool byBus = g_desktop_app_info_get_boolean(entry.get(), "DBusActivatable") != FALSE;
    BusRequest request{urls, {}, {}};
    if (window == Window::New) {
        const QByteArray action = newWindowAction(entry.get());
        if (!action.isEmpty()) {
            request.action = action;
            if (const QString ofAction = execOfAction(path, action); !ofAction.isEmpty())
                exec = ofAction;
        } else if (!exec.isEmpty()) {
            // Activating shows the window that is there already; the program may open another.
            byBus = false;
        }
    }
    if (byBus) {
        request.startupId =
            startupIdFor(world, startingApplication(entry.get(), path),
                         saysWhenStarted(entry.get()) ? StartupNotifier::Announcement::Public
                                                      : StartupNotifier::Announcement::Silent);
        GErrorHolder error;
        switch (activateByBus(QFileInfo(path).completeBaseName(), request, world.shutdown, error)) {
        case BusActivation::Done:
            return {};
        case BusActivation::Failed:
            world.startups->cancel(request.startupId);
            g_dbus_error_strip_remote_error(error.get());
            return error.message();
        case BusActivation::ServiceMissing:
            world.startups->cancel(request.startupId);
            break;
        }
    }
    return startByExec(world, entry.get(), path, exec, urls);
}

QString launchBundle(const World &world, const QString &path, const QList<QUrl> &urls) {
    const QString executable = bundleExecutable(path);
    if (!QFileInfo(executable).isFile() || !QFileInfo(executable).isExecutable())
        return u"“%1” is not executable."_s.arg(executable);
    QStringList arguments{executable};
    for (const QUrl &url : urls)
        arguments.append(url.isLocalFile() ? url.toLocalFile() : url.toString());
    return start(world, arguments, {}, QFileInfo(path).completeBaseName(), {});
}

GObjectPointer<GAppInfo> defaultApplication(const QUrl &url) {
    if (!url.isLocalFile())
        return GObjectPointer<GAppInfo>(
            g_app_info_get_default_for_uri_scheme(url.scheme().toUtf8().constData()));
    const QByteArray path = QFile::encodeName(url.toLocalFile());
    const GObjectPointer<GFile> file(g_file_new_for_path(path.constData()));
    GErrorHolder error;
    const GObjectPointer<GFileInfo> info(
        g_file_query_info(file.get(), G_FILE_ATTRIBUTE_STANDARD_CONTENT_TYPE,
                          G_FILE_QUERY_INFO_NONE, nullptr, error.out()));
    if (!info)
        return nullptr;
    return GObjectPointer<GAppInfo>(
        g_app_info_get_default_for_type(g_file_info_get_content_type(info.get()), FALSE));
}

} // namespace

QString launchApplication(const World &world, const QString &applicationPath,
                          const QList<QUrl> &urls) {
    if (applicationPath.endsWith(".desktop"_L1))
        return launchEntry(world, applicationPath, urls);
    return launchBundle(world, applicationPath, urls);
}

QString launchNewWindow(const World &world, const QString &applicationPath) {
    if (applicationPath.endsWith(".desktop"_L1))
        return launchEntry(world, applicationPath, {}, Window::New);
    return launchBundle(world, applicationPath, {});
}

QString openWithDefault(const World &world, const QUrl &url) {
    sessionBus(world.shutdown);
    QString error = u"Nothing is installed that opens “%1”."_s.arg(url.toString());
    const GObjectPointer<GAppInfo> application = defaultApplication(url);
    if (application && G_IS_DESKTOP_APP_INFO(application.get())) {
        const char *path = g_desktop_app_info_get_filename(G_DESKTOP_APP_INFO(application.get()));
        error = launchEntry(world, QFile::decodeName(path), {url});
        if (error.isEmpty())
            return {};
    }
    if (!isInstalled(world, u"xdg-open"_s))
        return error;
    return start(world,
                 {u"xdg-open"_s,
                  url.isLocalFile() ? url.toLocalFile() : QString::fromLatin1(url.toEncoded())},
                 {}, u"xdg-open"_s, {});
}

QString reveal(const World &world, const QString &path) {
    if (const GObjectPointer<GDBusConnection> bus = sessionBus(world.shutdown)) {
        GVariantBuilder uris;
        g_variant_builder_init(&uris, G_VARIANT_TYPE_STRING_ARRAY);
        g_variant_builder_add(&uris, "s", QUrl::fromLocalFile(path).toEncoded().constData());
        GErrorHolder error;
        GVariant *reply = g_dbus_connection_call_sync(
            bus.get(), "org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
            "org.freedesktop.FileManager1", "ShowItems", g_variant_new("(ass)", &uris, ""), nullptr,
            G_DBUS_CALL_FLAGS_NONE, fileManagerTimeoutMs, world.shutdown, error.out());
        if (reply) {
            g_variant_unref(reply);
            return {};
        }
        // A file manager that is slow to answer may still show its window.
        if (meansNoAnswer(error.get()))
            return error.message();
    }
    return openWithDefault(world, QUrl::fromLocalFile(QFileInfo(path).path()));
}

QString startTool(const World &world, const QString &executable, const QStringList &arguments) {
    return start(world, QStringList{executable} + arguments, QDir::currentPath(),
                 QFileInfo(executable).fileName(), {});
}

} // namespace corvid::launching
