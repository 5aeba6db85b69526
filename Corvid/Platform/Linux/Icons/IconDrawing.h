#pragma once

#include <QImage>

namespace corvid {

/** Our own stand-ins for where the desktop has no icon: an application's, and a folder's. Square,
    `pixels` wide, transparent around the shape. Any thread; needs no screen. */
QImage drawApplicationIcon(int pixels);
QImage drawFolderIcon(int pixels);

} // namespace corvid
