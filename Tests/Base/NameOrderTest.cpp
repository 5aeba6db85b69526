#include "Base/NameOrder.h"

#include <gtest/gtest.h>

#include <QStringList>

#include <random>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

struct Named {
    QString name;
    int number;
    bool operator==(const Named &) const = default;
};

QStringList ordered(const QStringList &names, const QLocale &locale) {
    std::vector<Named> records;
    for (const QString &name : names)
        records.push_back({name, 0});
    sortByName(records, locale);
    QStringList result;
    for (const Named &record : records)
        result.append(record.name);
    return result;
}

const QLocale english(QLocale::English);

} // namespace

TEST(NameOrder, letterCaseDoesNotCount) {
    EXPECT_EQ(ordered({u"cherry"_s, u"Banana"_s, u"apple"_s}, english),
              (QStringList{u"apple"_s, u"Banana"_s, u"cherry"_s}));
}

TEST(NameOrder, letterCaseDoesNotCountInTheCLocaleEither) {
    EXPECT_EQ(ordered({u"cherry"_s, u"Banana"_s, u"apple"_s}, QLocale::c()),
              (QStringList{u"apple"_s, u"Banana"_s, u"cherry"_s}));
}

TEST(NameOrder, namesThatDifferInCaseOnlyAreEqualAndKeepTheirOrder) {
    for (const QLocale &locale : {english, QLocale::c()}) {
        EXPECT_EQ(ordered({u"web"_s, u"WEB"_s, u"Web"_s}, locale),
                  (QStringList{u"web"_s, u"WEB"_s, u"Web"_s}));
        EXPECT_EQ(ordered({u"WEB"_s, u"web"_s, u"app"_s}, locale),
                  (QStringList{u"app"_s, u"WEB"_s, u"web"_s}));
    }
}

TEST(NameOrder, accentedLettersSortBesideTheirBase) {
    for (const QLocale &locale : {english, QLocale::c()})
        EXPECT_EQ(ordered({u"zebra"_s, u"\u00e9cole"_s, u"editor"_s}, locale),
                  (QStringList{u"\u00e9cole"_s, u"editor"_s, u"zebra"_s}));
}

TEST(NameOrder, composedAndDecomposedSpellingsAreEqual) {
    const QStringList names{u"cafe\u0301"_s, u"caf\u00e9"_s};
    EXPECT_EQ(ordered(names, english), names);
    const QStringList reversed{names[1], names[0]};
    EXPECT_EQ(ordered(reversed, english), reversed);
}

TEST(NameOrder, theRulesAreThoseOfTheLocale) {
    const QStringList names{u"zon"_s, u"\u00f6l"_s, u"oxe"_s};
    EXPECT_EQ(ordered(names, QLocale(QLocale::Swedish)),
              (QStringList{u"oxe"_s, u"zon"_s, u"\u00f6l"_s}));
    EXPECT_EQ(ordered(names, QLocale(QLocale::German)),
              (QStringList{u"\u00f6l"_s, u"oxe"_s, u"zon"_s}));
}

TEST(NameOrder, digitsAreComparedAsCharacters) {
    EXPECT_EQ(ordered({u"app9"_s, u"app10"_s}, english), (QStringList{u"app10"_s, u"app9"_s}));
}

TEST(NameOrder, recordsAreSortedByTheirNameAndEqualOnesKeepTheirOrder) {
    std::vector<Named> records{{u"b"_s, 1}, {u"A"_s, 2}, {u"B"_s, 3}, {u"a"_s, 4}};
    sortByName(records);
    EXPECT_EQ(records, (std::vector<Named>{{u"A"_s, 2}, {u"a"_s, 4}, {u"b"_s, 1}, {u"B"_s, 3}}));
}

TEST(NameOrder, noRecordsAndOneRecordStayAsTheyAre) {
    std::vector<Named> none;
    sortByName(none);
    EXPECT_TRUE(none.empty());
    std::vector<Named> one{{u"x"_s, 1}};
    sortByName(one);
    EXPECT_EQ(one, (std::vector<Named>{{u"x"_s, 1}}));
}

TEST(NameOrder, manyEqualNamesStayStable) {
    std::vector<Named> records;
    std::mt19937 random(7);
    for (int number = 0; number < 5'000; ++number)
        records.push_back({QString(QChar(u'a' + static_cast<char16_t>(random() % 5))), number});
    sortByName(records);
    for (std::size_t i = 1; i < records.size(); ++i) {
        ASSERT_LE(records[i - 1].name, records[i].name);
        if (records[i - 1].name == records[i].name) {
            ASSERT_LT(records[i - 1].number, records[i].number);
        }
    }
}

TEST(NameOrder, emptyNamesComeFirst) {
    EXPECT_EQ(ordered({u"a"_s, QString(), u"1"_s}, english),
              (QStringList{QString(), u"1"_s, u"a"_s}));
}
