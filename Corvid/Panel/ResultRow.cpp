#include "Panel/ResultRow.h"

#include "Base/Text.h"
#include "Panel/ResultList.h"
#include "Panel/Shapes.h"
#include "Panel/Style.h"
#include "Panel/Symbol.h"

#include <QPainter>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

// What stands in for the icon of a row that has none; empty for nothing.
QString symbolOf(const ResultItem &item) {
    if (std::holds_alternative<OpenURL>(item.action))
        return u"web"_s;
    if (std::holds_alternative<OpenSettings>(item.action))
        return u"settings"_s;
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
    RowPainting(QPainter &painter, const QStyleOptionViewItem &option, const ResultItem &item)
        : painter_(painter), option_(option), item_(item), row_(option.rect),
          selected_(option.state.testFlag(QStyle::State_Selected)),
          secondary_(selected_ ? style::selectedSecondary() : style::secondary()),
          icon_(placed(style::rowPaddingX, (style::rowHeight - style::rowIconSize) / 2,
                       style::rowIconSize, style::rowIconSize)) {}

    void paintAll() {
        painter_.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
        painter_.setPen(Qt::NoPen);
        if (selected_)
            paintSelection();
        paintIcon();
        if (item_.running)
            paintRunningDot();
        int textRight = row_.width() - style::rowPaddingX;
        if (!item_.badge.isEmpty())
            textRight -= paintBadge(textRight) + style::iconToText;
        paintTexts(textRight);
    }

private:
    // From the row's leading top corner to the screen, in whichever direction the desktop reads.
    QRect placed(int x, int y, int width, int height) const {
        return QStyle::visualRect(option_.direction, row_,
                                  {row_.x() + x, row_.y() + y, width, height});
    }

    void paintSelection() {
        painter_.setBrush(style::faded(style::accent(), style::selectionOpacity));
        painter_.drawPath(continuousRoundedRect(row_, style::rowRadius));
    }

    void paintIcon() {
        if (item_.icon) {
            painter_.drawImage(QRectF(icon_), *item_.icon);
        } else if (const QString symbol = symbolOf(item_); !symbol.isEmpty()) {
            constexpr int inset = (style::rowIconSize - style::rowSymbolSize) / 2;
            painter_.setOpacity(secondary_.alphaF());
            drawSymbol(painter_, symbol, QRectF(icon_).adjusted(inset, inset, -inset, -inset));
            painter_.setOpacity(1);
        }
    }

    void paintRunningDot() {
        constexpr int dot = style::runningDotSize;
        const int x =
            option_.direction == Qt::RightToLeft ? icon_.left() - 1 : icon_.right() + 2 - dot;
        painter_.setBrush(style::runningDot());
        painter_.drawEllipse(QRect(x, icon_.bottom() + 2 - dot, dot, dot));
    }

    // Returns its width.
    int paintBadge(int right) {
        painter_.setFont(style::sized(option_.font, style::badgeFontSize, QFont::Medium));
        const QFontMetrics metrics = painter_.fontMetrics();
        const QString text = elided(metrics, item_.badge, row_.width() / 2);
        const int width = metrics.horizontalAdvance(text) + 2 * style::badgePaddingX;
        const int height = metrics.height() + 2 * style::badgePaddingY;
        const QRect badge = placed(right - width, (style::rowHeight - height) / 2, width, height);
        painter_.setPen(Qt::NoPen);
        painter_.setBrush(style::quaternary());
        painter_.drawPath(continuousRoundedRect(badge, style::badgeRadius));
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
        painter_.setFont(style::sized(option_.font, style::subtitleFontSize, QFont::Normal));
        painter_.setPen(secondary_);
        drawElided(
            placed(left, top + style::titleLineHeight, right - left, style::subtitleLineHeight),
            item_.subtitle);
    }

    void drawElided(const QRect &line, const QString &text) {
        painter_.drawText(line, Qt::AlignLeading | Qt::AlignVCenter | Qt::TextSingleLine,
                          elided(painter_.fontMetrics(), text, line.width()));
    }

    QPainter &painter_;
    const QStyleOptionViewItem &option_;
    const ResultItem &item_;
    const QRect row_;
    const bool selected_;
    const QColor secondary_;
    const QRect icon_;
};

} // namespace

QSize ResultRow::sizeHint(const QStyleOptionViewItem & /*option*/,
                          const QModelIndex & /*index*/) const {
    return {style::panelWidth - 2 * style::listInset, style::rowHeight};
}

void ResultRow::paint(QPainter *painter, const QStyleOptionViewItem &option,
                      const QModelIndex &index) const {
    painter->save();
    RowPainting(*painter, option, static_cast<const ResultListModel *>(index.model())->row(index))
        .paintAll();
    painter->restore();
}

} // namespace corvid
