// The taxonomy that ships with the program.

#include "RoleCatalog.h"

#include <QFile>
#include <QSet>

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

const RoleCatalog::Taxonomy &taxonomy() {
    static const std::optional<RoleCatalog::Taxonomy> decoded = [] {
        QFile file(QStringLiteral(CORVID_BUILD_FOLDER) + u"/Corvid_Corvid.bundle/taxonomy.json"_s);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return decodeTaxonomy(file.readAll());
    }();
    static const RoleCatalog::Taxonomy none;
    return decoded ? *decoded : none;
}

QStringList linesOf(const QString &list) {
    QFile file(QStringLiteral(CORVID_TEST_FIXTURES "/../Relevance/") + list);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(list);
    QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
    lines.removeIf([](const QString &line) { return line.startsWith(u'#'); });
    return lines;
}

QString roleNamed(const QString &query) {
    return RoleCatalog(taxonomy()).roleMatching(query).value_or(QString());
}

} // namespace

TEST(Taxonomy, decodesAndIsOfSomeSize) {
    EXPECT_GE(taxonomy().roles.size(), 50U);
    EXPECT_GE(taxonomy().apps.size(), 900);
}

TEST(Taxonomy, definesEveryRoleOfTheCategoryMap) {
    const RoleCatalog catalog(taxonomy());
    ASSERT_EQ(catalog.categoryMap.size(), 20);
    for (const QStringList &roles : catalog.categoryMap) {
        for (const QString &role : roles)
            EXPECT_EQ(taxonomy().roles.count(role), 1U) << qPrintable(role);
    }
}

TEST(Taxonomy, everyRoleThatAnApplicationNamesExists) {
    for (auto app = taxonomy().apps.begin(); app != taxonomy().apps.end(); ++app) {
        EXPECT_FALSE(app->roles.isEmpty()) << qPrintable(app.key());
        EXPECT_EQ(QSet<QString>(app->roles.begin(), app->roles.end()).size(), app->roles.size())
            << qPrintable(app.key());
        for (const QString &role : app->roles)
            EXPECT_EQ(taxonomy().roles.count(role), 1U) << qPrintable(app.key());
    }
}

TEST(Taxonomy, everyRoleIsFilledByAnApplication) {
    QSet<QString> filled;
    for (const auto &app : taxonomy().apps)
        filled += QSet<QString>(app.roles.begin(), app.roles.end());
    for (const auto &[name, role] : taxonomy().roles)
        EXPECT_TRUE(filled.contains(name)) << qPrintable(name);
}

TEST(Taxonomy, noWordOfARoleIsEmptyOrNamesAnotherRoleToo) {
    QSet<QString> words;
    for (const auto &[name, role] : taxonomy().roles) {
        for (const QString &word : QStringList{role.label} + role.aliases) {
            EXPECT_FALSE(word.isEmpty());
            EXPECT_EQ(word, word.trimmed());
            const QString folded = word.toLower();
            EXPECT_FALSE(words.contains(folded)) << qPrintable(word);
            words.insert(folded);
        }
    }
}

TEST(Taxonomy, noAliasOfAnApplicationIsEmptyOrDoubledOrTheWordOfARole) {
    const RoleCatalog catalog(taxonomy());
    for (auto app = taxonomy().apps.begin(); app != taxonomy().apps.end(); ++app) {
        QSet<QString> aliases;
        for (const QString &alias : app->aliases) {
            EXPECT_FALSE(alias.isEmpty()) << qPrintable(app.key());
            EXPECT_EQ(alias, alias.trimmed());
            EXPECT_FALSE(aliases.contains(alias.toLower())) << qPrintable(app.key());
            EXPECT_FALSE(catalog.roleMatching(alias)) << qPrintable(app.key());
            aliases.insert(alias.toLower());
        }
    }
}

TEST(Taxonomy, everyEditorWithACommandLineToolIsACodeEditor) {
    for (const QString &id :
         {u"com.microsoft.VSCode"_s, u"com.microsoft.VSCodeInsiders"_s, u"code"_s,
          u"code-insiders"_s, u"com.visualstudio.code"_s, u"code_code"_s, u"com.vscodium"_s,
          u"codium"_s, u"com.vscodium.codium"_s, u"com.todesktop.230313mzl4w4u92"_s, u"cursor"_s,
          u"com.exafunction.windsurf"_s, u"windsurf"_s, u"com.google.antigravity"_s,
          u"antigravity"_s, u"dev.zed.Zed"_s, u"dev.zed.Zed-Preview"_s}) {
        ASSERT_TRUE(taxonomy().apps.contains(id)) << qPrintable(id);
        EXPECT_TRUE(taxonomy().apps[id].roles.contains(u"code-editor"_s)) << qPrintable(id);
    }
}

