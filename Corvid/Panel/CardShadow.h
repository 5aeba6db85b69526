#pragma once

#include <QImage>
#include <QMargins>
#include <QRect>

class QPainter;

namespace corvid {

/** The shadow that the card casts, for where no compositor casts one. Main thread only, but for
   what is static. */
class CardShadow {
public:
    /** How far it reaches beyond the card, in device-independent pixels. */
    static QMargins room();

    /** What it looks like around a card of this size, with that room on each side, but not under
        it: a translucent card would be darkened. The size and the corners' radius are in
        device-independent pixels, of which `scale` tells the size. */
    static QImage picture(const QSize &card, qreal radius, qreal scale);

    /** Draws it around the card at this place, in device-independent pixels. */
    void draw(QPainter &painter, const QRect &card, qreal radius);

private:
    QImage image_; ///< of what was drawn last, its alpha alone; null before
    QSize card_;
};

} // namespace corvid
