#include "Catalog/DesktopEntryMapping.h"

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

DesktopEntry editor() {
    return {u"org.example.Editor"_s, u"/usr/share/applications/org.example.Editor.desktop"_s,
            u"Schreiber"_s,          u"Writer"_s,
            u"Texteditor"_s,         u"writer"_s,
            {u"Utility"_s}};
}

RoleCatalog catalogKnowing(const QString &id, const RoleCatalog::AppMeta &meta) {
    RoleCatalog::Taxonomy taxonomy;
    taxonomy.apps.insert(id, meta);
    return RoleCatalog(taxonomy);
}

const RoleCatalog knowsNothing{{}};

QStringList list(const char *categories) {
    return QString::fromLatin1(categories).split(u';', Qt::SkipEmptyParts);
}

} // namespace

TEST(DesktopEntryMapping, idPathAndNameAreTheEntrys) {
    const AppEntry app = appEntry(editor(), knowsNothing);
    EXPECT_EQ(app.bundleID, u"org.example.Editor");
    EXPECT_EQ(app.path, u"/usr/share/applications/org.example.Editor.desktop");
    EXPECT_EQ(app.name, u"Schreiber");
}

TEST(DesktopEntryMapping, actionsAreTheEntrys) {
    DesktopEntry entry = editor();
    EXPECT_TRUE(appEntry(entry, knowsNothing).actions.isEmpty());
    entry.actions = {{u"new"_s, u"Neues Fenster"_s}};
    EXPECT_EQ(appEntry(entry, knowsNothing).actions, entry.actions);
}

TEST(DesktopEntryMapping, aliasesAreTheCatalogsThenGenericNameUnlocalisedNameAndSpokenOnes) {
    const auto catalog = catalogKnowing(u"org.example.Editor"_s, {{}, {u"we"_s, u"wr"_s}});
    DesktopEntry entry = editor();
    entry.program = u"exwriter"_s;
    EXPECT_EQ(appEntry(entry, catalog).aliases,
              (QStringList{u"we"_s, u"wr"_s, u"Texteditor"_s, u"Writer"_s, u"exwriter"_s}));
    entry.name = entry.unlocalizedName = u"RustRover"_s;
    entry.program = u"rustrover.sh"_s;
    EXPECT_EQ(appEntry(entry, knowsNothing).aliases,
              (QStringList{u"Texteditor"_s, u"Rust Rover"_s}));
    entry.name = entry.unlocalizedName = u"Archive Manager"_s;
    entry.program = u"file-roller"_s;
    EXPECT_EQ(appEntry(entry, knowsNothing).aliases,
              (QStringList{u"Texteditor"_s, u"file roller"_s, u"am"_s}));
}

TEST(DesktopEntryMapping, genericNameAndKeywordsDescribeItLocalisedAndNotWithoutRepeats) {
    DesktopEntry entry = editor();
    entry.unlocalizedGenericName = u"Text Editor"_s;
    entry.keywords = {u"Brief"_s, u"E-Post"_s, u"Schreiber"_s};
    entry.unlocalizedKeywords = {u"letter"_s, u"text"_s};
    EXPECT_EQ(QString::fromUtf8(appEntry(entry, knowsNothing).words),
              u"text editor brief e post epost letter")
        << "names are not repeated";
    entry.categories = list("Qt;KDE;Settings;HardwareSettings;X-KDE-panel;CardGame;");
    EXPECT_EQ(QString::fromUtf8(appEntry(entry, knowsNothing).words),
              u"text editor brief e post epost letter settings preferences hardware card game");
    EXPECT_EQ(appEntry({}, knowsNothing).words, QByteArray());
}

TEST(DesktopEntryMapping, partsOfANameInCamelCaseDescribeIt) {
    DesktopEntry entry = editor();
    entry.name = entry.unlocalizedName = u"LibreOffice Writer"_s;
    EXPECT_EQ(appEntry(entry, knowsNothing).words, "libre office");
}

