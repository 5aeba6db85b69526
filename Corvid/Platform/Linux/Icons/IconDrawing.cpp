#include "Platform/Linux/Icons/IconDrawing.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>

namespace corvid {

namespace {

constexpr qreal grid = 32; // the drawings' own coordinates

QImage drawOnGrid(int pixels, const std::function<void(QPainter &)> &draw) {
    return drawSquare(pixels, [&](QPainter &painter) {
        painter.setRenderHint(QPainter::Antialiasing);
        painter.scale(pixels / grid, pixels / grid);
        painter.setPen(Qt::NoPen);
        draw(painter);
    });
}

QLinearGradient downwards(const QRectF &area, const QColor &top, const QColor &bottom) {
    QLinearGradient gradient(area.topLeft(), area.bottomLeft());
    gradient.setColorAt(0, top);
    gradient.setColorAt(1, bottom);
    return gradient;
}

} // namespace

QImage drawSquare(int pixels, const std::function<void(QPainter &)> &draw) {
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    draw(painter);
    return image;
}

QImage drawApplicationIcon(int pixels) {
    return drawOnGrid(pixels, [](QPainter &painter) {
        const QRectF square(2, 2, 28, 28);
        painter.setBrush(downwards(square, QColor(0x9a, 0xab, 0xc4), QColor(0x5b, 0x6b, 0x86)));
        painter.drawRoundedRect(square, 7, 7);

        // A line of light along the edge keeps the shape clear of a dark card.
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(QColor(255, 255, 255, 56), 1));
        painter.drawRoundedRect(square.adjusted(0.5, 0.5, -0.5, -0.5), 6.5, 6.5);

        const QRectF window(8.5, 10, 15, 12.5);
        QPen stroke(QColor(255, 255, 255, 224), 1.6);
        stroke.setJoinStyle(Qt::RoundJoin);
        stroke.setCapStyle(Qt::RoundCap);
        painter.setPen(stroke);
        painter.drawRoundedRect(window, 2.5, 2.5);
        painter.drawLine(QPointF(window.left(), 14), QPointF(window.right(), 14));
    });
}

QImage drawFolderIcon(int pixels) {
    return drawOnGrid(pixels, [](QPainter &painter) {
        QPainterPath back;
        back.addRoundedRect(QRectF(3, 6, 13, 10), 2.5, 2.5);
        back.addRoundedRect(QRectF(3, 8.5, 26, 16), 2.5, 2.5);
        back.setFillRule(Qt::WindingFill);
        painter.setBrush(QColor(0x4f, 0x7d, 0xb5));
        painter.drawPath(back);

        const QRectF front(3, 11.5, 26, 15);
        painter.setBrush(downwards(front, QColor(0x8c, 0xb8, 0xea), QColor(0x63, 0x95, 0xcf)));
        painter.drawRoundedRect(front, 2.5, 2.5);

        painter.setBrush(QColor(255, 255, 255, 70));
        painter.drawRoundedRect(QRectF(4.5, 11.9, 23, 0.9), 0.45, 0.45);
    });
}

} // namespace corvid
