#pragma once

#include "Platform/Appearance.h"

#include <QColor>
#include <QFont>
#include <QPalette>

#include <chrono>
#include <optional>

/** The look of the panel, which is always dark, and of ordinary windows, which follow the desktop.
    Device-independent pixels. Main thread only. */
namespace corvid::style {

inline constexpr int panelWidth = 660;
inline constexpr int panelHeight = 440;
inline constexpr qreal cardRadius = 16;

inline constexpr int barPaddingX = 18;
inline constexpr int searchPaddingY = 14;
inline constexpr int searchSymbolSize = 18;

inline constexpr int listInset = 8;
inline constexpr int rowHeight = 46;
inline constexpr int rowPaddingX = 14;
inline constexpr int rowIconSize = 26;
inline constexpr int iconToText = 12;
inline constexpr int titleFontSize = 14;
inline constexpr int titleLineHeight = 18;
inline constexpr int subtitleLineHeight = 14;

inline constexpr int stripPaddingY = 6;

inline constexpr int answerPadding = 18;
inline constexpr int answerSpacing = 8;
inline constexpr int answerFontSize = 14;
inline constexpr int copySymbolSize = 18;
/** How long the tick shows that says that something was copied. */
inline constexpr std::chrono::milliseconds copiedFor{1200};

inline constexpr int footerPaddingY = 8;

inline QColor faded(QColor colour, qreal opacity) {
    colour.setAlphaF(static_cast<float>(opacity));
    return colour;
}
inline QColor white(qreal opacity) {
    return faded(Qt::white, opacity);
}

/** What the functions below go by. Widgets that keep a colour or a font take it anew after a
    change. */
const Appearance &appearance();
void setAppearance(const Appearance &appearance);

/** The user interface's font. */
QFont font();

/** A font at another size, in pixels, and where one is given at another weight. A widget that is
    given a QFont() of another size takes the rest from its parent's font. */
QFont sized(QFont font, int pixels, std::optional<QFont::Weight> weight = {});

inline QColor primary() {
    return white(0.92);
}
/** Steps back; in high contrast it does not. */
QColor secondary();
QColor tertiary();
/** Of dividers and badges. */
inline QColor divider() {
    return white(0.10);
}
/** Behind code in an answer. */
inline QColor codeField() {
    return white(0.07);
}
inline QColor link() {
    return {0x6C, 0xB0, 0xFF};
}
/** The desktop's accent colour, darkened where white text could not be read on it. */
QColor accent();

/** The colours of the panel's widgets. */
QPalette panelPalette();
/** The colours of a window on a desktop whose programs have these ones: dark where the user wants
    that and they are not, with the user's accent colour, and with the panel's where the desktop has
    none. */
QPalette windowPalette(const QPalette &desktop);
bool isDark(const QPalette &palette);
/** A surface that stands out from the window's ground a little, and a line that parts things on it.
 */
QColor raised(const QPalette &palette);
QColor hairline(const QPalette &palette);

} // namespace corvid::style
