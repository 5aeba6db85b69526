#include "Panel/ProgressIndicator.h"

#include "Panel/Style.h"

#include <QPainter>

namespace corvid {

namespace {

constexpr int spokes = 8;

} // namespace

ProgressIndicator::ProgressIndicator(int size, const QString &accessibleName, QWidget *parent)
    : QWidget(parent) {
    setFixedSize(size, size);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAccessibleName(accessibleName);
    hide();
}

void ProgressIndicator::showEvent(QShowEvent * /*event*/) {
    constexpr int stepMilliseconds = 100;
    if (style::appearance().motion)
        timer_.start(stepMilliseconds, this);
}

void ProgressIndicator::hideEvent(QHideEvent * /*event*/) {
    timer_.stop();
}

void ProgressIndicator::timerEvent(QTimerEvent * /*event*/) {
    step_ = (step_ + 1) % spokes;
    update();
}

void ProgressIndicator::paintEvent(QPaintEvent * /*event*/) {
    constexpr qreal faintest = 0.15;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(rect().toRectF().center());
    painter.rotate(360.0 * step_ / spokes); // to the brightest spoke, then back in time
    const qreal outer = width() / 2.0 - 1;
    const qreal stroke = width() / 10.0;
    for (int age = 0; age < spokes; ++age) {
        const qreal opacity =
            faintest + (style::primary().alphaF() - faintest) * (spokes - age) / spokes;
        painter.setPen(
            QPen(style::faded(style::primary(), opacity), stroke, Qt::SolidLine, Qt::RoundCap));
        painter.drawLine(QPointF(0, -outer), QPointF(0, -outer / 2));
        painter.rotate(-360.0 / spokes);
    }
}

} // namespace corvid
