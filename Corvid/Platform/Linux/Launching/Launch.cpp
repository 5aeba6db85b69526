#include "Platform/Linux/Launching/Launch.h"

#include "Base/Locations.h"
#include "Catalog/PropertyList.h"
#include "Platform/Linux/Bus/FileManager.h"
#include "Platform/Linux/DesktopSettings.h"
#include "Platform/Linux/Launching/AppImages.h"
#include "Platform/Linux/Launching/DefaultHandlers.h"
#include "Platform/Linux/Launching/FileType.h"
#include "Platform/Linux/Launching/FolderArguments.h"
#include "Platform/Linux/Launching/TerminalCommand.h"

#include <QFileInfo>
#include <QStandardPaths>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

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

} // namespace

QString installedProgram(const ChildEnvironment &environment, const QString &program) {
    const QStringList folders =
        QFile::decodeName(environment.value("PATH")).split(u':', Qt::SkipEmptyParts);
    return folders.isEmpty() ? QString() : QStandardPaths::findExecutable(program, folders);
}

QStringList preferredTerminals(const ChildEnvironment &environment) {
    return {QFile::decodeName(environment.value("TERMINAL")), desktopsettings::terminal()};
}

QString Launch::run(DetachedCommand command) const {
    if (command.workingFolder.isEmpty() && QFileInfo(locations::home()).isDir())
        command.workingFolder = locations::home();
    command.environment = environment;
    command.activationToken = activationToken;
    return startDetached(command, shutdown);
}

QString Launch::application(const QString &path, const QList<QUrl> &urls, LaunchMode mode,
                            const QString &folder) const {
    if (isAppImage(path))
        return appImage(path, urls, mode == LaunchMode::Terminal ? folder : QString());
    return path.endsWith(".desktop"_L1) ? entry(LoadedEntry(path), urls, mode, {}, folder)
                                        : bundle(path, urls);
}

QString Launch::action(const QString &path, const QByteArray &id) const {
    const LoadedEntry loaded(path);
    if (loaded.info && !hasAction(loaded.info.get(), id))
        return u"“%1” has no action “%2”."_s.arg(path, QString::fromUtf8(id));
    return entry(loaded, {}, LaunchMode::Action, id);
}

QString Launch::openFiles(const QList<QUrl> &urls, const QString &path) const {
    const QString folder = urls.size() == 1 ? urls.first().toLocalFile() : QString();
    return application(path, urls, LaunchMode::Usual,
                       QFileInfo(folder).isDir() ? folder : QString());
}

QString Launch::terminal(const QString &folder, const QString &path) const {
    if (isAppImage(path) || path.endsWith(".desktop"_L1))
        return application(path, {}, LaunchMode::Terminal, folder);
    if (QFileInfo(path).isDir())
        return bundle(path, {}, folder);
    return run({.arguments = terminalInFolder({path}, folder),
                .workingFolder = folder,
                .application = QFileInfo(path).fileName()});
}

QString Launch::openWithDefault(const QUrl &url) const {
    const FileType type = handledType(url);
    // Git clients and players claim folders as well; whoever opens one wants to see its files.
    if (type.types.contains("inode/directory"_L1) &&
        (openWithHandler(type.types.first(), url, "FileManager"_L1) ||
         askFileManager("ShowFolders", url, shutdown)))
        return {};
    for (const QString &handled : type.types)
        if (openWithHandler(handled, url))
            return {};
    // Nor is xdg-open asked: it knows programs that would run the file.
    if (type.runs)
        return reveal(url.toLocalFile());
    return run({.arguments = {u"xdg-open"_s, pathOrAddress(url)}, .application = u"xdg-open"_s});
}

QString Launch::reveal(const QString &path) const {
    if (const auto error = askFileManager("ShowItems", QUrl::fromLocalFile(path), shutdown))
        return *error;
    return openWithDefault(QUrl::fromLocalFile(QFileInfo(path).path()));
}

bool Launch::openWithHandler(const QString &type, const QUrl &url,
                             QLatin1StringView category) const {
    for (const QString &path : defaultHandlers(type)) {
        const LoadedEntry handler(path);
        if (!handler.info || g_desktop_app_info_get_is_hidden(handler.info.get()))
            continue;
        if (category.isEmpty() || hasCategory(handler.info.get(), category))
            return entry(handler, {url}, LaunchMode::Usual).isEmpty();
    }
    return false;
}

