#include "LauncherPanel.h"

#include "Fakes/FakePanelSurface.h"
#include "Fakes/LauncherWorld.h"
#include "Panel/Style.h"
#include "Worlds/Wait.h"

#include <QApplication>
#include <QDialog>
#include <QMouseEvent>

#include <gtest/gtest.h>

using namespace corvid;

namespace {

/** How often a widget was asked to paint itself since this was made. */
class PaintCount final : public QObject {
public:
    explicit PaintCount(QWidget &widget) { widget.installEventFilter(this); }
    bool eventFilter(QObject * /*object*/, QEvent *event) override {
        count += event->type() == QEvent::Paint ? 1 : 0;
        return false;
    }

    int count = 0;
};

class LauncherPanelTest : public ::testing::Test {
protected:
    LauncherPanelTest() {
        panel.onResignKey = [this] { ++resigned; };
        panel.present(0);
        EXPECT_TRUE(waitUntil([this] { return panel.isActiveWindow(); }));
    }

    void activateAnotherWindow() {
        other.show();
        other.activateWindow();
        EXPECT_TRUE(waitUntil([this] { return other.isActiveWindow(); }));
    }
    // Between the card's edge and what stands on it.
    QColor paintedCard() { return panel.grab().toImage().pixelColor(panel.width() / 2, 4); }

    LauncherWorld world{{}, {}};
    FakePanelSurface surface;
    LauncherPanel panel{world.model, surface};
    QWidget other;
    int resigned = 0;
};

} // namespace

TEST_F(LauncherPanelTest, losingTheKeyboardIsTold) {
    activateAnotherWindow();
    EXPECT_EQ(resigned, 1);
}

TEST_F(LauncherPanelTest, losingTheKeyboardToASheetOfItsOwnIsNot) {
    QDialog sheet(&panel);
    sheet.open();
    sheet.activateWindow();
    ASSERT_TRUE(waitUntil([&] { return sheet.isActiveWindow(); }));
    ASSERT_FALSE(panel.isActiveWindow());
    EXPECT_EQ(resigned, 0);
    sheet.close();
    panel.activateWindow();
    ASSERT_TRUE(waitUntil([this] { return panel.isActiveWindow(); }));
    activateAnotherWindow();
    EXPECT_EQ(resigned, 1) << "the sheet is gone";
}

TEST_F(LauncherPanelTest, lateWordOfAKeyboardThatItHasAgainIsNot) {
    surface.keyboard = true;
    activateAnotherWindow();
    ASSERT_FALSE(panel.isActiveWindow());
    EXPECT_EQ(resigned, 0);
}

TEST_F(LauncherPanelTest, nobodyWaitsWhileItsShadowIsDrawn) {
    ASSERT_TRUE(waitUntil([this] { return !surface.pictures.empty(); }));
    EXPECT_FALSE(surface.waitedForShadow);
    EXPECT_EQ(surface.pictures.front().size(), panel.size().grownBy(CardShadow::room()));
}

TEST_F(LauncherPanelTest, itsCardSuitsWhatIsBehindItAtEachShow) {
    const std::pair<PanelSurface::Behind, int> rows[]{
        {PanelSurface::Behind::Nothing, 255},
        {PanelSurface::Behind::Desktop, 255}, // else it would be read through the card
        {PanelSurface::Behind::BlurredDesktop, 209},
    };
    for (const auto &[behind, alpha] : rows) {
        panel.hide();
        surface.whatIsBehind = behind;
        panel.present(0);
        EXPECT_EQ(paintedCard().alpha(), alpha);
    }
}

TEST_F(LauncherPanelTest, whereNothingIsBehindItNoPixelOfItsCornersStaysUnpainted) {
    panel.hide();
    surface.whatIsBehind = PanelSurface::Behind::Nothing; // and the window system cuts them
    panel.present(0);
    const QImage painted = panel.grab().toImage();
    for (const QPoint &corner : {painted.rect().topLeft(), painted.rect().topRight(),
                                 painted.rect().bottomLeft(), painted.rect().bottomRight()})
        EXPECT_EQ(painted.pixelColor(corner).alpha(), 255);
}

TEST_F(LauncherPanelTest, whoWaitsForItToBePaintedIsToldOnceForEachTimeItIsPresented) {
    int painted = 0;
    panel.onPainted = [&] { ++painted; };
    panel.hide();
    panel.present(0);
    EXPECT_EQ(painted, 0) << "not before";
    EXPECT_TRUE(waitUntil([&] { return painted == 1; }));
    panel.present(0);
    EXPECT_TRUE(waitUntil([&] { return painted == 2; })) << "it was there before";
    panel.hide();
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(painted, 2);
}

TEST_F(LauncherPanelTest, isPaintedWhileTheWindowSystemIsStillBusyWithItsWindow) {
    const PaintCount paints(panel);
    panel.hide();
    surface.isSlow = true;
    panel.present(0);
    EXPECT_EQ(paints.count, 1);
    bool shown = false;
    panel.onPainted = [&] { shown = true; };
    EXPECT_TRUE(waitUntil([&] { return shown; }));
    EXPECT_EQ(paints.count, 1) << "and not again once it is seen";
}

TEST_F(LauncherPanelTest, theKeyboardIsAnticipatedOnceTheWindowIsShown) {
    EXPECT_EQ(surface.anticipatedVisibly, std::vector{true});
}

TEST_F(LauncherPanelTest, itsGroundCanBeDraggedAndWhatStandsOnItNot) {
    const auto mouse = [this](QEvent::Type type, const QPoint &place, const QPoint &toWhom) {
        QWidget *widget = panel.childAt(toWhom);
        const QPoint local = widget->mapFrom(&panel, place);
        QMouseEvent event(type, local, widget->mapToGlobal(local), Qt::LeftButton, Qt::LeftButton,
                          Qt::NoModifier);
        QApplication::sendEvent(widget, &event);
    };
    const auto drag = [&](const QPoint &from, const QPoint &to) {
        mouse(QEvent::MouseButtonPress, from, from);
        mouse(QEvent::MouseMove, to, from);
        mouse(QEvent::MouseButtonRelease, to, from);
        mouse(QEvent::MouseMove, to + QPoint(40, 0), from);
    };
    const QPoint footer(330, 425);
    drag(footer, footer + QPoint(2, 2));
    EXPECT_TRUE(surface.drags.empty()) << "a hand that shakes";
    drag(footer, footer + QPoint(30, -20));
    ASSERT_EQ(surface.drags.size(), 1U);
    EXPECT_EQ(surface.drags[0][0], footer);
    EXPECT_EQ(surface.drags[0][1], footer + QPoint(30, -20));
    EXPECT_EQ(surface.drags[0][2], panel.mapToGlobal(footer + QPoint(30, -20)));
    drag({330, 5}, {330, 60});
    EXPECT_EQ(surface.drags.size(), 2U) << "beside the field";
    drag({330, 30}, {400, 30});
    EXPECT_EQ(surface.drags.size(), 2U) << "the field marks its text";
    drag({330, 200}, {330, 300});
    EXPECT_EQ(surface.drags.size(), 3U) << "where no row is";
}
