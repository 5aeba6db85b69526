#include "Platform/Linux/Bus/PendingWishes.h"

#include <gtest/gtest.h>

using namespace corvid;

namespace {

constexpr Wish show{Wish::Kind::Show, false};
constexpr Wish stickyShow{Wish::Kind::Show, true};
constexpr Wish toggle{Wish::Kind::Toggle, false};
constexpr Wish settings{Wish::Kind::OpenSettings, false};

std::vector<Wish> leftOf(const std::vector<Wish> &wishes) {
    PendingWishes pending;
    for (const Wish &wish : wishes)
        pending.add(wish);
    std::vector<Wish> left = pending.take();
    EXPECT_TRUE(pending.take().empty());
    return left;
}

using Wishes = std::vector<Wish>;

} // namespace

TEST(PendingWishes, oneOfAKindStandsForAll) {
    EXPECT_EQ(leftOf({show, show, show}), Wishes{show});
    EXPECT_EQ(leftOf({settings, settings}), Wishes{settings});
}

TEST(PendingWishes, twoTogglesUndoEachOther) {
    EXPECT_EQ(leftOf({toggle, toggle}), Wishes{});
    EXPECT_EQ(leftOf({toggle, toggle, toggle}), Wishes{toggle});
}

TEST(PendingWishes, whatComesLastDecidesWhetherThePanelIsShown) {
    EXPECT_EQ(leftOf({toggle, show}), Wishes{show});
    EXPECT_EQ(leftOf({show, toggle}), (Wishes{show, toggle}));
    EXPECT_EQ(leftOf({show, toggle, show}), Wishes{show});
    EXPECT_EQ(leftOf({toggle, show, toggle, toggle}), Wishes{show});
}

TEST(PendingWishes, whatIsOpenedLastComesLast) {
    EXPECT_EQ(leftOf({settings, show, settings}), (Wishes{show, settings}));
    EXPECT_EQ(leftOf({show, settings, show}), (Wishes{settings, show}));
}

TEST(PendingWishes, oneThatShallStickMakesThePanelStick) {
    EXPECT_EQ(leftOf({stickyShow, show}), Wishes{stickyShow});
    EXPECT_EQ(leftOf({show, stickyShow}), Wishes{stickyShow});
}