QByteArray Launch::startupId(const LaunchedEntry &entry) const {
    return activationToken.isEmpty() ? startups.begin(entry) : activationToken;
}

QString Launch::entry(const LoadedEntry &loaded, const QList<QUrl> &urls, LaunchMode mode,
                      QByteArray action, const QString &folder) const {
    const auto &[path, file, info] = loaded;
    if (!info && !QFileInfo::exists(path))
        return u"“%1” does not exist."_s.arg(path);
    if (!info)
        return u"“%1” is no desktop entry, or its program is not installed."_s.arg(path);

    QString exec = entryValue(info.get(), G_KEY_FILE_DESKTOP_KEY_EXEC);
    bool byBus =
        g_desktop_app_info_get_boolean(info.get(), G_KEY_FILE_DESKTOP_KEY_DBUS_ACTIVATABLE);
    const bool inTerminal = runsInTerminal(info.get());
    const auto ownArguments = folder.isEmpty() || mode == LaunchMode::Terminal
                                  ? std::nullopt
                                  : folderArguments(idOf(path), exec, inTerminal, folder);
    // Nothing but files can be handed over the bus.
    if (mode == LaunchMode::Terminal || ownArguments)
        byBus = false;
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
        g_desktop_app_info_get_boolean(info.get(), G_KEY_FILE_DESKTOP_KEY_STARTUP_NOTIFY) != FALSE};
    if (byBus)
        if (const std::optional<QString> result = activate(launched, request))
            return *result;

    std::vector<QStringList> lines =
        expandExec(exec, launched, ownArguments ? QList<QUrl>() : urls);
    if (lines.empty())
        return u"“%1” does not say what to run."_s.arg(path);
    if (ownArguments)
        lines.front() += *ownArguments;
    if (mode == LaunchMode::Terminal)
        lines.front() =
            terminalInFolder(lines.front(), folder, entryValue(info.get(), "X-TerminalArgDir"));
    const bool worksThere = mode == LaunchMode::Terminal || ownArguments || inTerminal;
    for (const QStringList &line : lines)
        if (QString error = runLine(info.get(), launched, line, worksThere ? folder : QString());
            !error.isEmpty())
            return error;
    return {};
}

std::optional<QString> Launch::activate(const LaunchedEntry &entry, BusRequest request) const {
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

QString Launch::runLine(GDesktopAppInfo *info, const LaunchedEntry &entry, const QStringList &line,
                        const QString &folder) const {
    DetachedCommand command{
        .arguments = line,
        .workingFolder = folder.isEmpty() ? entryValue(info, G_KEY_FILE_DESKTOP_KEY_PATH) : folder,
        .application = idOf(entry.path)};
    if (runsInTerminal(info)) {
        const auto installed = [this](const QString &program) {
            return !installedProgram(environment, program).isEmpty();
        };
        const auto inTerminal =
            terminalCommand(line, preferredTerminals(environment), installed, folder);
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
QString Launch::appImage(const QString &path, const QList<QUrl> &urls,
                         const QString &folder) const {
    return run({.arguments = QStringList{path} + pathsOrAddresses(urls),
                .workingFolder = folder,
                .application = appImageId(path),
                .desktopFile = path});
}

QString Launch::bundle(const QString &path, const QList<QUrl> &urls, const QString &folder) const {
    // The executable that the properties name, else the one named like the bundle.
    QString name = bundleProperties(path).value(u"CFBundleExecutable"_s);
    if (name.isEmpty() || name.contains(u'/'))
        name = QFileInfo(path).completeBaseName();
    const QString executable = path + "/Contents/MacOS/"_L1 + name;
    if (!QFileInfo(executable).isFile() || !QFileInfo(executable).isExecutable())
        return u"“%1” is not executable."_s.arg(executable);
    return run({.arguments = QStringList{executable} + pathsOrAddresses(urls),
                .workingFolder = folder,
                .application = QFileInfo(path).completeBaseName()});
}

} // namespace corvid
