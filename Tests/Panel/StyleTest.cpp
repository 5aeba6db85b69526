#include "Panel/Style.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QPalette>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

struct StyleTest : ::testing::Test {
    ~StyleTest() override {
        style::setAppearance({});
        QApplication::setPalette(QPalette());
    }
    static void setAccent(quint32 colour) {
        Appearance appearance;
        appearance.accent = colour;
        style::setAppearance(appearance);
    }
};

} // namespace

TEST_F(StyleTest, withoutAnyChoiceTheAccentIsBlue) {
    EXPECT_EQ(style::accent(), QColor(0x0A, 0x84, 0xFF));
}

TEST_F(StyleTest, theDesktopsHighlightIsTheAccentWhereItNamesNone) {
    QPalette palette;
    palette.setColor(QPalette::Highlight, QColor(0x80, 0x20, 0x60));
    QApplication::setPalette(palette);
    EXPECT_EQ(style::accent(), QColor(0x80, 0x20, 0x60));
}

TEST_F(StyleTest, theDesktopsAccentGoesBeforeItsHighlight) {
    QPalette palette;
    palette.setColor(QPalette::Highlight, QColor(0x80, 0x20, 0x60));
    QApplication::setPalette(palette);
    setAccent(0x205080);
    EXPECT_EQ(style::accent(), QColor(0x20, 0x50, 0x80));
}

TEST_F(StyleTest, aWindowHasThePanelsAccentWhereTheDesktopNamesNone) {
    for (const ColorScheme scheme : {ColorScheme::Light, ColorScheme::Dark}) {
        Appearance appearance;
        appearance.colorScheme = scheme;
        style::setAppearance(appearance);
        const QPalette palette = style::windowPalette(QApplication::palette());
        EXPECT_EQ(palette.color(QPalette::Highlight), style::accent());
        EXPECT_EQ(palette.color(QPalette::HighlightedText), QColor(Qt::white));
    }
}

TEST_F(StyleTest, aWindowKeepsTheHighlightThatTheDesktopNames) {
    QPalette desktop;
    desktop.setColor(QPalette::Highlight, QColor(0xFF, 0xE0, 0x80));
    desktop.setColor(QPalette::HighlightedText, Qt::black);
    QApplication::setPalette(desktop);
    const QPalette palette = style::windowPalette(QApplication::palette());
    EXPECT_EQ(palette.color(QPalette::Highlight), QColor(0xFF, 0xE0, 0x80));
    EXPECT_EQ(palette.color(QPalette::HighlightedText), QColor(Qt::black));
}

TEST_F(StyleTest, whiteTextStaysReadableOnABrightAccent) {
    for (const quint32 bright : {0xFFFF00U, 0xFFFFFFU, 0x00FF80U}) {
        setAccent(bright);
        EXPECT_LT(style::accent().lightnessF(), 0.6) << std::hex << bright;
        EXPECT_NE(style::accent(), QColor::fromRgb(bright));
    }
}

TEST_F(StyleTest, highContrastRaisesSecondaryAndTertiaryToPrimary) {
    EXPECT_EQ(style::secondary(), style::white(0.55));
    EXPECT_EQ(style::tertiary(), style::white(0.42));
    Appearance appearance;
    appearance.highContrast = true;
    style::setAppearance(appearance);
    EXPECT_EQ(style::secondary(), style::primary());
    EXPECT_EQ(style::tertiary(), style::primary());
}

TEST_F(StyleTest, theDesktopsFontGoesBeforeQts) {
    EXPECT_EQ(style::font().family(), QApplication::font().family());
    Appearance appearance;
    appearance.fontFamily = u"DejaVu Serif"_s;
    style::setAppearance(appearance);
    EXPECT_EQ(style::font().family(), u"DejaVu Serif");
}
