#include "Catalog/DesktopEntryMapping.h"

#include "Base/Text.h"
#include "Catalog/SpokenNames.h"
#include "Search/Words.h"

#include <QSet>
#include <QStringTokenizer>

#include <array>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

/** Applies to an entry that has one of the categories. */
struct CategoryRow {
    QLatin1StringView value;
    QLatin1StringView categories;   ///< separated by spaces
    QLatin1StringView with = {};    ///< applies only beside one of these
    QLatin1StringView without = {}; ///< does not apply beside any of these

    bool appliesTo(const QStringList &entry) const {
        const auto hasOneOf = [&entry](QLatin1StringView some) {
            for (const QLatin1StringView category : qTokenize(some, u' ', Qt::SkipEmptyParts))
                if (entry.contains(category))
                    return true;
            return false;
        };
        return hasOneOf(categories) && (with.isEmpty() || hasOneOf(with)) && !hasOneOf(without);
    }
};

// What follows "public.app-category."; the first row that applies counts. So telling categories
// come first, then the main ones, and those that say next to nothing last. A main category alone
// rarely says what an application is for: a volume control is "Audio", a password manager "Office".
constexpr auto categoryRows = std::to_array<CategoryRow>({
    {"photography"_L1, "Photography"_L1, {}, "Viewer"_L1},
    {"finance"_L1, "Finance"_L1},
    {"social-networking"_L1, "InstantMessaging IRCClient Telephony VideoConference"_L1},
    {"social-networking"_L1, "Chat"_L1, "Network"_L1},
    {"productivity"_L1, "Email Calendar ContactManagement ProjectManagement WebBrowser"_L1},
    {"news"_L1, "News Feed"_L1, {}, "Audio AudioVideo"_L1},
    {"developer-tools"_L1, "Development"_L1},
    {"medical"_L1, "MedicalSoftware"_L1},
    {"reference"_L1, "Dictionary"_L1},
    {"travel"_L1, "Maps"_L1},
    {"games"_L1, "Game"_L1},
    {"education"_L1, "Education Science"_L1},
    {"video"_L1, "Video"_L1},
    {"video"_L1, "AudioVideo"_L1, "Player Recorder AudioVideoEditing"_L1, "Audio"_L1},
    {"music"_L1, "Audio"_L1, "Player"_L1},
    {"business"_L1, "WordProcessor Spreadsheet Presentation"_L1},
    {"graphics-design"_L1, "VectorGraphics Publishing"_L1, {}, "Viewer FlowChart 2DGraphics"_L1},
    {"productivity"_L1, "Office"_L1},
    {"utilities"_L1, "Network System Settings Utility Graphics Audio AudioVideo"_L1},
});

// Every row that applies counts. A category that many bear for another reason tells a role only
// together with one that means it.
constexpr auto roleRows = std::to_array<CategoryRow>({
    {"code-editor"_L1, "IDE TextEditor"_L1, "Development"_L1, "Database"_L1},
    {"text-editor"_L1, "TextEditor"_L1, {}, "Development IDE"_L1},
    {"browser"_L1, "WebBrowser"_L1},
    {"terminal"_L1, "TerminalEmulator"_L1},
    {"file-manager"_L1, "FileManager"_L1},
    {"git-client"_L1, "RevisionControl"_L1},
    {"database-client"_L1, "Database"_L1},
    {"debugger"_L1, "Debugger"_L1},
    {"profiler"_L1, "Profiling"_L1},
    {"electronics"_L1, "Electronics"_L1},
    {"mail"_L1, "Email"_L1},
    {"chat"_L1, "InstantMessaging IRCClient"_L1},
    {"chat"_L1, "Chat"_L1, "Network"_L1},
    {"video-conference"_L1, "VideoConference"_L1},
    {"news"_L1, "News"_L1},
    {"rss"_L1, "Feed"_L1, {}, "Audio AudioVideo"_L1},
    {"podcast"_L1, "Feed"_L1, "Audio AudioVideo"_L1},
    {"calendar"_L1, "Calendar"_L1},
    {"contacts"_L1, "ContactManagement"_L1, {}, "Email"_L1},
    {"word-processor"_L1, "WordProcessor"_L1},
    {"spreadsheet"_L1, "Spreadsheet"_L1},
    {"presentation"_L1, "Presentation"_L1},
    {"diagram"_L1, "FlowChart"_L1},
    {"dictionary"_L1, "Dictionary"_L1},
    {"maps"_L1, "Maps"_L1},
    {"calculator"_L1, "Calculator"_L1},
    {"clock"_L1, "Clock"_L1},
    {"archive"_L1, "Compression"_L1},
    {"backup"_L1, "Archiving"_L1, {}, "Compression"_L1},
    {"package-manager"_L1, "PackageManager"_L1, {}, "Game"_L1},
    {"system-monitor"_L1, "Monitor"_L1, "System"_L1, "Network"_L1},
    {"disk-tool"_L1, "Filesystem"_L1, "System"_L1},
    {"settings-panel"_L1, "Settings"_L1},
    {"volume-control"_L1, "Mixer"_L1, "Audio"_L1},
    {"remote-desktop"_L1, "RemoteAccess"_L1},
    {"torrent"_L1, "P2P"_L1},
    {"emulator"_L1, "Emulator"_L1, "Game"_L1},
    {"virtual-machine"_L1, "Emulator"_L1, "System"_L1, "Game"_L1},
    {"scanner"_L1, "Scanning"_L1},
    {"pdf-reader"_L1, "Viewer"_L1, "Office"_L1},
    {"image-viewer"_L1, "Viewer"_L1, "Graphics"_L1, "Office 3DGraphics"_L1},
    {"vector-editor"_L1, "VectorGraphics"_L1, {}, "Viewer FlowChart"_L1},
    {"image-editor"_L1, "RasterGraphics"_L1, {}, "Viewer Photography Scanning"_L1},
    {"3d-modeling"_L1, "3DGraphics"_L1, {}, "Viewer Engineering"_L1},
    {"cad"_L1, "Engineering"_L1, "Graphics"_L1},
    {"video-player"_L1, "Player"_L1, "Video"_L1},
    {"video-player"_L1, "Player"_L1, "AudioVideo"_L1, "Audio"_L1},
    {"music"_L1, "Player"_L1, "Audio"_L1, "Video"_L1},
    {"video-editor"_L1, "AudioVideoEditing"_L1, "Video"_L1},
    {"video-editor"_L1, "AudioVideoEditing"_L1, {}, "Audio"_L1},
    {"audio-editor"_L1, "AudioVideoEditing"_L1, "Audio"_L1},
});

