#include "LauncherPanel.h"

#include "Fakes/FakePanelSurface.h"
#include "Fakes/LauncherWorld.h"
#include "Panel/Style.h"
#include "Worlds/Wait.h"

#include <QApplication>
#include <QDialog>

#include <gtest/gtest.h>

using namespace corvid;

namespace {

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

TEST_F(LauncherPanelTest, itsCardSuitsWhatIsBehindItAtEachShow) {
    const std::pair<PanelSurface::Behind, int> rows[]{
        {PanelSurface::Behind::Nothing, 255},
        {PanelSurface::Behind::Desktop, 240},
        {PanelSurface::Behind::BlurredDesktop, 209},
    };
    for (const auto &[behind, alpha] : rows) {
        panel.hide();
        surface.whatIsBehind = behind;
        panel.present(0);
        EXPECT_EQ(paintedCard().alpha(), alpha);
        EXPECT_EQ(panel.mask().isEmpty(), behind != PanelSurface::Behind::Nothing);
    }
}
