#pragma once

#include "Chat/AnswerBlocks.h"

#include <QTextBlockFormat>
#include <QTextCharFormat>
#include <QTextCursor>
#include <QTextTableFormat>

#include <vector>

class QTextDocument;
class QTextTable;

namespace corvid {

/**
 * The question and an answer as a document that grows: what is finished is laid out once, and of
 * the end only what differs is written anew. Everything in it is text; nothing is loaded.
 * AnswerText reads it, and AnswerGrounds draws what lies below the text. Main thread only.
 */
class AnswerDocument {
public:
    /** The document is the caller's, and nobody else changes it. */
    explicit AnswerDocument(QTextDocument &document) : document_(document) {}

    /** Begins anew with a question. */
    void begin(const QString &question, AnswerBlocks::Syntax syntax);

    /** Takes more of the answer; nothing of it shows before show(). */
    void read(QStringView text) { blocks_.read(text, finished_); }

    /** Brings the document up to date with what was read. */
    void show(AnswerBlocks::More more);

private:
    struct Run {
        QString text;
        QTextCharFormat format;
        bool operator==(const Run &) const = default;
    };
    using Runs = std::vector<Run>;
    /** A block of the document, or a row of a table. */
    struct Line {
        AnswerPart::Kind kind;
        AnswerPart::Start start;
        QTextBlockFormat format;
        Runs runs = {};
        std::vector<Runs> cells = {};               ///< of a row
        QTextTableFormat table = {};                ///< that it begins, if it does
        std::vector<Qt::Alignment> alignments = {}; ///< likewise
        bool operator==(const Line &) const = default;
    };
    struct ColumnNeed {
        qreal whole = 0;
        qreal word = 0;
    };
    struct Placed {
        Line line;
        int from;          ///< the end of the document before
        QTextTable *table; ///< that was to be gone on with before
    };

    std::vector<Line> linesOf(const AnswerPart &part);
    void place(const Line &line);
    void placeRow(const Line &line);
    void beginTable(const Line &row, const QTextTableFormat &format);
    void endTable();
    void fillLastRow(const Line &line);
    /** Takes away what stands at the end from the tail's element `index` on. */
    void takeAway(std::size_t index);
    /** Makes the tail's only element this line by changing what differs; false if it cannot. */
    bool change(const Line &line);
    void partLongLine();
    void fitColumns();
    /** How wide a cell's text is on one line, and its longest word. */
    ColumnNeed needOf(const Runs &cell) const;
    QTextCursor end() const;

    QTextDocument &document_;
    AnswerBlocks blocks_;
    std::vector<AnswerPart> finished_; ///< read, but not in the document
    std::vector<Placed> tail_;         ///< what may still change, at the document's end
    AnswerPart::Kind above_ = AnswerPart::Kind::Paragraph; ///< of the last part that is finished
    QTextTable *table_ = nullptr;                ///< while nothing follows it; the document's own
    std::vector<Qt::Alignment> alignments_;      ///< of its columns
    std::vector<std::vector<ColumnNeed>> needs_; ///< of its rows
};

} // namespace corvid
