// The area that shows an AI answer, with the real widget on the offscreen platform.

#include "Panel/AnswerArea.h"

#include "Panel/Style.h"
#include "Panel/Symbol.h"
#include "Worlds/Wait.h"

#include <QApplication>
#include <QMouseEvent>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextTable>

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

    Symbol *control(const QString &name) const {
        for (Symbol *symbol : area.findChildren<Symbol *>()) {
            if (symbol->accessibleName() == name && symbol->isVisible())
                return symbol;
        }
        return nullptr;
    }
    void mouse(QEvent::Type type, const QPointF &at) {
        QMouseEvent event(type, at, area.viewport()->mapToGlobal(at), Qt::LeftButton,
                          type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton,
                          Qt::NoModifier);
        QApplication::sendEvent(area.viewport(), &event);
    }
    void answerBusily(const QString &text) {
        area.setBusy(true);
        grow(text);
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
    text.replace(u" \n"_s, u"\n"_s); // at the end of a line a blank is nothing
    EXPECT_TRUE(waitUntil([&] { return shown() == text.trimmed(); }));
}

TEST_F(AnswerAreaTest, anAnswerThatDoesNotContinueReplacesTheOneShown) {
    grow(u"some text"_s);
    setAnswer(u"Error: gone"_s);
    EXPECT_TRUE(waitUntil([&] { return shown() == u"Error: gone"; }));
    EXPECT_EQ(area.document()->firstBlock().text(), u"question");
}

