#include "Fakes/LauncherWorld.h"

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

using enum SessionCommand;

/** On a machine that can do everything. */
class SessionRows : public ::testing::Test {
protected:
    SessionRows() { world.session.able = {Lock, Suspend, Hibernate, LogOut, Restart, ShutDown}; }

    /** The titles of the commands that a query lists. */
    QStringList commands(const QString &query) {
        world.model.setQuery(query);
        QStringList titles;
        for (const ResultItem &row : world.model.results())
            if (row.badge == u"Session")
                titles.append(row.title);
        return titles;
    }
    QString selectedTitle() const {
        return world.model.results()[static_cast<std::size_t>(world.model.selected())].title;
    }
    bool asks() const { return selectedTitle().contains(u'?'); }
    bool nothingHasHappened() const {
        return world.actions.empty() && world.hides == 0 && world.stats.counts().isEmpty() &&
               world.stats.latches().isEmpty();
    }
    /** Type it and press Return. */
    void submit(const QString &query) {
        world.model.setQuery(query);
        world.model.submit();
    }
    void press(const KeyPress &key) { world.model.handleKeyEvent(key); }

    LauncherWorld world{{makeApp(u"Shutter Down"_s)}, {}};
};

const QString question = u"Shut down? Press Return again"_s;

} // namespace

TEST_F(SessionRows, aCommandIsNamedByItsNamesOrByThreeLettersAndMoreOfOne) {
    const struct {
        const char *query;
        const char *title;
    } rows[]{{"lock", "Lock"},
             {"lock screen", "Lock"},
             {"Lock-Scr", "Lock"},
             {"loc", "Lock"},
             {"suspend", "Suspend"},
             {"sleep", "Suspend"},
             {"sus", "Suspend"},
             {"hibernate", "Hibernate"},
             {"log out", "Log Out"},
             {"logout", "Log Out"},
             {"log-out", "Log Out"},
             {"sign out", "Log Out"},
             {"restart", "Restart"},
             {"reboot", "Restart"},
             {"shut down", "Shut Down"},
             {"shutdown", "Shut Down"},
             {"power off", "Shut Down"},
             {"poweroff", "Shut Down"},
             {" SHUT  DOWN ", "Shut Down"},
             {"shu", "Shut Down"}};
    for (const auto &[query, title] : rows)
        EXPECT_EQ(commands(QString::fromLatin1(query)), QStringList(QString::fromLatin1(title)))
            << query;
    for (const char *query : {"", "lo", "sh", "down", "out", "shut downs", "locker", "ock", "l"})
        EXPECT_EQ(commands(QString::fromLatin1(query)), QStringList()) << query;
}

TEST_F(SessionRows, aRowOfACommand) {
    world.model.setQuery(u"poweroff"_s);
    const ResultItem &row = world.model.results().front();
    EXPECT_EQ(row.id, u"session-shut-down");
    EXPECT_EQ(row.icon, nullptr);
    EXPECT_EQ(row.title, u"Shut Down");
    EXPECT_EQ(row.subtitle, u"Ends the session and switches the computer off");
    EXPECT_EQ(row.badge, u"Session");
    EXPECT_EQ(row.action, LauncherAction(ControlSession{ShutDown}));
}

TEST_F(SessionRows, commandsStandAfterWhatIsFoundByItsNameAndBeforeTheFallback) {
    EXPECT_EQ(world.titles(u"shut"_s), (QStringList{u"Shutter Down"_s, u"Shut Down"_s}));
    EXPECT_EQ(world.titles(u"reboot"_s),
              (QStringList{u"Restart"_s, u"Search Google for “reboot”"_s, u"Ask AI: reboot"_s}));
}

TEST_F(SessionRows, whatTheMachineCannotDoHasNoRow) {
    world.session.able = {Suspend};
    EXPECT_EQ(commands(u"hibernate"_s), QStringList());
    EXPECT_EQ(commands(u"suspend"_s), QStringList{u"Suspend"_s});
    world.session.able = {};
    world.model.refresh();
    EXPECT_EQ(world.model.results().front().id, u"web-search");
}

TEST_F(SessionRows, whatCanBeUndoneIsDoneAtOnceAndCounts) {
    for (const auto &[query, command] : {std::pair(u"lock"_s, Lock), std::pair(u"sleep"_s, Suspend),
                                         std::pair(u"hibernate"_s, Hibernate)}) {
        world.actions.clear();
        submit(query);
        EXPECT_EQ(world.actions, std::vector<LauncherAction>{ControlSession{command}});
    }
    EXPECT_EQ(world.hides, 3);
    EXPECT_EQ(world.stats.counts().value(u"session-suspend"_s), 1);
    EXPECT_EQ(world.stats.latches().value(u"sleep"_s), u"session-suspend");
}