TEST(DesktopEntryMapping, describingWordsAreCutAtAWholeWord) {
    DesktopEntry entry = editor();
    for (int i = 0; i < 100; ++i)
        entry.keywords.append(u"längeres%1"_s.arg(i));
    const QString words = QString::fromUtf8(appEntry(entry, knowsNothing).words);
    EXPECT_LE(words.size(), 512);
    EXPECT_GT(words.size(), 490);
    EXPECT_TRUE(entry.keywords.contains(words.section(u' ', -1)));
}

TEST(DesktopEntryMapping, aGenericNameThatIsASentenceIsNoAlias) {
    DesktopEntry entry = editor();
    entry.genericName = u"Zoom Client for Linux"_s;
    EXPECT_FALSE(appEntry(entry, knowsNothing).aliases.contains(entry.genericName));
    entry.genericName = u"Remote Desktop Client"_s;
    EXPECT_TRUE(appEntry(entry, knowsNothing).aliases.contains(entry.genericName));
}

TEST(DesktopEntryMapping, aliasesRepeatNeitherTheNameNorEachOtherLetterCaseAside) {
    EXPECT_EQ(appEntry(editor(), knowsNothing).aliases, (QStringList{u"Texteditor"_s, u"Writer"_s}))
        << "the program writer repeats the unlocalised name Writer";
    const auto catalog =
        catalogKnowing(u"org.example.Editor"_s, {{}, {u"SCHREIBER"_s, u"ed"_s, u"Ed"_s}});
    DesktopEntry entry = editor();
    entry.genericName = u"schreiber"_s;
    entry.unlocalizedName = u"Schreiber"_s;
    entry.program = u"ED"_s;
    EXPECT_EQ(appEntry(entry, catalog).aliases, QStringList{u"ed"_s});
}

TEST(DesktopEntryMapping, composedAndDecomposedSpellingsAreRepeats) {
    DesktopEntry entry = editor();
    entry.name = u"Café"_s;
    entry.genericName = u"CAFE\u0301"_s;
    EXPECT_FALSE(appEntry(entry, knowsNothing).aliases.contains(entry.genericName));
}

TEST(DesktopEntryMapping, whatIsEmptyIsNoAlias) {
    DesktopEntry entry = editor();
    entry.genericName.clear();
    entry.unlocalizedName.clear();
    entry.program.clear();
    EXPECT_EQ(appEntry(entry, catalogKnowing(entry.id, {{}, {u""_s}})).aliases, QStringList());
}

TEST(DesktopEntryMapping, rolesAreTheCatalogsThenTheCategorysElseThoseOfSingleCategories) {
    DesktopEntry entry = editor();
    entry.categories = list("Development;IDE;Debugger");
    EXPECT_EQ(appEntry(entry, catalogKnowing(entry.id, {{u"notes"_s, u"debugger"_s}, {}})).roles,
              (QStringList{u"notes"_s, u"debugger"_s, u"developer-tool"_s}))
        << "what is known needs no guess";
    EXPECT_EQ(appEntry(entry, knowsNothing).roles,
              (QStringList{u"developer-tool"_s, u"code-editor"_s, u"debugger"_s}));
}

TEST(DesktopEntryMapping, aGenericNameOrKeywordThatIsTheWordOfARoleGivesIt) {
    RoleCatalog::Taxonomy taxonomy;
    taxonomy.roles = {{u"todo"_s, {u"To-Do List"_s, {u"todo app"_s}}},
                      {u"notes"_s, {u"Note Taking"_s, {u"notes app"_s}}},
                      {u"settings"_s, {u"Settings"_s, {}}}};
    const RoleCatalog catalog(taxonomy);
    DesktopEntry entry = editor();
    entry.categories.clear();
    entry.genericName = u"to-do list"_s;
    entry.keywords = {u"notes"_s, u"Notes App"_s, u"Settings"_s};
    EXPECT_EQ(appEntry(entry, catalog).roles, (QStringList{u"todo"_s, u"notes"_s}));
    entry.categories = list("Settings");
    EXPECT_EQ(appEntry(entry, catalog).roles, (QStringList{u"utility"_s, u"settings-panel"_s}))
        << "a panel is not what it is about";
}

