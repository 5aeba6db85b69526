#include "Platform/Linux/Wayland/LayerShell.h"

namespace corvid {

std::shared_ptr<const LayerShell> LayerShell::bind(std::shared_ptr<WaylandConnection> connection) {
    const auto &from = *connection;
    auto result = std::make_shared<LayerShell>(
        LayerShell{std::move(connection), from.bind<wl_compositor>(wl_compositor_interface, 4),
                   from.bind<wl_shm>(wl_shm_interface, 1),
                   from.bind<wl_subcompositor>(wl_subcompositor_interface, 1),
                   from.bind<wp_viewporter>(wp_viewporter_interface, 1),
                   from.bind<zwlr_layer_shell_v1>(zwlr_layer_shell_v1_interface, 4)});
    const bool complete =
        result->compositor && result->shm && result->subcompositor && result->shell;
    return complete ? std::move(result) : nullptr;
}

WaylandPointer<wl_subsurface> LayerShell::makePart(wl_surface *part, wl_surface *whole) const {
    WaylandPointer<wl_subsurface> result(
        wl_subcompositor_get_subsurface(subcompositor.get(), part, whole));
    wl_subsurface_set_desync(result.get());
    return result;
}

LayerSurface::LayerSurface(const LayerShell &shell, wl_surface *surface, wl_output *output,
                           const Place &place)
    : surface_(surface),
      role_(zwlr_layer_shell_v1_get_layer_surface(shell.shell.get(), surface, output,
                                                  ZWLR_LAYER_SHELL_V1_LAYER_OVERLAY, "corvid")) {
    static constexpr zwlr_layer_surface_v1_listener listener{
        .configure =
            [](void *data, auto *role, auto serial, auto width, auto height) {
                zwlr_layer_surface_v1_ack_configure(role, serial);
                const auto *self = static_cast<LayerSurface *>(data);
                if (self->onSize)
                    self->onSize(QSize(static_cast<int>(width), static_cast<int>(height)));
            },
        .closed =
            [](void *data, auto *) {
                const auto *self = static_cast<LayerSurface *>(data);
                if (self->onClosed)
                    self->onClosed();
            }};
    zwlr_layer_surface_v1 *role = role_.get();
    zwlr_layer_surface_v1_add_listener(role, &listener, this);
    constexpr std::uint32_t topLeft =
        ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP | ZWLR_LAYER_SURFACE_V1_ANCHOR_LEFT;
    constexpr std::uint32_t bottomRight =
        ZWLR_LAYER_SURFACE_V1_ANCHOR_BOTTOM | ZWLR_LAYER_SURFACE_V1_ANCHOR_RIGHT;
    zwlr_layer_surface_v1_set_anchor(role, place.size.isNull() ? topLeft | bottomRight : topLeft);
    zwlr_layer_surface_v1_set_size(role, static_cast<std::uint32_t>(place.size.width()),
                                   static_cast<std::uint32_t>(place.size.height()));
    zwlr_layer_surface_v1_set_margin(role, place.origin.y(), 0, 0, place.origin.x());
    zwlr_layer_surface_v1_set_exclusive_zone(role, place.coversBars ? -1 : 0);
    zwlr_layer_surface_v1_set_keyboard_interactivity(
        role, place.takesKeyboard ? ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_EXCLUSIVE
                                  : ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_NONE);
    wl_surface_commit(surface);
}

void LayerSurface::moveTo(const QPoint &origin) {
    zwlr_layer_surface_v1_set_margin(role_.get(), origin.y(), 0, 0, origin.x());
    wl_surface_commit(surface_);
}

void LayerSurface::attend() {
    wl_proxy_set_queue(reinterpret_cast<wl_proxy *>(role_.get()), nullptr);
}

} // namespace corvid
