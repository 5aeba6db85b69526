// Keyboard, stacking and clicks elsewhere, under window managers that differ in all of these.

#include "DesktopTest.h"
#include "Worlds/CompositorClaim.h"

#include <QPoint>
#include <QRegion>

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <xcb/xcb.h>

using namespace corvid::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/** How often a window was mapped since this was made. */
class Appearances {
public:
    Appearances(const QByteArray &display, xcb_window_t window)
        : connection_(xcb_connect(display.constData(), nullptr)) {
        const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_change_window_attributes(connection_, window, XCB_CW_EVENT_MASK, &mask);
        count();
    }
    Appearances(const Appearances &) = delete;
    Appearances &operator=(const Appearances &) = delete;
    ~Appearances() { xcb_disconnect(connection_); }

    int count() {
        std::free(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_),
                                            nullptr)); // a round trip
        while (xcb_generic_event_t *event = xcb_poll_for_event(connection_)) {
            if ((event->response_type & 0x7F) == XCB_MAP_NOTIFY)
                ++count_;
            std::free(event);
        }
        return count_;
    }

private:
    xcb_connection_t *connection_;
    int count_ = 0;
};

class PanelWindowTest : public DesktopTest, public ::testing::WithParamInterface<XServer::Manager> {
protected:
    PanelWindowTest() : DesktopTest(GetParam()) {}

    void launchHidden(const QStringList &options = {}) {
        launch(options);
        press(u"Escape"_s);
        EXPECT_TRUE(becomesHidden());
    }
    void summon() {
        press(u"alt+k"_s);
        EXPECT_TRUE(eventually([this] { return panelHasKeyboard(); })) << "no focused panel";
    }
    bool becomesHidden() const {
        return eventually([this] { return !panelIsVisible(); });
    }
    // That nothing happens has no event. Qt tells of a lost keyboard after a tenth of a second.
    bool staysVisible() const {
        return !eventually([this] { return !panelIsVisible(); }, 500);
    }
    QString panel() const {
        return xdotool({u"search"_s, u"--onlyvisible"_s, u"--name"_s, u"^Corvid$"_s});
    }
    QString focused() const { return xdotool({u"getwindowfocus"_s}); }
    bool takesKeyboard(const XClient &client) const {
        xdotool({u"windowactivate"_s, client.window()});
        return eventually([&] { return focused() == client.window(); });
    }
    void click(const QPoint &place, const QString &button) const {
        xdotool({u"mousemove"_s, QString::number(place.x()), QString::number(place.y()), u"click"_s,
                 button});
    }
    // What the X server has there, whatever the window manager tells.
    QString windowAt(const QPoint &place) const {
        xdotool({u"mousemove"_s, QString::number(place.x()), QString::number(place.y())});
        xcb_connection_t *connection = xcb_connect(server.display().constData(), nullptr);
        xcb_window_t innermost = XCB_NONE;
        xcb_window_t child = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
        while (child != XCB_NONE) {
            innermost = child;
            xcb_query_pointer_reply_t *reply =
                xcb_query_pointer_reply(connection, xcb_query_pointer(connection, child), nullptr);
            child = reply ? reply->child : xcb_window_t{XCB_NONE};
            std::free(reply);
        }
        xcb_disconnect(connection);
        return QString::number(innermost);
    }
    QString property(const QString &window, const QString &name) const {
        return run(u"xprop"_s, {u"-id"_s, window, name}).section(u" = "_s, 1);
    }
    // Where the window manager looks at a window of its own for it, Qt makes one.
    uint userTime(const QString &window) const {
        const QString apart =
            run(u"xprop"_s, {u"-id"_s, window, u"-notype"_s, u"_NET_WM_USER_TIME_WINDOW"_s})
                .section(u"# "_s, 1);
        return property(apart.isEmpty() ? window : apart, u"_NET_WM_USER_TIME"_s).toUInt();
    }
    void goToDesktop(int desktop) const {
        const QString number = QString::number(desktop);
        xdotool({u"set_desktop"_s, number});
        EXPECT_TRUE(eventually([&] { return xdotool({u"get_desktop"_s}) == number; }));
    }
};

