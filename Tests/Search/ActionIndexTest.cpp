#include "Search/ActionIndex.h"

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

AppEntry appWithActions(const QString &name, const QStringList &aliases,
                        const QStringList &actions) {
    AppEntry app{name, {}, u"/"_s + name, {}, aliases, {}};
    for (const QString &action : actions)
        app.actions.append({action, action});
    return app;
}

const std::vector<AppEntry> apps{
    appWithActions(u"Plain"_s, {u"window"_s}, {}),
    appWithActions(u"Firefox"_s, {u"Web Browser"_s}, {u"New Window"_s, u"New Private Window"_s}),
    appWithActions(u"Visual Studio Code"_s, {u"vsc"_s}, {u"New Empty Window"_s}),
    appWithActions(u"Dateien"_s, {u"Files"_s}, {u"Persönlicher Ordner"_s, u"E-Mail to Go"_s})};

/** The names of those that a query names. */
QStringList namesOf(const QString &query) {
    QStringList names;
    for (const auto &[app, action] : ActionIndex(apps).named(query))
        names.append(apps[app].actions[action].name);
    return names;
}

} // namespace

TEST(ActionIndex, allWordsOfTheQueryAreWordsOfTheApplicationAndOfTheAction) {
    EXPECT_EQ(namesOf(u"firefox private"_s), QStringList{u"New Private Window"_s});
    EXPECT_EQ(namesOf(u"vsc new window"_s), QStringList{u"New Empty Window"_s});
    EXPECT_EQ(namesOf(u"files go"_s), QStringList{u"E-Mail to Go"_s});
    EXPECT_EQ(namesOf(u"firefox private tab"_s), QStringList());
}

TEST(ActionIndex, theApplicationNeedNotBeNamed) {
    EXPECT_EQ(namesOf(u"private"_s), QStringList{u"New Private Window"_s});
    EXPECT_EQ(namesOf(u"new window"_s),
              (QStringList{u"New Window"_s, u"New Private Window"_s, u"New Empty Window"_s}));
}

TEST(ActionIndex, oneWordAtLeastIsTheActions) {
    for (const QString &query : {u"firefox"_s, u"web browser"_s, u"visual studio code"_s, u"vsc"_s})
        EXPECT_EQ(namesOf(query), QStringList()) << qPrintable(query);
}

TEST(ActionIndex, aWordMayBeCutShortToThreeLetters) {
    EXPECT_EQ(namesOf(u"fire pri"_s), QStringList{u"New Private Window"_s});
    EXPECT_EQ(namesOf(u"fire pr"_s), QStringList());
    EXPECT_EQ(namesOf(u"fi private"_s), QStringList());
    EXPECT_EQ(namesOf(u"refox private"_s), QStringList()) << "words begin at their beginning";
    for (const QString &letter : {u"n"_s, u"w"_s, u"p"_s, u"o"_s})
        EXPECT_EQ(namesOf(letter), QStringList()) << qPrintable(letter);
}

TEST(ActionIndex, orderLetterCaseAndSignsDoNotMatter) {
    EXPECT_EQ(namesOf(u"  WINDOW-private, fireFOX "_s), QStringList{u"New Private Window"_s});
    EXPECT_EQ(namesOf(u"mail files e"_s), QStringList{u"E-Mail to Go"_s});
    EXPECT_EQ(namesOf(u"dateien perso\u0308n"_s), QStringList{u"Persönlicher Ordner"_s});
}

TEST(ActionIndex, nothingNamesNothing) {
    for (const QString &query : {QString(), u"  "_s, u"-"_s, u"..."_s})
        EXPECT_EQ(namesOf(query), QStringList()) << qPrintable(query);
    EXPECT_TRUE(ActionIndex().named(u"window"_s).empty());
}
