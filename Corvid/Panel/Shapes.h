#pragma once

#include "Platform/PanelSurface.h"

#include <QPainterPath>

class QPainter;

namespace corvid {

/** A rounded rectangle whose straight edges flow into its corners without a sudden change of
    curvature. Where the sides are too short for that the corners are circular. Device-independent
    pixels. */
QPainterPath continuousRoundedRect(const QRectF &rect, qreal radius);

/** Paints the panel's card, which lets through what lies behind it only where that is blurred. */
void paintCard(QPainter &painter, const QRect &card, PanelSurface::Behind behind);

} // namespace corvid