const QPoint centre(400, 300);
const QPoint outside(30, 500); // the panel lies at 70, 132
const QPoint onTheCardsFooter(150, 560);

std::string nameOf(const ::testing::TestParamInfo<XServer::Manager> &info) {
    return info.param == XServer::Manager::Xfwm4 ? "xfwm4" : "openbox";
}
INSTANTIATE_TEST_SUITE_P(Under, PanelWindowTest,
                         ::testing::Values(XServer::Manager::Openbox, XServer::Manager::Xfwm4),
                         nameOf);

} // namespace

TEST_P(PanelWindowTest, hasTheKeyboardOnShowAndGivesItBackOnHide) {
    const XClient other(server, {u"other"_s, u"Other"_s, u"--managed"_s});
    launchHidden();
    ASSERT_TRUE(takesKeyboard(other));
    for (int round = 0; round < 3; ++round) {
        summon();
        press(u"Escape"_s);
        EXPECT_TRUE(eventually([&] { return focused() == other.window(); }));
        EXPECT_FALSE(panelIsVisible());
    }
}

TEST_P(PanelWindowTest, hasTheKeyboardThoughTheUserJustTypedElsewhere) {
    const XClient other(server, {u"other"_s, u"Other"_s, u"--managed"_s});
    launchHidden();
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(takesKeyboard(other));
        const QString before = property(other.window(), u"_NET_WM_USER_TIME"_s);
        press(u"x"_s);
        ASSERT_TRUE(
            eventually([&] { return property(other.window(), u"_NET_WM_USER_TIME"_s) != before; }));
        const uint typed = userTime(other.window());
        summon();
        // Window managers differ in how much weight they give this; here they all must give in.
        EXPECT_GT(userTime(panel()), typed);
        press(u"alt+k"_s);
        ASSERT_TRUE(becomesHidden());
    }
}

TEST_P(PanelWindowTest, isInNoTaskBarPagerOrCyclingEachTimeItShows) {
    launchHidden();
    for (int round = 0; round < 3; ++round) {
        summon();
        // The window manager may still be busy with the time before.
        for (const QString &state : {u"SKIP_TASKBAR"_s, u"SKIP_PAGER"_s, u"ABOVE"_s})
            EXPECT_TRUE(eventually([&] {
                return property(panel(), u"_NET_WM_STATE"_s).contains(u"_NET_WM_STATE_"_s + state);
            })) << qPrintable(state);
        const QString everyDesktop = u"4294967295"_s;
        EXPECT_TRUE(
            eventually([&] { return property(panel(), u"_NET_WM_DESKTOP"_s) == everyDesktop; }));
        press(u"Escape"_s);
        ASSERT_TRUE(becomesHidden());
    }
}

TEST_P(PanelWindowTest, asksForBlurBehindItsCardButNotBehindItsCorners) {
    launch();
    const QStringList numbers =
        property(panel(), u"_KDE_NET_WM_BLUR_BEHIND_REGION"_s).split(u", "_s);
    ASSERT_EQ(numbers.size() % 4, 0);
    QRegion region;
    for (qsizetype i = 0; i < numbers.size(); i += 4)
        region += QRect(numbers[i].toInt(), numbers[i + 1].toInt(), numbers[i + 2].toInt(),
                        numbers[i + 3].toInt());
    EXPECT_EQ(region.boundingRect(), QRect(0, 0, 660, 440));
    for (const QPoint &corner : {QPoint(2, 2), QPoint(657, 2), QPoint(2, 437), QPoint(657, 437)})
        EXPECT_FALSE(region.contains(corner));
    EXPECT_TRUE(region.contains(QRect(5, 5, 650, 430)));
}

TEST_P(PanelWindowTest, isCutToItsCardExactlyWhereNoCompositorRuns) {
    const auto isCut = [this] {
        return run(u"xwininfo"_s, {u"-id"_s, panel(), u"-shape"_s})
            .contains(u"Window shape extents"_s);
    };
    launch();
    EXPECT_TRUE(isCut());
    press(u"Escape"_s);
    ASSERT_TRUE(becomesHidden());

    std::optional<CompositorClaim> compositor(std::in_place, server.display());
    summon();
    EXPECT_FALSE(isCut());
    press(u"Escape"_s);
    ASSERT_TRUE(becomesHidden());
    compositor.reset();
    summon();
    EXPECT_TRUE(isCut());
}

