#pragma once

#include <QByteArray>
#include <QImage>

namespace corvid {

/**
 * Draws the bytes of a file as a square with transparent margins, `edge` pixels wide. Null where
 * they are no picture in a format of icons, or one that shows nothing.
 *
 * Lets Qt's decoders loose on foreign bytes: these can take any time and memory, end the process,
 * and open other files. For the process that is made for this alone, see PictureHelper.
 */
QImage drawPicture(QByteArray bytes, bool isDrawing, int edge);

/** Loads every decoder that drawPicture() uses, which later may be impossible. */
void loadDecoders();

} // namespace corvid
