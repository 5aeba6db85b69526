#pragma once

#include <QRect>

#include <functional>

class QPainter;

namespace corvid {

/** Paints a row that is only partly within `shown`, fading towards the end that cuts it. `paintRow`
    paints it as a whole, in the same coordinates, on what it is given. */
void paintFading(QPainter &painter, const QRect &row, const QRect &shown,
                 const std::function<void(QPainter &)> &paintRow);

} // namespace corvid
