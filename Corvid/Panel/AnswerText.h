#pragma once

#include <QString>

class QTextBlock;
class QTextCursor;
class QTextDocument;

/** What can be had of an answer's document as text. Main thread only. */
namespace corvid::answer {

/** The code that a line of it belongs to, as it was sent. Its lines end between each other, not
    behind the last: in a terminal it waits for Return. Empty where there is none. */
QString codeAt(const QTextBlock &line);
/** The last code of all. */
QString lastCode(const QTextDocument &document);

/** What is marked, as it reads: the cells of a row are parted by tabs. */
QString markedText(const QTextCursor &marked);

} // namespace corvid::answer
