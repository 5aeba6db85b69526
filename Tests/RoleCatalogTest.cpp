#include "RoleCatalog.h"

#include <gtest/gtest.h>

#include <thread>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

const QByteArray sample = R"({
  "roles": {
    "browser": {"label": "Browser", "aliases": ["web browser", "Internet"]},
    "code-editor": {"label": "Code Editor", "aliases": ["editor", "IDE"]},
    "terminal": {"label": "Terminal", "aliases": ["Console", "Befehlszeile für Übung"]},
    "notes": {"label": "Notes", "aliases": []}
  },
  "apps": {
    "com.example.editor": {"roles": ["code-editor"], "aliases": ["ed"]},
    "com.example.plain": {"roles": ["notes"]}
  }
})";

RoleCatalog sampleCatalog() {
    return RoleCatalog(decodeTaxonomy(sample).value());
}

QByteArray replaced(QByteArray text, const QByteArray &from, const QByteArray &to) {
    EXPECT_TRUE(text.contains(from)) << from.constData();
    return text.replace(from, to);
}

} // namespace

TEST(RoleCatalog, everyCategoryMapsToExactlyItsRole) {
    const std::pair<const char *, const char *> rows[] = {
        {"developer-tools", "developer-tool"},
        {"productivity", "productivity"},
        {"utilities", "utility"},
        {"graphics-design", "design"},
        {"photography", "photo-editor"},
        {"video", "video"},
        {"music", "music"},
        {"games", "game"},
        {"social-networking", "chat"},
        {"business", "office"},
        {"finance", "finance"},
        {"education", "education"},
        {"entertainment", "entertainment"},
        {"news", "news"},
        {"reference", "reference"},
        {"weather", "weather"},
        {"medical", "medical"},
        {"travel", "travel"},
        {"sports", "sports"},
        {"lifestyle", "lifestyle"},
    };
    const RoleCatalog catalog{{}};
    EXPECT_EQ(catalog.categoryMap.size(), 20);
    for (const auto &[category, role] : rows)
        EXPECT_EQ(
            catalog.categoryMap.value("public.app-category."_L1 + QLatin1StringView(category)),
            QStringList{QLatin1StringView(role)})
            << category;
}

TEST(RoleCatalog, categoriesAreMatchedExactly) {
    const RoleCatalog catalog{{}};
    for (const QString &category :
         {u""_s, u"public.app-category.Music"_s, u"public.app-category.action-games"_s,
          u"public.app-category.music "_s})
        EXPECT_FALSE(catalog.categoryMap.contains(category)) << qPrintable(category);
}

TEST(RoleCatalog, decodesRolesAndApplications) {
    const auto taxonomy = decodeTaxonomy(sample);
    ASSERT_TRUE(taxonomy);
    EXPECT_EQ(taxonomy->roles.size(), 4U);
    EXPECT_EQ(taxonomy->roles.at(u"browser"_s),
              (RoleCatalog::Role{u"Browser"_s, {u"web browser"_s, u"Internet"_s}}));
    EXPECT_EQ(taxonomy->apps.value(u"com.example.editor"_s),
              (RoleCatalog::AppMeta{{u"code-editor"_s}, {u"ed"_s}}));
}

TEST(RoleCatalog, anApplicationWithoutAliasesDecodes) {
    const auto taxonomy = decodeTaxonomy(sample);
    ASSERT_TRUE(taxonomy);
    EXPECT_EQ(taxonomy->apps.value(u"com.example.plain"_s),
              (RoleCatalog::AppMeta{{u"notes"_s}, {}}));
    EXPECT_TRUE(decodeTaxonomy(replaced(sample, R"("aliases": ["ed"])", R"("aliases": null)")));
}

TEST(RoleCatalog, aRoleWithoutAliasesMakesTheWholeResourceUndecodable) {
    EXPECT_FALSE(decodeTaxonomy(replaced(sample, R"("Notes", "aliases": [])", R"("Notes")")));
}

TEST(RoleCatalog, everyRequiredMemberIsRequiredInItsType) {
    for (const auto &[from, to] : std::initializer_list<std::pair<const char *, const char *>>{
             {R"("roles": {)", R"("other": {)"},
             {R"("apps": {)", R"("other": {)"},
             {R"("label": "Notes", )", ""},
             {R"("label": "Notes")", R"("label": 7)"},
             {R"("aliases": ["editor", "IDE"])", R"("aliases": "editor")"},
             {R"("aliases": ["editor", "IDE"])", R"("aliases": ["editor", 7])"},
             {R"("aliases": ["ed"])", R"("aliases": "ed")"},
             {R"({"roles": ["notes"]})", R"({})"},
             {R"({"roles": ["notes"]})", R"(["notes"])"}})
        EXPECT_FALSE(decodeTaxonomy(replaced(sample, from, to))) << from << " -> " << to;
}

TEST(RoleCatalog, unknownMembersAreIgnored) {
    EXPECT_TRUE(decodeTaxonomy(replaced(sample, R"("label": "Notes")", R"("x": 1, "label": "N")")));
    EXPECT_TRUE(decodeTaxonomy(replaced(sample, R"("apps": {)", R"("version": 2, "apps": {)")));
}

