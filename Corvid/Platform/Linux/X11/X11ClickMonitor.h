#pragma once

#include "Platform/ClickMonitor.h"

struct xcb_connection_t;

namespace corvid {

/** Raw button presses of every pointer, as the XInput extension tells them whoever they go to,
    over Qt's own connection. Null tokens from a server without the extension. */
class X11ClickMonitor final : public ClickMonitor {
public:
    /** After the application object, which must run on X11. */
    explicit X11ClickMonitor(xcb_connection_t *connection) : connection_(connection) {}

    std::unique_ptr<Token> install(Handler handler) override;

private:
    xcb_connection_t *connection_;
};

} // namespace corvid
