#include "ResultRow.h"

#include "ResultList.h"
#include "Style.h"

#include <QGuiApplication>
#include <QImage>
#include <QPainter>

#include <cmath>

namespace corvid {

namespace {

QFont sized(int pixels, QFont::Weight weight) {
    QFont font = QGuiApplication::font();
    font.setPixelSize(pixels);
    font.setWeight(weight);
    return font;
}

void drawElided(QPainter &painter, const QRect &line, const QString &text) {
    // A line break in a name must not push the rest of the text out of the row.
    QString oneLine = text;
    oneLine.replace(u'\n', u' ');
    const QString elided = painter.fontMetrics().elidedText(oneLine, Qt::ElideRight, line.width());
    painter.drawText(line, Qt::AlignLeading | Qt::AlignVCenter | Qt::TextSingleLine, elided);
}

} // namespace

ResultRow::ResultRow(QObject *parent)
    : QStyledItemDelegate(parent), titleFont_(sized(style::titleFontSize, QFont::Medium)),
      subtitleFont_(sized(style::subtitleFontSize, QFont::Normal)),
      badgeFont_(sized(style::badgeFontSize, QFont::Medium)) {}

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
        painter->drawRoundedRect(row, style::rowRadius, style::rowRadius);
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
        const QString text = metrics.elidedText(item.badge, Qt::ElideRight, longest);
        const int width = metrics.horizontalAdvance(text) + 2 * style::badgePaddingX;
        const int height = metrics.height() + 2 * style::badgePaddingY;
        const QRect badge =
            placed({textRight - width, row.y() + (style::rowHeight - height) / 2, width, height});
        painter->setPen(Qt::NoPen);
        painter->setBrush(style::quaternary());
        painter->drawRoundedRect(badge, style::badgeRadius, style::badgeRadius);
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
