// A window for tests on a Wayland compositor:
//
//   corvid_wayland_window <application id> <rrggbb> [--fullscreen | --bar <height> | --token
//   <token>]
//
// fills its window with the colour, prints a line once it is shown, and one more, "active" or
// "inactive", whenever that changes. A bar reserves room at the top of the output. With an
// activation token it asks to come to the front when it can read a line. Ends when it is killed or
// asked to close.

#include "Platform/Linux/Wayland/LayerShellProtocol.h"
#include "viewporter-client-protocol.h"
#include "xdg-activation-v1-client-protocol.h"
#include "xdg-shell-client-protocol.h"

#include <wayland-client.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <sys/mman.h>
#include <type_traits>
#include <unistd.h>
#include <vector>

namespace {

struct Window {
    wl_compositor *compositor = nullptr;
    wl_shm *shm = nullptr;
    wp_viewporter *viewporter = nullptr;
    xdg_wm_base *shell = nullptr;
    zwlr_layer_shell_v1 *layers = nullptr;
    xdg_activation_v1 *activation = nullptr;

    wl_surface *surface = nullptr;
    wl_buffer *colour = nullptr;
    wp_viewport *viewport = nullptr;
    int width = 200;
    int height = 200;
    bool shown = false;
    bool active = false;
};

void say(const char *line) {
    std::puts(line);
    std::fflush(stdout);
}

void draw(Window &window) {
    wp_viewport_set_destination(window.viewport, window.width, window.height);
    wl_surface_attach(window.surface, window.colour, 0, 0);
    wl_surface_damage(window.surface, 0, 0, window.width, window.height);
    wl_surface_commit(window.surface);
}

void resize(Window &window, std::int32_t width, std::int32_t height) {
    if (width > 0 && height > 0) {
        window.width = width;
        window.height = height;
    }
}

void bindGlobal(void *data, wl_registry *registry, std::uint32_t name, const char *interface,
                std::uint32_t /*version*/) {
    auto &window = *static_cast<Window *>(data);
    const auto bind = [&](auto *&object, const wl_interface &wanted, std::uint32_t version) {
        if (std::strcmp(interface, wanted.name) == 0)
            object = static_cast<std::remove_reference_t<decltype(object)>>(
                wl_registry_bind(registry, name, &wanted, version));
    };
    bind(window.compositor, wl_compositor_interface, 4);
    bind(window.shm, wl_shm_interface, 1);
    bind(window.viewporter, wp_viewporter_interface, 1);
    bind(window.shell, xdg_wm_base_interface, 1);
    bind(window.activation, xdg_activation_v1_interface, 1);
    bind(window.layers, zwlr_layer_shell_v1_interface, 1);
}
constexpr wl_registry_listener registryListener{
    bindGlobal, [](void * /*data*/, wl_registry * /*registry*/, std::uint32_t /*name*/) {}};

constexpr xdg_wm_base_listener shellListener{
    [](void * /*data*/, xdg_wm_base *shell, std::uint32_t serial) {
        xdg_wm_base_pong(shell, serial);
    }};

constexpr xdg_surface_listener surfaceListener{
    [](void *data, xdg_surface *role, std::uint32_t serial) {
        xdg_surface_ack_configure(role, serial);
        draw(*static_cast<Window *>(data));
    }};

constexpr xdg_toplevel_listener toplevelListener{
    [](void *data, xdg_toplevel * /*toplevel*/, std::int32_t width, std::int32_t height,
       wl_array *states) {
        auto &window = *static_cast<Window *>(data);
        resize(window, width, height);
        const auto *first = static_cast<const std::uint32_t *>(states->data);
        const auto *last = first + states->size / sizeof(std::uint32_t);
        const bool active = std::find(first, last, XDG_TOPLEVEL_STATE_ACTIVATED) != last;
        if (window.shown && active != window.active)
            say(active ? "active" : "inactive");
        window.active = active;
    },
    [](void * /*data*/, xdg_toplevel * /*toplevel*/) { std::exit(0); }, nullptr, nullptr};

constexpr zwlr_layer_surface_v1_listener barListener{
    [](void *data, zwlr_layer_surface_v1 *role, std::uint32_t serial, std::uint32_t width,
       std::uint32_t height) {
        zwlr_layer_surface_v1_ack_configure(role, serial);
        auto &window = *static_cast<Window *>(data);
        resize(window, static_cast<std::int32_t>(width), static_cast<std::int32_t>(height));
        draw(window);
    },
    [](void * /*data*/, zwlr_layer_surface_v1 * /*role*/) { std::exit(0); }};

// Not a single pixel: a compositor that enlarges one fades it towards the edges.
wl_buffer *makeSquare(wl_shm *shm, std::uint32_t colour) {
    constexpr std::int32_t side = 256;
    const std::vector<std::uint32_t> pixels(side * side, colour);
    constexpr std::int32_t bytes = side * side * sizeof(std::uint32_t);
    const int file = memfd_create("window", MFD_CLOEXEC);
    if (file < 0 || write(file, pixels.data(), bytes) != bytes)
        std::exit(1);
    wl_shm_pool *pool = wl_shm_create_pool(shm, file, bytes);
    return wl_shm_pool_create_buffer(pool, 0, side, side, side * sizeof(std::uint32_t),
                                     WL_SHM_FORMAT_XRGB8888);
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 3)
        return 2;
    const std::string_view kind = argc > 3 ? argv[3] : "";
    wl_display *display = wl_display_connect(nullptr);
    if (!display)
        return 1;
    Window window;
    wl_registry_add_listener(wl_display_get_registry(display), &registryListener, &window);
    wl_display_roundtrip(display);
    window.surface = wl_compositor_create_surface(window.compositor);
    window.viewport = wp_viewporter_get_viewport(window.viewporter, window.surface);
    window.colour =
        makeSquare(window.shm, static_cast<std::uint32_t>(std::strtoul(argv[2], nullptr, 16)));
    if (kind == "--bar" && argc > 4) {
        const int height = std::atoi(argv[4]);
        zwlr_layer_surface_v1 *bar = zwlr_layer_shell_v1_get_layer_surface(
            window.layers, window.surface, nullptr, ZWLR_LAYER_SHELL_V1_LAYER_TOP, argv[1]);
        zwlr_layer_surface_v1_add_listener(bar, &barListener, &window);
        zwlr_layer_surface_v1_set_anchor(bar, ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP |
                                                  ZWLR_LAYER_SURFACE_V1_ANCHOR_LEFT |
                                                  ZWLR_LAYER_SURFACE_V1_ANCHOR_RIGHT);
        zwlr_layer_surface_v1_set_size(bar, 0, static_cast<std::uint32_t>(height));
        zwlr_layer_surface_v1_set_exclusive_zone(bar, height);
    } else {
        xdg_wm_base_add_listener(window.shell, &shellListener, &window);
        xdg_surface *role = xdg_wm_base_get_xdg_surface(window.shell, window.surface);
        xdg_surface_add_listener(role, &surfaceListener, &window);
        xdg_toplevel *toplevel = xdg_surface_get_toplevel(role);
        xdg_toplevel_add_listener(toplevel, &toplevelListener, &window);
        xdg_toplevel_set_app_id(toplevel, argv[1]);
        xdg_toplevel_set_title(toplevel, argv[1]);
        if (kind == "--fullscreen")
            xdg_toplevel_set_fullscreen(toplevel, nullptr);
    }
    wl_surface_commit(window.surface);
    wl_display_roundtrip(display); // told its size
    wl_display_roundtrip(display); // shown
    window.shown = true;
    say(window.active ? "active" : "inactive");
    if (kind == "--token" && argc > 4) {
        std::getchar();
        xdg_activation_v1_activate(window.activation, argv[4], window.surface);
        wl_display_flush(display);
    }
    while (wl_display_dispatch(display) >= 0) {
    }
    return 0;
}
