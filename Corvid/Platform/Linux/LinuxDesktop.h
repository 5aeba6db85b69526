#pragma once

#include "Platform/Desktop.h"

namespace corvid {

/** Whether a window system can be reached, judged by the environment alone for Wayland and by a
    connection for X11. May be asked before any application object exists. */
bool displayIsReachable();

class LinuxDesktop final : public Desktop {
public:
    bool hasCompositor() const override;
};

} // namespace corvid
