#include "Panel/KeyCatcher.h"

#include "Panel/SearchField.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QWindow>

namespace corvid {

KeyCatcher::KeyCatcher(QWidget *parent) : QWidget(parent) {
    setFixedSize(0, 0);
    setFocusPolicy(Qt::NoFocus);
    hide();
    // Of the application, not of the window: a widget gets its keys straight from there.
    qApp->installEventFilter(this);
}

bool KeyCatcher::eventFilter(QObject *watched, QEvent *event) {
    if (event->type() != QEvent::KeyPress || !watched->isWidgetType() ||
        static_cast<QWidget *>(watched)->window() != window())
        return false;
    const SearchField *field = SearchField::current();
    if (field && field->isComposing())
        return false;
    return handle(*static_cast<QKeyEvent *>(event));
}

bool KeyCatcher::handle(const QKeyEvent &event) const {
    if (onEvent && onEvent(event))
        return true;
    switch (event.key()) {
    case Qt::Key_Escape:
        onEsc();
        return true;
    case Qt::Key_Down:
        onDown();
        return true;
    case Qt::Key_Up:
        onUp();
        return true;
    default:
        return false;
    }
}

} // namespace corvid
