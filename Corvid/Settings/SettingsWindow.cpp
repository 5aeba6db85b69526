#include "Settings/SettingsWindow.h"

#include "Panel/Style.h"
#include "Platform/PanelSurface.h"
#include "Settings/WindowStyle.h"

#include <QApplication>
#include <QBoxLayout>
#include <QCursor>
#include <QScreen>
#include <QWindow>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

SettingsWindow::SettingsWindow(SettingsView::Environment environment, PanelSurface &surface)
    : QWidget(nullptr, Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                           Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint),
      surface_(surface) {
    setWindowTitle(u"Corvid Settings"_s);
    setAttribute(Qt::WA_QuitOnClose, false);
    setFixedSize(480, 420);
    applyStyle();
    auto *whole = new QVBoxLayout(this);
    whole->setContentsMargins(0, 0, 0, 0);
    view_ = new SettingsView(std::move(environment), this);
    whole->addWidget(view_);
}

void SettingsWindow::present() {
    if (!centred_) {
        const QScreen *screen = QGuiApplication::screenAt(QCursor::pos());
        if (!screen)
            screen = QGuiApplication::primaryScreen();
        if (screen) {
            QRect frame(QPoint(), size());
            frame.moveCenter(surface_.visibleFrame(*screen).center());
            move(frame.topLeft());
        }
        centred_ = true;
    }
    winId(); // makes the window if need be
    surface_.claimKeyboard(*windowHandle());
    setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    raise();
    activateWindow();
}

void SettingsWindow::applyStyle() {
    setPalette(style::windowPalette(QApplication::palette()));
    setFont(style::font());
}

} // namespace corvid
