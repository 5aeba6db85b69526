#include "Platform/Linux/Wayland/LayerShell.h"

#include "Platform/Linux/Wayland/LayerShellProtocol.h"
#include "viewporter-client-protocol.h"

#include <algorithm>
#include <cstring>

namespace corvid {

namespace {

struct Global {
    const wl_interface *interface;
    std::uint32_t version; ///< the highest that we know
    void **object;
};

struct Globals {
    Global wanted[5];
    bool &seat;
};

void bindGlobal(void *data, wl_registry *registry, std::uint32_t name, const char *interface,
                std::uint32_t version) {
    const auto *globals = static_cast<const Globals *>(data);
    if (std::strcmp(interface, wl_seat_interface.name) == 0)
        globals->seat = true;
    for (const Global &global : globals->wanted) {
        if (!*global.object && std::strcmp(interface, global.interface->name) == 0)
            *global.object = wl_registry_bind(registry, name, global.interface,
                                              std::min(version, global.version));
    }
}

void forgetGlobal(void * /*data*/, wl_registry * /*registry*/, std::uint32_t /*name*/) {}

template <typename Object>
void **slot(Object *&object) {
    return reinterpret_cast<void **>(&object);
}

} // namespace

std::shared_ptr<const LayerShell> LayerShell::bind(wl_display *display) {
    const std::shared_ptr<LayerShell> shell(new LayerShell);
    shell->display_ = display;
    // Qt's thread reads the connection, but leaves this queue to us.
    shell->queue_ = wl_display_create_queue(display);
    auto *wrapper = static_cast<wl_display *>(wl_proxy_create_wrapper(display));
    wl_proxy_set_queue(reinterpret_cast<wl_proxy *>(wrapper), shell->queue_);
    wl_registry *registry = wl_display_get_registry(wrapper);
    wl_proxy_wrapper_destroy(wrapper);
    Globals globals{{{&wl_compositor_interface, 4, slot(shell->compositor_)},
                     {&wl_shm_interface, 1, slot(shell->shm_)},
                     {&wl_subcompositor_interface, 1, slot(shell->subcompositor_)},
                     {&wp_viewporter_interface, 1, slot(shell->viewporter_)},
                     {&zwlr_layer_shell_v1_interface, 4, slot(shell->shell_)}},
                    shell->hasSeat_};
    static constexpr wl_registry_listener listener{bindGlobal, forgetGlobal};
    wl_registry_add_listener(registry, &listener, &globals);
    shell->roundTrip();
    wl_registry_destroy(registry);
    if (!shell->shell_ || !shell->compositor_ || !shell->shm_ || !shell->subcompositor_)
        return nullptr;
    return shell;
}

LayerShell::~LayerShell() {
    if (viewporter_)
        wp_viewporter_destroy(viewporter_);
    if (subcompositor_)
        wl_subcompositor_destroy(subcompositor_);
    if (shm_)
        wl_shm_destroy(shm_);
    if (compositor_)
        wl_compositor_destroy(compositor_);
    if (shell_ &&
        zwlr_layer_shell_v1_get_version(shell_) >= ZWLR_LAYER_SHELL_V1_DESTROY_SINCE_VERSION)
        zwlr_layer_shell_v1_destroy(shell_);
    else if (shell_)
        wl_proxy_destroy(reinterpret_cast<wl_proxy *>(shell_));
    wl_event_queue_destroy(queue_);
}

void LayerShell::roundTrip() const {
    wl_display_roundtrip_queue(display_, queue_);
}

LayerSurface::LayerSurface(const LayerShell &shell, wl_surface *surface, wl_output *output,
                           const Place &place)
    : role_(zwlr_layer_shell_v1_get_layer_surface(shell.shell(), surface, output,
                                                  ZWLR_LAYER_SHELL_V1_LAYER_OVERLAY, "corvid")) {
    static constexpr zwlr_layer_surface_v1_listener listener{
        [](void *data, zwlr_layer_surface_v1 *role, std::uint32_t serial, std::uint32_t width,
           std::uint32_t height) {
            zwlr_layer_surface_v1_ack_configure(role, serial);
            auto *self = static_cast<LayerSurface *>(data);
            self->size_ = QSize(static_cast<int>(width), static_cast<int>(height));
            if (self->onSize)
                self->onSize(*self->size_);
        },
        [](void *data, zwlr_layer_surface_v1 * /*role*/) {
            const auto *self = static_cast<LayerSurface *>(data);
            if (self->onClosed)
                self->onClosed();
        }};
    zwlr_layer_surface_v1_add_listener(role_, &listener, this);
    zwlr_layer_surface_v1_set_anchor(role_, place.edges);
    zwlr_layer_surface_v1_set_size(role_, static_cast<std::uint32_t>(place.size.width()),
                                   static_cast<std::uint32_t>(place.size.height()));
    zwlr_layer_surface_v1_set_margin(role_, place.top, 0, 0, place.left);
    zwlr_layer_surface_v1_set_exclusive_zone(role_, place.room == Room::Visible ? 0 : -1);
    zwlr_layer_surface_v1_set_keyboard_interactivity(
        role_, place.keyboard == Keyboard::Always
                   ? ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_EXCLUSIVE
                   : ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_NONE);
    wl_surface_commit(surface);
}

LayerSurface::~LayerSurface() {
    zwlr_layer_surface_v1_destroy(role_);
}

void LayerSurface::attend() {
    wl_proxy_set_queue(reinterpret_cast<wl_proxy *>(role_), nullptr);
}

} // namespace corvid
