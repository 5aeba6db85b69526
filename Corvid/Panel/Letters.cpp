#include "Panel/Letters.h"

#include <QImage>
#include <QPainter>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

void loadLetters(const QFont &font, qreal scale) {
    constexpr int height = 32;
    QImage scratch(QSize(1, height) * scale, QImage::Format_ARGB32_Premultiplied);
    scratch.setDevicePixelRatio(scale);
    QPainter painter(&scratch);
    painter.setFont(font);
    // One at a time, where each is drawn: what lies beside the picture is not.
    const QString letters =
        u"abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.-_/~·"_s;
    for (const QChar letter : letters)
        painter.drawText(QPointF(0, height / 2.0), letter);
}

} // namespace corvid
