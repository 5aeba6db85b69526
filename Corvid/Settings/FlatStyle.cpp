#include "Settings/FlatStyle.h"

#include "Panel/Style.h"

#include <QAbstractButton>
#include <QAbstractScrollArea>
#include <QPainter>
#include <QPainterPath>
#include <QScrollBar>
#include <QStyleOption>

#include <algorithm>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qreal controlRadius = 6;
constexpr qreal tickBoxRadius = 4;
constexpr qreal ringWidth = 2;
constexpr int controlHeight = 28;
constexpr int leastButtonWidth = 76;
constexpr int textInset = 12; // of a button; a field's is half of it
constexpr int scrollBarExtent = 10;
constexpr int scrollHandleInset = 2;
constexpr int leastScrollHandle = 28;

bool mnemonicsShow = false;

/** The colour of text, so faint that it tints what lies below. */
QColor tint(const QStyleOption &option, qreal opacity) {
    return style::faded(option.palette.color(QPalette::WindowText), opacity);
}

QColor accentOf(const QStyleOption &option) {
    return option.palette.color(QPalette::Active, QPalette::Highlight);
}

bool is(const QStyleOption &option, QStyle::StateFlag state) {
    return (option.state & state) != 0;
}

bool isDefaultButton(const QStyleOption *option) {
    const auto *button = qstyleoption_cast<const QStyleOptionButton *>(option);
    return button && (button->features & QStyleOptionButton::DefaultButton) != 0 &&
           is(*option, QStyle::State_Enabled);
}

/** A pen's line lies within the rectangle. */
void drawBox(QPainter &painter, const QRect &place, qreal radius, const QPen &pen,
             const QBrush &brush) {
    const qreal half = pen.style() == Qt::NoPen ? 0 : pen.widthF() / 2;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(pen);
    painter.setBrush(brush);
    painter.drawRoundedRect(QRectF(place).adjusted(half, half, -half, -half), radius - half,
                            radius - half);
    painter.restore();
}

/** The line around a control, thick and in the accent colour while it has the keyboard. */
QPen edgeOf(const QStyleOption &option) {
    if (is(option, QStyle::State_HasFocus))
        return {accentOf(option), ringWidth};
    return style::hairline(option.palette);
}

void drawButton(QPainter &painter, const QStyleOption &option) {
    const bool pressed = is(option, QStyle::State_Sunken) || is(option, QStyle::State_On);
    const bool hovered = is(option, QStyle::State_MouseOver);
    if (isDefaultButton(&option)) {
        QColor ground = accentOf(option);
        if (pressed)
            ground = ground.darker(115);
        else if (hovered)
            ground = ground.lighter(108);
        drawBox(painter, option.rect, controlRadius, Qt::NoPen, ground);
        if (is(option, QStyle::State_HasFocus))
            drawBox(painter, option.rect.adjusted(2, 2, -2, -2), controlRadius - 2,
                    style::faded(option.palette.color(QPalette::HighlightedText), 0.8), {});
        return;
    }
    const qreal opacity = pressed ? 0.18 : hovered ? 0.13 : 0.08;
    drawBox(painter, option.rect, controlRadius,
            is(option, QStyle::State_HasFocus) ? edgeOf(option) : QPen(Qt::NoPen),
            tint(option, is(option, QStyle::State_Enabled) ? opacity : 0.04));
}

