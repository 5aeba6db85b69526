#include "Platform/Linux/X11/X11PanelSurface.h"

#include "Worlds/QtPrinters.h"

#include <gtest/gtest.h>

using namespace corvid;

namespace {

constexpr std::uint32_t end = 0xFFFFFFFF;

// Two screens side by side, the right one smaller and lower.
const QSize desktop(3200, 1080);
const QRect leftScreen(0, 0, 1920, 1080);
const QRect rightScreen(1920, 56, 1280, 1024);

} // namespace

TEST(Struts, withoutAnyAScreenIsVisibleWhole) {
    EXPECT_EQ(withoutStruts(leftScreen, desktop, {}), leftScreen);
    EXPECT_EQ(withoutStruts(leftScreen, desktop, {Strut{}}), leftScreen);
}

TEST(Struts, eachEdgeTakesItsShare) {
    const QSize alone = leftScreen.size();
    EXPECT_EQ(withoutStruts(leftScreen, alone, {{40, 0, 0, 0, 0, 1079}}), QRect(40, 0, 1880, 1080));
    EXPECT_EQ(withoutStruts(leftScreen, alone, {{0, 40, 0, 0, 0, 0, 0, 1079}}),
              QRect(0, 0, 1880, 1080));
    EXPECT_EQ(withoutStruts(leftScreen, alone, {{0, 0, 30, 0, 0, 0, 0, 0, 0, 1919}}),
              QRect(0, 30, 1920, 1050));
    EXPECT_EQ(withoutStruts(leftScreen, alone, {{0, 0, 0, 30, 0, 0, 0, 0, 0, 0, 0, 1919}}),
              QRect(0, 0, 1920, 1050));
}

TEST(Struts, onOneEdgeTheDeepestCountsAndDifferentEdgesAddUp) {
    const Strut thin{0, 0, 20, 0, 0, 0, 0, 0, 0, 1919};
    const Strut thick{0, 0, 30, 0, 0, 0, 0, 0, 0, 1919};
    const Strut bottom{0, 0, 0, 50, 0, 0, 0, 0, 0, 0, 0, 1919};
    EXPECT_EQ(withoutStruts(leftScreen, leftScreen.size(), {thin, thick, bottom}),
              QRect(0, 30, 1920, 1000));
}

TEST(Struts, onlyTheScreenThatABarLiesOnLosesRoom) {
    const Strut barOnTheLeftScreen{0, 0, 30, 0, 0, 0, 0, 0, 0, 1919};
    EXPECT_EQ(withoutStruts(leftScreen, desktop, {barOnTheLeftScreen}), QRect(0, 30, 1920, 1050));
    EXPECT_EQ(withoutStruts(rightScreen, desktop, {barOnTheLeftScreen}), rightScreen);
}

TEST(Struts, areMeasuredFromTheDesktopsEdgesNotTheScreens) {
    const Strut barOnTopOfTheLowerScreen{0, 0, 56 + 24, 0, 0, 0, 0, 0, 1920, 3199};
    EXPECT_EQ(withoutStruts(rightScreen, desktop, {barOnTopOfTheLowerScreen}),
              QRect(1920, 80, 1280, 1000));
    const Strut tooShallow{0, 0, 56, 0, 0, 0, 0, 0, 1920, 3199};
    EXPECT_EQ(withoutStruts(rightScreen, desktop, {tooShallow}), rightScreen);
}

TEST(Struts, oneOfAnInnerEdgeLeavesTheScreenBeforeItAlone) {
    const Strut dockOnTheRightScreensLeft{1920 + 60, 0, 0, 0, 56, 1079};
    EXPECT_EQ(withoutStruts(rightScreen, desktop, {dockOnTheRightScreensLeft}),
              QRect(1980, 56, 1220, 1024));
    EXPECT_EQ(withoutStruts(leftScreen, desktop, {dockOnTheRightScreensLeft}), leftScreen);
}

TEST(Struts, senselessNumbersDoNoHarm) {
    EXPECT_EQ(
        withoutStruts(leftScreen, desktop, {{end, end, end, end, 0, end, 0, end, 0, end, 0, end}}),
        leftScreen);
    // Each alone leaves something, together they leave nothing.
    EXPECT_EQ(withoutStruts(leftScreen, leftScreen.size(), {{1000, 1000, 0, 0, 0, 1079, 0, 1079}}),
              leftScreen);
}
