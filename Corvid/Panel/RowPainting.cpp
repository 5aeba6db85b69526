#include "Panel/RowPainting.h"

#include "Base/Text.h"
#include "Panel/Shapes.h"
#include "Panel/Style.h"
#include "Panel/Symbol.h"

#include <QPainter>
#include <QStyleOptionViewItem>
#include <QTextOption>

#include <algorithm>
#include <memory>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

// What stands in for the icon of a row that has none; empty for nothing.
QString symbolOf(const ResultItem &item) {
    if (std::holds_alternative<OpenURL>(item.action))
        return u"web"_s;
    if (std::holds_alternative<OpenSettings>(item.action))
        return u"settings"_s;
    if (std::holds_alternative<ControlSession>(item.action))
        return u"power"_s;
    if (item.id.startsWith("ai-"_L1))
        return u"sparkles"_s;
    if (std::holds_alternative<CopyAI>(item.action))
        return u"calculator"_s;
    return {};
}

/** The painting of one row, step by step. */
class RowPainting {
public:
    using Kind = RowLines::Kind;

    RowPainting(QPainter &painter, const QStyleOptionViewItem &option, const ResultItem &item,
                bool saysCopied, RowLines &lines)
        : painter_(painter), option_(option), item_(item), saysCopied_(saysCopied), lines_(lines),
          row_(option.rect), selected_(option.state.testFlag(QStyle::State_Selected)),
          secondary_(selected_ ? style::white(0.85) : style::secondary()),
          icon_(placed(style::rowPaddingX, (style::rowHeight - style::rowIconSize) / 2,
                       style::rowIconSize, style::rowIconSize)) {}

    void paintAll() {
        painter_.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
        painter_.setPen(Qt::NoPen);
        if (selected_)
            paintGround(style::faded(style::accent(), 0.85));
        else if (option_.state.testFlag(QStyle::State_MouseOver))
            paintGround(style::white(0.06)); // a click takes it
        paintIcon();
        if (item_.running)
            paintRunningDot();
        int textRight = row_.width() - style::rowPaddingX;
        if (saysCopied_)
            textRight -= paintTick(textRight) + style::iconToText;
        else if (!item_.badge.isEmpty())
            textRight -= paintBadge(textRight) + style::iconToText;
        paintTexts(textRight);
    }

private:
    // From the row's leading top corner to the screen, in whichever direction the desktop reads.
    QRect placed(int x, int y, int width, int height) const {
        return QStyle::visualRect(option_.direction, row_,
                                  {row_.x() + x, row_.y() + y, width, height});
    }

    void paintGround(const QColor &colour) {
        painter_.setBrush(colour);
        painter_.drawPath(continuousRoundedRect(row_, 10));
    }

    void paintIcon() {
        if (item_.icon) {
            painter_.drawImage(QRectF(icon_), *item_.icon);
        } else if (const QString symbol = symbolOf(item_); !symbol.isEmpty()) {
            constexpr int inset = 4;
            painter_.setOpacity(secondary_.alphaF());
            drawSymbol(painter_, symbol, QRectF(icon_).adjusted(inset, inset, -inset, -inset));
            painter_.setOpacity(1);
        }
    }

    void paintRunningDot() {
        constexpr int dot = 7;
        const int x =
            option_.direction == Qt::RightToLeft ? icon_.left() - 1 : icon_.right() + 2 - dot;
        painter_.setBrush(QColor(0x32, 0xD7, 0x4B));
        painter_.drawEllipse(QRect(x, icon_.bottom() + 2 - dot, dot, dot));
    }

    // Returns its width.
    int paintTick(int right) {
        constexpr int size = 24;
        constexpr int inset = 5;
        const QRect disc = placed(right - size, (style::rowHeight - size) / 2, size, size);
        painter_.setBrush(QColor(30, 31, 36)); // the card's: on the accent colour it would drown
        painter_.drawEllipse(disc);
        drawSymbol(painter_, u"check"_s, QRectF(disc).adjusted(inset, inset, -inset, -inset));
        return size;
    }

    // Returns its width.
    int paintBadge(int right) {
        const RowLines::Line &text = lines_.line(Kind::Badge, item_.badge, row_.width() / 2);
        const int width = text.width + 2 * 7;
        const int height = QFontMetrics(lines_.font(Kind::Badge)).height() + 2 * 3;
        const QRect badge = placed(right - width, (style::rowHeight - height) / 2, width, height);
        painter_.setPen(Qt::NoPen);
        painter_.setBrush(style::divider());
        painter_.drawPath(continuousRoundedRect(badge, 6));
        painter_.setPen(secondary_);
        lines_.draw(painter_, Kind::Badge, badge.adjusted(7, 0, -7, 0), text);
        return width;
    }

