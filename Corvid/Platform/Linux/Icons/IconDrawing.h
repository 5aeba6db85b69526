#pragma once

#include <QImage>

#include <functional>

class QPainter;

namespace corvid {

/** What `draw` paints on a transparent square, `pixels` wide. Any thread. */
QImage drawSquare(int pixels, const std::function<void(QPainter &)> &draw);

/** Our own stand-ins for where the desktop has no icon: an application's, and a folder's. Square,
    `pixels` wide, transparent around the shape. Any thread; needs no screen. */
QImage drawApplicationIcon(int pixels);
QImage drawFolderIcon(int pixels);

} // namespace corvid