TEST_P(PanelWindowTest, isLeftOutWhenTheUserGoesThroughTheWindows) {
    const XClient first(server, {u"first"_s, u"First"_s, u"--managed"_s});
    const XClient second(server, {u"second"_s, u"Second"_s, u"--managed"_s});
    launch({u"--sticky"_s});
    ASSERT_TRUE(takesKeyboard(first));
    ASSERT_TRUE(takesKeyboard(second));
    for (const XClient *next : {&first, &second, &first}) {
        press(u"alt+Tab"_s);
        EXPECT_TRUE(eventually([&] { return focused() == next->window(); }));
    }
    EXPECT_TRUE(panelIsVisible());
}

TEST_P(PanelWindowTest, isAboveAFullScreenWindow) {
    launchHidden();
    const XClient film(server, {u"film"_s, u"Film"_s, u"--managed"_s, u"--fullscreen"_s});
    ASSERT_TRUE(takesKeyboard(film));
    ASSERT_TRUE(eventually([&] { return windowAt(centre) == film.window(); }));
    summon();
    EXPECT_TRUE(eventually([&] { return windowAt(centre) == panel(); }));
    EXPECT_EQ(windowAt(outside), film.window()) << "still shown around it";
    press(u"Escape"_s);
    EXPECT_TRUE(eventually([&] { return focused() == film.window(); }));
    EXPECT_EQ(windowAt(centre), film.window());
}

TEST_P(PanelWindowTest, staysAboveAWindowThatIsRaised) {
    launch({u"--sticky"_s});
    const XClient other(server, {u"other"_s, u"Other"_s, u"--managed"_s});
    xdotool({u"windowsize"_s, other.window(), u"700"_s, u"500"_s});
    xdotool({u"windowmove"_s, other.window(), u"0"_s, u"0"_s});
    ASSERT_TRUE(takesKeyboard(other));
    ASSERT_TRUE(eventually([&] { return windowAt({60, 300}) == other.window(); }));
    EXPECT_EQ(windowAt(centre), panel());
}

TEST_P(PanelWindowTest, isOnWhicheverDesktopTheUserIs) {
    xdotool({u"set_num_desktops"_s, u"3"_s});
    launchHidden();
    for (const int desktop : {1, 2, 0}) {
        goToDesktop(desktop);
        summon();
        // Away from the centre, where openbox tells the desktop's name.
        EXPECT_EQ(windowAt(onTheCardsFooter), panel());
        EXPECT_EQ(xdotool({u"get_desktop"_s}), QString::number(desktop));
        press(u"Escape"_s);
        ASSERT_TRUE(becomesHidden());
    }
}

TEST_P(PanelWindowTest, goesAlongToAnotherDesktopWhenItStays) {
    xdotool({u"set_num_desktops"_s, u"2"_s});
    launch({u"--sticky"_s});
    goToDesktop(1);
    EXPECT_TRUE(eventually([&] { return windowAt(onTheCardsFooter) == panel(); }));
}

TEST_P(PanelWindowTest, aLeftOrRightClickElsewhereHidesIt) {
    launchHidden();
    for (const QString &button : {u"1"_s, u"3"_s}) {
        summon();
        click(outside, button);
        EXPECT_TRUE(becomesHidden()) << "button " << qPrintable(button);
        press(u"Escape"_s); // the menu of a desktop without icons
    }
}

TEST_P(PanelWindowTest, aClickInAnotherWindowHidesItThoughSticky) {
    const XClient film(server, {u"film"_s, u"Film"_s, u"--managed"_s, u"--fullscreen"_s});
    launchHidden({u"--sticky"_s});
    for (const QString &button : {u"1"_s, u"3"_s}) {
        summon();
        click(outside, button);
        EXPECT_TRUE(becomesHidden()) << "button " << qPrintable(button);
    }
}

