#include "Panel/CardShadow.h"

#include "Panel/Shapes.h"

#include <QPainter>

#include <algorithm>
#include <vector>

namespace corvid {

namespace {

struct Layer {
    int drop;       ///< how far below the card
    int blur;       ///< how far it fades out beyond the card's edge
    qreal opacity;  ///< of the black
    int coarseness; ///< pixels that it is blurred as one: what is so soft needs no more
};
constexpr Layer layers[]{{24, 60, 0.45, 4}, {2, 8, 0.30, 1}};

// Three boxes in a row are as good as a bell curve.
void blurLine(uchar *line, int count, int stride, int radius) {
    std::vector<int> sums(static_cast<std::size_t>(count) + 1); // of all pixels before each
    const auto sumBefore = [&](int i) {
        return sums[static_cast<std::size_t>(std::clamp(i, 0, count))];
    };
    const int width = 2 * radius + 1;
    for (int pass = 0; pass < 3; ++pass) {
        for (int i = 0; i < count; ++i)
            sums[static_cast<std::size_t>(i) + 1] = sumBefore(i) + line[i * stride];
        for (int i = 0; i < count; ++i) {
            const int sum = sumBefore(i + radius + 1) - sumBefore(i - radius);
            line[i * stride] = static_cast<uchar>((sum + radius) / width);
        }
    }
}

void blur(QImage &alpha, int radius) {
    uchar *pixels = alpha.bits();
    const int stride = static_cast<int>(alpha.bytesPerLine());
    for (int y = 0; y < alpha.height(); ++y)
        blurLine(pixels + y * stride, alpha.width(), 1, radius);
    for (int x = 0; x < alpha.width(); ++x)
        blurLine(pixels + x, alpha.height(), stride, radius);
}

QImage rendered(const Layer &layer, const QSize &whole, const QRect &card, qreal radius) {
    QImage image((whole + QSize(layer.coarseness - 1, layer.coarseness - 1)) / layer.coarseness,
                 QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(1.0 / layer.coarseness, 1.0 / layer.coarseness);
    painter.fillPath(continuousRoundedRect(QRectF(card.translated(0, layer.drop)), radius),
                     QColor::fromRgbF(0, 0, 0, static_cast<float>(layer.opacity)));
    painter.end();
    QImage alpha = image.convertToFormat(QImage::Format_Alpha8);
    // Three boxes reach three times their radius.
    blur(alpha, layer.blur / layer.coarseness / 3);
    return alpha;
}

} // namespace

QMargins CardShadow::room() {
    QMargins room;
    for (const Layer &layer : layers)
        room = room |
               QMargins(layer.blur, layer.blur - layer.drop, layer.blur, layer.blur + layer.drop);
    return room;
}

QImage CardShadow::picture(const QSize &card, qreal radius, qreal scale) {
    const QRect inside({room().left(), room().top()}, card);
    const QSize whole = card.grownBy(room());
    QImage image((QSizeF(whole) * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    QPainter canvas(&image);
    canvas.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    for (const Layer &layer : layers) {
        const QImage shadow = rendered(layer, whole, inside, radius);
        canvas.drawImage(QRect(QPoint(), shadow.size() * layer.coarseness), shadow);
    }
    canvas.setCompositionMode(QPainter::CompositionMode_DestinationOut);
    canvas.fillPath(continuousRoundedRect(QRectF(inside), radius), Qt::black);
    return image;
}

void CardShadow::draw(QPainter &painter, const QRect &card, qreal radius) {
    const qreal scale = painter.device()->devicePixelRatio();
    if (card_ != card.size() || image_.devicePixelRatio() != scale) {
        image_ = picture(card.size(), radius, scale).convertToFormat(QImage::Format_Alpha8);
        card_ = card.size();
    }
    painter.drawImage(card.marginsAdded(room()).topLeft(), image_);
}

} // namespace corvid
