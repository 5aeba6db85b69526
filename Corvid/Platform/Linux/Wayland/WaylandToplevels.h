#pragma once

#include "Platform/Linux/Running/WindowList.h"
#include "Platform/Linux/Wayland/WaylandConnection.h"

#include <QByteArray>

#include <algorithm>
#include <memory>
#include <vector>

namespace corvid {

/** The windows that a Wayland compositor tells of, those of X11 programs among them: by the
   protocol of task bars or, where that is not offered, by the one that only lists them. */
class WaylandToplevels final : public WindowList {
public:
    /** `display`: as in $WAYLAND_DISPLAY. Null when it is empty or cannot be reached, or when the
        compositor tells nobody what windows there are. */
    static std::unique_ptr<WaylandToplevels> connect(const QByteArray &display);

    int fileDescriptor() const override;
    Events takeEvents() override;
    std::vector<Window> list() const override;
    std::vector<Client> describe(const std::vector<Window> &windows) const override;
    bool canActivate() const override { return manager_ && seat_; }
    Window active() const override;
    Window activateTopmost(const std::vector<Window> &windows) override;

private:
    struct Toplevel {
        WaylandToplevels &list;
        WaylandPointer<zwlr_foreign_toplevel_handle_v1> managed; ///< either this
        WaylandPointer<ext_foreign_toplevel_handle_v1> listed;   ///< or that
        Window window;
        QString application{};
        bool known = false; ///< whether its first description is complete
        bool active = false;
        bool minimised = false;
        std::uint64_t lastActive = 0; ///< grows with each change of the focus

        void setApplication(const char *id);
        void setState(const wl_array &states);
        void described();
        void remove();
    };

    explicit WaylandToplevels(WaylandPointer<wl_display> display);
    static Toplevel &of(void *data); ///< what a listener was given
    void add(zwlr_foreign_toplevel_handle_v1 *handle);
    void add(ext_foreign_toplevel_handle_v1 *handle);
    void note(Events event) { events_ = std::max(events_, event); }

    WaylandPointer<wl_display> display_;
    WaylandConnection connection_{display_.get()};
    WaylandPointer<wl_seat> seat_ = connection_.bind<wl_seat>(wl_seat_interface, 1);
    /** Null once it has finished. */
    WaylandPointer<zwlr_foreign_toplevel_manager_v1> manager_ =
        connection_.bind<zwlr_foreign_toplevel_manager_v1>(
            zwlr_foreign_toplevel_manager_v1_interface, 3);
    /** Null, too, where there is a manager. */
    WaylandPointer<ext_foreign_toplevel_list_v1> listing_;
    std::vector<std::unique_ptr<Toplevel>> toplevels_; ///< oldest first
    Window newest_ = 0;
    std::uint64_t focusChanges_ = 0;
    Events events_ = Events::Nothing; ///< since takeEvents() last told
};

} // namespace corvid
