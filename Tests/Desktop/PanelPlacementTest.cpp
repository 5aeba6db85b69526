// Where the panel appears: on one screen and several, beside docks, at every scale.

#include "DesktopTest.h"

#include <QRect>

#include <gtest/gtest.h>

#include <cmath>

using namespace corvid::test;
using namespace Qt::Literals::StringLiterals;

namespace {

const QString wide = u"2560x1024x24"_s;
const QRect leftScreen(0, 0, 1280, 1024);
const QRect rightScreen(1280, 0, 1280, 1024);

class PanelPlacementTest : public DesktopTest {
protected:
    PanelPlacementTest() : DesktopTest(XServer::Manager::Openbox, wide) {}

    void setMonitor(const QString &name, const QRect &frame) const {
        // Without an output of its own it stands beside what the others make of the screen.
        run(u"xrandr"_s, {u"--setmonitor"_s, name,
                          u"%1/300x%2/200+%3+%4"_s.arg(frame.width())
                              .arg(frame.height())
                              .arg(frame.x())
                              .arg(frame.y()),
                          name == "left"_L1 ? u"screen"_s : u"none"_s});
    }
    void setTwoMonitors() const {
        setMonitor(u"left"_s, leftScreen);
        setMonitor(u"right"_s, rightScreen);
    }
    void movePointer(const QPoint &place) const {
        xdotool({u"mousemove"_s, QString::number(place.x()), QString::number(place.y())});
    }
    /** In the X server's own pixels; empty while the panel is hidden. */
    QRect panelGeometry() const {
        const QString window =
            xdotool({u"search"_s, u"--onlyvisible"_s, u"--name"_s, u"^Corvid$"_s});
        if (window.isEmpty())
            return {};
        QHash<QString, int> values;
        for (const QString &line :
             xdotool({u"getwindowgeometry"_s, u"--shell"_s, window}).split(u'\n'))
            values[line.section(u'=', 0, 0)] = line.section(u'=', 1).toInt();
        return {values[u"X"_s], values[u"Y"_s], values[u"WIDTH"_s], values[u"HEIGHT"_s]};
    }
    void hide() const {
        press(u"Escape"_s);
        EXPECT_TRUE(eventually([this] { return !panelIsVisible(); }));
    }
    void summon() const {
        press(u"alt+k"_s);
        EXPECT_TRUE(eventually([this] { return panelHasKeyboard(); }));
    }
    /** Anew until it appears there: the program hears of a change when the server gets to it. */
    bool appearsAt(const QRect &expected) const {
        return eventually([&] {
            if (panelIsVisible())
                hide();
            summon();
            return panelGeometry() == expected;
        });
    }
};

QRect expectedIn(const QRect &visible, qreal scale = 1) {
    const QSize size = (QSizeF(660, 440) * scale).toSize();
    return {QPoint(visible.x() + (visible.width() - size.width()) / 2,
                   static_cast<int>(std::lround(visible.y() + 0.22 * visible.height()))),
            size};
}

/** Twelve zeros but for the given ones. */
QString strut(const QHash<int, int> &numbers) {
    QStringList all;
    for (int i = 0; i < 12; ++i)
        all.append(QString::number(numbers.value(i)));
    return all.join(u',');
}

} // namespace

TEST_F(PanelPlacementTest, isCentredBelowTheTopOfTheOnlyScreen) {
    launch();
    EXPECT_EQ(panelGeometry(), expectedIn({0, 0, 2560, 1024}));
}

TEST_F(PanelPlacementTest, leavesTheRoomOfADockAside) {
    const XClient dock(server,
                       {u"dock"_s, u"Dock"_s, u"--dock"_s, strut({{2, 100}, {8, 0}, {9, 2559}})});
    const XClient shelf(server,
                        {u"shelf"_s, u"Shelf"_s, u"--dock"_s, strut({{0, 60}, {4, 0}, {5, 1023}})});
    ASSERT_TRUE(eventually([this] {
        return run(u"xprop"_s, {u"-root"_s, u"_NET_WORKAREA"_s}).contains(u"60, 100, 2500, 924"_s);
    }));
    launch();
    EXPECT_EQ(panelGeometry(), expectedIn({60, 100, 2500, 924}));
}

