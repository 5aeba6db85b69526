#include "Panel/AnswerArea.h"

#include "Base/Text.h"
#include "Panel/Style.h"
#include "Panel/Symbol.h"

#include <QAbstractTextDocumentLayout>
#include <QBasicTimer>
#include <QContextMenuEvent>
#include <QMimeData>
#include <QPainter>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextFrame>

#include <chrono>

namespace corvid {

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto frame = 16ms;

// A paragraph is laid out as a whole each time it grows. A long one is therefore parted where a
// line ends on the screen anyway; such a block is not the end of a paragraph.
constexpr int longestBlock = 1000;
enum BlockState { EndOfParagraph = -1, Continued = 1 };

/** A small turning wheel. Costs nothing while it is hidden; stands still where the desktop wants no
    motion. */
class ProgressIndicator final : public QWidget {
public:
    explicit ProgressIndicator(QWidget *parent) : QWidget(parent) {
        setFixedSize(18, 18);
        setAttribute(Qt::WA_TransparentForMouseEvents);
        setAccessibleName(u"Waiting for the answer"_s);
        hide();
    }

protected:
    void showEvent(QShowEvent * /*event*/) override {
        constexpr int stepMilliseconds = 100;
        if (style::appearance().motion)
            timer_.start(stepMilliseconds, this);
    }

    void hideEvent(QHideEvent * /*event*/) override { timer_.stop(); }

    void timerEvent(QTimerEvent * /*event*/) override {
        step_ = (step_ + 1) % spokes;
        update();
    }

    void paintEvent(QPaintEvent * /*event*/) override {
        constexpr qreal faintest = 0.15;
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.translate(rect().toRectF().center());
        painter.rotate(360.0 * step_ / spokes); // to the brightest spoke, then back in time
        const qreal outer = width() / 2.0 - 1;
        for (int age = 0; age < spokes; ++age) {
            const qreal opacity =
                faintest + (style::primary().alphaF() - faintest) * (spokes - age) / spokes;
            painter.setPen(
                QPen(style::faded(style::primary(), opacity), 1.8, Qt::SolidLine, Qt::RoundCap));
            painter.drawLine(QPointF(0, -outer), QPointF(0, -outer / 2));
            painter.rotate(-360.0 / spokes);
        }
    }

private:
    static constexpr int spokes = 8;

    QBasicTimer timer_;
    int step_ = 0;
};

} // namespace

AnswerArea::AnswerArea(std::function<const QString &()> answer, QWidget *parent)
    : QTextEdit(parent), answer_(std::move(answer)), progress_(new ProgressIndicator(viewport())),
      copy_(new Symbol(u"copy"_s, style::copySymbolSize, this)) {
    setReadOnly(true);
    setUndoRedoEnabled(false);
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::ClickFocus);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    viewport()->setAutoFillBackground(false);
    setFont(style::sized(QFont(), style::answerFontSize));
    setAccessibleName(u"Answer"_s);

    copy_->setAccessibleName(u"Copy the answer"_s);
    copy_->setToolTip(u"Copy the answer (Control+C)"_s);
    copy_->hide();
    connect(copy_, &Symbol::clicked, this, &AnswerArea::copyRequested);
    copiedFor_.setSingleShot(true);
    connect(&copiedFor_, &QTimer::timeout, this, [this] { copy_->setSymbol(u"copy"_s); });

    // The layout of a long text is completed little by little, and its end moves with it.
    connect(verticalScrollBar(), &QScrollBar::rangeChanged, this, [this](int /*min*/, int max) {
        if (followsEnd_)
            verticalScrollBar()->setValue(max);
    });

    nextFrame_.setSingleShot(true);
    nextFrame_.setTimerType(Qt::PreciseTimer);
    connect(&nextFrame_, &QTimer::timeout, this, &AnswerArea::showAnswer);
}

void AnswerArea::setQuestion(const QString &question) {
    nextFrame_.stop();
    shown_.clear();
    followsEnd_ = false;
    clear();

    QTextFrameFormat page = document()->rootFrame()->frameFormat();
    page.setMargin(style::answerPadding);
    // The copy control has a column of its own, so that it never covers text.
    constexpr int column = style::answerPadding + style::copySymbolSize + style::answerSpacing;
    if (isRightToLeft())
        page.setLeftMargin(column);
    else
        page.setRightMargin(column);
    document()->setDocumentMargin(0);
    document()->rootFrame()->setFrameFormat(page);

    QTextCursor cursor(document());
    QTextCharFormat headline;
    headline.setFontWeight(QFont::DemiBold);
    QTextBlockFormat questionBlock;
    questionBlock.setBottomMargin(style::answerSpacing);
    cursor.setBlockFormat(questionBlock);
    cursor.insertText(displayLine(question).simplified(), headline);
    QTextBlockFormat answerBlock;
    answerBlock.setLineHeight(125, QTextBlockFormat::ProportionalHeight);
    cursor.insertBlock(answerBlock, QTextCharFormat());
    // A selection does not grow with the text behind it.
    QTextCursor marked(document());
    marked.setKeepPositionOnInsert(true);
    setTextCursor(marked);
    verticalScrollBar()->setValue(0);
    placeControls();
}

