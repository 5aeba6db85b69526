#pragma once

#include "Platform/Appearance.h"
#include "Platform/ClickMonitor.h"
#include "Platform/HotKeyBackend.h"
#include "Platform/Linux/PlatformChoice.h"
#include "Platform/PanelSurface.h"

#include <QByteArray>

#include <functional>
#include <memory>

namespace corvid {

/** What the window system that the application object runs on does for the panel. */
struct WindowSystem {
    /** Leaves everything to Qt where the window system is none that we know better. */
    std::unique_ptr<PanelSurface> surface;
    /** Null where nothing sees clicks elsewhere. */
    std::shared_ptr<ClickMonitor> clickMonitor;
    /** Gives a new token by which a program that is started may come to the front, to be asked for
        while our window still has the keyboard. Waits for the compositor, at most for half a
        second; empty when there is none at this moment. Null where the window system has no such
        tokens. Main thread. */
    std::function<QByteArray()> activationToken;
    /** Takes the token by which the panel may have the keyboard when it is shown next; empty for
        none. Null where the panel needs none. Main thread. */
    std::function<void(const QByteArray &token)> entitlePanel;
};

/** To be gone before the application object. */
WindowSystem makeWindowSystem();

/** How the desktop wants programs to look. To be gone before the application object. */
std::unique_ptr<AppearanceSettings> makeAppearance();

/** How the session lets us have a key. To be gone before the application object and the window
    system. */
std::unique_ptr<HotKeyBackend> makeHotKeys(Session session, const WindowSystem &windowSystem);

} // namespace corvid
