#include "Model/FooterHint.h"

#include "Worlds/QtPrinters.h"

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

class FooterHintTest : public ::testing::Test {
protected:
    QString hint() const {
        return FooterHint{query, selected, names, answering, busy, chooses, turns}.text();
    }

    Query query{Query::Kind::Ask, u"ai why"_s, u"why"_s, {}};
    const ResultItem *selected = nullptr;
    bool names = false;
    bool answering = true;
    bool busy = false;
    bool chooses = false;
    std::optional<int> turns;
};

} // namespace

TEST_F(FooterHintTest, mostlyThereIsNone) {
    EXPECT_EQ(hint(), QString());
    answering = false;
    EXPECT_EQ(hint(), QString());
}

TEST_F(FooterHintTest, anAnswerSaysHowManyTurnsGoAlong) {
    const QString text = u"Shift+Return asks on"_s;
    turns = 1;
    EXPECT_EQ(hint(), text + u", 1 turn goes along"_s);
    turns = 12;
    EXPECT_EQ(hint(), text + u", 12 turns go along"_s);
    turns = 0;
    EXPECT_EQ(hint(), text + u" without this answer, which is too long"_s);
    answering = false;
    EXPECT_EQ(hint(), QString()) << "there Shift+Return does something else";
}

TEST_F(FooterHintTest, overAnAnswerTheArrowsAreNamedWhereTheyChooseARow) {
    chooses = true;
    turns = 2;
    EXPECT_EQ(hint(), u"↑↓ choose another  ·  Shift+Return asks on, 2 turns go along");
    turns.reset();
    EXPECT_EQ(hint(), u"↑↓ choose another");
    answering = false;
    EXPECT_EQ(hint(), QString()) << "the status says so there";
}

TEST_F(FooterHintTest, whatReturnDoesOnTheSetUpRowIsSaidInAnAnswerToo) {
    const ResultItem setUp{u"ai-setup"_s, nullptr, {}, {}, {}, OpenSettings{}};
    selected = &setUp;
    turns = 1;
    EXPECT_EQ(hint(), u"Return opens the settings  ·  Shift+Return asks on, 1 turn goes along");
}

TEST_F(FooterHintTest, thatNamesWereSentIsSaidAloneUntilTheAnswerIsThere) {
    const QString note = u"Names of your apps and projects go along (see Settings)"_s;
    names = true;
    busy = true;
    turns = 1;
    EXPECT_EQ(hint(), note);
    answering = false;
    EXPECT_EQ(hint(), note);
    answering = true;
    busy = false;
    EXPECT_EQ(hint(), u"Shift+Return asks on, 1 turn goes along");
}
