#include "Panel/AnswerDocument.h"

#include "Base/Text.h"
#include "Panel/AnswerFormats.h"
#include "Panel/Style.h"

#include <QAbstractTextDocumentLayout>
#include <QFontMetricsF>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextFrame>
#include <QTextTable>

#include <algorithm>
#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

// A table is laid out as a whole each time it grows. A long one goes on in another.
constexpr int mostRows = 32;

} // namespace

void AnswerDocument::begin(const QString &question, AnswerBlocks::Syntax syntax) {
    blocks_ = AnswerBlocks(syntax);
    finished_.clear();
    tail_.clear();
    above_ = AnswerPart::Kind::Paragraph;
    table_ = nullptr;
    document_.clear();
    QTextCharFormat headline;
    headline.setFontWeight(QFont::DemiBold);
    QTextCursor cursor(&document_);
    cursor.insertText(displayLine(question).simplified(), headline);
}

void AnswerDocument::show(AnswerBlocks::More more) {
    std::vector<Line> lines;
    for (const AnswerPart &part : std::exchange(finished_, {})) {
        std::ranges::move(linesOf(part), std::back_inserter(lines));
        above_ = part.kind;
    }
    const std::size_t finished = lines.size();
    const AnswerPart::Kind above = above_;
    for (const AnswerPart &part : blocks_.unfinished(more)) {
        std::ranges::move(linesOf(part), std::back_inserter(lines));
        above_ = part.kind;
    }
    above_ = above;

    QTextCursor edit(&document_);
    edit.beginEditBlock();
    std::size_t same = 0;
    while (same < std::min(lines.size(), tail_.size()) && lines[same] == tail_[same].line)
        ++same;
    if (same + 1 < tail_.size())
        takeAway(same + 1);
    if (same < tail_.size()) {
        if (same < lines.size() && change(lines[same]))
            ++same;
        else
            takeAway(same);
    }
    for (std::size_t i = same; i < lines.size(); ++i) {
        if (lines[i].start == AnswerPart::Start::Joined) {
            // The line before is laid out only once the edit has ended.
            edit.endEditBlock();
            partLongLine();
            edit.beginEditBlock();
        }
        tail_.push_back({lines[i], end().position(), table_});
        place(lines[i]);
    }
    edit.endEditBlock();
    tail_.erase(tail_.begin(), tail_.begin() + static_cast<std::ptrdiff_t>(finished));
}

std::vector<AnswerDocument::Line> AnswerDocument::linesOf(const AnswerPart &part) {
    using Kind = AnswerPart::Kind;
    Line line{part.kind, part.start, answer::blockFormat(part, above_)};
    if (part.kind == Kind::Row) {
        for (const QString &cell : part.cells) {
            Runs runs;
            QTextCharFormat format;
            if (part.start == AnswerPart::Start::Block)
                format.setFontWeight(QFont::DemiBold);
            for (const InlineRun &run : inlineRuns(cell))
                runs.push_back({run.text, answer::runText(run, format)});
            line.cells.push_back(std::move(runs));
        }
        if (part.start == AnswerPart::Start::Block)
            line.table = answer::tableFormat(part, above_);
        line.alignments = part.alignments;
        return {line};
    }
    if (!part.marker.isEmpty())
        line.runs.push_back({part.marker + u'\t', {}});
    if (part.kind == Kind::Code || part.kind == Kind::Plain) {
        if (!part.text.isEmpty())
            line.runs.push_back(
                {part.text, part.kind == Kind::Code ? answer::codeText() : QTextCharFormat()});
        return {line};
    }
    std::vector<Line> lines{line};
    const QTextCharFormat text =
        part.kind == Kind::Heading ? answer::headingText(part.level) : QTextCharFormat();
    for (const InlineRun &run : inlineRuns(part.text)) {
        if (!run.text.isEmpty())
            lines.back().runs.push_back({run.text, answer::runText(run, text)});
        if (run.endsLine)
            lines.push_back({part.kind, AnswerPart::Start::Line, answer::furtherLine(line.format)});
    }
    return lines;
}

