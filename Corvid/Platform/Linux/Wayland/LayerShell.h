#pragma once

#include <QSize>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

struct wl_compositor;
struct wl_display;
struct wl_event_queue;
struct wl_output;
struct wl_shm;
struct wl_subcompositor;
struct wl_surface;
struct wp_viewporter;
struct zwlr_layer_shell_v1;
struct zwlr_layer_surface_v1;

namespace corvid {

/** The compositor's layer shell and what else its surfaces need, over Qt's own connection. Main
    thread only. */
class LayerShell {
public:
    /** Null where the compositor has none. The application object must run on Wayland; the shell
        must be gone before it. */
    static std::shared_ptr<const LayerShell> bind(wl_display *display);

    LayerShell(const LayerShell &) = delete;
    LayerShell &operator=(const LayerShell &) = delete;
    ~LayerShell();

    /** Waits until the compositor has answered all that was asked so far, and dispatches what it
        told the surfaces that do not wait for the event loop. */
    void roundTrip() const;

    wl_compositor *compositor() const { return compositor_; }
    wl_shm *shm() const { return shm_; }
    wl_subcompositor *subcompositor() const { return subcompositor_; }
    /** Null where the compositor has none. */
    wp_viewporter *viewporter() const { return viewporter_; }
    zwlr_layer_shell_v1 *shell() const { return shell_; }
    /** Whether there is anything to click or type with. Qt must not be asked for it where there
        is not: it would crash. */
    bool hasSeat() const { return hasSeat_; }

private:
    LayerShell() = default;

    wl_display *display_ = nullptr;
    wl_event_queue *queue_ = nullptr;
    wl_compositor *compositor_ = nullptr;
    wl_shm *shm_ = nullptr;
    wl_subcompositor *subcompositor_ = nullptr;
    wp_viewporter *viewporter_ = nullptr;
    zwlr_layer_shell_v1 *shell_ = nullptr;
    bool hasSeat_ = false;
};

/** A surface's role in the topmost layer, from its first commit until this is destroyed, which
    must be before the surface is. */
class LayerSurface {
public:
    enum Edge : std::uint32_t { Top = 1, Bottom = 2, Left = 4, Right = 8 };
    enum class Room {
        Visible, ///< what bars leave of the output
        Whole,
    };
    enum class Keyboard { Never, Always };

    struct Place {
        std::uint32_t edges = Top | Bottom | Left | Right; ///< that it keeps to
        QSize size{0, 0};                                  ///< 0: from edge to edge
        int top = 0;                                       ///< distance to that edge
        int left = 0;
        Room room = Room::Visible;
        Keyboard keyboard = Keyboard::Never;
    };

    /** Without an output it goes to the one that the compositor holds for active. */
    LayerSurface(const LayerShell &shell, wl_surface *surface, wl_output *output,
                 const Place &place);
    LayerSurface(const LayerSurface &) = delete;
    LayerSurface &operator=(const LayerSurface &) = delete;
    ~LayerSurface();

    /** What the compositor gives it; nothing before it has answered. */
    std::optional<QSize> size() const { return size_; }

    /** From now on events come from the event loop instead of LayerShell::roundTrip(). */
    void attend();

    /** Called with each new size, after it has been acknowledged. */
    std::function<void(const QSize &)> onSize;
    /** Called when the compositor takes the surface away, with its output say. */
    std::function<void()> onClosed;

private:
    zwlr_layer_surface_v1 *role_;
    std::optional<QSize> size_;
};

} // namespace corvid
