#include "Platform/Linux/Launching/GioDesktopEntries.h"

#include "Base/FolderNames.h"
#include "Base/Locations.h"
#include "Base/Text.h"
#include "Platform/Linux/KeyFiles.h"
#include "Platform/Linux/Launching/AppImages.h"
#include "Platform/Linux/Launching/ExecLine.h"
#include "Platform/Linux/Launching/ProgramName.h"

#include <QFileInfo>
#include <QSet>
#include <QStandardPaths>
#include <QStringBuilder>

#include <gio/gdesktopappinfo.h>

#include <algorithm>
#include <map>
#include <memory>
#include <optional>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto entrySuffix = ".desktop"_L1;

struct EntryFile {
    QString id;
    QString path;
};

// The entry files below one folder. In a subfolder the id begins with its name: sub/x.desktop is
// "sub-x". Files come before subfolders, so that a plain file wins over one with its id in there.
std::vector<EntryFile> entryFiles(const QString &root, const FolderWatch *watch) {
    // A link may lead into a large tree, or back to where we are.
    constexpr int deepestFolder = 8;
    constexpr qsizetype mostFolders = 1000;
    struct Folder {
        QString path;
        QString idPrefix;
        int depth;
    };
    std::vector<EntryFile> files;
    std::vector<Folder> folders{{root, {}, 0}};
    QSet<QString> seen;
    for (std::size_t next = 0; next < folders.size() && seen.size() < mostFolders; ++next) {
        const Folder folder = folders[next];
        if (watch)
            watch->add(folder.path);
        const QString canonical = QFileInfo(folder.path).canonicalFilePath();
        if (canonical.isEmpty() || seen.contains(canonical))
            continue;
        seen.insert(canonical);
        for (const QString &name : namesInFolder(folder.path)) {
            if (name.startsWith(u'.'))
                continue;
            const QString path = folder.path % u'/' % name; // kept, so with no room to grow
            if (name.endsWith(entrySuffix))
                files.push_back({folder.idPrefix + name.chopped(entrySuffix.size()), path});
            else if (folder.depth < deepestFolder && QFileInfo(path).isDir())
                folders.push_back({path, folder.idPrefix + name + u'-', folder.depth + 1});
        }
    }
    return files;
}

QStringList keywordsFrom(const char *const *next) {
    constexpr qsizetype most = 100; // in real ones there are twenty
    QStringList keywords;
    for (; next && *next && keywords.size() < most; ++next)
        keywords.append(nameFrom(QString::fromUtf8(*next)));
    return keywords;
}

QStringList unlocalizedKeywords(GKeyFile *file) {
    const std::unique_ptr<gchar *, decltype(&g_strfreev)> keywords(
        g_key_file_get_string_list(file, G_KEY_FILE_DESKTOP_GROUP, "Keywords", nullptr, nullptr),
        &g_strfreev);
    return keywordsFrom(keywords.get());
}

QStringList categoriesOf(GDesktopAppInfo *info) {
    return QString::fromUtf8(g_desktop_app_info_get_categories(info))
        .split(u';', Qt::SkipEmptyParts);
}

bool isPanelOfKde(GKeyFile *file) {
    return keyFileText(file, G_KEY_FILE_DESKTOP_GROUP, "X-KDE-AliasFor") == "systemsettings"_L1;
}

// GNOME's and KDE's settings list their panels themselves and keep them out of the application
// menu. Who types what a panel is about has not opened the settings yet. GNOME's panels about
// privacy are left out: they are named like the applications that they watch, "Camera" first.
bool isPanelOfThisDesktop(GDesktopAppInfo *info, GKeyFile *file) {
    if (!g_desktop_app_info_get_nodisplay(info) || !g_desktop_app_info_get_show_in(info, nullptr))
        return false;
    if (isPanelOfKde(file)) // says itself on no desktop that it is KDE's
        return qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':').contains("KDE"_L1);
    const QStringList categories = categoriesOf(info);
    return categories.contains("X-GNOME-Settings-Panel"_L1) &&
           !categories.contains("X-GNOME-PrivacySettings"_L1);
}

// Adds the AppImages that an Exec line names.
void noteAppImages(const QString &exec, QSet<QString> &launched) {
    for (QString word : execWords(exec))
        if (isAppImage(word))
            launched.insert(word.replace("%%"_L1, "%"_L1));
}

// Those that have a name and say what to run. Over the bus, that is their id.
QList<DesktopAction> actionsOf(GDesktopAppInfo *info, GKeyFile *file) {
    const bool byBus =
        g_desktop_app_info_get_boolean(info, G_KEY_FILE_DESKTOP_KEY_DBUS_ACTIVATABLE) != FALSE;
    QList<DesktopAction> actions;
    for (const char *const *next = g_desktop_app_info_list_actions(info);
         *next && actions.size() < mostDesktopActions; ++next) {
        const QByteArray group = QByteArray("Desktop Action ") + *next;
        const GFreePointer<gchar> name(g_key_file_get_locale_string(
            file, group.constData(), G_KEY_FILE_DESKTOP_KEY_NAME, nullptr, nullptr));
        const bool runs =
            byBus || !keyFileText(file, group.constData(), G_KEY_FILE_DESKTOP_KEY_EXEC).isEmpty();
        const DesktopAction action{QString::fromUtf8(*next),
                                   nameFrom(QString::fromUtf8(name.get()))};
        const bool isSane = !action.name.isEmpty() && nameFrom(action.id) == action.id;
        const bool isListed =
            std::ranges::find(actions, action.id, &DesktopAction::id) != actions.end();
        if (runs && isSane && !isListed)
            actions.append(action);
    }
    return actions;
}