QTextCursor AnswerDocument::end() const {
    QTextCursor cursor(&document_);
    cursor.movePosition(QTextCursor::End);
    return cursor;
}

void AnswerDocument::place(const Line &line) {
    if (line.kind == AnswerPart::Kind::Row) {
        placeRow(line);
        return;
    }
    QTextCursor cursor = end();
    // Behind a table there is a block already.
    if (std::exchange(table_, nullptr))
        cursor.setBlockFormat(line.format);
    else if (line.start != AnswerPart::Start::Joined)
        cursor.insertBlock(line.format, {});
    for (const Run &run : line.runs)
        cursor.insertText(run.text, run.format);
}

void AnswerDocument::placeRow(const Line &line) {
    if (!line.cells.empty() && line.start == AnswerPart::Start::Block) {
        alignments_ = line.alignments;
        beginTable(line, line.table);
    } else if (table_ && table_->rows() < mostRows) {
        table_->appendRows(1);
    } else if (table_) {
        // The columns go on as they are.
        QTextTableFormat format = table_->format();
        QTextTableFormat before = format;
        before.setBottomMargin(0);
        table_->setFormat(before);
        format.setTopMargin(0);
        format.setHeaderRowCount(0);
        beginTable(line, format);
    }
    fillLastRow(line);
}

void AnswerDocument::beginTable(const Line &row, const QTextTableFormat &format) {
    table_ = end().insertTable(1, static_cast<int>(row.cells.size()), format);
    QTextCursor behind = end();
    behind.setBlockFormat(answer::behindTable());
}

// The last part of a table has room below it.
void AnswerDocument::endTable() {
    QTextTableFormat format = table_->format();
    format.setBottomMargin(style::answerSpacing);
    table_->setFormat(format);
}

void AnswerDocument::fillLastRow(const Line &line) {
    const int row = table_->rows() - 1;
    for (std::size_t column = 0; column < line.cells.size(); ++column) {
        const QTextTableCell cell = table_->cellAt(row, static_cast<int>(column));
        QTextCursor cursor = cell.firstCursorPosition();
        QTextBlockFormat format;
        format.setProperty(answer::KindProperty, static_cast<int>(AnswerPart::Kind::Row));
        if (alignments_[column])
            format.setAlignment(alignments_[column]);
        cursor.setBlockFormat(format);
        for (const Run &run : line.cells[column])
            cursor.insertText(run.text, run.format);
    }
    needs_.resize(static_cast<std::size_t>(row));
    std::vector<ColumnNeed> &needs = needs_.emplace_back();
    for (const Runs &cell : line.cells)
        needs.push_back(needOf(cell));
    fitColumns();
}

AnswerDocument::ColumnNeed AnswerDocument::needOf(const Runs &cell) const {
    ColumnNeed need;
    qreal word = 0;
    for (const Run &run : cell) {
        const QFontMetricsF metrics(run.format.font().resolve(document_.defaultFont()));
        need.whole += metrics.horizontalAdvance(run.text);
        bool first = true;
        for (const QStringView part : QStringView(run.text).split(u' ')) {
            if (!std::exchange(first, false))
                word = 0;
            word += metrics.horizontalAdvance(part.toString());
            need.word = std::max(need.word, word);
        }
    }
    return need;
}

// Where a table is too wide, columns give way as far as their words allow, and words only then.
void AnswerDocument::fitColumns() {
    if (table_->format().headerRowCount() == 0)
        return;                // it goes on with the columns of the one before
    constexpr qreal slack = 5; // what letters of other fonts reach beyond their width
    const qreal padding = 2 * table_->format().cellPadding() + slack;
    std::vector<ColumnNeed> columns(static_cast<std::size_t>(table_->columns()));
    ColumnNeed all;
    for (std::size_t column = 0; column < columns.size(); ++column) {
        for (const std::vector<ColumnNeed> &row : needs_) {
            columns[column].whole = std::max(columns[column].whole, row[column].whole);
            columns[column].word = std::max(columns[column].word, row[column].word);
        }
        columns[column].whole += padding;
        columns[column].word += padding;
        all.whole += columns[column].whole;
        all.word += columns[column].word;
    }
    const QTextFrameFormat page = document_.rootFrame()->frameFormat();
    const qreal room = document_.textWidth() - page.leftMargin() - page.rightMargin() -
                       table_->format().leftMargin();
    const qreal give =
        all.whole > all.word ? std::clamp((room - all.word) / (all.whole - all.word), 0.0, 1.0) : 0;
    const qreal shrink = std::min(1.0, room / all.word);
    QList<QTextLength> widths;
    for (const ColumnNeed &need : columns)
        widths.emplace_back(
            QTextLength::FixedLength,
            std::max(padding, (need.word + (need.whole - need.word) * give) * shrink));
    QTextTableFormat format = table_->format();
    if (format.columnWidthConstraints() == widths)
        return;
    format.setColumnWidthConstraints(widths);
    table_->setFormat(format);
}

