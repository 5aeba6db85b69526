#pragma once

#include "Platform/TrayWatch.h"

#include <QObject>

#include <memory>
#include <thread>

namespace corvid {

/**
 * Waits for a StatusNotifier host on the session bus, or for an XEmbed tray on the X11 display that
 * Qt draws on. Qt decides for one of the two when its first tray icon is made and sticks to that
 * for the life of the process, so none may be made before. From then on Qt itself follows a tray
 * that goes and comes back. The thread that listens to the bus sleeps, and ends with the wait.
 */
class SessionTrayWatch final : public TrayWatch {
public:
    SessionTrayWatch();
    ~SessionTrayWatch() override;

    void await(std::function<void()> there) override;

private:
    class ManagerFilter;

    void lookForXEmbed();
    void arrived();

    std::function<void()> there_;
    std::unique_ptr<ManagerFilter> filter_;
    QObject receiver_; ///< what the thread sends is dropped with us
    std::jthread thread_;
};

} // namespace corvid