void drawTickBox(QPainter &painter, const QStyleOption &option) {
    const QRect &place = option.rect;
    const bool ticked = is(option, QStyle::State_On);
    const bool focused = is(option, QStyle::State_HasFocus);
    QColor ground = ticked ? accentOf(option) : option.palette.color(QPalette::Base);
    if (!is(option, QStyle::State_Enabled))
        ground = tint(option, 0.08);
    drawBox(painter, place, tickBoxRadius,
            focused  ? QPen(ticked ? accentOf(option).darker(135) : accentOf(option), ringWidth)
            : ticked ? QPen(Qt::NoPen)
                     : QPen(tint(option, 0.35)),
            ground);
    if (!ticked)
        return;
    const auto at = [&place](qreal x, qreal y) {
        return QPointF(place.x() + x * place.width(), place.y() + y * place.height());
    };
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(option.palette.color(QPalette::HighlightedText), place.width() / 8.0,
                        Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPolyline(QPolygonF{at(0.25, 0.53), at(0.43, 0.70), at(0.76, 0.33)});
    painter.restore();
}

void drawScrollBar(QPainter &painter, const QStyleOptionSlider &bar, const QRect &handle) {
    if (bar.maximum <= bar.minimum)
        return;
    const bool held =
        (bar.activeSubControls & QStyle::SC_ScrollBarSlider) != 0 && is(bar, QStyle::State_Sunken);
    const qreal opacity = held ? 0.55 : is(bar, QStyle::State_MouseOver) ? 0.42 : 0.28;
    const QRect drawn = bar.orientation == Qt::Vertical
                            ? handle.adjusted(scrollHandleInset, 0, -scrollHandleInset, 0)
                            : handle.adjusted(0, scrollHandleInset, 0, -scrollHandleInset);
    drawBox(painter, drawn, std::min(drawn.width(), drawn.height()) / 2.0, Qt::NoPen,
            tint(bar, opacity));
}

/** Without buttons at its ends. */
QRect partOfScrollBar(const QStyleOptionSlider &bar, QStyle::SubControl part) {
    const bool vertical = bar.orientation == Qt::Vertical;
    const int room = vertical ? bar.rect.height() : bar.rect.width();
    const qint64 range = qint64{bar.maximum} - bar.minimum;
    const auto share =
        static_cast<int>(room * qint64{bar.pageStep} / std::max<qint64>(1, range + bar.pageStep));
    const int length =
        range > 0 ? std::clamp(share, std::min(leastScrollHandle, room), room) : room;
    const int start = QStyle::sliderPositionFromValue(bar.minimum, bar.maximum, bar.sliderPosition,
                                                      room - length, bar.upsideDown);
    const auto between = [&](int from, int to) {
        return vertical ? QRect(bar.rect.x(), bar.rect.y() + from, bar.rect.width(), to - from)
                        : QRect(bar.rect.x() + from, bar.rect.y(), to - from, bar.rect.height());
    };
    switch (part) {
    case QStyle::SC_ScrollBarGroove:
        return bar.rect;
    case QStyle::SC_ScrollBarSlider:
        return between(start, start + length);
    case QStyle::SC_ScrollBarSubPage:
        return between(0, start);
    case QStyle::SC_ScrollBarAddPage:
        return between(start + length, room);
    default:
        return {};
    }
}

} // namespace

FlatStyle::FlatStyle() : QProxyStyle(u"Fusion"_s) {}

void FlatStyle::underlineMnemonics(bool underlined) {
    mnemonicsShow = underlined;
}

void FlatStyle::polish(QWidget *widget) {
    QProxyStyle::polish(widget);
    if (qobject_cast<QAbstractButton *>(widget) || qobject_cast<QScrollBar *>(widget))
        widget->setAttribute(Qt::WA_Hover);
}

void FlatStyle::drawPrimitive(PrimitiveElement element, const QStyleOption *option,
                              QPainter *painter, const QWidget *widget) const {
    const auto *frame = qstyleoption_cast<const QStyleOptionFrame *>(option);
    switch (element) {
    case PE_PanelButtonCommand:
    case PE_PanelButtonTool:
        drawButton(*painter, *option);
        return;
    case PE_PanelLineEdit:
        if (frame && frame->lineWidth > 0) {
            drawBox(*painter, option->rect, controlRadius, edgeOf(*option),
                    option->palette.color(QPalette::Base));
            return;
        }
        break;
    case PE_Frame:
        drawBox(*painter, option->rect, controlRadius, style::hairline(option->palette), {});
        return;
    case PE_IndicatorCheckBox:
        drawTickBox(*painter, *option);
        return;
    case PE_FrameFocusRect: // each control shows it at its edge
        return;
    default:
        break;
    }
    QProxyStyle::drawPrimitive(element, option, painter, widget);
}

