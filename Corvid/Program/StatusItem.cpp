#include "Program/StatusItem.h"

#include "Panel/Symbol.h"
#include "Platform/TrayWatch.h"

#include <QPainter>
#include <QPixmap>
#include <QPointer>
#include <QTimer>

#include <chrono>
#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

// Making the tray icon takes some ten milliseconds, which must not delay the panel's first paint.
constexpr auto afterFirstPaint = 300ms;

} // namespace

QIcon statusIcon() {
    QIcon icon;
    for (const int size : {16, 22, 24, 32, 48, 64})
        icon.addPixmap(symbolPixmap(u"diamond"_s, size));
    return icon;
}

StatusItem::StatusItem(TrayWatch &tray, Actions actions) : actions_(std::move(actions)) {
    QTimer::singleShot(afterFirstPaint, this, [this, &tray] {
        tray.await([self = QPointer(this)] {
            if (self)
                self->install();
        });
    });
}

StatusItem::~StatusItem() {
    // Qt gives a menu's entries to the bus and takes back only those that are removed.
    if (menu_)
        menu_->clear();
}

void StatusItem::install() {
    menu_.emplace();
    menu_->addAction(u"Show Corvid"_s, this, actions_.show);
    menu_->addSeparator();
    menu_->addAction(u"Settings…"_s, Qt::CTRL | Qt::Key_Comma, this, actions_.openSettings);
    menu_->addSeparator();
    menu_->addAction(u"Quit Corvid"_s, Qt::CTRL | Qt::Key_Q, this, actions_.quit);
    // A context menu hides shortcuts by default.
    const QList<QAction *> entries = menu_->actions();
    for (QAction *entry : entries)
        entry->setShortcutVisibleInContextMenu(true);

    icon_.emplace(statusIcon());
    icon_->setToolTip(u"Corvid"_s);
    icon_->setContextMenu(&*menu_);
    connect(&*icon_, &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                if (reason == QSystemTrayIcon::Trigger)
                    actions_.show();
            });
    icon_->show();
}

} // namespace corvid
