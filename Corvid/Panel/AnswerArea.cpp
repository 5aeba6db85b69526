#include "Panel/AnswerArea.h"

#include "Panel/AnswerAccessible.h"
#include "Panel/AnswerFormats.h"
#include "Panel/AnswerGrounds.h"
#include "Panel/AnswerText.h"
#include "Panel/ProgressIndicator.h"
#include "Panel/Style.h"
#include "Panel/Symbol.h"

#include <QAbstractTextDocumentLayout>
#include <QAccessible>
#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QMimeData>
#include <QPainter>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextFrame>
#include <QToolTip>

#include <algorithm>
#include <chrono>
#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto frame = 16ms;

// A text that comes at once is shown in portions of this size, for so long in each frame.
constexpr qsizetype portion = 2000;
constexpr auto busyInFrame = 3ms;

Symbol *makeControl(const QString &symbol, const QString &name, QWidget *parent) {
    auto *control = new Symbol(symbol, style::copySymbolSize, parent);
    control->setAccessibleName(name);
    control->setToolTip(name);
    control->setCursor(Qt::ArrowCursor);
    control->hide();
    return control;
}

// To be there before the area has children, by whom a screen reader may come to ask for it. A
// second time it changes nothing.
QWidget *readable(QWidget *parent) {
    QAccessible::installFactory(answerAccessible);
    return parent;
}

} // namespace

AnswerArea::AnswerArea(std::function<const QString &()> answer, QWidget *parent)
    : QTextEdit(readable(parent)), answer_(std::move(answer)), content_(*document()),
      waiting_(new ProgressIndicator(18, u"Waiting for the answer"_s, viewport())),
      growing_(new ProgressIndicator(12, u"The answer is still coming"_s, this)),
      copy_(makeControl(u"copy"_s, u"Copy the answer"_s, this)),
      stop_(makeControl(u"stop"_s, u"Stop the answer"_s, this)),
      retry_(makeControl(u"retry"_s, u"Ask again"_s, this)) {
    setReadOnly(true);
    setUndoRedoEnabled(false);
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::ClickFocus);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    viewport()->setAutoFillBackground(false);
    viewport()->setMouseTracking(true); // for the links
    setFont(style::sized(QFont(), style::answerFontSize));
    setAccessibleName(u"Answer"_s);

    copy_->setToolTip(u"Copy the answer (Control+C)"_s);
    connect(copy_, &Symbol::clicked, this, &AnswerArea::copyRequested);
    connect(stop_, &Symbol::clicked, this, &AnswerArea::stopRequested);
    connect(retry_, &Symbol::clicked, this, &AnswerArea::retryRequested);
    copiedFor_.setSingleShot(true);
    connect(&copiedFor_, &QTimer::timeout, this, [this] { confirm(nullptr); });

    // The layout of a long text is completed little by little, and its end moves with it.
    connect(verticalScrollBar(), &QScrollBar::rangeChanged, this, [this](int /*min*/, int max) {
        if (followsEnd_)
            verticalScrollBar()->setValue(max);
    });
    connect(verticalScrollBar(), &QScrollBar::valueChanged, this, &AnswerArea::placeCodeControls);
    connect(verticalScrollBar(), &QScrollBar::actionTriggered, this, [this] {
        touched_ = true;
        followsEnd_ = false; // until more comes while the end is in sight
    });

    nextFrame_.setSingleShot(true);
    nextFrame_.setTimerType(Qt::PreciseTimer);
    connect(&nextFrame_, &QTimer::timeout, this, &AnswerArea::showAnswer);
}

void AnswerArea::setQuestion(const QString &question) {
    question_ = question;
    kind_ = Kind::Answer;
    begin();
}

void AnswerArea::setKind(Kind kind) {
    if (kind_ == kind)
        return;
    kind_ = kind;
    begin();
    showAnswer();
}

