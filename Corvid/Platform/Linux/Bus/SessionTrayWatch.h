#pragma once

#include "Platform/Linux/Bus/BusPeer.h"
#include "Platform/TrayWatch.h"

#include <QAbstractNativeEventFilter>
#include <QScopedPointer>

#include <memory>

namespace corvid {

/**
 * Waits for a StatusNotifier host on the session bus, or for an XEmbed tray on the X11 display that
 * Qt draws on. Qt decides for one of the two when its first tray icon is made and sticks to that
 * for the life of the process, so none may be made before. From then on Qt itself follows a tray
 * that goes and comes back.
 */
class SessionTrayWatch final : public TrayWatch, private QAbstractNativeEventFilter {
public:
    void await(std::function<void()> there) override;

private:
    void lookForHost();
    void lookForXEmbed();
    bool nativeEventFilter(const QByteArray &type, void *message, qintptr *result) override;
    void arrived();

    std::function<void()> there_;
    /** Until a tray is there; deleted later, as it may be what tells of that. */
    std::unique_ptr<BusPeer, QScopedPointerDeleteLater> watcher_;
    quint32 tray_ = 0;    ///< an atom: the selection that a tray owns
    quint32 manager_ = 0; ///< an atom: how it announces itself; 0 until looked for
    QObject receiver_;    ///< what the filter tells is dropped with us
};

} // namespace corvid