TEST(Taxonomy, theWordsThatDevelopersTypeNameTheirRoles) {
    const std::pair<const char16_t *, const char16_t *> rows[] = {
        {u"code editor", u"code-editor"},
        {u"ide", u"code-editor"},
        {u"browser", u"browser"},
        {u"terminal emulator", u"terminal"},
        {u"chat app", u"chat"},
        {u"email client", u"mail"},
        {u"music player", u"music"},
        {u"settings", u"settings"},
        {u"control center", u"settings"},
        {u"git client", u"git-client"},
        {u"database client", u"database-client"},
        {u"api client", u"api-client"},
        {u"container tool", u"container-tool"},
        {u"virtual machine", u"virtual-machine"},
        {u"diff tool", u"diff-tool"},
        {u"password manager", u"password-manager"},
        {u"pdf reader", u"pdf-reader"},
        {u"file manager", u"file-manager"},
        {u"screen recorder", u"screen-recorder"},
        {u"image editor", u"image-editor"},
        {u"vector editor", u"vector-editor"},
        {u"design tool", u"design"},
        {u"office suite", u"office-suite"},
        {u"spreadsheet", u"spreadsheet"},
        {u"disk tool", u"disk-tool"},
        {u"remote desktop", u"remote-desktop"},
        {u"hex editor", u"hex-editor"},
        {u"profiler", u"profiler"},
    };
    for (const auto &[query, role] : rows)
        EXPECT_EQ(roleNamed(QString::fromUtf16(query)), QString::fromUtf16(role));
}

// A query that is the word of a role lists that role and nothing else: whoever has a project or an
// application of that name could not find it.
TEST(Taxonomy, noWordOfARoleIsANameThatPeopleGive) {
    // The desktop's own settings, and its terminal beside the others, are what the role lists.
    const QHash<QString, QString> allowed{{u"Settings"_s, u"settings"_s},
                                          {u"System Settings"_s, u"settings"_s},
                                          {u"Terminal"_s, u"terminal"_s}};
    for (const QString &list : {u"known-applications.txt"_s, u"everyday-projects.txt"_s}) {
        const QStringList names = linesOf(list);
        ASSERT_GE(names.size(), 200);
        for (const QString &name : names) {
            if (!allowed.contains(name)) {
                EXPECT_EQ(roleNamed(name), QString()) << qPrintable(name);
            }
        }
    }
    for (auto name = allowed.begin(); name != allowed.end(); ++name)
        EXPECT_EQ(roleNamed(name.key()), name.value());
}

TEST(Taxonomy, theHubOfTheSettingsAndItsPanelsAreTwoRoles) {
    for (const QString &hub : {u"org.gnome.Settings"_s, u"systemsettings"_s,
                               u"xfce-settings-manager"_s, u"cinnamon-settings"_s})
        EXPECT_EQ(taxonomy().apps.value(hub).roles, QStringList{u"settings"_s});
    for (auto app = taxonomy().apps.begin(); app != taxonomy().apps.end(); ++app)
        EXPECT_FALSE(app->roles.contains(u"settings"_s) && app->roles.contains(u"settings-panel"_s))
            << qPrintable(app.key());
}

TEST(Taxonomy, noIdentifierIsOneThatOnlyAnotherSystemHas) {
    for (auto app = taxonomy().apps.begin(); app != taxonomy().apps.end(); ++app)
        EXPECT_FALSE(app.key().startsWith("com.apple."_L1)) << qPrintable(app.key());
}

TEST(Taxonomy, namesOfProgramsAreNoRoleWords) {
    for (const QString &name : {u"git"_s, u"docker"_s, u"finder"_s, u"safari"_s, u"xcode"_s,
                                u"code"_s, u"slack"_s, u"obsidian"_s, u"zed"_s})
        EXPECT_EQ(roleNamed(name), QString()) << qPrintable(name);
}
