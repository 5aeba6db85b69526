#include "Catalog/DesktopEntryMapping.h"

#include "Base/Text.h"

#include <QStringTokenizer>

#include <array>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

/** Applies to an entry that has one of the categories. */
struct CategoryRow {
    QLatin1StringView value;
    QLatin1StringView categories;   ///< separated by spaces
    QLatin1StringView with = {};    ///< applies only beside this category
    QLatin1StringView without = {}; ///< does not apply beside this category

    bool appliesTo(const QStringList &entry) const {
        const auto has = [&entry](QLatin1StringView category) { return entry.contains(category); };
        if ((!with.isEmpty() && !has(with)) || (!without.isEmpty() && has(without)))
            return false;
        for (const QLatin1StringView category : qTokenize(categories, u' '))
            if (has(category))
                return true;
        return false;
    }
};

// What follows "public.app-category."; the first row that applies counts. So telling categories
// come first, then the main ones, and those that say next to nothing last.
constexpr auto categoryRows = std::to_array<CategoryRow>({
    {"photography"_L1, "Photography"_L1},
    {"finance"_L1, "Finance"_L1},
    {"social-networking"_L1, "InstantMessaging Chat IRCClient Telephony VideoConference"_L1},
    {"productivity"_L1, "Email Calendar ContactManagement ProjectManagement WebBrowser"_L1},
    {"news"_L1, "News Feed"_L1},
    {"developer-tools"_L1, "Development"_L1},
    {"medical"_L1, "MedicalSoftware"_L1},
    {"reference"_L1, "Dictionary"_L1},
    {"travel"_L1, "Maps"_L1},
    {"games"_L1, "Game"_L1},
    {"education"_L1, "Education Science"_L1},
    {"video"_L1, "Video"_L1},
    {"music"_L1, "Audio AudioVideo"_L1},
    {"business"_L1, "Office"_L1},
    {"graphics-design"_L1, "Graphics"_L1},
    {"utilities"_L1, "Network System Settings Utility"_L1},
});

// Every row that applies counts.
constexpr auto roleRows = std::to_array<CategoryRow>({
    {"code-editor"_L1, "IDE TextEditor"_L1},
    {"browser"_L1, "WebBrowser"_L1},
    {"terminal"_L1, "TerminalEmulator"_L1},
    {"file-manager"_L1, "FileManager"_L1},
    {"git-client"_L1, "RevisionControl"_L1},
    {"database-client"_L1, "Database"_L1},
    {"debugger"_L1, "Debugger"_L1},
    {"profiler"_L1, "Profiling"_L1},
    {"mail"_L1, "Email"_L1},
    {"chat"_L1, "Chat InstantMessaging IRCClient VideoConference"_L1},
    {"news"_L1, "News Feed"_L1},
    {"calendar"_L1, "Calendar"_L1},
    {"word-processor"_L1, "WordProcessor"_L1},
    {"spreadsheet"_L1, "Spreadsheet"_L1},
    {"presentation"_L1, "Presentation"_L1},
    {"dictionary"_L1, "Dictionary"_L1},
    {"maps"_L1, "Maps"_L1},
    {"calculator"_L1, "Calculator"_L1},
    {"archive"_L1, "Archiving Compression"_L1},
    {"package-manager"_L1, "PackageManager"_L1},
    {"system-monitor"_L1, "Monitor"_L1},
    {"disk-tool"_L1, "Filesystem"_L1},
    {"settings"_L1, "Settings"_L1},
    {"remote-desktop"_L1, "RemoteAccess"_L1},
    {"torrent"_L1, "P2P"_L1},
    {"ftp-client"_L1, "FileTransfer"_L1, {}, "P2P"_L1},
    {"emulator"_L1, "Emulator"_L1},
    {"pdf-reader"_L1, "Viewer"_L1, "Office"_L1},
    {"image-viewer"_L1, "Viewer"_L1, "Graphics"_L1, "Office"_L1},
    {"vector-editor"_L1, "VectorGraphics"_L1, {}, "Viewer"_L1},
    {"image-editor"_L1, "RasterGraphics"_L1, {}, "Viewer"_L1},
    {"3d-modeling"_L1, "3DGraphics"_L1, {}, "Viewer"_L1},
    {"cad"_L1, "Engineering"_L1, "Graphics"_L1},
    {"video-player"_L1, "Player"_L1, "Video"_L1},
    {"video-player"_L1, "Player"_L1, {}, "Audio"_L1},
    {"music"_L1, "Player"_L1, "Audio"_L1},
    {"video-editor"_L1, "AudioVideoEditing"_L1, "Video"_L1},
    {"video-editor"_L1, "AudioVideoEditing"_L1, {}, "Audio"_L1},
    {"audio-editor"_L1, "AudioVideoEditing"_L1, "Audio"_L1},
});

QStringList aliasesOf(const DesktopEntry &entry, const QStringList &known) {
    QStringList candidates = known;
    candidates << entry.genericName << entry.unlocalizedName << entry.program;
    QStringList aliases;
    QStringList taken{QString(), folded(entry.name)};
    for (const QString &alias : std::as_const(candidates)) {
        const QString key = folded(alias);
        if (taken.contains(key))
            continue;
        taken.append(key);
        aliases.append(alias);
    }
    return aliases;
}

} // namespace

AppEntry appEntry(const DesktopEntry &entry, const RoleCatalog &catalog) {
    const RoleCatalog::AppMeta known = catalog.taxonomy.apps.value(entry.id);
    const QString category = appCategory(entry.categories);
    QStringList roles =
        known.roles + catalog.categoryMap.value(category) + rolesOfCategories(entry.categories);
    roles.removeDuplicates();
    return {entry.name, entry.id, entry.path, roles, aliasesOf(entry, known.aliases), category};
}

QString appCategory(const QStringList &categories) {
    for (const CategoryRow &row : categoryRows)
        if (row.appliesTo(categories))
            return "public.app-category."_L1 + row.value;
    return {};
}

QStringList rolesOfCategories(const QStringList &categories) {
    QStringList roles;
    for (const CategoryRow &row : roleRows)
        if (row.appliesTo(categories) && !roles.contains(row.value))
            roles.append(row.value);
    return roles;
}

} // namespace corvid