TEST_F(AnswerAreaTest, aLongParagraphReadsAsOneThoughItIsPartedForTheLayout) {
    const QString text = u"lorem ipsum dolor "_s.repeated(2'000) + u"sit\nend"_s;
    setAnswer(text);
    EXPECT_TRUE(waitUntil([&] { return shown() == text; }));
    EXPECT_GT(area.document()->blockCount(), 10);
}

TEST_F(AnswerAreaTest, aLongParagraphLooksTheSameAsUnparted) {
    const QString text = u"lorem ipsum dolor sit amet "_s.repeated(300).trimmed();
    setAnswer(text);
    ASSERT_TRUE(waitUntil([&] { return shown() == text; }));
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

TEST_F(AnswerAreaTest, htmlIsText) {
    const QString text = u"<b>bold</b> &amp; <img src=\"http://127.0.0.1/x\">"_s;
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

TEST_F(AnswerAreaTest, markdownIsReadWithoutItsSigns) {
    setAnswer(u"# Title\n\n**a** `b` [c](https://x.org)\n\n- d\n\n```\ne\n```\n> f"_s);
    EXPECT_EQ(shown(), u"Title\na b c\n•\td\ne\nf");
}

TEST_F(AnswerAreaTest, theCellsOfARowAreMarkedWithTabsBetween) {
    setAnswer(u"see\n\n|a|b|\n|-|-|\n|c|d|\n\nend"_s);
    EXPECT_EQ(shown(), u"see\na\tb\nc\td\nend");
}

TEST_F(AnswerAreaTest, aFailureIsShownAsItIsAndCanBeTriedAgain) {
    const QString text = u"Error: *no* http://x_y_z\n\n# Set [it](http://x)"_s;
    int asked = 0;
    QObject::connect(&area, &AnswerArea::retryRequested, [&] { ++asked; });
    EXPECT_FALSE(control(u"Ask again"_s));
    area.setKind(AnswerArea::Kind::Failure);
    setAnswer(text);
    EXPECT_TRUE(waitUntil([&] { return shown() == text; }));
    ASSERT_TRUE(control(u"Ask again"_s));
    control(u"Ask again"_s)->click();
    EXPECT_EQ(asked, 1);
    area.setQuestion(u"another"_s);
    EXPECT_FALSE(control(u"Ask again"_s));
}

TEST_F(AnswerAreaTest, whileTheAnswerComesItCanBeStoppedAndShowsThatItIsComing) {
    const auto signs = [&] {
        int shownSigns = 0;
        for (const QWidget *widget : area.findChildren<QWidget *>())
            shownSigns +=
                widget->accessibleName() == u"The answer is still coming" && widget->isVisible();
        return shownSigns;
    };
    int stopped = 0;
    QObject::connect(&area, &AnswerArea::stopRequested, [&] { ++stopped; });
    area.setBusy(true);
    EXPECT_EQ(signs(), 0) << "the larger one for the first words is there";
    setAnswer(u"first"_s);
    EXPECT_TRUE(waitUntil([&] { return signs() == 1; }));
    ASSERT_TRUE(control(u"Stop the answer"_s));
    control(u"Stop the answer"_s)->click();
    EXPECT_EQ(stopped, 1);
    area.setBusy(false);
    EXPECT_EQ(signs(), 0);
    EXPECT_FALSE(control(u"Stop the answer"_s));
}

TEST_F(AnswerAreaTest, eachBlockOfCodeHasItsControlWhichCopiesItWithoutFences) {
    QStringList copied;
    QObject::connect(&area, &AnswerArea::copyCodeRequested,
                     [&](const QString &code) { copied.append(code); });
    setAnswer(u"```sh\na\n\n  b\n```\ntext\n```\nc\n```\n1. x\n   ```\n   d\n   ```"_s);
    QList<Symbol *> controls;
    for (Symbol *symbol : area.findChildren<Symbol *>()) {
        if (symbol->accessibleName() == u"Copy the code" && symbol->isVisible())
            controls.append(symbol);
    }
    ASSERT_EQ(controls.size(), 3);
    for (Symbol *each : controls)
        each->click();
    EXPECT_EQ(copied, (QStringList{u"a\n\n  b"_s, u"c"_s, u"d"_s}));
    EXPECT_EQ(area.lastCode(), u"d");
    EXPECT_EQ(controls.last()->accessibleDescription(), u"Copied");
    EXPECT_EQ(controls.first()->accessibleDescription(), QString());
}

TEST_F(AnswerAreaTest, longCodeIsCopiedAsItWasSent) {
    const QString code = u"one line "_s.repeated(600) + u"\nshort\n"_s + u"x"_s.repeated(5000);
    setAnswer(u"```\n"_s + code + u"\n```"_s);
    EXPECT_TRUE(waitUntil([&] { return area.lastCode() == code; }));
    EXPECT_GT(area.document()->blockCount(), 5);
}

TEST_F(AnswerAreaTest, aLinkIsOpenedByAClickAndNothingElse) {
    QStringList opened;
    QObject::connect(&area, &AnswerArea::linkClicked,
                     [&](const QString &address) { opened.append(address); });
    setAnswer(u"[manual](https://x.org/a) and text"_s);
    const QTextBlock line = area.document()->lastBlock();
    QTextCursor within(line);
    within.movePosition(QTextCursor::Right, QTextCursor::MoveAnchor, 3);
    const QPointF link = area.cursorRect(within).center();
    within.movePosition(QTextCursor::End);
    const QPointF text = area.cursorRect(within).center() - QPointF(12, 0);
    mouse(QEvent::MouseMove, link);
    EXPECT_TRUE(opened.isEmpty());
    mouse(QEvent::MouseButtonPress, link);
    mouse(QEvent::MouseButtonRelease, text);
    EXPECT_TRUE(opened.isEmpty()) << "released elsewhere";
    area.setTextCursor(QTextCursor(line));
    mouse(QEvent::MouseButtonPress, link);
    mouse(QEvent::MouseButtonRelease, link);
    EXPECT_EQ(opened, QStringList{u"https://x.org/a"_s});
    mouse(QEvent::MouseButtonPress, text);
    mouse(QEvent::MouseButtonRelease, text);
    EXPECT_EQ(opened.size(), 1);
}

TEST_F(AnswerAreaTest, aFinishedAnswerShowsItsBeginning) {
    answerBusily(u"line\n"_s.repeated(100));
    ASSERT_TRUE(waitUntil([&] { return bar->value() > 0; })) << "it is followed";
    area.setBusy(false);
    EXPECT_TRUE(waitUntil([&] { return bar->value() == 0; }));
}

TEST_F(AnswerAreaTest, aFinishedAnswerStaysWhereTheReaderHasScrolled) {
    answerBusily(u"line\n"_s.repeated(100));
    ASSERT_TRUE(waitUntil([&] { return bar->value() > 0; }));
    area.scrollBy(-2);
    const int place = bar->value();
    ASSERT_GT(place, 0);
    area.setBusy(false);
    grow(answer + u"end"_s);
    EXPECT_TRUE(waitUntil([&] { return area.toPlainText().endsWith(u"end"); }));
    EXPECT_EQ(bar->value(), place);
}

TEST_F(AnswerAreaTest, whoGoesToTheEndStaysThere) {
    answerBusily(u"line\n"_s.repeated(100));
    area.scrollTo(AnswerArea::Edge::Beginning);
    EXPECT_EQ(bar->value(), 0);
    area.scrollTo(AnswerArea::Edge::End);
    grow(answer + u"line\n"_s.repeated(100));
    area.setBusy(false);
    EXPECT_TRUE(waitUntil([&] { return bar->value() > 0 && bar->value() == bar->maximum(); }));
}

TEST_F(AnswerAreaTest, whatIsMarkedStaysMarkedThoughItsLineTurnsOutToBeMarkup) {
    area.setBusy(true);
    setAnswer(u"one two"_s);
    QTextCursor word = area.textCursor();
    word.setPosition(area.document()->lastBlock().position());
    word.movePosition(QTextCursor::NextWord, QTextCursor::KeepAnchor);
    area.setTextCursor(word);
    setAnswer(u"one two\n---\nmore"_s);
    EXPECT_TRUE(waitUntil([&] { return area.toPlainText().endsWith(u"more"); }));
    EXPECT_EQ(area.markedText().trimmed(), u"one");
}
