#include "Panel/SearchField.h"

#include "Panel/Style.h"

#include <QGuiApplication>
#include <QInputMethod>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QPointer>
#include <QProxyStyle>
#include <QStyleHints>

#include <algorithm>

namespace corvid {

namespace {

constexpr int caretWidth = 2;
constexpr int caretHeight = 24;

QPointer<SearchField> currentField;

// Qt draws the caret in the colour of the text; ours is drawn by ourselves. One of no width would
// still colour a pixel at a broken scale, so it is hidden as well.
class WithoutCaret final : public QProxyStyle {
public:
    WithoutCaret() : QProxyStyle(QStringLiteral("Fusion")) {} // the desktop's would be loaded

    int pixelMetric(PixelMetric metric, const QStyleOption *option,
                    const QWidget *widget) const override {
        return metric == PM_TextCursorWidth ? 0 : QProxyStyle::pixelMetric(metric, option, widget);
    }
};

/** Of an input method's event, which may hide the caret: the same, and it does. */
QList<QInputMethodEvent::Attribute> hidingCaret(const QInputMethodEvent &event) {
    QList<QInputMethodEvent::Attribute> attributes = event.attributes();
    int place = static_cast<int>(event.preeditString().size());
    for (const QInputMethodEvent::Attribute &attribute : event.attributes())
        if (attribute.type == QInputMethodEvent::Cursor)
            place = attribute.start;
    attributes.append({QInputMethodEvent::Cursor, place, 0, {}}); // the last one counts
    return attributes;
}

} // namespace

SearchField::SearchField(QWidget *parent) : QLineEdit(parent) {
    currentField = this;
    setFrame(false);
    setTextMargins(0, 0, 0, 0);
    setFixedHeight(34);
    setContextMenuPolicy(Qt::NoContextMenu);
    auto *ownStyle = new WithoutCaret;
    ownStyle->setParent(this);
    setStyle(ownStyle);
    QInputMethodEvent caretless({}, hidingCaret({}));
    QLineEdit::inputMethodEvent(&caretless);
    setFont(style::sized(QFont(), 21, QFont::Light));
    connect(&blink_, &QTimer::timeout, this, [this] {
        caretIsLit_ = !caretIsLit_;
        // At a broken scale its edges colour the pixels around it, too.
        update(caretRect().adjusted(-1, -1, 1, 1));
    });
    connect(this, &QLineEdit::textChanged, this, &SearchField::announce);
    connect(this, &QLineEdit::cursorPositionChanged, this, &SearchField::showCaret);
    connect(this, &QLineEdit::selectionChanged, this, &SearchField::showCaret);
}

SearchField *SearchField::current() {
    return currentField;
}

void SearchField::keyPressEvent(QKeyEvent *event) {
    showCaret();
    if (composing_) {
        QLineEdit::keyPressEvent(event);
        // Also what the field has no use for must not reach the panel: it was meant for the
        // input method.
        event->accept();
        return;
    }
    // It would mean nothing. GNOME keeps back that the hot key's own was released, and XWayland
    // repeats it without end.
    if (text().isEmpty() && event->text() == QLatin1StringView(" ")) {
        event->accept();
        return;
    }
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        later(onSubmit);
        break;
    case Qt::Key_Up:
        later(onUp);
        break;
    case Qt::Key_Down:
        later(onDown);
        break;
    case Qt::Key_Escape:
        later(onEsc);
        break;
    default:
        QLineEdit::keyPressEvent(event);
        return;
    }
    event->accept();
}

// Qt would paint its own caret anew, which nobody sees.
void SearchField::keyReleaseEvent(QKeyEvent * /*event*/) {}

void SearchField::deleteWord() {
    if (!hasSelectedText())
        cursorWordBackward(true);
    if (hasSelectedText()) // else there is none, and what follows the caret would go
        del();
}

void SearchField::deleteToStart() {
    const int end = hasSelectedText() ? selectionEnd() : cursorPosition();
    setSelection(0, end);
    if (hasSelectedText())
        del();
}

void SearchField::inputMethodEvent(QInputMethodEvent *event) {
    // Before the field changes its text: beginning to compose over a selection deletes that.
    composing_ = !event->preeditString().isEmpty();
    QInputMethodEvent caretless(event->preeditString(), hidingCaret(*event));
    caretless.setCommitString(event->commitString(), event->replacementStart(),
                              event->replacementLength());
    QLineEdit::inputMethodEvent(&caretless);
    event->setAccepted(caretless.isAccepted());
    announce();
}

void SearchField::focusInEvent(QFocusEvent *event) {
    QLineEdit::focusInEvent(event);
    showCaret();
}

void SearchField::focusOutEvent(QFocusEvent *event) {
    endComposition();
    stopCaret();
    QLineEdit::focusOutEvent(event);
}

void SearchField::hideEvent(QHideEvent *event) {
    endComposition();
    stopCaret();
    // What could be undone would only grow, from one showing to the next.
    const int cursor = cursorPosition();
    setText(text());
    setCursorPosition(cursor);
    QLineEdit::hideEvent(event);
}

// There is no other field to go to, and leaving this one would lose what is typed next. True, as
// if it had been left: the window would look for another widget otherwise.
bool SearchField::focusNextPrevChild(bool /*next*/) {
    return true;
}

QRect SearchField::caretRect() const {
    QRect caret = cursorRect();
    // The base class reports an area around the place between two characters.
    const int x = std::clamp(caret.center().x() + 1, 0, width() - caretWidth);
    return {x, (height() - caretHeight) / 2, caretWidth, caretHeight};
}

// Lit whenever it moves, so that it can be followed.
void SearchField::showCaret() {
    if (!hasFocus())
        return;
    caretIsLit_ = true;
    const int flashTime = QGuiApplication::styleHints()->cursorFlashTime();
    if (flashTime >= 2)
        blink_.start(flashTime / 2);
    update();
}

void SearchField::stopCaret() {
    blink_.stop();
    caretIsLit_ = false;
}

void SearchField::paintEvent(QPaintEvent *event) {
    QLineEdit::paintEvent(event);
    if (!caretIsLit_ || hasSelectedText())
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(style::accent());
    painter.drawRoundedRect(caretRect(), caretWidth / 2.0, caretWidth / 2.0);
}

void SearchField::showText(const QString &text) {
    endComposition();
    announced_ = text;
    setText(text);
}

// An input method need not say that it has given up.
void SearchField::endComposition() {
    if (!composing_)
        return;
    composing_ = false;
    QGuiApplication::inputMethod()->reset();
}

void SearchField::announce() {
    if (composing_ || text() == announced_)
        return;
    announced_ = text();
    Q_EMIT edited(announced_);
}

// The view model changes after the field has done with the event, not in the midst of it.
void SearchField::later(const std::function<void()> &callback) {
    if (callback)
        QTimer::singleShot(0, this, callback);
}

} // namespace corvid
