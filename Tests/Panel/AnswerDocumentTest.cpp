// Twenty answers as they are read, and that how they came makes no difference to that.

#include "Panel/AnswerDocument.h"

#include "Panel/AnswerArea.h"
#include "Panel/Style.h"
#include "Worlds/Wait.h"

#include <QAccessible>
#include <QDir>
#include <QFile>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextTable>

#include <gtest/gtest.h>

#include <random>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

QString contentsOf(const QString &name) {
    QFile file(QStringLiteral(CORVID_TEST_FIXTURES "/answers/") + name);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(name);
    return QString::fromUtf8(file.readAll());
}

QStringList answers() {
    return QDir(QStringLiteral(CORVID_TEST_FIXTURES "/answers")).entryList({u"*.md"_s});
}

/** Everything about a document that could look different. */
QString described(const QTextDocument &document) {
    QString all;
    QTextStream out(&all);
    for (QTextBlock block = document.firstBlock(); block.isValid(); block = block.next()) {
        const QTextBlockFormat format = block.blockFormat();
        out << block.userState() << ' ' << format.topMargin() << ' ' << format.indent() << ' '
            << format.textIndent() << ' ' << format.lineHeight() << ' ' << format.leftMargin()
            << ' ' << format.alignment().toInt();
        for (int property = 0; property < 4; ++property)
            out << ' ' << format.property(QTextFormat::UserProperty + property).toInt();
        if (const QTextTable *table = QTextCursor(block).currentTable()) {
            const QTextTableCell cell = table->cellAt(block.position());
            out << " cell " << cell.row() << ' ' << cell.column() << ' '
                << table->format().topMargin() << table->format().bottomMargin();
            for (const QTextLength &width : table->format().columnWidthConstraints())
                out << ' ' << width.rawValue();
        }
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QTextCharFormat text = it.fragment().charFormat();
            out << '{' << text.fontWeight() << ' ' << text.fontItalic() << text.fontStrikeOut()
                << text.fontFixedPitch() << ' ' << text.property(QTextFormat::FontPixelSize).toInt()
                << text.anchorHref() << ' ' << it.fragment().text() << '}';
        }
        out << '\n';
    }
    return all;
}

/** The description of the document that an answer yields which comes in such pieces. */
QString documentOf(const QStringList &pieces) {
    QTextDocument document;
    document.setTextWidth(590);
    AnswerDocument answer(document);
    answer.begin(u"question"_s, AnswerBlocks::Syntax::Markdown);
    for (const QString &piece : pieces) {
        answer.read(piece);
        answer.show(AnswerBlocks::More::Yes);
    }
    answer.show(AnswerBlocks::More::No);
    return described(document);
}

} // namespace

TEST(AnswerDocument, thereAreTwentyAnswers) {
    EXPECT_EQ(answers().size(), 20);
}

TEST(AnswerDocument, aScreenReaderFindsTheTextWithoutMarkup) {
    for (const QString &name : answers()) {
        QString answer;
        AnswerArea area([&]() -> const QString & { return answer; });
        area.resize(style::panelWidth, 330);
        area.show(); // or it would have no width to set the text in
        area.setQuestion(u"question"_s);
        answer = contentsOf(name);
        area.answerChanged();
        const QString expected =
            u"question\n"_s + contentsOf(name.chopped(2) + u"txt"_s).chopped(1);
        QAccessibleTextInterface *text =
            QAccessible::queryAccessibleInterface(&area)->textInterface();
        const auto isRead = [&] {
            // Where a long paragraph is parted depends on the font; it is nothing to be heard.
            return text->text(0, text->characterCount()).remove(QChar(0x200b));
        };
        EXPECT_TRUE(waitUntil([&] { return isRead() == expected; })) << qPrintable(name) << '\n'
                                                                     << qPrintable(isRead());
    }
}

TEST(AnswerDocument, whereverAnAnswerIsCutItsDocumentIsTheSame) {
    for (const QString &name : answers()) {
        const QString text = contentsOf(name);
        const QString whole = documentOf({text});
        std::mt19937 random(7);
        // Every place of the short ones, with another one behind it.
        const qsizetype step = std::max<qsizetype>(1, text.size() / 40);
        for (qsizetype first = 0; first <= text.size(); first += step) {
            const auto rest = static_cast<unsigned>(text.size() - first);
            const qsizetype second = first + static_cast<qsizetype>(random() % (rest + 1));
            ASSERT_EQ(documentOf({text.first(first), text.sliced(first, second - first),
                                  text.sliced(second)}),
                      whole)
                << qPrintable(name) << ' ' << first << ' ' << second;
        }
    }
}

TEST(AnswerDocument, anAnswerThatComesCharacterByCharacterIsTheSameInTheEnd) {
    for (const QString &name : answers()) {
        const QString text = contentsOf(name).left(1200);
        QStringList characters;
        for (const QChar c : text)
            characters.append(QString(c));
        ASSERT_EQ(documentOf(characters), documentOf({text})) << qPrintable(name);
    }
}
