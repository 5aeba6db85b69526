#include "Panel/ResultRow.h"

#include "Base/Text.h"
#include "Panel/ResultList.h"
#include "Panel/Shapes.h"
#include "Panel/Style.h"
#include "Panel/Symbol.h"

#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

QFont sized(int pixels, QFont::Weight weight) {
    QFont font = style::font();
    font.setPixelSize(pixels);
    font.setWeight(weight);
    return font;
}

// What stands in for the icon of a row that has none; empty for none.
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

// A name comes from outside and must neither break the row nor pass for another one; nor keep us
// busy, so what a row has no room for in any script is not even laid out.
QString elided(const QFontMetrics &metrics, const QString &text, int width) {
    constexpr qsizetype mostCharacters = 1000;
    return metrics.elidedText(displayLine(text.left(mostCharacters)), Qt::ElideRight, width);
}

void drawElided(QPainter &painter, const QRect &line, const QString &text) {
    painter.drawText(line, Qt::AlignLeading | Qt::AlignVCenter | Qt::TextSingleLine,
                     elided(painter.fontMetrics(), text, line.width()));
}

} // namespace

ResultRow::ResultRow(QObject *parent) : QStyledItemDelegate(parent) {
    applyStyle();
}

ResultRow::~ResultRow() = default;

void ResultRow::applyStyle() {
    titleFont_ = sized(style::titleFontSize, QFont::Medium);
    subtitleFont_ = sized(style::subtitleFontSize, QFont::Normal);
    badgeFont_ = sized(style::badgeFontSize, QFont::Medium);
}

QSvgRenderer *ResultRow::renderer(const QString &symbol) const {
    std::unique_ptr<QSvgRenderer> &renderer = symbols_[symbol];
    if (!renderer)
        renderer = symbolRenderer(symbol);
    return renderer.get();
}

QSize ResultRow::sizeHint(const QStyleOptionViewItem & /*option*/,
                          const QModelIndex & /*index*/) const {
    return {style::panelWidth - 2 * style::listInset, style::rowHeight};
}

void ResultRow::paint(QPainter *painter, const QStyleOptionViewItem &option,
                      const QModelIndex &index) const {
    const auto &item = static_cast<const ResultListModel *>(index.model())->row(index);
    const bool selected = option.state.testFlag(QStyle::State_Selected);
    const QColor secondary = selected ? style::selectedSecondary() : style::secondary();

    painter->save();
    painter->setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    const QRect &row = option.rect;
    painter->setPen(Qt::NoPen);
    if (selected) {
        QColor fill = style::accent();
        fill.setAlphaF(static_cast<float>(style::selectionOpacity));
        painter->setBrush(fill);
        painter->drawPath(continuousRoundedRect(row, style::rowRadius));
    }

    // Laid out for left to right, then mirrored as a whole where the desktop reads the other way.
    const auto placed = [&](const QRect &rect) {
        return QStyle::visualRect(option.direction, row, rect);
    };
    const QRect iconRect =
        placed({row.x() + style::rowPaddingX, row.y() + (style::rowHeight - style::rowIconSize) / 2,
                style::rowIconSize, style::rowIconSize});
    if (item.icon)
        painter->drawImage(QRectF(iconRect), *item.icon);
    else if (const QString symbol = symbolOf(item); !symbol.isEmpty()) {
        constexpr int inset = (style::rowIconSize - style::rowSymbolSize) / 2;
        painter->setOpacity(secondary.alphaF());
        renderer(symbol)->render(painter, QRectF(iconRect).adjusted(inset, inset, -inset, -inset));
        painter->setOpacity(1);
    }
    if (item.running) {
        const int dot = style::runningDotSize;
        const int x =
            option.direction == Qt::RightToLeft ? iconRect.left() - 1 : iconRect.right() + 2 - dot;
        painter->setBrush(style::runningDot());
        painter->drawEllipse(QRect(x, iconRect.bottom() + 2 - dot, dot, dot));
    }

    int textRight = row.right() + 1 - style::rowPaddingX;
    if (!item.badge.isEmpty()) {
        const QFontMetrics metrics(badgeFont_);
        const int longest = row.width() / 2;
        const QString text = elided(metrics, item.badge, longest);
        const int width = metrics.horizontalAdvance(text) + 2 * style::badgePaddingX;
        const int height = metrics.height() + 2 * style::badgePaddingY;
        const QRect badge =
            placed({textRight - width, row.y() + (style::rowHeight - height) / 2, width, height});
        painter->setPen(Qt::NoPen);
        painter->setBrush(style::quaternary());
        painter->drawPath(continuousRoundedRect(badge, style::badgeRadius));
        painter->setFont(badgeFont_);
        painter->setPen(secondary);
        painter->drawText(badge, Qt::AlignCenter | Qt::TextSingleLine, text);
        textRight -= width + style::iconToText;
    }

    const int textLeft = row.x() + style::rowPaddingX + style::rowIconSize + style::iconToText;
    const int textTop =
        row.y() + (style::rowHeight - style::titleLineHeight - style::subtitleLineHeight) / 2;
    painter->setFont(titleFont_);
    painter->setPen(selected ? QColor(Qt::white) : style::primary());
    drawElided(*painter, placed({textLeft, textTop, textRight - textLeft, style::titleLineHeight}),
               item.title);
    painter->setFont(subtitleFont_);
    painter->setPen(secondary);
    drawElided(*painter,
               placed({textLeft, textTop + style::titleLineHeight, textRight - textLeft,
                       style::subtitleLineHeight}),
               item.subtitle);
    painter->restore();
}

} // namespace corvid
