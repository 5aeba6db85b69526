#pragma once

#include "Platform/ClickMonitor.h"
#include "Platform/HotKeyBackend.h"
#include "Platform/Linux/PlatformChoice.h"
#include "Platform/PanelSurface.h"

#include <QByteArray>

#include <functional>
#include <memory>

namespace corvid {

/** How the window system that the application object runs on carries the panel. */
struct PanelDesktop {
    /** Where the window system is not one of those that we know closer, it leaves everything to
        Qt. */
    std::unique_ptr<PanelSurface> surface;
    /** Null where nothing sees clicks elsewhere. */
    std::unique_ptr<ClickMonitor> clickMonitor;
    /** Tells a new token by which a program that is started may come to the front; empty when
        there is none at this moment. Null where the window system has no such tokens. Main
        thread. */
    std::function<QByteArray()> activationToken;
    /** Takes the token by which the panel may have the keyboard when it is shown next; none when
        empty. Null where it may have it anyway. Main thread. */
    std::function<void(const QByteArray &token)> entitlePanel;
};

/** To be gone before the application object. */
PanelDesktop makePanelDesktop();

/** How the session lets us have a key. To be gone before the application object and the panel's
    desktop. */
std::unique_ptr<HotKeyBackend> makeHotKeys(Session session, const PanelDesktop &panelDesktop);

} // namespace corvid
