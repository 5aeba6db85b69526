#pragma once

#include "Platform/Linux/Running/WindowList.h"

#include <QByteArray>

#include <memory>
#include <vector>

struct wl_array;
struct wl_display;
struct wl_seat;
struct zwlr_foreign_toplevel_handle_v1;
struct zwlr_foreign_toplevel_manager_v1;

namespace corvid {

/** The windows that a Wayland compositor tells of, those of X11 programs among them. */
class WaylandToplevels final : public WindowList {
public:
    /** `display`: as in $WAYLAND_DISPLAY. Null when it is empty or cannot be reached, or when the
        compositor tells nobody what windows there are. */
    static std::unique_ptr<WaylandToplevels> connect(const QByteArray &display);

    ~WaylandToplevels() override;

    int fileDescriptor() const override;
    Events takeEvents() override;
    std::vector<Window> list() const override;
    std::vector<Client> describe(const std::vector<Window> &windows) const override;
    bool canActivate() const override { return seat_; }
    Window active() const override;
    Window activateTopmost(const std::vector<Window> &windows) override;

private:
    struct Toplevel;

    explicit WaylandToplevels(wl_display *display);
    void listen();
    void add(zwlr_foreign_toplevel_handle_v1 *handle);
    void setApplication(Toplevel &toplevel, const char *id);
    void setState(Toplevel &toplevel, const wl_array &states);
    void remove(const Toplevel &toplevel);
    void note(Events event);
    const Toplevel *find(Window window) const;

    wl_display *display_;
    wl_seat *seat_ = nullptr;                             ///< null where there is none
    zwlr_foreign_toplevel_manager_v1 *manager_ = nullptr; ///< null once it has finished
    std::vector<std::unique_ptr<Toplevel>> toplevels_;    ///< oldest first
    Window newest_ = 0;
    std::uint64_t focusChanges_ = 0;
    Events events_ = Events::Nothing; ///< since takeEvents() last told
};

} // namespace corvid
