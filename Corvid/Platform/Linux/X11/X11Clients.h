#pragma once

#include "Platform/Linux/Running/WindowList.h"
#include "Platform/Linux/X11/X11Replies.h"

#include <QByteArray>

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

namespace corvid {

/** The properties of a window that tell whose it is; null for those that it lacks. */
struct WindowProperties {
    const xcb_get_property_reply_t *windowClass = nullptr;
    const xcb_get_property_reply_t *pid = nullptr;
    const xcb_get_property_reply_t *gtkApplicationId = nullptr;
    const xcb_get_property_reply_t *bamfDesktopFile = nullptr;
};

/** What they tell. Every program can set them to anything. Pure. */
WindowList::Client clientWith(WindowList::Window window, const WindowProperties &properties);

/** The windows that an X11 window manager manages. */
class X11Clients final : public WindowList {
public:
    /** Null when there is no such display. */
    static std::unique_ptr<X11Clients> connect(const QByteArray &display);

    int fileDescriptor() const override;
    Events takeEvents() override;
    std::vector<Window> list() const override;
    /** Asks for all at once. */
    std::vector<Client> describe(const std::vector<Window> &windows) const override;
    bool canActivate() const override;
    Window active() const override;
    Window activateTopmost(const std::vector<Window> &windows) override;

private:
    X11Clients(x11::Connection connection, int screen);
    std::vector<std::uint32_t> property(Window window, std::uint32_t name,
                                        std::uint32_t type) const;

    x11::Connection connection_;
    xcb_window_t root_;
    xcb_window_t hiddenWindow_;
    bool listChanged_ = false; ///< since takeEvents() last told
    struct {
        xcb_atom_t clientList, clientListStacking, activeWindow, currentDesktop, windowDesktop,
            supported, pid, gtkApplicationId, bamfDesktopFile, utf8String;
    } atoms_{};
};

} // namespace corvid
