#pragma once

#include <memory>

namespace corvid {

class ClickMonitor;
class PanelSurface;

/** Whether a window system can be reached, judged by the environment alone for Wayland and by a
    connection for X11. May be asked before any application object exists. */
bool displayIsReachable();

/** The panel's surface on the window system that the application object runs on. Where it is not
    one of those that we know closer, the surface leaves everything to Qt. */
std::unique_ptr<PanelSurface> makePanelSurface();

/** What sees clicks elsewhere on that window system; null where nothing does. */
std::unique_ptr<ClickMonitor> makeClickMonitor();

} // namespace corvid