TEST_F(PanelPlacementTest, leavesTheRoomOfADockThatStartsLaterAside) {
    launch();
    const XClient dock(server,
                       {u"dock"_s, u"Dock"_s, u"--dock"_s, strut({{2, 100}, {8, 0}, {9, 2559}})});
    EXPECT_TRUE(appearsAt(expectedIn({0, 100, 2560, 924})));
}

TEST_F(PanelPlacementTest, isOnTheScreenUnderThePointer) {
    setTwoMonitors();
    movePointer({2000, 500});
    launch();
    EXPECT_EQ(panelGeometry(), expectedIn(rightScreen));
    hide();
    movePointer({1279, 1023});
    summon();
    EXPECT_EQ(panelGeometry(), expectedIn(leftScreen));
    hide();
    movePointer({1280, 0});
    summon();
    EXPECT_EQ(panelGeometry(), expectedIn(rightScreen));
}

TEST_F(PanelPlacementTest, ofTwoScreensOnlyTheOneWithTheDockHasLessRoom) {
    setTwoMonitors();
    const XClient bar(server, {u"bar"_s, u"Bar"_s, u"--managed"_s, u"--dock"_s,
                               strut({{2, 50}, {8, 1280}, {9, 2559}})});
    const XClient dock(server, {u"dock"_s, u"Dock"_s, u"--managed"_s, u"--dock"_s,
                                strut({{1, 80}, {6, 0}, {7, 1023}})});
    movePointer({2000, 500});
    launch();
    EXPECT_EQ(panelGeometry(), expectedIn({1280, 50, 1200, 974}));
    hide();
    movePointer({100, 500});
    summon();
    EXPECT_EQ(panelGeometry(), expectedIn(leftScreen));
}

TEST_F(PanelPlacementTest, followsScreensThatComeAndGoWhileItIsHidden) {
    movePointer({2000, 500});
    launch();
    hide();
    setTwoMonitors();
    EXPECT_TRUE(appearsAt(expectedIn(rightScreen))) << "one was added";
    hide();
    run(u"xrandr"_s, {u"--delmonitor"_s, u"right"_s});
    EXPECT_TRUE(appearsAt(expectedIn(leftScreen))) << "it is gone, and the pointer beyond";
    hide();
    setMonitor(u"right"_s, {1280, 0, 1000, 768});
    EXPECT_TRUE(appearsAt(expectedIn({1280, 0, 1000, 768}))) << "another came";
}

TEST_F(PanelPlacementTest, outlivesTheScreenThatItIsShownOn) {
    setTwoMonitors();
    movePointer({2000, 500});
    launch();
    ASSERT_EQ(panelGeometry(), expectedIn(rightScreen));
    run(u"xrandr"_s, {u"--delmonitor"_s, u"right"_s});
    EXPECT_TRUE(appearsAt(expectedIn(leftScreen)));
    type(u"frobn"_s);
    press(u"Return"_s);
    EXPECT_EQ(startedWith(), asItsEntrySays);
}

TEST_F(PanelPlacementTest, isExactAtEveryScale) {
    setTwoMonitors();
    movePointer({2000, 500});
    for (const qreal scale : {1.25, 1.5, 2.0}) {
        QProcessEnvironment environment;
        environment.insert(u"QT_SCALE_FACTOR"_s, QString::number(scale));
        launch({}, environment);
        const QRect expected = expectedIn(rightScreen, scale);
        const QRect actual = panelGeometry();
        EXPECT_EQ(actual.size(), expected.size()) << scale;
        // Positions are whole device-independent pixels.
        EXPECT_LE((actual.topLeft() - expected.topLeft()).manhattanLength(), 2 * scale) << scale;
        program.terminate();
        program.waitForFinished();
    }
}
