#pragma once

#include <QPainterPath>

namespace corvid {

/** A rounded rectangle whose straight edges flow into its corners without a sudden change of
    curvature. Where the sides are too short for that the corners are circular. Device-independent
    pixels. */
QPainterPath continuousRoundedRect(const QRectF &rect, qreal radius);

} // namespace corvid
