#include "Panel/AnswerGrounds.h"

#include "Panel/AnswerFormats.h"
#include "Panel/Style.h"

#include <QAbstractTextDocumentLayout>
#include <QPainter>
#include <QScrollBar>
#include <QTextEdit>
#include <QTextFrame>
#include <QTextTable>

#include <algorithm>
#include <cmath>
#include <utility>

namespace corvid::answer {

namespace {

constexpr qreal fieldRadius = 8;
constexpr qreal inlineRadius = 4;

/** The document as the area shows it. */
class Sight {
public:
    explicit Sight(const QTextEdit &area)
        : layout_(*area.document()->documentLayout()), height_(area.viewport()->height()),
          top_(area.verticalScrollBar()->value()),
          first_(area.cursorForPosition(QPoint(0, 0)).block()) {
        const QTextFrameFormat page = area.document()->rootFrame()->frameFormat();
        left_ = page.leftMargin();
        right_ = area.viewport()->width() - page.rightMargin();
    }

    QTextBlock first() const { return first_; }
    /** Where the block is in the viewport. Its height holds the room below the last line too. */
    QRectF place(const QTextBlock &block) const {
        return layout_.blockBoundingRect(block).translated(0, -top_);
    }
    bool isBelow(const QRectF &place) const { return place.top() > height_; }
    qreal left() const { return left_; }
    qreal right() const { return right_; }
    qreal height() const { return height_; }
    /** As wide as the page, but for the insets before it. */
    QRectF across(const QTextBlock &block, qreal top, qreal bottom) const {
        const qreal inset = block.blockFormat().indent() * insetWidth;
        const bool mirrored = block.textDirection() == Qt::RightToLeft;
        return {QPointF(left_ + (mirrored ? 0 : inset), top),
                QPointF(right_ - (mirrored ? inset : 0), bottom)};
    }
    const QAbstractTextDocumentLayout &layout() const { return layout_; }

private:
    const QAbstractTextDocumentLayout &layout_;
    qreal height_;
    int top_;
    QTextBlock first_;
    qreal left_ = 0;
    qreal right_ = 0;
};

std::vector<CodeField> codeFields(const Sight &sight) {
    constexpr qreal further = 2 * fieldRadius; // so that the corners are out of sight
    std::vector<CodeField> fields;
    for (QTextBlock block = sight.first(); block.isValid(); block = block.next()) {
        const QRectF place = sight.place(block);
        if (sight.isBelow(place.adjusted(0, -codePadding, 0, 0)))
            break;
        if (!isOf(block, AnswerPart::Kind::Code))
            continue;
        if (beginsCode(block))
            fields.push_back(
                {block, sight.across(block, place.top() - codePadding, place.bottom())});
        else if (fields.empty())
            fields.push_back({block, sight.across(block, -further, place.bottom())});
        const QTextBlock next = block.next();
        const bool ends = !isOf(next, AnswerPart::Kind::Code) || beginsCode(next);
        fields.back().place.setBottom(place.bottom() + (ends ? codePadding : further));
    }
    return fields;
}

// Behind the words that are code within a line.
void paintInlineCode(QPainter &painter, const QTextBlock &block, const QPointF &origin) {
    for (auto it = block.begin(); !it.atEnd(); ++it) {
        const QTextFragment words = it.fragment();
        if (!words.charFormat().boolProperty(InlineCodeProperty))
            continue;
        const int from = words.position() - block.position();
        const int to = from + words.length();
        const QTextLayout *layout = block.layout();
        for (int i = 0; i < layout->lineCount(); ++i) {
            const QTextLine line = layout->lineAt(i);
            const int begin = std::max(from, line.textStart());
            const int end = std::min(to, line.textStart() + line.textLength());
            if (begin >= end)
                continue;
            const qreal x = line.cursorToX(begin);
            const qreal width = line.cursorToX(end) - x;
            const QRectF place = QRectF(x, line.y(), width, line.height()).normalized();
            painter.drawRoundedRect(place.translated(origin).adjusted(-2, 0, 2, 0), inlineRadius,
                                    inlineRadius);
        }
    }
}

void paintQuoteBars(QPainter &painter, const Sight &sight, const QTextBlock &block,
                    const QRectF &place) {
    constexpr qreal width = 3;
    const int depth = block.blockFormat().intProperty(QuotesProperty);
    // As far up as the one before, if that is quoted too.
    const QTextBlock before = block.previous();
    for (int i = 0; i < depth; ++i) {
        const bool joined = before.blockFormat().intProperty(QuotesProperty) > i;
        const qreal top = joined ? sight.place(before).bottom() : place.top();
        const qreal inset = i * insetWidth + 4;
        const qreal x = block.textDirection() == Qt::RightToLeft ? sight.right() - inset - width
                                                                 : sight.left() + inset;
        painter.drawRect(QRectF(QPointF(x, top), QPointF(x + width, place.bottom())));
    }
}

// A line between any two rows, a clearer one below the head.
void paintRowLines(QPainter &painter, const Sight &sight, QTextTable &table) {
    const QRectF frame = sight.layout().frameBoundingRect(&table);
    const int head = table.format().headerRowCount();
    for (int row = head; row < table.rows(); ++row) {
        qreal y = sight.height() + 1;
        for (int column = 0; column < table.columns(); ++column) {
            const QTextBlock first = table.cellAt(row, column).firstCursorPosition().block();
            y = std::min(y, sight.place(first).top());
        }
        y -= table.format().cellPadding();
        if (y > sight.height())
            return;
        painter.setBrush(style::white(row == 1 && head == 1 ? 0.22 : 0.10));
        painter.drawRect(QRectF(frame.left(), std::floor(y), frame.width(), 1));
    }
}

} // namespace

std::vector<CodeField> codeFieldsInSight(const QTextEdit &area) {
    return codeFields(Sight(area));
}

void paintGrounds(QPainter &painter, const QTextEdit &area) {
    const Sight sight(area);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(style::codeField());
    for (const CodeField &field : codeFields(sight))
        painter.drawRoundedRect(field.place, fieldRadius, fieldRadius);
    QTextTable *table = nullptr;
    for (QTextBlock block = sight.first(); block.isValid(); block = block.next()) {
        const QRectF place = sight.place(block);
        if (sight.isBelow(place))
            break;
        painter.setBrush(style::codeField());
        paintInlineCode(painter, block, place.topLeft());
        painter.setBrush(style::white(0.25));
        paintQuoteBars(painter, sight, block, place);
        if (isOf(block, AnswerPart::Kind::Rule)) {
            painter.setBrush(style::white(0.16));
            painter.drawRect(sight.across(block, std::floor(place.center().y()),
                                          std::floor(place.center().y()) + 1));
        }
        QTextTable *around = QTextCursor(block).currentTable();
        if (around && std::exchange(table, around) != around)
            paintRowLines(painter, sight, *around);
    }
}

} // namespace corvid::answer