// What the catalog knows of an entry. Those that an installer of a suite writes have something of
// its own appended: "jetbrains-idea-<number>".
RoleCatalog::AppMeta knownOf(const QString &id, const RoleCatalog &catalog) {
    const auto &apps = catalog.taxonomy.apps;
    for (QString name = id;;) {
        if (const auto found = apps.constFind(name); found != apps.constEnd())
            return *found;
        const qsizetype end = name.lastIndexOf(u'-');
        if (!id.startsWith("jetbrains-"_L1) || end < 0)
            return {};
        name.truncate(end);
    }
}

// Roles that the entry's own words name. Settings name what they are about, which is not what they
// are.
QStringList rolesOfWords(const DesktopEntry &entry, const RoleCatalog &catalog) {
    QStringList roles;
    if (entry.categories.contains("Settings"_L1))
        return roles;
    for (const QString &word : QStringList(entry.genericName) + entry.keywords)
        if (const auto role = catalog.roleMatching(word); role && *role != "settings"_L1)
            roles.append(*role);
    return roles;
}

// A sentence is no name: it would be found by letters that lie scattered in it.
bool isSentence(const QString &genericName) {
    constexpr qsizetype mostWords = 3;
    return genericName.count(u' ') >= mostWords;
}

QStringList aliasesOf(const DesktopEntry &entry, const QStringList &known) {
    QStringList candidates = known;
    if (!isSentence(entry.genericName))
        candidates << entry.genericName;
    const QString &name = entry.unlocalizedName;
    candidates << name << spokenProgram(entry.program, entry.id) << splitCamelCase(name)
               << initialsOf(name);
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

// What categories say of an entry, in words: "CardGame" is a card game. Not those that say what it
// was made with, or nothing.
QStringList describedBy(const QStringList &categories) {
    static const QStringList silent{u"GNOME"_s,    u"GTK"_s,     u"KDE"_s,    u"Qt"_s,
                                    u"XFCE"_s,     u"LXDE"_s,    u"LXQt"_s,   u"MATE"_s,
                                    u"Core"_s,     u"Utility"_s, u"System"_s, u"Application"_s,
                                    u"Settings"_s, u"Java"_s,    u"Motif"_s,  u"ConsoleOnly"_s};
    QStringList said;
    for (const QString &category : categories) {
        if (silent.contains(category) || category.startsWith("X-"_L1))
            continue;
        const QString split = splitCamelCase(category);
        said << (split.isEmpty() ? category : split);
    }
    return said;
}

// Beside the words of its name and aliases. Words with a hyphen are there without it, too.
QByteArray describingWords(const DesktopEntry &entry, const QStringList &aliases) {
    QStringList texts{entry.genericName, entry.unlocalizedGenericName};
    texts << entry.keywords << entry.unlocalizedKeywords;
    if (entry.categories.contains("Settings"_L1))
        texts << u"settings preferences"_s;
    for (const QString &word : (entry.name + u' ' + entry.unlocalizedName).split(u' '))
        texts << splitCamelCase(word);
    texts << describedBy(entry.categories);
    QSet<QString> taken;
    for (const QString &name : QStringList(entry.name) + aliases)
        words::forEach(folded(name), [&taken](QStringView word) { taken.insert(word.toString()); });
    QString all;
    const auto add = [&](QStringView word) {
        if (all.size() + 1 + word.size() > mostDescribingLetters || taken.contains(word.toString()))
            return;
        taken.insert(word.toString());
        if (!all.isEmpty())
            all += u' ';
        all += word;
    };
    for (const QString &text : std::as_const(texts)) {
        const QString plain = folded(text);
        words::forEach(plain, add);
        if (plain.contains(u'-'))
            words::forEach(QString(plain).remove(u'-'), add);
    }
    QByteArray kept = all.toUtf8();
    kept.squeeze(); // UTF-8 is made in room for the longest
    return kept;
}

} // namespace

AppEntry appEntry(const DesktopEntry &entry, const RoleCatalog &catalog) {
    const RoleCatalog::AppMeta known = knownOf(entry.id, catalog);
    const QString category = appCategory(entry.categories);
    QStringList roles = known.roles + catalog.categoryMap.value(category);
    if (known.roles.isEmpty())
        roles += rolesOfCategories(entry.categories) + rolesOfWords(entry, catalog);
    roles.removeDuplicates();
    const QStringList aliases = aliasesOf(entry, known.aliases);
    return {entry.name,
            entry.id,
            entry.path,
            roles,
            aliases,
            category,
            describingWords(entry, aliases),
            entry.actions};
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
