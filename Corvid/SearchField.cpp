#include "SearchField.h"

#include "Style.h"

#include <QGuiApplication>
#include <QInputMethod>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QPointer>
#include <QTimer>

namespace corvid {

namespace {
QPointer<SearchField> currentField;
}

SearchField::SearchField(QWidget *parent) : QLineEdit(parent) {
    currentField = this;
    setFrame(false);
    setTextMargins(0, 0, 0, 0);
    setFixedHeight(style::searchFieldHeight);
    setContextMenuPolicy(Qt::NoContextMenu);
    QFont fieldFont = font();
    fieldFont.setPixelSize(style::searchFontSize);
    fieldFont.setWeight(QFont::Light);
    setFont(fieldFont);
    QPalette colours = palette();
    colours.setColor(QPalette::Base, Qt::transparent);
    colours.setColor(QPalette::Text, style::primary());
    colours.setColor(QPalette::PlaceholderText, style::tertiary());
    colours.setColor(QPalette::Highlight, style::accent());
    colours.setColor(QPalette::HighlightedText, Qt::white);
    setPalette(colours);
    connect(this, &QLineEdit::textChanged, this, &SearchField::announce);
}

SearchField *SearchField::current() {
    return currentField;
}

void SearchField::keyPressEvent(QKeyEvent *event) {
    if (composing_) {
        QLineEdit::keyPressEvent(event);
        // Also what the field has no use for must not reach the panel: it was meant for the
        // input method.
        event->accept();
        return;
    }
    if (onEvent && onEvent(event)) {
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

void SearchField::inputMethodEvent(QInputMethodEvent *event) {
    // Before the field changes its text: beginning to compose over a selection deletes that.
    composing_ = !event->preeditString().isEmpty();
    QLineEdit::inputMethodEvent(event);
    announce();
}

void SearchField::focusOutEvent(QFocusEvent *event) {
    endComposition();
    QLineEdit::focusOutEvent(event);
}

void SearchField::hideEvent(QHideEvent *event) {
    endComposition();
    QLineEdit::hideEvent(event);
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
