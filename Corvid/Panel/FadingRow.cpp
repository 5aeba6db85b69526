#include "Panel/FadingRow.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPixmap>

#include <algorithm>

namespace corvid {

// On a picture of its own first: what lies behind the row must not fade with it.
void paintFading(QPainter &painter, const QRect &row, const QRect &shown,
                 const std::function<void(QPainter &)> &paintRow) {
    constexpr int longestFade = 28;
    const qreal scale = painter.device()->devicePixelRatioF();
    QPixmap picture((QSizeF(row.size()) * scale).toSize());
    picture.setDevicePixelRatio(scale);
    picture.fill(Qt::transparent);
    QPainter to(&picture);
    to.setLayoutDirection(painter.layoutDirection());
    to.translate(-row.topLeft());
    to.save();
    paintRow(to);
    to.restore();
    to.setCompositionMode(QPainter::CompositionMode_DestinationIn);
    const int length = std::min(row.intersected(shown).height(), longestFade);
    const auto fade = [&](int end, int inward) {
        QLinearGradient gradient(0, end, 0, end + inward);
        gradient.setColorAt(0, Qt::transparent);
        gradient.setColorAt(1, Qt::black);
        to.fillRect(QRect(QPoint(row.left(), std::min(end, end + inward)),
                          QSize(row.width(), std::abs(inward))),
                    gradient);
    };
    if (row.top() < shown.top())
        fade(shown.top(), length);
    if (row.bottom() > shown.bottom())
        fade(shown.bottom() + 1, -length);
    to.end();
    painter.drawPixmap(row.topLeft(), picture);
}

} // namespace corvid
