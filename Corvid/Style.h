#pragma once

#include <QColor>

/** The panel's look: device-independent pixels, and the dark appearance's colours. */
namespace corvid::style {

inline constexpr int panelWidth = 660;
inline constexpr int panelHeight = 440;
inline constexpr qreal cardRadius = 16;
inline constexpr qreal outlineTopOpacity = 0.22;
inline constexpr qreal outlineBottomOpacity = 0.04;

inline constexpr int barPaddingX = 18;
inline constexpr int searchPaddingY = 14;
inline constexpr int searchFieldHeight = 34;
inline constexpr int searchFontSize = 21;
inline constexpr int searchSymbolSize = 18;
inline constexpr int searchSymbolGap = 13;

inline constexpr int listInset = 8;
inline constexpr int rowHeight = 46;
inline constexpr int rowPaddingX = 14;
inline constexpr qreal rowRadius = 10;
inline constexpr int rowIconSize = 26;
inline constexpr int iconToText = 12;
inline constexpr int titleFontSize = 14;
inline constexpr int titleLineHeight = 18;
inline constexpr int subtitleFontSize = 11;
inline constexpr int subtitleLineHeight = 14;
inline constexpr int badgeFontSize = 10;
inline constexpr int badgePaddingX = 7;
inline constexpr int badgePaddingY = 3;
inline constexpr qreal badgeRadius = 6;
inline constexpr int runningDotSize = 7;
inline constexpr int scrollMilliseconds = 80;

inline constexpr int footerFontSize = 11;
inline constexpr int footerPaddingY = 8;

inline QColor white(qreal opacity) {
    return QColor::fromRgbF(1, 1, 1, static_cast<float>(opacity));
}

inline QColor primary() {
    return white(0.92);
}
inline QColor secondary() {
    return white(0.55);
}
inline QColor tertiary() {
    return white(0.42);
}
inline QColor quaternary() {
    return white(0.10);
}
inline QColor divider() {
    return white(0.10);
}
inline QColor selectedSecondary() {
    return white(0.85);
}
inline QColor runningDot() {
    return {0x32, 0xD7, 0x4B};
}
/** The card under a compositor that blurs, under one that does not, and without any. */
inline QColor blurredCard() {
    return QColor::fromRgbF(30 / 255.0F, 31 / 255.0F, 36 / 255.0F, 0.82F);
}
inline QColor card() {
    return QColor::fromRgbF(30 / 255.0F, 31 / 255.0F, 36 / 255.0F, 0.94F);
}
inline QColor opaqueCard() {
    return {30, 31, 36};
}
inline QColor accent() {
    return {0x0A, 0x84, 0xFF};
}
inline constexpr qreal selectionOpacity = 0.85;

} // namespace corvid::style
