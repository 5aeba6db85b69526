#pragma once

#include <QImage>
#include <QMargins>
#include <QRect>

class QPainter;

namespace corvid {

/** The shadow that the card casts, for where no compositor casts one. Main thread only. */
class CardShadow {
public:
    /** How far it reaches beyond the card, in device-independent pixels. */
    static QMargins room();

    /** Draws it around the card but not under it: a translucent card would be darkened. The place
        and the corners' radius are in device-independent pixels. */
    void draw(QPainter &painter, const QRect &card, qreal radius);

private:
    QImage image_; ///< of what was drawn last, its alpha alone; null before
    QSize card_;
};

} // namespace corvid