void FlatStyle::drawControl(ControlElement element, const QStyleOption *option, QPainter *painter,
                            const QWidget *widget) const {
    if (element == CE_PushButtonLabel && isDefaultButton(option)) {
        QStyleOptionButton label = *qstyleoption_cast<const QStyleOptionButton *>(option);
        label.palette.setColor(QPalette::ButtonText,
                               label.palette.color(QPalette::Active, QPalette::HighlightedText));
        QProxyStyle::drawControl(element, &label, painter, widget);
        return;
    }
    if (element == CE_HeaderSection || element == CE_HeaderEmptyArea) {
        painter->fillRect(option->rect, option->palette.color(QPalette::Base));
        painter->fillRect(
            QRect(option->rect.left(), option->rect.bottom(), option->rect.width(), 1),
            style::hairline(option->palette));
        return;
    }
    QProxyStyle::drawControl(element, option, painter, widget);
}

void FlatStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex *option,
                                   QPainter *painter, const QWidget *widget) const {
    if (const auto *bar = qstyleoption_cast<const QStyleOptionSlider *>(option);
        bar && control == CC_ScrollBar) {
        drawScrollBar(*painter, *bar, partOfScrollBar(*bar, SC_ScrollBarSlider));
        return;
    }
    QProxyStyle::drawComplexControl(control, option, painter, widget);
}

QRect FlatStyle::subControlRect(ComplexControl control, const QStyleOptionComplex *option,
                                SubControl part, const QWidget *widget) const {
    if (const auto *bar = qstyleoption_cast<const QStyleOptionSlider *>(option);
        bar && control == CC_ScrollBar)
        return visualRect(bar->direction, bar->rect, partOfScrollBar(*bar, part));
    return QProxyStyle::subControlRect(control, option, part, widget);
}

QRect FlatStyle::subElementRect(SubElement element, const QStyleOption *option,
                                const QWidget *widget) const {
    const QRect place = QProxyStyle::subElementRect(element, option, widget);
    const auto *frame = qstyleoption_cast<const QStyleOptionFrame *>(option);
    if (element == SE_LineEditContents && frame && frame->lineWidth > 0)
        return place.adjusted(textInset / 2 - 2, 0, 2 - textInset / 2, 0);
    return place;
}

QSize FlatStyle::sizeFromContents(ContentsType type, const QStyleOption *option,
                                  const QSize &contents, const QWidget *widget) const {
    const QSize size = QProxyStyle::sizeFromContents(type, option, contents, widget);
    if (type == CT_PushButton)
        return QSize(contents.width() + 2 * textInset, size.height())
            .expandedTo({leastButtonWidth, controlHeight});
    if (type == CT_LineEdit || type == CT_ToolButton)
        return size.expandedTo({0, controlHeight});
    return size;
}

int FlatStyle::pixelMetric(PixelMetric metric, const QStyleOption *option,
                           const QWidget *widget) const {
    switch (metric) {
    case PM_ScrollBarExtent:
        return scrollBarExtent;
    case PM_ScrollBarSliderMin:
        return leastScrollHandle;
    case PM_ScrollView_ScrollBarSpacing:
    case PM_ButtonShiftHorizontal:
    case PM_ButtonShiftVertical:
        return 0;
    default:
        return QProxyStyle::pixelMetric(metric, option, widget);
    }
}

int FlatStyle::styleHint(StyleHint hint, const QStyleOption *option, const QWidget *widget,
                         QStyleHintReturn *more) const {
    if (hint == SH_UnderlineShortcut)
        return mnemonicsShow ? 1 : 0;
    return QProxyStyle::styleHint(hint, option, widget, more);
}

} // namespace corvid