void AnswerArea::begin() {
    nextFrame_.stop();
    shown_.clear();
    followsEnd_ = false;
    touched_ = false;
    content_.begin(question_, kind_ == Kind::Answer ? AnswerBlocks::Syntax::Markdown
                                                    : AnswerBlocks::Syntax::Plain);

    QTextFrameFormat page = document()->rootFrame()->frameFormat();
    page.setMargin(style::answerPadding);
    // The copy control has a column of its own, so that it never covers text.
    constexpr int column = style::answerPadding + style::copySymbolSize + style::answerSpacing;
    if (isRightToLeft())
        page.setLeftMargin(column);
    else
        page.setRightMargin(column);
    document()->setDocumentMargin(0);
    document()->setIndentWidth(answer::insetWidth);
    document()->rootFrame()->setFrameFormat(page);

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
    finishing_ = busy_ && !busy;
    busy_ = busy;
    if (finishing_)
        showAnswer();
    placeControls();
}

void AnswerArea::showAnswer() {
    const QString &answer = answer_();
    if (!answer.startsWith(shown_))
        begin();
    const bool finishes = finishing_;
    if (answer.size() == shown_.size() && !finishes)
        return;
    followsEnd_ = verticalScrollBar()->value() == verticalScrollBar()->maximum() &&
                  !textCursor().hasSelection();
    append(answer);
    nextFrame_.start(frame);
    if (finishes && answer.size() == shown_.size()) {
        finishing_ = false;
        followsEnd_ = followsEnd_ && touched_;
        if (!touched_ && !textCursor().hasSelection())
            verticalScrollBar()->setValue(0);
    }
    placeControls();
}

void AnswerArea::append(const QString &answer) {
    const int anchor = textCursor().anchor();
    const int position = textCursor().position();
    const auto end = std::chrono::steady_clock::now() + busyInFrame;
    do {
        const QStringView added = QStringView(answer).sliced(shown_.size()).left(portion);
        content_.read(added);
        // A copy of its own: a shared one would be copied as a whole when the answer next grows.
        shown_ += added;
        const bool more = busy_ || shown_.size() < answer.size();
        content_.show(more ? AnswerBlocks::More::Yes : AnswerBlocks::More::No);
    } while (shown_.size() < answer.size() && std::chrono::steady_clock::now() < end);
    // What is marked stays so though it was written anew.
    const int last = document()->characterCount() - 1;
    if (textCursor().anchor() == anchor && textCursor().position() == position)
        return;
    QTextCursor marked = textCursor();
    marked.setPosition(std::min(anchor, last));
    marked.setPosition(std::min(position, last), QTextCursor::KeepAnchor);
    const int place = verticalScrollBar()->value(); // it would be scrolled to
    setTextCursor(marked);
    verticalScrollBar()->setValue(place);
}

void AnswerArea::placeControls() {
    const bool waiting = busy_ && shown_.isEmpty();
    if (waiting) {
        const QRectF question =
            document()->documentLayout()->blockBoundingRect(document()->firstBlock());
        const int x = isRightToLeft() ? width() - style::answerPadding - waiting_->width()
                                      : style::answerPadding;
        waiting_->move(x, static_cast<int>(question.bottom()) + style::answerSpacing -
                              verticalScrollBar()->value());
    }
    waiting_->setVisible(waiting);
    growing_->setVisible(busy_ && !waiting);
    copy_->setVisible(!shown_.isEmpty());
    stop_->setVisible(busy_);
    retry_->setVisible(!busy_ && kind_ == Kind::Failure);
    const int x =
        isRightToLeft() ? style::answerPadding : width() - style::answerPadding - copy_->width();
    const int below = style::answerPadding + copy_->height() + style::answerSpacing;
    copy_->move(x, style::answerPadding);
    stop_->move(x, below);
    retry_->move(x, below);
    growing_->move(x + (copy_->width() - growing_->width()) / 2,
                   height() - style::answerPadding - growing_->height());
    placeCodeControls();
}

// A field's control stays in sight as long as the field is.
void AnswerArea::placeCodeControls() {
    codeLines_.clear();
    const std::vector<answer::CodeField> fields = answer::codeFieldsInSight(*this);
    for (const answer::CodeField &field : fields) {
        Symbol *control = codeControl(codeLines_.size());
        codeLines_.push_back(field.line.blockNumber());
        constexpr int inset = answer::codePadding;
        const int lowest = static_cast<int>(field.place.bottom()) - inset - control->height();
        const int y = std::max(static_cast<int>(field.place.top()), 0) + inset;
        control->move(static_cast<int>(field.place.right()) - inset - control->width(),
                      std::min(y, lowest));
        control->show();
    }
    for (std::size_t i = fields.size(); i < codeControls_.size(); ++i)
        codeControls_[i]->hide();
}