void AnswerArea::answerChanged() {
    if (!nextFrame_.isActive())
        showAnswer();
}

void AnswerArea::setBusy(bool busy) {
    busy_ = busy;
    placeControls();
}

void AnswerArea::showAnswer() {
    const QString &answer = answer_();
    if (!answer.startsWith(shown_))
        setQuestion(QString(document()->firstBlock().text()));
    if (answer.size() == shown_.size())
        return;
    const bool first = shown_.isEmpty();
    const QString added = answer.sliced(shown_.size());
    append(added);
    // A copy of its own: a shared one would be copied as a whole when the answer next grows.
    shown_ += added;
    nextFrame_.start(frame);
    if (first)
        placeControls();
}

void AnswerArea::append(const QString &text) {
    followsEnd_ = verticalScrollBar()->value() == verticalScrollBar()->maximum() &&
                  !textCursor().hasSelection();
    QTextCursor end(document());
    end.movePosition(QTextCursor::End);
    qsizetype from = 0;
    while (from <= text.size()) {
        // In slices, or a long text that comes at once would be one long paragraph.
        const qsizetype newline = text.indexOf(u'\n', from);
        const qsizetype lineEnd = newline < 0 ? text.size() : newline;
        for (; from < lineEnd; from += longestBlock) {
            end.insertText(text.sliced(from, std::min<qsizetype>(longestBlock, lineEnd - from)));
            settleLongBlock();
            end.movePosition(QTextCursor::End);
        }
        if (newline < 0)
            break;
        end.insertBlock();
        from = newline + 1;
    }
}

// Parts the last block before its last line on the screen once it has become long.
void AnswerArea::settleLongBlock() {
    QTextBlock block = document()->lastBlock();
    if (block.length() <= longestBlock)
        return;
    // Asking for the size makes the layout of the text that was just inserted.
    document()->documentLayout()->documentSize();
    const QTextLayout *layout = block.layout();
    if (layout->lineCount() < 2)
        return;
    QTextCursor cursor(block);
    cursor.setPosition(block.position() + layout->lineAt(layout->lineCount() - 1).textStart());
    cursor.insertBlock();
    block = cursor.block().previous();
    block.setUserState(Continued);
    cursor.block().setUserState(EndOfParagraph);
}

void AnswerArea::placeControls() {
    const QTextBlock answer = document()->firstBlock().next();
    const bool waiting = busy_ && shown_.isEmpty();
    if (waiting && answer.isValid())
        progress_->move(
            document()->documentLayout()->blockBoundingRect(answer).topLeft().toPoint());
    progress_->setVisible(waiting);
    copy_->setVisible(!shown_.isEmpty());
    const int x = width() - style::answerPadding - copy_->width();
    copy_->move(isRightToLeft() ? style::answerPadding : x, style::answerPadding);
}

void AnswerArea::confirmCopy() {
    copy_->setSymbol(u"check"_s);
    copiedFor_.start(style::copiedFor);
}

void AnswerArea::scrollBy(int lines, int pages) {
    constexpr int line = 40;
    // A line of the old page stays in sight, to read on from.
    const int page = viewport()->height() - line;
    verticalScrollBar()->setValue(verticalScrollBar()->value() + lines * line + pages * page);
}

QString AnswerArea::markedText() const {
    const QTextCursor cursor = textCursor();
    if (!cursor.hasSelection())
        return {};
    QString text;
    for (QTextBlock block = document()->findBlock(cursor.selectionStart());
         block.isValid() && block.position() < cursor.selectionEnd(); block = block.next()) {
        const int from = std::max(0, cursor.selectionStart() - block.position());
        const int to = std::min(block.length() - 1, cursor.selectionEnd() - block.position());
        text += block.text().sliced(from, to - from);
        const bool goesOn = cursor.selectionEnd() >= block.position() + block.length();
        if (goesOn && block.userState() != Continued)
            text += u'\n';
    }
    return text;
}

QMimeData *AnswerArea::createMimeDataFromSelection() const {
    auto *text = new QMimeData;
    text->setText(markedText());
    return text;
}

void AnswerArea::resizeEvent(QResizeEvent *event) {
    QTextEdit::resizeEvent(event);
    placeControls();
}

// No menu: the panel would lose the keyboard to it, and hide.
void AnswerArea::contextMenuEvent(QContextMenuEvent *event) {
    event->accept();
}

} // namespace corvid
