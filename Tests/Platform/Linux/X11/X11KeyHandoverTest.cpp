#include "Platform/Linux/X11/X11HotKeys.h"

#include <QByteArray>
#include <QString>

#include <gtest/gtest.h>

#include <xcb/xcb.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

constexpr std::uint8_t sentByClient = 0x80;

class X11KeyHandoverTest : public ::testing::Test {
protected:
    void await(std::uint16_t modifiers = 0) {
        handover.await(modifiers, [this] { ++arrivals; });
    }
    void focusIn(std::uint8_t mode, std::uint8_t detail) {
        xcb_focus_in_event_t event{};
        event.response_type = XCB_FOCUS_IN;
        event.mode = mode;
        event.detail = detail;
        EXPECT_FALSE(filter("xcb_generic_event_t"_ba, event)) << "Qt needs every event as well";
    }
    /** What Qt gets to see. */
    xcb_key_press_event_t key(std::uint8_t type, int state) {
        xcb_key_press_event_t event{};
        event.response_type = type;
        event.state = static_cast<std::uint16_t>(state);
        EXPECT_FALSE(filter("xcb_generic_event_t"_ba, event));
        return event;
    }
    int stateOfPress(int state) { return key(XCB_KEY_PRESS, state).state; }

    template <typename Event>
    bool filter(const QByteArray &type, Event &event) {
        return handover.nativeEventFilter(type, &event, nullptr);
    }

    X11KeyHandover handover;
    int arrivals = 0;
};

} // namespace

TEST_F(X11KeyHandoverTest, theKeyboardArrivesOnceWhetherOrNotTheHotKeyIsStillGrabbed) {
    for (const std::uint8_t mode : {XCB_NOTIFY_MODE_NORMAL, XCB_NOTIFY_MODE_WHILE_GRABBED}) {
        arrivals = 0;
        await();
        focusIn(mode, XCB_NOTIFY_DETAIL_NONLINEAR);
        EXPECT_EQ(arrivals, 1);
        focusIn(mode, XCB_NOTIFY_DETAIL_NONLINEAR);
        EXPECT_EQ(arrivals, 1);
    }
}

TEST_F(X11KeyHandoverTest, theEndOfAGrabAndThePointerOverAWindowAreNoArrival) {
    await();
    focusIn(XCB_NOTIFY_MODE_UNGRAB, XCB_NOTIFY_DETAIL_NONLINEAR);
    focusIn(XCB_NOTIFY_MODE_NORMAL, XCB_NOTIFY_DETAIL_POINTER);
    EXPECT_EQ(arrivals, 0);
    focusIn(XCB_NOTIFY_MODE_NORMAL, XCB_NOTIFY_DETAIL_NONLINEAR);
    EXPECT_EQ(arrivals, 1);
}

TEST_F(X11KeyHandoverTest, anArrivalIsOfTheLatestPressOnly) {
    await();
    int second = 0;
    handover.await(0, [&] { ++second; });
    focusIn(XCB_NOTIFY_MODE_NORMAL, XCB_NOTIFY_DETAIL_NONLINEAR);
    EXPECT_EQ(arrivals, 0);
    EXPECT_EQ(second, 1);
}

TEST_F(X11KeyHandoverTest, anArrivalNobodyWaitsForIsNothing) {
    focusIn(XCB_NOTIFY_MODE_NORMAL, XCB_NOTIFY_DETAIL_NONLINEAR);
    EXPECT_EQ(arrivals, 0);
}

TEST_F(X11KeyHandoverTest, theHotKeysModifiersDoNotCountUntilTheyAreLetGo) {
    await(XCB_MOD_MASK_1);
    EXPECT_EQ(stateOfPress(XCB_MOD_MASK_1), 0);
    EXPECT_EQ(key(XCB_KEY_RELEASE, XCB_MOD_MASK_1).state, 0);
    EXPECT_EQ(stateOfPress(0), 0);
    EXPECT_EQ(stateOfPress(XCB_MOD_MASK_1), XCB_MOD_MASK_1) << "pressed anew it is Alt";
}

TEST_F(X11KeyHandoverTest, eachModifierCountsAgainAfterItWasLetGo) {
    await(XCB_MOD_MASK_1 | XCB_MOD_MASK_CONTROL);
    EXPECT_EQ(stateOfPress(XCB_MOD_MASK_1 | XCB_MOD_MASK_CONTROL), 0);
    EXPECT_EQ(stateOfPress(XCB_MOD_MASK_1), 0);
    EXPECT_EQ(stateOfPress(XCB_MOD_MASK_1 | XCB_MOD_MASK_CONTROL), XCB_MOD_MASK_CONTROL);
}

TEST_F(X11KeyHandoverTest, otherModifiersLocksAndTheLayoutStay) {
    constexpr int secondLayout = 1 << 13;
    constexpr int others = XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2 | secondLayout;
    await(XCB_MOD_MASK_CONTROL);
    EXPECT_EQ(stateOfPress(XCB_MOD_MASK_CONTROL | others), others);
}

TEST_F(X11KeyHandoverTest, onlyAKeyThatWasChangedLooksAsIfAClientHadSentIt) {
    await(XCB_MOD_MASK_1);
    EXPECT_EQ(key(XCB_KEY_PRESS, XCB_MOD_MASK_1).response_type, XCB_KEY_PRESS | sentByClient);
    EXPECT_EQ(key(XCB_KEY_PRESS, 0).response_type, XCB_KEY_PRESS);
    EXPECT_EQ(key(XCB_KEY_PRESS, XCB_MOD_MASK_1).response_type, XCB_KEY_PRESS);
}

TEST_F(X11KeyHandoverTest, anotherPlatformsEventsAreNotLookedAt) {
    await();
    xcb_focus_in_event_t event{};
    event.response_type = XCB_FOCUS_IN;
    EXPECT_FALSE(filter("wayland_event"_ba, event));
    EXPECT_EQ(arrivals, 0);
}
