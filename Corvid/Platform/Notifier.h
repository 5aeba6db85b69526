#pragma once

#include "Platform/Port.h"

#include <QString>

#include <functional>

namespace corvid {

/** The desktop's notifications. Main thread only, never waits. */
class Notifier : public Port {
public:
    struct Notification {
        QString title;
        QString text;   ///< plain, of one or more lines
        QString button; ///< its label
        /** Called from the event loop when somebody presses the button or the notification. */
        std::function<void()> chosen;
        /** Called once it has been taken over by the desktop, which may be never. */
        std::function<void()> delivered;
    };

    /** Shows one, as soon as there is somebody to show it; in place of one before it. Where nobody
        ever is, nothing happens. */
    virtual void notify(Notification notification) = 0;
};

} // namespace corvid
