#pragma once

#include "Chat/AnswerBlocks.h"
#include "Chat/InlineMarkup.h"

#include <QTextBlockFormat>
#include <QTextCharFormat>
#include <QTextTableFormat>

class QTextBlock;

/** How the parts of an answer are set. Main thread only. */
namespace corvid::answer {

/** What the formats of blocks and of text say besides. */
enum Property {
    KindProperty = QTextFormat::UserProperty, ///< an AnswerPart::Kind
    BeginsProperty,                           ///< another block of code begins here
    QuotesProperty,                           ///< so many quotations deep
    InlineCodeProperty
};

/** A paragraph or a line of code is laid out as a whole each time it grows. A long one is therefore
    parted where a line ends on the screen anyway; the user state of such a block says so. */
enum BlockState { EndsLine = -1, Continued = 1 };

/** Of a list's or quotation's inset. */
inline constexpr int insetWidth = 22;
inline constexpr int codePadding = 10;

/** Whether a block is of such a part. */
bool isOf(const QTextBlock &block, AnswerPart::Kind kind);
/** Whether another block of code begins with this line. */
bool beginsCode(const QTextBlock &block);

/** Of a part that follows one of a kind. */
QTextBlockFormat blockFormat(const AnswerPart &part, AnswerPart::Kind above);
/** Of a further line of the same part. */
QTextBlockFormat furtherLine(QTextBlockFormat format);

QTextCharFormat codeText();
QTextCharFormat headingText(int level);
QTextCharFormat runText(const InlineRun &run, QTextCharFormat around);

/** A table of so many columns, as far in as its first row says. */
QTextTableFormat tableFormat(const AnswerPart &row, AnswerPart::Kind above);
/** The block that Qt's documents have behind a table: no taller than need be. */
QTextBlockFormat behindTable();

} // namespace corvid::answer