TEST_P(PanelWindowTest, aClickOnItDoesNotHideIt) {
    launch();
    for (const QString &button : {u"1"_s, u"3"_s})
        click(onTheCardsFooter, button);
    EXPECT_TRUE(staysVisible());
    type(u"frobn"_s);
    press(u"Return"_s);
    EXPECT_EQ(startedWith(), asItsEntrySays) << "what was typed after the clicks went to the panel";
}

// Sticky, for a window manager may give the keyboard to what the wheel turns over.
TEST_P(PanelWindowTest, movesWithThePointerThatDragsItsGroundUntilItIsShownAnew) {
    launchHidden();
    summon();
    const auto place = [this] {
        return xdotool({u"getwindowgeometry"_s, u"--shell"_s, panel()})
            .section(u"X="_s, 1)
            .section(u"WIDTH"_s, 0, 0)
            .simplified();
    };
    const QString before = place();
    const auto movePointer = [this](const QPoint &to) {
        xdotool({u"mousemove"_s, u"--sync"_s, QString::number(to.x()), QString::number(to.y())});
    };
    movePointer(onTheCardsFooter);
    xdotool({u"mousedown"_s, u"1"_s});
    for (int step = 1; step <= 5; ++step)
        movePointer(onTheCardsFooter - QPoint(6 * step, 10 * step));
    EXPECT_TRUE(eventually([&] { return place() == u"40 Y=82"; })) << qPrintable(place());
    xdotool({u"mouseup"_s, u"1"_s});
    EXPECT_TRUE(staysVisible());
    EXPECT_TRUE(panelHasKeyboard());
    press(u"Escape"_s);
    EXPECT_TRUE(becomesHidden());
    summon();
    EXPECT_EQ(place(), before);
}

TEST_P(PanelWindowTest, controlQTwiceQuits) {
    launchHidden();
    summon();
    press(u"ctrl+q"_s);
    EXPECT_TRUE(staysVisible());
    press(u"ctrl+q"_s);
    EXPECT_TRUE(program.waitForFinished());
    EXPECT_EQ(program.exitCode(), 0);
}

TEST_P(PanelWindowTest, theWheelElsewhereDoesNotHideIt) {
    // On a bare desktop the wheel may lead to another one.
    const XClient film(server, {u"film"_s, u"Film"_s, u"--managed"_s, u"--fullscreen"_s});
    launch({u"--sticky"_s});
    for (const QString &button : {u"4"_s, u"5"_s})
        click(outside, button);
    EXPECT_TRUE(staysVisible());
}

TEST_P(PanelWindowTest, losingTheKeyboardHidesIt) {
    const XClient other(server, {u"other"_s, u"Other"_s, u"--managed"_s});
    launchHidden();
    summon();
    ASSERT_TRUE(takesKeyboard(other));
    EXPECT_TRUE(becomesHidden());
}

TEST_P(PanelWindowTest, isToldOfTheKeyboardHoweverSoonItShowsAgain) {
    const XClient other(server, {u"other"_s, u"Other"_s, u"--managed"_s});
    launch();
    Appearances appearances(server.display(), panel().toUInt());
    for (int round = 0; round < 5; ++round) {
        const int before = appearances.count();
        xdotool({u"key"_s, u"--delay"_s, u"1"_s, u"alt+k"_s, u"alt+k"_s});
        ASSERT_TRUE(eventually([&] { return appearances.count() > before; }));
        ASSERT_TRUE(eventually([this] { return panelHasKeyboard(); }));
        ASSERT_TRUE(takesKeyboard(other));
        EXPECT_TRUE(becomesHidden()) << "it can lose only what it knows to have";
        summon();
    }
}

TEST_P(PanelWindowTest, aStickyOneStaysWhenAnotherWindowTakesTheKeyboard) {
    const XClient other(server, {u"other"_s, u"Other"_s, u"--managed"_s});
    launch({u"--sticky"_s});
    ASSERT_TRUE(takesKeyboard(other));
    EXPECT_TRUE(staysVisible());
    EXPECT_EQ(focused(), other.window());
    click(outside, u"1"_s);
    EXPECT_TRUE(becomesHidden());
}