TEST(DesktopEntryMapping, anIdWithTheNumberOfAnInstallationIsKnown) {
    const auto catalog = catalogKnowing(u"jetbrains-idea"_s, {{u"code-editor"_s}, {u"ij"_s}});
    DesktopEntry entry = editor();
    entry.categories.clear();
    entry.id = u"jetbrains-idea-1d2b2c34-77aa"_s;
    EXPECT_EQ(appEntry(entry, catalog).roles, QStringList{u"code-editor"_s});
    EXPECT_EQ(appEntry(entry, catalog).aliases.value(0), u"ij");
    entry.id = u"jetbrains-ideal"_s;
    EXPECT_EQ(appEntry(entry, catalog).roles, QStringList());
}

TEST(DesktopEntryMapping, rolesAreNotRepeated) {
    DesktopEntry entry = editor();
    entry.categories = list("Network;Chat;InstantMessaging");
    EXPECT_EQ(appEntry(entry, knowsNothing).roles, QStringList{u"chat"_s});
}

TEST(DesktopEntryMapping, theCatalogIsAskedForTheIdOnly) {
    for (const QString &id : {u"Schreiber"_s, u"org.example.editor"_s, u"writer"_s})
        EXPECT_EQ(appEntry(editor(), catalogKnowing(id, {{u"notes"_s}, {u"alias"_s}})).roles,
                  QStringList{u"utility"_s});
}

TEST(DesktopEntryMapping, anEntryWithoutCategoriesHasNeitherCategoryNorRoles) {
    DesktopEntry entry = editor();
    entry.categories.clear();
    EXPECT_EQ(appEntry(entry, knowsNothing).category, QString());
    EXPECT_EQ(appEntry(entry, knowsNothing).roles, QStringList());
}

TEST(DesktopEntryMapping, everyCategoryHasItsCounterpart) {
    const std::pair<const char *, const char *> rows[] = {
        {"Photography", "photography"},
        {"Finance", "finance"},
        {"InstantMessaging", "social-networking"},
        {"Chat;Network", "social-networking"},
        {"IRCClient", "social-networking"},
        {"Telephony", "social-networking"},
        {"VideoConference", "social-networking"},
        {"Email", "productivity"},
        {"Calendar", "productivity"},
        {"ContactManagement", "productivity"},
        {"ProjectManagement", "productivity"},
        {"WebBrowser", "productivity"},
        {"News", "news"},
        {"Feed", "news"},
        {"Development", "developer-tools"},
        {"MedicalSoftware", "medical"},
        {"Dictionary", "reference"},
        {"Maps", "travel"},
        {"Game", "games"},
        {"Education", "education"},
        {"Science", "education"},
        {"Video", "video"},
        {"Audio;Player", "music"},
        {"Audio", "utilities"},
        {"AudioVideo", "utilities"},
        {"AudioVideo;Player", "video"},
        {"WordProcessor", "business"},
        {"Spreadsheet", "business"},
        {"Presentation", "business"},
        {"Office", "productivity"},
        {"VectorGraphics", "graphics-design"},
        {"Graphics", "utilities"},
        {"Network", "utilities"},
        {"System", "utilities"},
        {"Settings", "utilities"},
        {"Utility", "utilities"},
    };
    for (const auto &[category, expected] : rows) {
        const QString found = appCategory(list(category));
        EXPECT_EQ(found, "public.app-category."_L1 + QLatin1StringView(expected)) << category;
        EXPECT_TRUE(knowsNothing.categoryMap.contains(found)) << category;
    }
    for (const char *category : {"", "GTK", "X-Tool", "utility", "Qt"})
        EXPECT_EQ(appCategory({QLatin1StringView(category)}), QString()) << category;
}

TEST(DesktopEntryMapping, theMostTellingCategoryCounts) {
    const std::pair<const char *, const char *> rows[] = {
        {"Utility;TextEditor;Development;IDE", "developer-tools"},
        {"Network;InstantMessaging", "social-networking"},
        {"Office;Finance", "finance"},
        {"GNOME;GTK;AudioVideo;Audio;Player", "music"},
        {"AudioVideo;Audio;Video;Player", "video"},
        {"Graphics;Photography", "photography"},
        {"Office;FlowChart;Graphics;2DGraphics", "productivity"},
        {"System;Network;Office;Spreadsheet", "business"},
        {"AudioVideo;Audio;Mixer;GTK;Settings", "utilities"},
        {"AudioVideo;Audio;Network;Feed", "utilities"},
        {"Graphics;Viewer;Photography", "utilities"},
        {"Network;Email;News", "productivity"},
        {"Science;Graphics", "education"},
    };
    for (const auto &[categories, expected] : rows)
        EXPECT_EQ(appCategory(list(categories)),
                  "public.app-category."_L1 + QLatin1StringView(expected))
            << categories;
}

