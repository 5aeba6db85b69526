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
        {u"terminal", u"terminal"},
        {u"git client", u"git-client"},
        {u"database client", u"database-client"},
        {u"api client", u"api-client"},
        {u"container tool", u"container-tool"},
        {u"virtual machine", u"virtual-machine"},
        {u"diff tool", u"diff-tool"},
        {u"notes", u"notes"},
        {u"password manager", u"password-manager"},
        {u"pdf reader", u"pdf-reader"},
        {u"mail", u"mail"},
        {u"chat", u"chat"},
        {u"file manager", u"file-manager"},
        {u"screenshot", u"screenshot"},
        {u"screen recorder", u"screen-recorder"},
        {u"image editor", u"image-editor"},
        {u"vector editor", u"vector-editor"},
        {u"music", u"music"},
        {u"video player", u"video-player"},
        {u"design tool", u"design"},
        {u"office suite", u"office-suite"},
        {u"spreadsheet", u"spreadsheet"},
        {u"system monitor", u"system-monitor"},
        {u"disk tool", u"disk-tool"},
        {u"vpn", u"vpn"},
        {u"remote desktop", u"remote-desktop"},
        {u"hex editor", u"hex-editor"},
        {u"profiler", u"profiler"},
    };
    for (const auto &[query, role] : rows)
        EXPECT_EQ(roleNamed(QString::fromUtf16(query)), QString::fromUtf16(role));
}

TEST(Taxonomy, namesOfProgramsAreNoRoleWords) {
    for (const QString &name : {u"git"_s, u"docker"_s, u"finder"_s, u"safari"_s, u"xcode"_s,
                                u"code"_s, u"slack"_s, u"obsidian"_s, u"zed"_s})
        EXPECT_EQ(roleNamed(name), QString()) << qPrintable(name);
}
