#pragma once

#include "Platform/Linux/Wayland/WaylandConnection.h"

#include <QPoint>
#include <QSize>

#include <memory>

namespace corvid {

/** The compositor's layer shell and what else its surfaces need, over Qt's own connection. Main
    thread only; must be gone before the application object. */
struct LayerShell {
    /** Null where the compositor has none. */
    static std::shared_ptr<const LayerShell> bind(std::shared_ptr<WaylandConnection> connection);

    std::shared_ptr<WaylandConnection> connection;
    WaylandPointer<wl_compositor> compositor;
    WaylandPointer<wl_shm> shm;
    WaylandPointer<wl_subcompositor> subcompositor;
    WaylandPointer<wp_viewporter> viewporter; ///< null where the compositor has none
    WaylandPointer<zwlr_layer_shell_v1> shell;

    WaylandPointer<wl_surface> makeSurface() const {
        return WaylandPointer<wl_surface>(wl_compositor_create_surface(compositor.get()));
    }
    /** Makes a surface a part of another one that is drawn independently of it. */
    WaylandPointer<wl_subsurface> makePart(wl_surface *part, wl_surface *whole) const;
};

/** A surface's role in the topmost layer, from its first commit until this is destroyed, which
    must be before the surface is. */
class LayerSurface {
public:
    struct Place {
        QSize size{0, 0}; ///< all of the output where null
        QPoint origin{};  ///< from the output's top left corner
        bool coversBars = false;
        bool takesKeyboard = false;
    };

    /** Without an output it goes to the one that the compositor holds for active. */
    LayerSurface(const LayerShell &shell, wl_surface *surface, wl_output *output,
                 const Place &place);
    Q_DISABLE_COPY_MOVE(LayerSurface)

    /** From now on events come from the event loop instead of WaylandConnection::roundTrip(). */
    void attend();

    /** Of one that is not anchored to all edges: brings it there. */
    void moveTo(const QPoint &origin);

    /** Called with each new size, after it has been acknowledged. */
    std::function<void(const QSize &)> onSize;
    /** Called when the compositor takes the surface away, with its output say. */
    std::function<void()> onClosed;

private:
    wl_surface *surface_;
    WaylandPointer<zwlr_layer_surface_v1> role_;
};

} // namespace corvid
