#include "Panel/Style.h"

#include <QApplication>
#include <QPalette>
#include <QStyle>

#include <cmath>

namespace corvid::style {

namespace {

constexpr qreal leastContrast = 3; // of text that is not small, to its ground

constinit Appearance stored;

qreal linear(qreal channel) {
    return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

qreal contrastToWhite(const QColor &colour) {
    const qreal luminance = 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
                            0.0722 * linear(colour.blueF());
    return 1.05 / (luminance + 0.05);
}

QColor highlightOf(const QPalette &palette) {
    return palette.color(QPalette::Active, QPalette::Highlight);
}

/** The style's own highlight is no choice of the desktop's. */
bool choosesHighlight(const QPalette &desktop) {
    return highlightOf(desktop) != highlightOf(QApplication::style()->standardPalette());
}

QColor desktopAccent() {
    if (appearance().accent)
        return QColor::fromRgb(*appearance().accent);
    const QPalette desktop = QApplication::palette();
    if (choosesHighlight(desktop))
        return highlightOf(desktop);
    return {0x0A, 0x84, 0xFF};
}

QColor mixed(const QColor &below, const QColor &above, float share) {
    return QColor::fromRgbF(std::lerp(below.redF(), above.redF(), share),
                            std::lerp(below.greenF(), above.greenF(), share),
                            std::lerp(below.blueF(), above.blueF(), share));
}

QPalette darkPalette() {
    const QColor window(0x24, 0x25, 0x2A);
    const QColor text(0xEC, 0xEC, 0xEE);
    const QColor faint = mixed(window, text, 0.4F);
    QPalette palette(text, QColor(0x3A, 0x3B, 0x42), QColor(0x55, 0x57, 0x60),
                     QColor(0x14, 0x15, 0x18), QColor(0x2B, 0x2C, 0x32), text, text,
                     QColor(0x1B, 0x1C, 0x20), window);
    palette.setColor(QPalette::Midlight, QColor(0x46, 0x48, 0x50));
    palette.setColor(QPalette::AlternateBase, QColor(0x20, 0x21, 0x26));
    palette.setColor(QPalette::ToolTipBase, QColor(0x3A, 0x3B, 0x42));
    palette.setColor(QPalette::ToolTipText, text);
    palette.setColor(QPalette::PlaceholderText, mixed(window, text, 0.62F));
    palette.setColor(QPalette::Link, QColor(0x6C, 0xB0, 0xFF));
    for (const QPalette::ColorRole role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::PlaceholderText})
        palette.setColor(QPalette::Disabled, role, faint);
    return palette;
}

} // namespace

const Appearance &appearance() {
    return stored;
}

void setAppearance(const Appearance &appearance) {
    stored = appearance;
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

QPalette panelPalette() {
    QPalette colours;
    colours.setColor(QPalette::Base, Qt::transparent);
    colours.setColor(QPalette::Text, primary());
    colours.setColor(QPalette::PlaceholderText, tertiary());
    colours.setColor(QPalette::WindowText, tertiary()); // of the footer
    colours.setColor(QPalette::Mid, divider());
    colours.setColor(QPalette::Highlight, accent());
    colours.setColor(QPalette::HighlightedText, Qt::white);
    return colours;
}

QPalette windowPalette(const QPalette &desktop) {
    const bool darken = appearance().colorScheme == ColorScheme::Dark && !isDark(desktop);
    QPalette palette = darken ? darkPalette() : desktop;
    if (darken || appearance().accent || !choosesHighlight(desktop)) {
        palette.setColor(QPalette::Highlight, accent());
        palette.setColor(QPalette::HighlightedText, Qt::white);
    }
    if (appearance().highContrast)
        palette.setColor(QPalette::PlaceholderText, palette.color(QPalette::WindowText));
    return palette;
}

bool isDark(const QPalette &palette) {
    return palette.color(QPalette::Window).lightness() <
           palette.color(QPalette::WindowText).lightness();
}

QColor raised(const QPalette &palette) {
    const QColor window = palette.color(QPalette::Window);
    return isDark(palette) ? mixed(window, palette.color(QPalette::WindowText), 0.05F)
                           : mixed(window, Qt::white, 0.65F);
}

QColor hairline(const QPalette &palette) {
    return mixed(raised(palette), palette.color(QPalette::WindowText), 0.12F);
}

} // namespace corvid::style
