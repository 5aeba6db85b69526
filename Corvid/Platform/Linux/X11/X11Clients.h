#pragma once

#include "Platform/Linux/Running/WindowList.h"

#include <QByteArray>

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

struct xcb_connection_t;

namespace corvid {

/** The windows that an X11 window manager manages. */
class X11Clients final : public WindowList {
public:
    /** Null when there is no such display. */
    static std::unique_ptr<X11Clients> connect(const QByteArray &display);

    ~X11Clients() override;

    int fileDescriptor() const override;
    Events takeEvents() override;
    std::vector<Window> list() const override;
    /** Asks for all at once. */
    std::vector<Client> describe(const std::vector<Window> &windows) const override;
    bool canActivate() const override;
    Window active() const override;
    Window activateTopmost(const std::vector<Window> &windows) override;

private:
    struct Atoms;

    explicit X11Clients(xcb_connection_t *connection, int screen);
    std::vector<std::uint32_t> property(Window window, std::uint32_t name,
                                        std::uint32_t type) const;
    void tellManager(Window window, std::uint32_t type,
                     const std::array<std::uint32_t, 2> &data) const;

    xcb_connection_t *connection_;
    Window root_ = 0;
    Window hiddenWindow_ = 0;
    bool listChanged_ = false; ///< since takeEvents() last told
    std::unique_ptr<Atoms> atoms_;
};

} // namespace corvid
