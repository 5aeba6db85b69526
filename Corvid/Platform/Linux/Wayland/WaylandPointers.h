#pragma once

#include "Platform/Linux/Wayland/LayerShellProtocol.h"
#include "ext-background-effect-v1-client-protocol.h"
#include "ext-foreign-toplevel-list-v1-client-protocol.h"
#include "kde-blur-client-protocol.h"
#include "relative-pointer-unstable-v1-client-protocol.h"
#include "viewporter-client-protocol.h"
#include "wlr-foreign-toplevel-management-unstable-v1-client-protocol.h"
#include "xdg-activation-v1-client-protocol.h"

#include <memory>

namespace corvid {

struct WaylandDestroy {
    void operator()(wl_display *object) const { wl_display_disconnect(object); }
    void operator()(wl_event_queue *object) const { wl_event_queue_destroy(object); }
    void operator()(wl_proxy *object) const { wl_proxy_destroy(object); }
    void operator()(wl_registry *object) const { wl_registry_destroy(object); }
    void operator()(wl_callback *object) const { wl_callback_destroy(object); }
    void operator()(wl_buffer *object) const { wl_buffer_destroy(object); }
    void operator()(wl_compositor *object) const { wl_compositor_destroy(object); }
    void operator()(wl_region *object) const { wl_region_destroy(object); }
    void operator()(wl_seat *object) const { wl_seat_destroy(object); }
    void operator()(wl_shm *object) const { wl_shm_destroy(object); }
    void operator()(wl_subcompositor *object) const { wl_subcompositor_destroy(object); }
    void operator()(wl_subsurface *object) const { wl_subsurface_destroy(object); }
    void operator()(wl_surface *object) const { wl_surface_destroy(object); }
    void operator()(ext_background_effect_manager_v1 *object) const {
        ext_background_effect_manager_v1_destroy(object);
    }
    void operator()(ext_background_effect_surface_v1 *object) const {
        ext_background_effect_surface_v1_destroy(object);
    }
    void operator()(ext_foreign_toplevel_handle_v1 *object) const {
        ext_foreign_toplevel_handle_v1_destroy(object);
    }
    void operator()(ext_foreign_toplevel_list_v1 *object) const {
        ext_foreign_toplevel_list_v1_destroy(object);
    }
    void operator()(org_kde_kwin_blur *object) const { org_kde_kwin_blur_release(object); }
    void operator()(org_kde_kwin_blur_manager *object) const {
        org_kde_kwin_blur_manager_destroy(object);
    }
    void operator()(wp_viewport *object) const { wp_viewport_destroy(object); }
    void operator()(wp_viewporter *object) const { wp_viewporter_destroy(object); }
    void operator()(xdg_activation_v1 *object) const { xdg_activation_v1_destroy(object); }
    void operator()(xdg_activation_token_v1 *object) const {
        xdg_activation_token_v1_destroy(object);
    }
    void operator()(zwp_relative_pointer_manager_v1 *object) const {
        zwp_relative_pointer_manager_v1_destroy(object);
    }
    void operator()(zwp_relative_pointer_v1 *object) const {
        zwp_relative_pointer_v1_destroy(object);
    }
    void operator()(zwlr_foreign_toplevel_handle_v1 *object) const {
        zwlr_foreign_toplevel_handle_v1_destroy(object);
    }
    void operator()(zwlr_foreign_toplevel_manager_v1 *object) const {
        zwlr_foreign_toplevel_manager_v1_destroy(object);
    }
    void operator()(zwlr_layer_shell_v1 *object) const {
        if (zwlr_layer_shell_v1_get_version(object) >= ZWLR_LAYER_SHELL_V1_DESTROY_SINCE_VERSION)
            zwlr_layer_shell_v1_destroy(object);
        else
            wl_proxy_destroy(reinterpret_cast<wl_proxy *>(object));
    }
    void operator()(zwlr_layer_surface_v1 *object) const { zwlr_layer_surface_v1_destroy(object); }
};
/** Owns an object of the Wayland library. */
template <typename T>
using WaylandPointer = std::unique_ptr<T, WaylandDestroy>;

} // namespace corvid