TEST(DesktopEntryMapping, singleCategoriesTellRoles) {
    const std::pair<const char *, const char *> rows[] = {
        {"IDE", ""},
        {"Development;IDE", "code-editor"},
        {"Development;IDE;Database", "database-client"},
        {"Development;TextEditor", "code-editor"},
        {"Utility;TextEditor", "text-editor"},
        {"WebBrowser", "browser"},
        {"TerminalEmulator", "terminal"},
        {"FileManager", "file-manager"},
        {"RevisionControl", "git-client"},
        {"Database", "database-client"},
        {"Debugger", "debugger"},
        {"Profiling", "profiler"},
        {"Email", "mail"},
        {"Chat", ""},
        {"Network;Chat", "chat"},
        {"InstantMessaging", "chat"},
        {"IRCClient", "chat"},
        {"VideoConference", "video-conference"},
        {"News", "news"},
        {"Feed", "rss"},
        {"AudioVideo;Feed", "podcast"},
        {"ContactManagement", "contacts"},
        {"Email;ContactManagement", "mail"},
        {"Calendar", "calendar"},
        {"WordProcessor", "word-processor"},
        {"Spreadsheet", "spreadsheet"},
        {"Presentation", "presentation"},
        {"Dictionary", "dictionary"},
        {"Maps", "maps"},
        {"Calculator", "calculator"},
        {"Clock", "clock"},
        {"Archiving;Compression", "archive"},
        {"Compression", "archive"},
        {"Archiving", "backup"},
        {"PackageManager", "package-manager"},
        {"Game;PackageManager", ""},
        {"Monitor", ""},
        {"System;Monitor", "system-monitor"},
        {"System;Network;Monitor", ""},
        {"Filesystem", ""},
        {"System;Filesystem", "disk-tool"},
        {"Settings", "settings-panel"},
        {"Audio;Mixer", "volume-control"},
        {"RemoteAccess", "remote-desktop"},
        {"P2P", "torrent"},
        {"FileTransfer", ""},
        {"FileTransfer;P2P", "torrent"},
        {"Emulator", ""},
        {"Game;Emulator", "emulator"},
        {"System;Emulator", "virtual-machine"},
        {"FlowChart;VectorGraphics", "diagram"},
        {"Scanning;RasterGraphics", "scanner"},
        {"Electronics", "electronics"},
        {"Viewer", ""},
        {"Office;Viewer", "pdf-reader"},
        {"Graphics;Viewer", "image-viewer"},
        {"Office;Graphics;Viewer", "pdf-reader"},
        {"VectorGraphics", "vector-editor"},
        {"RasterGraphics", "image-editor"},
        {"3DGraphics", "3d-modeling"},
        {"VectorGraphics;RasterGraphics;3DGraphics;Viewer", ""},
        {"Engineering", ""},
        {"Graphics;Engineering", "cad"},
        {"Graphics;3DGraphics;Engineering", "cad"},
        {"Player", ""},
        {"AudioVideo;Player", "video-player"},
        {"Player;Audio", "music"},
        {"Player;Audio;Video", "video-player"},
        {"Player;Video", "video-player"},
        {"AudioVideoEditing", "video-editor"},
        {"AudioVideoEditing;Audio", "audio-editor"},
        {"AudioVideoEditing;Audio;Video", "video-editor;audio-editor"},
        {"AudioVideoEditing;Video", "video-editor"},
        {"Audio;Video;Office;Graphics;GTK;ide", ""},
        {"Email;WebBrowser", "browser;mail"},
    };
    for (const auto &[categories, roles] : rows)
        EXPECT_EQ(rolesOfCategories(list(categories)), list(roles)) << categories;
}
