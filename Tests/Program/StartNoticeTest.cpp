#include "Program/StartNotice.h"

#include "Base/HotKeyHelp.h"
#include "Base/Settings.h"
#include "Fakes/FakeNotifier.h"
#include "Fakes/FakeUserDefaults.h"
#include "Worlds/QtPrinters.h"

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

class StartNoticeTest : public ::testing::Test {
protected:
    using Start = StartNotice::Start;

    void start(Start which) {
        notice.emplace(defaults, notifier, which, [this] { ++shows; });
    }
    void answer(HotKeyAnswer answer, Desktop desktop = Desktop::Sway) {
        notice->hotKeyAnswered(hotKeyHelp(u"Alt+Space"_s, answer, desktop));
    }
    const Notifier::Notification &last() const { return notifier.given.back(); }

    FakeUserDefaults defaults;
    FakeNotifier notifier;
    int shows = 0;
    std::optional<StartNotice> notice;
};

} // namespace

TEST_F(StartNoticeTest, theFirstStartTellsTheKeyAndHasAButtonThatShowsThePanel) {
    start(Start::First);
    EXPECT_TRUE(notifier.given.empty()) << "nothing is known yet";
    answer(HotKeyAnswer::Obtained);
    ASSERT_EQ(notifier.given.size(), 1U);
    EXPECT_EQ(last().title, u"Corvid is ready");
    EXPECT_EQ(last().text, u"Alt+Space shows it.");
    EXPECT_EQ(last().button, u"Show Corvid");
    last().chosen();
    EXPECT_EQ(shows, 1);
}

TEST_F(StartNoticeTest, aLaterStartSaysNothingWhereTheKeyWorks) {
    start(Start::Later);
    answer(HotKeyAnswer::Obtained);
    EXPECT_TRUE(notifier.given.empty());
}

TEST_F(StartNoticeTest, aFirstStartWithoutAKeySaysWhyAndWhereToFindWhatToDo) {
    start(Start::First);
    answer(HotKeyAnswer::NoPortal);
    ASSERT_EQ(notifier.given.size(), 1U);
    EXPECT_EQ(last().title, u"Corvid is ready, without a hot key");
    EXPECT_EQ(last().text, u"No portal runs here that could give Corvid Alt+Space. Click here, or "
                           "run corvid: it says what to do.");
    answer(HotKeyAnswer::Obtained);
    EXPECT_EQ(notifier.given.size(), 1U) << "the user has put it right";
}

TEST_F(StartNoticeTest, aFreeCombinationIsNamed) {
    HotKeyHelp help = hotKeyHelp(u"Alt+Space"_s, HotKeyAnswer::Taken, Desktop::Openbox);
    help.free = HotKey{49, HotKey::command};
    help.freeName = u"Super+Space"_s;
    start(Start::First);
    notice->hotKeyAnswered(help);
    EXPECT_EQ(last().text, u"The desktop does not give Corvid Alt+Space. Super+Space is free: show "
                           "Corvid, and press Return.");
    start(Start::Later);
    notice->hotKeyAnswered(help);
    EXPECT_EQ(last().text, u"The desktop does not give Corvid Alt+Space. Super+Space is free: take "
                           "it in Corvid's settings.");
}

TEST_F(StartNoticeTest, eachReasonIsToldOnceForGoodWhenItHasArrived) {
    start(Start::Later);
    answer(HotKeyAnswer::Taken);
    EXPECT_EQ(last().title, u"Corvid has no hot key");
    answer(HotKeyAnswer::Taken);
    ASSERT_EQ(notifier.given.size(), 1U) << "while it is under way";
    start(Start::Later);
    answer(HotKeyAnswer::Taken);
    ASSERT_EQ(notifier.given.size(), 2U) << "nobody has seen it";
    last().delivered();
    start(Start::Later);
    answer(HotKeyAnswer::Taken);
    EXPECT_EQ(notifier.given.size(), 2U);
    answer(HotKeyAnswer::Refused);
    EXPECT_EQ(notifier.given.size(), 3U) << "another reason";
    EXPECT_EQ(last().text,
              u"The desktop has refused Corvid Alt+Space. Corvid's settings say what to do.");
    EXPECT_EQ(settings::noticesGiven(defaults), QStringList{u"taken"_s});
}

TEST_F(StartNoticeTest, aPortalThatIsSilentIsToldOfAtTheFirstStartAlone) {
    start(Start::Later);
    answer(HotKeyAnswer::Silent);
    EXPECT_TRUE(notifier.given.empty()) << "it may be asking the user";
    start(Start::First);
    answer(HotKeyAnswer::Silent);
    ASSERT_EQ(notifier.given.size(), 1U);
    EXPECT_TRUE(last().text.startsWith(u"The desktop has not answered yet"_s));
}

TEST_F(StartNoticeTest, whoHasSeenThePanelIsNotToldThatItIsReady) {
    start(Start::First);
    notice->seen();
    answer(HotKeyAnswer::Obtained);
    EXPECT_TRUE(notifier.given.empty());
}
