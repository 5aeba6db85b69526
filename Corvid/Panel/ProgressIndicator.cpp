#include "Panel/ProgressIndicator.h"

#include "Panel/Style.h"

#include <QPainter>

namespace corvid {

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr int spokes = 8;
constexpr auto stepTime = 100ms;
constexpr qreal faintest = 0.15;

} // namespace

ProgressIndicator::ProgressIndicator(QWidget *parent) : QWidget(parent) {
    setFixedSize(style::progressSize, style::progressSize);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAccessibleName(u"Waiting for the answer"_s);
    timer_.setInterval(stepTime);
    connect(&timer_, &QTimer::timeout, this, [this] {
        step_ = (step_ + 1) % spokes;
        update();
    });
}

void ProgressIndicator::showEvent(QShowEvent *event) {
    QWidget::showEvent(event);
    if (style::appearance().motion)
        timer_.start();
}

void ProgressIndicator::hideEvent(QHideEvent *event) {
    timer_.stop();
    QWidget::hideEvent(event);
}

void ProgressIndicator::paintEvent(QPaintEvent * /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(rect().toRectF().center());
    const qreal outer = width() / 2.0 - 1;
    for (int i = 0; i < spokes; ++i) {
        const int age = (step_ - i + spokes) % spokes;
        const qreal opacity =
            faintest + (style::primary().alphaF() - faintest) * (spokes - age) / spokes;
        painter.setPen(QPen(style::faded(style::primary(), opacity), style::progressStroke,
                            Qt::SolidLine, Qt::RoundCap));
        painter.save();
        painter.rotate(360.0 * i / spokes);
        painter.drawLine(QPointF(0, -outer), QPointF(0, -outer / 2));
        painter.restore();
    }
}

} // namespace corvid
