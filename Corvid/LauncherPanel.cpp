#include "LauncherPanel.h"

#include "LauncherView.h"
#include "Platform/Desktop.h"
#include "SearchField.h"
#include "Style.h"

#include <QBoxLayout>
#include <QCursor>
#include <QGuiApplication>
#include <QPainterPath>
#include <QScreen>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qreal topShareOfVisibleHeight = 0.22;

QScreen *screenUnderPointer() {
    const QPoint pointer = QCursor::pos();
    const QList<QScreen *> screens = QGuiApplication::screens();
    for (QScreen *screen : screens) {
        if (screen->geometry().contains(pointer))
            return screen;
    }
    return QGuiApplication::primaryScreen();
}

} // namespace

LauncherPanel::LauncherPanel(LauncherViewModel &viewModel, const Desktop &desktop)
    : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint),
      desktop_(desktop), view_(new LauncherView(viewModel, this)) {
    setWindowTitle(u"Corvid"_s);
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_QuitOnClose, false);
    setFixedSize(style::panelWidth, style::panelHeight);
    auto *whole = new QVBoxLayout(this);
    whole->setContentsMargins(0, 0, 0, 0);
    whole->addWidget(view_);
}

void LauncherPanel::position() {
    const QScreen *screen = screenUnderPointer();
    if (!screen)
        return;
    const QRectF visible = screen->availableGeometry();
    move(qRound(visible.center().x() - width() / 2.0),
         qRound(visible.top() + topShareOfVisibleHeight * visible.height()));
}

void LauncherPanel::present() {
    fitBackdrop();
    show();
    raise();
    activateWindow();
    if (SearchField *field = SearchField::current()) {
        field->setFocus(Qt::ActiveWindowFocusReason);
        field->selectAll();
    }
}

// Without a compositor translucent corners are black, so the window itself is cut to shape.
void LauncherPanel::fitBackdrop() {
    if (desktop_.hasCompositor()) {
        clearMask();
        view_->setBackdrop(Backdrop::Composited);
        return;
    }
    QPainterPath card;
    card.addRoundedRect(rect(), style::cardRadius, style::cardRadius);
    setMask(card.toFillPolygon().toPolygon());
    view_->setBackdrop(Backdrop::Opaque);
}

void LauncherPanel::changeEvent(QEvent *event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::ActivationChange && !isActiveWindow() && isVisible() &&
        onResignKey)
        onResignKey();
}

} // namespace corvid