TEST(RoleCatalog, bytesThatAreNoJsonObjectDoNotDecode) {
    for (const char *bytes : {"", "[]", "{", "null", "\xff\xfe", "{}"})
        EXPECT_FALSE(decodeTaxonomy(bytes)) << bytes;
}

TEST(RoleCatalog, aQueryNamesARoleByItsLabelOrAnAlias) {
    const RoleCatalog catalog = sampleCatalog();
    const std::pair<QString, QString> rows[] = {
        {u"code editor"_s, u"code-editor"_s}, {u"CODE Editor"_s, u"code-editor"_s},
        {u"ide"_s, u"code-editor"_s},         {u"  web browser\t "_s, u"browser"_s},
        {u"INTERNET"_s, u"browser"_s},        {u"befehlszeile FÜR u\u0308bung"_s, u"terminal"_s},
    };
    for (const auto &[query, role] : rows)
        EXPECT_EQ(catalog.roleMatching(query), role) << qPrintable(query);
}

TEST(RoleCatalog, aQueryThatIsNotALabelOrAliasNamesNoRole) {
    const RoleCatalog catalog = sampleCatalog();
    for (const QString &query : {u""_s, u" "_s, u"browsers"_s, u"browse"_s, u"code  editor"_s,
                                 u"browser\n"_s, u"\nbrowser"_s})
        EXPECT_EQ(catalog.roleMatching(query), std::nullopt) << qPrintable(query);
}

TEST(RoleCatalog, aRolesOwnNameIsNotMatched) {
    EXPECT_EQ(sampleCatalog().roleMatching(u"code-editor"_s), std::nullopt);
    EXPECT_EQ(sampleCatalog().rolesFuzzy(u"code-e"_s), QStringList());
}

TEST(RoleCatalog, labelsAreNotTrimmed) {
    const RoleCatalog catalog(
        decodeTaxonomy(R"({"roles": {"r": {"label": " Odd ", "aliases": []}}, "apps": {}})")
            .value());
    EXPECT_EQ(catalog.roleMatching(u"odd"_s), std::nullopt);
}

TEST(RoleCatalog, ofTwoRolesWithTheSameWordTheOneThatSortsFirstIsNamed) {
    RoleCatalog::Taxonomy taxonomy;
    taxonomy.roles[u"b"_s] = {u"Same"_s, {}};
    taxonomy.roles[u"a"_s] = {u"Other"_s, {u"same"_s}};
    EXPECT_EQ(RoleCatalog(taxonomy).roleMatching(u"same"_s), u"a"_s);
}

TEST(RoleCatalog, aFewLettersFindEveryRoleThatHasThemAnywhereInItsWords) {
    const RoleCatalog catalog = sampleCatalog();
    EXPECT_EQ(catalog.rolesFuzzy(u"TER"_s), (QStringList{u"browser"_s, u"terminal"_s}));
    EXPECT_EQ(catalog.rolesFuzzy(u"dit"_s), QStringList{u"code-editor"_s});
    EXPECT_EQ(catalog.rolesFuzzy(u"onso"_s), QStringList{u"terminal"_s});
    EXPECT_EQ(catalog.rolesFuzzy(u"ÜBU"_s), QStringList{u"terminal"_s});
    EXPECT_EQ(catalog.rolesFuzzy(u"e"_s).size(), 4);
    EXPECT_EQ(catalog.rolesFuzzy(u"xyz"_s), QStringList());
}

TEST(RoleCatalog, aFuzzyQueryIsNotTrimmed) {
    EXPECT_EQ(sampleCatalog().rolesFuzzy(u" browser"_s), QStringList{u"browser"_s});
    EXPECT_EQ(sampleCatalog().rolesFuzzy(u"browser "_s), QStringList());
}

TEST(RoleCatalog, anEmptyFuzzyQueryFindsNoRole) {
    EXPECT_EQ(sampleCatalog().rolesFuzzy(QString()), QStringList());
}

TEST(RoleCatalog, anEmptyTaxonomyKnowsNoRole) {
    const RoleCatalog catalog{{}};
    for (const QString &query : {u""_s, u"browser"_s, u"e"_s}) {
        EXPECT_EQ(catalog.roleMatching(query), std::nullopt);
        EXPECT_EQ(catalog.rolesFuzzy(query), QStringList());
    }
}

TEST(RoleCatalog, theSharedCatalogIsOneEvenWhenFirstUsedFromSeveralThreads) {
    const RoleCatalog *seen[4] = {};
    {
        std::vector<std::jthread> threads;
        for (const RoleCatalog *&catalog : seen)
            threads.emplace_back([&catalog] { catalog = &RoleCatalog::shared(); });
    }
    for (const RoleCatalog *catalog : seen)
        EXPECT_EQ(catalog, &RoleCatalog::shared());
    EXPECT_EQ(RoleCatalog::shared().categoryMap.size(), 20);
}
