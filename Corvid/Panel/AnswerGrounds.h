#pragma once

#include <QRectF>
#include <QTextBlock>

#include <vector>

class QPainter;
class QTextEdit;

/** What lies below an answer's text: fields of code, bars beside quotations, lines across and
    between the rows of tables. Only what is in sight is looked at. Main thread only. */
namespace corvid::answer {

/** A field of code, as far as it is in sight, in the viewport's coordinates. */
struct CodeField {
    QTextBlock line; ///< one of it
    QRectF place;
};
std::vector<CodeField> codeFieldsInSight(const QTextEdit &area);

void paintGrounds(QPainter &painter, const QTextEdit &area);

} // namespace corvid::answer
