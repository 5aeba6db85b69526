#pragma once

#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>

#include <functional>
#include <optional>

namespace corvid {

class TrayWatch;

/** The icon of the status item, sharp at the sizes that trays use. */
QIcon statusIcon();

/**
 * The diamond in the desktop's tray, with its menu. It appears when there is a tray, also when that
 * starts later. Main thread only.
 */
class StatusItem final : public QObject {
    Q_OBJECT

public:
    struct Actions {
        std::function<void()> show;
        std::function<void()> openSettings;
        std::function<void()> quit;
    };

    /** `tray` must outlive this, and is asked from the event loop. */
    StatusItem(TrayWatch &tray, Actions actions);
    ~StatusItem() override;

    /** Null while there has been no tray. */
    const QMenu *menu() const { return menu_ ? &*menu_ : nullptr; }
    const QSystemTrayIcon *icon() const { return icon_ ? &*icon_ : nullptr; }

private:
    void install();

    Actions actions_;
    std::optional<QMenu> menu_;
    std::optional<QSystemTrayIcon> icon_; ///< after its menu, to go before it
};

} // namespace corvid
