#pragma once

#include <QPainterPath>
#include <QRegion>

namespace corvid {

/** The pixels of a rectangle with round corners, for window systems, which know rectangles only. */
inline QRegion roundedRegion(const QRectF &rectangle, qreal radius) {
    QPainterPath outline;
    outline.addRoundedRect(rectangle, radius, radius);
    return {outline.toFillPolygon().toPolygon()};
}

} // namespace corvid