std::optional<DesktopEntry> readEntry(const EntryFile &source, const OpenedFile &opened,
                                      QSet<QString> &launchedAppImages) {
    const GKeyFilePointer file = readKeyFile(opened, largestEntry);
    if (!file)
        return std::nullopt;
    // Null also when the program that the entry needs is not installed.
    const GObjectPointer<GDesktopAppInfo> info(g_desktop_app_info_new_from_keyfile(file.get()));
    if (!info || g_desktop_app_info_get_is_hidden(info.get()) ||
        (!g_app_info_should_show(G_APP_INFO(info.get())) &&
         !isPanelOfThisDesktop(info.get(), file.get())))
        return std::nullopt;
    QStringList categories = categoriesOf(info.get());
    if (categories.isEmpty() && isPanelOfKde(file.get()))
        categories.append(u"Settings"_s);
    const QString unlocalizedName =
        keyFileText(file.get(), G_KEY_FILE_DESKTOP_GROUP, G_KEY_FILE_DESKTOP_KEY_NAME);
    if (unlocalizedName.isEmpty())
        return std::nullopt;
    const QString exec =
        keyFileText(file.get(), G_KEY_FILE_DESKTOP_GROUP, G_KEY_FILE_DESKTOP_KEY_EXEC);
    noteAppImages(exec, launchedAppImages);
    return DesktopEntry{
        source.id,
        source.path,
        nameFrom(QString::fromUtf8(g_app_info_get_name(G_APP_INFO(info.get())))),
        nameFrom(unlocalizedName),
        nameFrom(QString::fromUtf8(g_desktop_app_info_get_generic_name(info.get()))),
        nameFrom(programName(exec)),
        categories,
        QString::fromUtf8(g_desktop_app_info_get_startup_wm_class(info.get())),
        keywordsFrom(g_desktop_app_info_get_keywords(info.get())),
        nameFrom(
            keyFileText(file.get(), G_KEY_FILE_DESKTOP_GROUP, G_KEY_FILE_DESKTOP_KEY_GENERIC_NAME)),
        unlocalizedKeywords(file.get()),
        actionsOf(info.get(), file.get())};
}

/** The entries found so far. A file that is reached by several names, by links, mounts or folders
    that lie in each other, is one application and listed once. */
class Listing {
public:
    void add(DesktopEntry entry, const OpenedFile::Identity &file) {
        const auto [known, isNew] = indexes_.try_emplace(file, entries_.size());
        // Some file systems give several files one number.
        if (isNew || !saysTheSame(entries_[known->second], entry))
            entries_.push_back(std::move(entry));
        else if (isNamedLikeItsFile(entry) && !isNamedLikeItsFile(entries_[known->second]))
            entries_[known->second] = std::move(entry);
    }

    std::vector<DesktopEntry> take() { return std::move(entries_); }

private:
    static bool saysTheSame(const DesktopEntry &one, DesktopEntry other) {
        other.id = one.id;
        other.path = one.path;
        return one == other;
    }

    // By this id the desktop and the program itself know it, and by no other.
    static bool isNamedLikeItsFile(const DesktopEntry &entry) {
        const QString file = QFileInfo(entry.path).canonicalFilePath();
        return QFileInfo(file).completeBaseName() == entry.id;
    }

    std::vector<DesktopEntry> entries_;
    std::map<OpenedFile::Identity, std::size_t> indexes_;
};

} // namespace

QStringList GioDesktopEntries::folders() {
    QStringList dataFolders{locations::applicationSupport()};
    const QStringList system = locations::systemData();
    // Where the environment names them, it also says which comes first.
    for (const QString &folder : locations::flatpakData()) {
        if (!system.contains(folder))
            dataFolders.append(folder);
    }
    dataFolders += system;
    dataFolders.append(u"/var/lib/snapd/desktop"_s);
    dataFolders.removeDuplicates();
    for (QString &folder : dataFolders)
        folder += "/applications"_L1;
    return dataFolders;
}

std::vector<DesktopEntry> GioDesktopEntries::list() const {
    Listing listing;
    QSet<QString> launchedAppImages;
    const FolderWatch *watch = watch_ ? &*watch_ : nullptr;
    // The first file with an id masks the others, also when it is not shown or cannot be read.
    QSet<QString> ids;
    for (const QString &folder : folders()) {
        for (const EntryFile &file : entryFiles(folder, watch)) {
            if (ids.contains(file.id))
                continue;
            ids.insert(file.id);
            const std::optional<OpenedFile> opened = openRegularFile(file.path);
            if (std::optional<DesktopEntry> entry =
                    opened ? readEntry(file, *opened, launchedAppImages) : std::nullopt)
                listing.add(*std::move(entry), opened->identity());
        }
    }
    std::vector<DesktopEntry> entries = listing.take();
    const QStringList imageFolders = appImageFolders();
    for (const QString &folder : imageFolders)
        if (watch && QFileInfo(folder).isDir())
            watch->add(folder);
    for (DesktopEntry &image : appImages(imageFolders, launchedAppImages))
        entries.push_back(std::move(image));
    return entries;
}

void GioDesktopEntries::watch() {
    watch_.emplace([this] {
        if (onChange)
            onChange();
    });
}

} // namespace corvid
