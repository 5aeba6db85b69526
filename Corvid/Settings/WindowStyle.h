#pragma once

#include <QPalette>

/** The look of ordinary windows, which follow the desktop where the panel is always dark. */
namespace corvid::style {

/** The colours of a window on a desktop whose programs have these ones: dark where the user wants
    that and they are not, with the user's accent colour. By appearance(). */
QPalette windowPalette(const QPalette &desktop);

bool isDark(const QPalette &palette);

/** A surface that stands out from the window's ground a little. */
QColor raised(const QPalette &palette);

/** A line that parts things on it. */
QColor hairline(const QPalette &palette);

} // namespace corvid::style
