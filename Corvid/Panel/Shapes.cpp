#include "Panel/Shapes.h"

#include <algorithm>
#include <array>

namespace corvid {

namespace {

// One corner in units of its radius, from the edge that runs into it to the edge that leaves it;
// the corner itself stands at 0,0, x along the first edge (backwards), y along the second. Three
// cubic curves: a gentle start, the round, and the start mirrored.
constexpr qreal reach = 1.52866483;
struct Curve {
    QPointF control1, control2, end;
};
const std::array<Curve, 3> corner = {{
    {{1.08849296, 0}, {0.86840694, 0}, {0.63149379, 0.07491139}},
    {{0.37282383, 0.16905956}, {0.16905956, 0.37282383}, {0.07491139, 0.63149379}},
    {{0, 0.86840694}, {0, 1.08849296}, {0, reach}},
}};

} // namespace

QPainterPath continuousRoundedRect(const QRectF &rect, qreal radius) {
    QPainterPath path;
    const qreal shorter = std::min(rect.width(), rect.height());
    if (shorter < 2 * reach * radius) {
        path.addRoundedRect(rect, std::min(radius, shorter / 2), std::min(radius, shorter / 2));
        return path;
    }
    // Clockwise from the top right corner on.
    const auto turn = [&](const QPointF &at, const QPointF &alongFirst,
                          const QPointF &alongSecond) {
        const auto place = [&](const QPointF &point) {
            return at + radius * (point.x() * alongFirst + point.y() * alongSecond);
        };
        const QPointF start = place({reach, 0});
        if (path.elementCount() == 0)
            path.moveTo(start);
        else
            path.lineTo(start);
        for (const Curve &curve : corner)
            path.cubicTo(place(curve.control1), place(curve.control2), place(curve.end));
    };
    const QPointF left(-1, 0);
    const QPointF right(1, 0);
    const QPointF up(0, -1);
    const QPointF down(0, 1);
    turn(rect.topRight(), left, down);
    turn(rect.bottomRight(), up, left);
    turn(rect.bottomLeft(), right, up);
    turn(rect.topLeft(), down, right);
    path.closeSubpath();
    return path;
}

} // namespace corvid
