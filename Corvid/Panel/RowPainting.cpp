#include "Panel/RowPainting.h"

#include "Base/Text.h"
#include "Panel/Shapes.h"
#include "Panel/Style.h"
#include "Panel/Symbol.h"

#include <QPainter>
#include <QStyleOptionViewItem>

#include <algorithm>

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

// Names come from outside. They must neither break the row nor pass for another name, and a very
// long one must not take long: no more of it is laid out than any row could show.
QString elided(const QFontMetrics &metrics, const QString &text, int width) {
    constexpr qsizetype mostCharacters = 1000;
    return metrics.elidedText(displayLine(text.left(mostCharacters)), Qt::ElideRight, width);
}

/** The painting of one row, step by step. */
class RowPainting {
public:
    RowPainting(QPainter &painter, const QStyleOptionViewItem &option, const ResultItem &item,
                bool saysCopied)
        : painter_(painter), option_(option), item_(item), saysCopied_(saysCopied),
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
        painter_.setFont(style::sized(option_.font, 10, QFont::Medium));
        const QFontMetrics metrics = painter_.fontMetrics();
        const QString text = elided(metrics, item_.badge, row_.width() / 2);
        const int width = metrics.horizontalAdvance(text) + 2 * 7;
        const int height = metrics.height() + 2 * 3;
        const QRect badge = placed(right - width, (style::rowHeight - height) / 2, width, height);
        painter_.setPen(Qt::NoPen);
        painter_.setBrush(style::divider());
        painter_.drawPath(continuousRoundedRect(badge, 6));
        painter_.setPen(secondary_);
        painter_.drawText(badge, Qt::AlignCenter | Qt::TextSingleLine, text);
        return width;
    }

    void paintTexts(int right) {
        constexpr int left = style::rowPaddingX + style::rowIconSize + style::iconToText;
        constexpr int top =
            (style::rowHeight - style::titleLineHeight - style::subtitleLineHeight) / 2;
        painter_.setFont(style::sized(option_.font, style::titleFontSize, QFont::Medium));
        painter_.setPen(selected_ ? QColor(Qt::white) : style::primary());
        drawElided(placed(left, top, right - left, style::titleLineHeight), item_.title);
        painter_.setFont(style::sized(option_.font, 11, QFont::Normal));
        painter_.setPen(secondary_);
        constexpr int second = top + style::titleLineHeight;
        int width = right - left;
        if (!item_.branch.isEmpty())
            width = paintBranch(left, second, width);
        drawElided(placed(left, second, width, style::subtitleLineHeight), item_.subtitle);
    }

    // Behind the subtitle, which gives way. Returns how much of the line is left to it.
    int paintBranch(int left, int top, int width) {
        constexpr int gap = 10;
        constexpr int symbol = 10;
        constexpr int symbolToName = 3;
        const QFontMetrics metrics = painter_.fontMetrics();
        // An advance is rounded, and what is but a fraction too wide would be cut.
        const auto widthOf = [&](const QString &text) {
            return metrics.horizontalAdvance(text) + 1;
        };
        const QString name = elided(metrics, item_.branch, width / 2 - symbol);
        const int nameWidth = widthOf(name);
        const int subtitle = std::min(widthOf(elided(metrics, item_.subtitle, width)),
                                      width - gap - symbol - symbolToName - nameWidth);
        int x = left + subtitle + gap;
        painter_.setOpacity(secondary_.alphaF());
        drawSymbol(painter_, u"branch"_s,
                   placed(x, top + (style::subtitleLineHeight - symbol) / 2, symbol, symbol));
        painter_.setOpacity(1);
        x += symbol + symbolToName;
        painter_.drawText(placed(x, top, nameWidth, style::subtitleLineHeight),
                          Qt::AlignLeading | Qt::AlignVCenter | Qt::TextSingleLine, name);
        return subtitle;
    }

    void drawElided(const QRect &line, const QString &text) {
        painter_.drawText(line, Qt::AlignLeading | Qt::AlignVCenter | Qt::TextSingleLine,
                          elided(painter_.fontMetrics(), text, line.width()));
    }

    QPainter &painter_;
    const QStyleOptionViewItem &option_;
    const ResultItem &item_;
    const bool saysCopied_;
    const QRect row_;
    const bool selected_;
    const QColor secondary_;
    const QRect icon_;
};

} // namespace

void paintRow(QPainter &painter, const QStyleOptionViewItem &option, const ResultItem &item,
              bool saysCopied) {
    RowPainting(painter, option, item, saysCopied).paintAll();
}

} // namespace corvid
