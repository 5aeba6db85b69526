#include "Panel/Shapes.h"

#include "Panel/Style.h"

#include <QLinearGradient>
#include <QPainter>

#include <algorithm>
#include <array>

namespace corvid {

namespace {

// One corner in units of its radius, from the edge that runs into it to the edge that leaves it.
// The corner itself is at 0,0; x runs back along the first edge, y on along the second. Three cubic
// curves: a gentle start, the round, and the start mirrored.
constexpr qreal reach = 1.52866483;
struct Curve {
    QPointF control1, control2, end;
};
const std::array<Curve, 3> corner = {{
    {{1.08849296, 0}, {0.86840694, 0}, {0.63149379, 0.07491139}},
    {{0.37282383, 0.16905956}, {0.16905956, 0.37282383}, {0.07491139, 0.63149379}},
    {{0, 0.86840694}, {0, 1.08849296}, {0, reach}},
}};

QColor cardOver(PanelSurface::Behind behind) {
    // What is not blurred would be read through the card, however faint it were.
    return style::faded({30, 31, 36}, behind == PanelSurface::Behind::BlurredDesktop ? 0.82 : 1);
}

} // namespace

QPainterPath continuousRoundedRect(const QRectF &rect, qreal radius) {
    QPainterPath path;
    const qreal shorter = std::min(rect.width(), rect.height());
    if (shorter < 2 * reach * radius) {
        path.addRoundedRect(rect, std::min(radius, shorter / 2), std::min(radius, shorter / 2));
        return path;
    }
    // Clockwise from the top right corner on.
    path.moveTo(rect.topRight() - QPointF(radius * reach, 0));
    const auto turn = [&](const QPointF &at, const QPointF &back) {
        const QPointF on(back.y(), -back.x());
        const auto place = [&](const QPointF &point) {
            return at + radius * (point.x() * back + point.y() * on);
        };
        path.lineTo(place({reach, 0}));
        for (const Curve &curve : corner)
            path.cubicTo(place(curve.control1), place(curve.control2), place(curve.end));
    };
    turn(rect.topRight(), {-1, 0});
    turn(rect.bottomRight(), {0, -1});
    turn(rect.bottomLeft(), {1, 0});
    turn(rect.topLeft(), {0, 1});
    path.closeSubpath();
    return path;
}

void paintCard(QPainter &painter, const QRect &card, PanelSurface::Behind behind) {
    if (behind == PanelSurface::Behind::Nothing)
        // The window system cuts the corners; what is not painted is black.
        painter.fillRect(card, cardOver(behind));
    painter.setRenderHint(QPainter::Antialiasing);
    if (behind != PanelSurface::Behind::Nothing)
        painter.fillPath(continuousRoundedRect(card, style::cardRadius), cardOver(behind));

    QLinearGradient outline(0, 0, 0, card.height());
    outline.setColorAt(0, style::white(0.22));
    outline.setColorAt(1, style::white(0.04));
    painter.setPen(QPen(outline, 1));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(continuousRoundedRect(QRectF(card).adjusted(0.5, 0.5, -0.5, -0.5),
                                           style::cardRadius - 0.5));
}

} // namespace corvid
