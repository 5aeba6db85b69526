#include "Panel/AnswerText.h"

#include "Panel/AnswerFormats.h"

#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextTable>

#include <algorithm>

namespace corvid::answer {

using namespace Qt::Literals::StringLiterals;

QString codeAt(const QTextBlock &line) {
    if (!isOf(line, AnswerPart::Kind::Code))
        return {};
    QTextBlock block = line;
    while (!beginsCode(block))
        block = block.previous();
    QString text = block.text();
    for (bool joined = block.userState() == Continued;;) {
        block = block.next();
        if (!isOf(block, AnswerPart::Kind::Code) || beginsCode(block))
            return text;
        text += (joined ? QString() : u"\n"_s) + block.text();
        joined = block.userState() == Continued;
    }
}

QString lastCode(const QTextDocument &document) {
    QTextBlock block = document.lastBlock();
    while (block.isValid() && !isOf(block, AnswerPart::Kind::Code))
        block = block.previous();
    return codeAt(block);
}

QString markedText(const QTextCursor &marked) {
    if (!marked.hasSelection())
        return {};
    const QTextDocument *document = marked.document();
    QString text;
    for (QTextBlock block = document->findBlock(marked.selectionStart());
         block.isValid() && block.position() < marked.selectionEnd(); block = block.next()) {
        const int from = std::max(0, marked.selectionStart() - block.position());
        const int to = std::min(block.length() - 1, marked.selectionEnd() - block.position());
        text += block.text().sliced(from, to - from);
        const bool goesOn = marked.selectionEnd() >= block.position() + block.length();
        if (!goesOn || block.userState() == Continued)
            continue;
        const QTextTable *table = QTextCursor(block).currentTable();
        const bool parted = table && isOf(block.next(), AnswerPart::Kind::Row);
        const QTextTable *other = parted ? QTextCursor(block.next()).currentTable() : nullptr;
        const bool sameRow =
            other == table && parted &&
            table->cellAt(block.position()).row() == table->cellAt(block.next().position()).row();
        const bool behindTable = !table && isOf(block, AnswerPart::Kind::Row);
        if (!behindTable)
            text += sameRow ? u'\t' : u'\n';
    }
    return text;
}

} // namespace corvid::answer
