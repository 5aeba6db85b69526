#include "Panel/Style.h"

#include <QApplication>
#include <QPalette>
#include <QStyle>

#include <cmath>

namespace corvid::style {

namespace {

constexpr qreal leastContrast = 3; // of text that is not small, to its ground

Appearance &stored() {
    static Appearance appearance;
    return appearance;
}

qreal linear(qreal channel) {
    return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

qreal contrastToWhite(const QColor &colour) {
    const qreal luminance = 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
                            0.0722 * linear(colour.blueF());
    return 1.05 / (luminance + 0.05);
}

QColor desktopAccent() {
    if (appearance().accent)
        return QColor::fromRgb(*appearance().accent);
    // The style's own highlight is no choice of the desktop's.
    const QColor highlight = QApplication::palette().color(QPalette::Active, QPalette::Highlight);
    if (highlight !=
        QApplication::style()->standardPalette().color(QPalette::Active, QPalette::Highlight))
        return highlight;
    return {0x0A, 0x84, 0xFF};
}

} // namespace

const Appearance &appearance() {
    return stored();
}

void setAppearance(const Appearance &appearance) {
    stored() = appearance;
}

QFont font() {
    QFont font = QApplication::font();
    if (!appearance().fontFamily.isEmpty())
        font.setFamily(appearance().fontFamily);
    return font;
}

QFont sized(QFont font, int pixels, std::optional<QFont::Weight> weight) {
    font.setPixelSize(pixels);
    if (weight)
        font.setWeight(*weight);
    return font;
}

QColor secondary() {
    return appearance().highContrast ? primary() : white(0.55);
}

QColor tertiary() {
    return appearance().highContrast ? primary() : white(0.42);
}

QColor accent() {
    QColor colour = desktopAccent();
    while (contrastToWhite(colour) < leastContrast)
        colour = colour.darker(105);
    return colour;
}

} // namespace corvid::style