void AnswerDocument::takeAway(std::size_t index) {
    while (tail_.size() > index) {
        const Placed last = std::move(tail_.back());
        tail_.pop_back();
        if (table_ && table_ == last.table) {
            table_->removeRows(table_->rows() - 1, 1);
            needs_.pop_back();
            fitColumns();
            continue;
        }
        QTextCursor cursor(&document_);
        cursor.setPosition(last.from);
        cursor.movePosition(QTextCursor::End, QTextCursor::KeepAnchor);
        cursor.removeSelectedText();
        table_ = last.table;
        if (table_) {
            cursor.setBlockFormat(answer::behindTable());
            endTable();
        }
    }
}

bool AnswerDocument::change(const Line &line) {
    Placed &placed = tail_.back();
    const Line &old = placed.line;
    if (line.kind != old.kind || line.start != old.start || line.format != old.format)
        return false;
    if (line.kind == AnswerPart::Kind::Row) {
        if (!table_ || line.table != old.table || line.cells.size() != old.cells.size())
            return false;
        for (std::size_t column = 0; column < line.cells.size(); ++column) {
            QTextCursor cursor =
                table_->cellAt(table_->rows() - 1, static_cast<int>(column)).firstCursorPosition();
            cursor.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
            cursor.removeSelectedText();
        }
        alignments_ = line.start == AnswerPart::Start::Block ? line.alignments : alignments_;
        fillLastRow(line);
        placed.line = line;
        return true;
    }
    // Runs that are the same stay, and so does the same beginning of the first other one.
    std::size_t same = 0;
    int kept = 0;
    while (same < std::min(line.runs.size(), old.runs.size()) && line.runs[same] == old.runs[same])
        kept += static_cast<int>(line.runs[same++].text.size());
    qsizetype begun = 0;
    if (same < std::min(line.runs.size(), old.runs.size()) &&
        line.runs[same].format == old.runs[same].format) {
        const QStringView now(line.runs[same].text);
        const QStringView before(old.runs[same].text);
        begun =
            std::mismatch(now.begin(), now.end(), before.begin(), before.end()).first - now.begin();
    }
    int size = 0;
    for (const Run &run : old.runs)
        size += static_cast<int>(run.text.size());
    QTextCursor cursor = end();
    cursor.setPosition(cursor.position() - size + kept + static_cast<int>(begun));
    cursor.movePosition(QTextCursor::End, QTextCursor::KeepAnchor);
    if (cursor.hasSelection())
        cursor.removeSelectedText();
    for (std::size_t i = same; i < line.runs.size(); ++i)
        cursor.insertText(line.runs[i].text.sliced(i == same ? begun : 0), line.runs[i].format);
    placed.line = line;
    return true;
}

// Parts the last block before its last line on the screen.
void AnswerDocument::partLongLine() {
    const QTextBlock block = document_.lastBlock();
    document_.documentLayout()->blockBoundingRect(block); // has it laid out
    const QTextLayout *layout = block.layout();
    if (layout->lineCount() < 2)
        return;
    QTextCursor cursor(block);
    cursor.setPosition(block.position() + layout->lineAt(layout->lineCount() - 1).textStart());
    cursor.insertBlock(answer::furtherLine(block.blockFormat()));
    cursor.block().previous().setUserState(answer::Continued);
    cursor.block().setUserState(answer::EndsLine);
}

} // namespace corvid