TEST_F(SessionRows, whatEndsTheSessionIsAskedForInTheRowsPlace) {
    for (const QString &query : {u"logout"_s, u"restart"_s, u"poweroff"_s}) {
        submit(query);
        EXPECT_TRUE(asks()) << qPrintable(query);
        EXPECT_TRUE(selectedTitle().endsWith(u"Press Return again"));
    }
    EXPECT_EQ(selectedTitle(), question);
    EXPECT_TRUE(nothingHasHappened());
}

TEST_F(SessionRows, aSecondReturnCarriesItOut) {
    submit(u"poweroff"_s);
    world.model.submit();
    EXPECT_EQ(world.actions, std::vector<LauncherAction>{ControlSession{ShutDown}});
    EXPECT_EQ(world.hides, 1);
    EXPECT_EQ(world.stats.counts().value(u"session-shut-down"_s), 1);
    EXPECT_EQ(world.stats.latches().value(u"poweroff"_s), u"session-shut-down");
    EXPECT_EQ(selectedTitle(), u"Shut Down") << "what is shown the next time";
}

TEST_F(SessionRows, everyOtherKeyTakesTheQuestionBack) {
    const KeyPress keys[]{{.characters = u"X"_s},
                          {.characters = {}}, // a modifier, or an arrow
                          {.command = true, .characters = u"C"_s},
                          {.command = true, .isReturn = true},
                          {.isEscape = true}};
    for (const KeyPress &key : keys) {
        submit(u"poweroff"_s);
        ASSERT_TRUE(asks());
        press(key);
        EXPECT_EQ(selectedTitle(), u"Shut Down");
        EXPECT_TRUE(world.actions.empty());
        world.model.submit();
        EXPECT_TRUE(asks()) << "it is asked anew";
        EXPECT_TRUE(world.actions.empty());
        world.model.setQuery({});
    }
}

TEST_F(SessionRows, escapeAnswersNoAndLeavesThePanel) {
    submit(u"poweroff"_s);
    EXPECT_TRUE(world.model.handleKeyEvent({.isEscape = true})) << "nobody else sees the key";
    EXPECT_FALSE(asks());
    EXPECT_FALSE(world.model.handleKeyEvent({.isEscape = true}));
    EXPECT_TRUE(nothingHasHappened());
}

TEST_F(SessionRows, anotherQueryOrSelectionTakesTheQuestionBack) {
    submit(u"poweroff"_s);
    world.model.setQuery(u"powerof"_s);
    EXPECT_FALSE(asks());
    world.model.submit();
    ASSERT_TRUE(asks());
    world.model.moveSelection(1);
    world.model.moveSelection(-1);
    EXPECT_FALSE(asks());
    EXPECT_TRUE(nothingHasHappened());
}

TEST_F(SessionRows, aPanelThatHidesTakesTheQuestionBack) {
    submit(u"poweroff"_s);
    world.model.withdrawQuestion();
    EXPECT_FALSE(asks());
    world.model.submit();
    EXPECT_TRUE(nothingHasHappened());
}

TEST_F(SessionRows, returnThatIsHeldIsNoSecondOne) {
    const KeyPress held{.isReturn = true, .repeats = true};
    world.model.setQuery(u"poweroff"_s);
    EXPECT_TRUE(world.model.handleKeyEvent(held)) << "the first press may still be on its way";
    world.model.submit();
    EXPECT_TRUE(world.model.handleKeyEvent(held));
    EXPECT_TRUE(asks());
    EXPECT_TRUE(nothingHasHappened());
    world.model.setQuery(u"shutter"_s);
    EXPECT_FALSE(world.model.handleKeyEvent(held)) << "other rows open as ever";
}

TEST_F(SessionRows, clicksAndNumbersNeverAnswer) {
    submit(u"poweroff"_s);
    world.model.choose(0);
    world.model.choose(0);
    world.model.handleKeyEvent({.command = true, .characters = u"1"_s});
    EXPECT_TRUE(asks());
    EXPECT_TRUE(nothingHasHappened());
    world.model.submit();
    EXPECT_EQ(world.actions.size(), 1U) << "but Return does";
}

TEST_F(SessionRows, aListThatChangesByItselfKeepsTheQuestionAsLongAsTheRowStays) {
    submit(u"poweroff"_s);
    world.model.refresh();
    EXPECT_EQ(selectedTitle(), question);
    world.session.able = {};
    world.model.refresh();
    EXPECT_FALSE(asks());
    world.session.able = {ShutDown};
    world.model.refresh();
    EXPECT_EQ(selectedTitle(), u"Shut Down");
    EXPECT_TRUE(nothingHasHappened());
}
