// The area that shows an AI answer, with the real widget on the offscreen platform.

#include "Panel/AnswerArea.h"

#include "Panel/Style.h"
#include "Panel/Symbol.h"
#include "Worlds/Wait.h"

#include <QApplication>
#include <QScrollBar>
#include <QTextBlock>

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

class AnswerAreaTest : public ::testing::Test {
protected:
    AnswerAreaTest() {
        area.resize(style::panelWidth, 300);
        area.show();
        area.setQuestion(u"question"_s);
    }
    // The answer as the reader would copy it.
    QString shown() {
        QTextCursor all(area.document()->firstBlock().next());
        all.movePosition(QTextCursor::End, QTextCursor::KeepAnchor);
        area.setTextCursor(all);
        const QString text = area.markedText();
        all.clearSelection();
        area.setTextCursor(all);
        return text;
    }
    void setAnswer(const QString &text) {
        answer = text;
        area.answerChanged();
    }
    void grow(const QString &text) {
        setAnswer(text);
        EXPECT_TRUE(waitUntil([&] { return area.document()->characterCount() >= text.size(); }));
    }

    QString answer;
    AnswerArea area{[this]() -> const QString & { return answer; }};
    QScrollBar *bar = area.verticalScrollBar();
};

} // namespace

TEST_F(AnswerAreaTest, theFirstWordsShowAtOnce) {
    setAnswer(u"first"_s);
    EXPECT_EQ(shown(), u"first");
}

TEST_F(AnswerAreaTest, theFirstWordsOfALaterAnswerShowAtOnceToo) {
    setAnswer(u"first"_s);
    area.setQuestion(u"another"_s);
    setAnswer(u"second"_s);
    EXPECT_EQ(shown(), u"second");
}

TEST_F(AnswerAreaTest, whatComesWithinAFrameShowsTogetherInTheEnd) {
    QString text;
    for (int i = 0; i < 500; ++i) {
        text += u"word%1 "_s.arg(i) + (i % 50 == 0 ? u"\n"_s : QString());
        setAnswer(text);
    }
    EXPECT_TRUE(waitUntil([&] { return shown() == text; }));
}

TEST_F(AnswerAreaTest, anAnswerThatDoesNotContinueReplacesTheOneShown) {
    grow(u"some text"_s);
    setAnswer(u"Error: gone"_s);
    EXPECT_TRUE(waitUntil([&] { return shown() == u"Error: gone"; }));
    EXPECT_EQ(area.document()->firstBlock().text(), u"question");
}

TEST_F(AnswerAreaTest, aLongParagraphReadsAsOneThoughItIsPartedForTheLayout) {
    const QString text = u"lorem ipsum dolor "_s.repeated(2'000) + u"\nend"_s;
    setAnswer(text);
    EXPECT_GT(area.document()->blockCount(), 10);
    EXPECT_EQ(shown(), text);
}

TEST_F(AnswerAreaTest, aLongParagraphLooksTheSameAsUnparted) {
    const QString text = u"lorem ipsum dolor sit amet "_s.repeated(300);
    setAnswer(text);
    int lines = 0;
    for (QTextBlock block = area.document()->firstBlock().next(); block.isValid();
         block = block.next())
        lines += block.layout()->lineCount();
    QTextLayout whole(text, area.font());
    QTextOption wrap;
    wrap.setWrapMode(area.wordWrapMode());
    whole.setTextOption(wrap);
    whole.beginLayout();
    const qreal width = area.viewport()->width() - 2 * style::answerPadding -
                        style::copySymbolSize - style::answerSpacing;
    for (QTextLine line = whole.createLine(); line.isValid(); line = whole.createLine())
        line.setLineWidth(width);
    whole.endLayout();
    EXPECT_EQ(lines, whole.lineCount());
}

TEST_F(AnswerAreaTest, markupIsText) {
    const QString text = u"<b>bold</b> &amp; <img src=\"http://127.0.0.1/x\"> [link](http://x)"_s;
    setAnswer(text);
    EXPECT_EQ(shown(), text);
    area.setQuestion(u"<h1>q</h1>"_s);
    EXPECT_EQ(area.document()->firstBlock().text(), u"<h1>q</h1>");
}

TEST_F(AnswerAreaTest, aQuestionStandsOnOneLineWithoutWhatIsNotSeen) {
    area.setQuestion(u"what \u202e is\n\tthis\u0007\ufdd0"_s);
    EXPECT_EQ(area.document()->firstBlock().text(), u"what is this");
}

TEST_F(AnswerAreaTest, itFollowsItsEndUnlessTheReaderScrolledUp) {
    QString text = u"line\n"_s.repeated(100);
    grow(text);
    const auto hasRoomFor = [&](int lines) {
        return waitUntil([&] { return bar->maximum() > lines * style::answerFontSize; });
    };
    ASSERT_TRUE(hasRoomFor(70));
    EXPECT_EQ(bar->value(), bar->maximum());
    bar->setValue(10);
    grow(text += u"line\n"_s.repeated(100));
    ASSERT_TRUE(hasRoomFor(170));
    EXPECT_EQ(bar->value(), 10);
    bar->setValue(bar->maximum());
    grow(text += u"line\n"_s.repeated(100));
    ASSERT_TRUE(hasRoomFor(270));
    EXPECT_EQ(bar->value(), bar->maximum());
}

TEST_F(AnswerAreaTest, whatIsMarkedStaysMarkedWhileTheAnswerGrows) {
    setAnswer(u"one two"_s);
    // From the widget's own cursor, as the mouse marks.
    QTextCursor all = area.textCursor();
    all.setPosition(area.document()->firstBlock().next().position());
    all.movePosition(QTextCursor::End, QTextCursor::KeepAnchor);
    area.setTextCursor(all);
    setAnswer(u"one two three"_s);
    EXPECT_TRUE(waitUntil([&] { return area.toPlainText().endsWith(u"three"); }));
    EXPECT_EQ(area.markedText(), u"one two");
}

TEST_F(AnswerAreaTest, theControlOfCopyingNeverCoversText) {
    for (const Qt::LayoutDirection direction : {Qt::LeftToRight, Qt::RightToLeft}) {
        area.setLayoutDirection(direction);
        area.setQuestion(u"question"_s);
        setAnswer(u"word "_s.repeated(100));
        const auto *copy = area.findChild<Symbol *>();
        ASSERT_TRUE(copy->isVisible());
        for (QTextBlock block = area.document()->firstBlock(); block.isValid();
             block = block.next()) {
            const qreal left = block.layout()->position().x();
            for (int i = 0; i < block.layout()->lineCount(); ++i) {
                const QRectF line = block.layout()->lineAt(i).naturalTextRect();
                if (direction == Qt::LeftToRight)
                    EXPECT_LT(left + line.right(), copy->x());
                else
                    EXPECT_GT(left + line.left(), copy->geometry().right());
            }
        }
    }
}