    void paintTexts(int right) {
        constexpr int left = style::rowPaddingX + style::rowIconSize + style::iconToText;
        constexpr int top =
            (style::rowHeight - style::titleLineHeight - style::subtitleLineHeight) / 2;
        painter_.setPen(selected_ ? QColor(Qt::white) : style::primary());
        drawLine(Kind::Title, placed(left, top, right - left, style::titleLineHeight), item_.title);
        painter_.setPen(secondary_);
        constexpr int second = top + style::titleLineHeight;
        int width = right - left;
        if (!item_.branch.isEmpty())
            width = paintBranch(left, second, width);
        drawLine(Kind::Detail, placed(left, second, width, style::subtitleLineHeight),
                 item_.subtitle);
    }

    // Behind the subtitle, which gives way. Returns how much of the line is left to it.
    int paintBranch(int left, int top, int width) {
        constexpr int gap = 10;
        constexpr int symbol = 10;
        constexpr int symbolToName = 3;
        // An advance is rounded, and what is but a fraction too wide would be cut.
        const int wholeSubtitle = lines_.line(Kind::Detail, item_.subtitle, width).width + 1;
        const RowLines::Line &name = lines_.line(Kind::Detail, item_.branch, width / 2 - symbol);
        const int nameWidth = name.width + 1;
        const int subtitle =
            std::min(wholeSubtitle, width - gap - symbol - symbolToName - nameWidth);
        int x = left + subtitle + gap;
        painter_.setOpacity(secondary_.alphaF());
        drawSymbol(painter_, u"branch"_s,
                   placed(x, top + (style::subtitleLineHeight - symbol) / 2, symbol, symbol));
        painter_.setOpacity(1);
        x += symbol + symbolToName;
        lines_.draw(painter_, Kind::Detail, placed(x, top, nameWidth, style::subtitleLineHeight),
                    name);
        return subtitle;
    }

    void drawLine(Kind kind, const QRect &place, const QString &text) {
        lines_.draw(painter_, kind, place, lines_.line(kind, text, place.width()));
    }

    QPainter &painter_;
    const QStyleOptionViewItem &option_;
    const ResultItem &item_;
    const bool saysCopied_;
    RowLines &lines_;
    const QRect row_;
    const bool selected_;
    const QColor secondary_;
    const QRect icon_;
};

} // namespace

std::array<QFont, 3> RowLines::fontsFor(const QFont &font) {
    return {style::sized(font, style::titleFontSize, QFont::Medium),
            style::sized(font, 11, QFont::Normal), style::sized(font, 10, QFont::Medium)};
}

void RowLines::setLook(const QFont &font, Qt::LayoutDirection direction) {
    if (font == font_ && direction == direction_)
        return;
    font_ = font;
    direction_ = direction;
    fonts_ = fontsFor(font);
    lines_.clear();
}

// Names come from outside. They must neither break the row nor pass for another name, and a very
// long one must not take long: no more of it is laid out than any row could show.
const RowLines::Line &RowLines::line(Kind kind, const QString &text, int width) {
    constexpr qsizetype mostCharacters = 1000;
    Key key{text.left(mostCharacters), kind, width};
    if (const Line *known = lines_.object(key))
        return *known;
    const QFontMetrics metrics(font(kind));
    const QString shown = metrics.elidedText(displayLine(key.text), Qt::ElideRight, width);
    auto line = std::make_unique<Line>(Line{QStaticText(shown), metrics.horizontalAdvance(shown)});
    line->text.setTextFormat(Qt::PlainText);
    QTextOption option;
    option.setTextDirection(direction_);
    option.setWrapMode(QTextOption::NoWrap);
    line->text.setTextOption(option);
    line->text.prepare({}, font(kind));
    const Line &result = *line;
    lines_.insert(key, line.release());
    return result;
}

void RowLines::draw(QPainter &painter, Kind kind, const QRect &place, const Line &line) const {
    painter.setFont(font(kind));
    const QSizeF room = place.size() - line.text.size();
    painter.drawStaticText(
        place.topLeft() +
            QPointF(direction_ == Qt::RightToLeft ? room.width() : 0, room.height() / 2),
        line.text);
}

void RowPainter::paint(QPainter &painter, const QStyleOptionViewItem &option,
                       const ResultItem &item, bool saysCopied) {
    lines_.setLook(option.font, option.direction);
    RowPainting(painter, option, item, saysCopied, lines_).paintAll();
}

} // namespace corvid