Symbol *AnswerArea::codeControl(std::size_t index) {
    if (index < codeControls_.size())
        return codeControls_[index];
    Symbol *control = makeControl(u"copy"_s, u"Copy the code"_s, viewport());
    codeControls_.push_back(control);
    connect(control, &Symbol::clicked, this, [this, control, index] {
        Q_EMIT copyCodeRequested(answer::codeAt(document()->findBlockByNumber(codeLines_[index])));
        confirm(control);
    });
    return control;
}

void AnswerArea::confirmCopy() {
    confirm(copy_);
}

// On this control, for a moment; on none at once.
void AnswerArea::confirm(Symbol *control) {
    if (copied_) {
        copied_->setSymbol(u"copy"_s);
        copied_->setAccessibleDescription({});
    }
    copied_ = control;
    if (!control)
        return;
    control->setSymbol(u"check"_s);
    control->setAccessibleDescription(u"Copied"_s);
    copiedFor_.start(style::copiedFor);
}

void AnswerArea::scrollBy(int lines, int pages) {
    constexpr int line = 40;
    // A line of the old page stays in sight, to read on from.
    const int page = viewport()->height() - line;
    touched_ = true;
    followsEnd_ = false; // until more comes while the end is in sight
    verticalScrollBar()->setValue(verticalScrollBar()->value() + lines * line + pages * page);
}

void AnswerArea::scrollTo(Edge edge) {
    touched_ = true;
    // The end moves while the layout of a long text is completed.
    followsEnd_ = edge == Edge::End;
    verticalScrollBar()->setValue(edge == Edge::End ? verticalScrollBar()->maximum() : 0);
}

QString AnswerArea::markedText() const {
    return answer::markedText(textCursor());
}

QString AnswerArea::lastCode() const {
    return answer::lastCode(*document());
}

QMimeData *AnswerArea::createMimeDataFromSelection() const {
    auto *text = new QMimeData;
    text->setText(markedText());
    return text;
}

void AnswerArea::paintEvent(QPaintEvent *event) {
    {
        QPainter painter(viewport());
        answer::paintGrounds(painter, *this);
    }
    QTextEdit::paintEvent(event);
}

void AnswerArea::resizeEvent(QResizeEvent *event) {
    QTextEdit::resizeEvent(event);
    placeControls();
}

// Where a link goes can be read before it is clicked, with every character as it is sent.
bool AnswerArea::viewportEvent(QEvent *event) {
    if (event->type() != QEvent::ToolTip)
        return QTextEdit::viewportEvent(event);
    const auto *help = static_cast<QHelpEvent *>(event);
    QToolTip::showText(help->globalPos(), anchorAt(help->pos()), viewport());
    return true;
}

void AnswerArea::mousePressEvent(QMouseEvent *event) {
    QTextEdit::mousePressEvent(event);
    pressedLink_ = event->button() == Qt::LeftButton ? anchorAt(event->pos()) : QString();
}

void AnswerArea::mouseMoveEvent(QMouseEvent *event) {
    QTextEdit::mouseMoveEvent(event);
    viewport()->setCursor(anchorAt(event->pos()).isEmpty() ? Qt::IBeamCursor
                                                           : Qt::PointingHandCursor);
}

void AnswerArea::mouseReleaseEvent(QMouseEvent *event) {
    QTextEdit::mouseReleaseEvent(event);
    const QString pressed = std::exchange(pressedLink_, {});
    if (!pressed.isEmpty() && pressed == anchorAt(event->pos()) && !textCursor().hasSelection())
        Q_EMIT linkClicked(pressed);
}

// No menu: the panel would lose the keyboard to it, and hide.
void AnswerArea::contextMenuEvent(QContextMenuEvent *event) {
    event->accept();
}

} // namespace corvid
