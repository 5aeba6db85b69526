#pragma once

#include <QFont>

namespace corvid {

/** Has the letters, digits and marks of names and paths ready in a font, for a screen of that
    scale: what a font draws for the first time takes as long as a row, and the first letter that is
    typed would wait for all of its rows. Main thread only. */
void loadLetters(const QFont &font, qreal scale);

} // namespace corvid
