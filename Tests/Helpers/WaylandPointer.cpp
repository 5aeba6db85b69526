// A mouse for tests on a Wayland compositor:
//
//   corvid_wayland_pointer <width> <height>
//
// reads lines from standard input: "move <x> <y>" of a desktop of that size, "press <button>",
// "hold <button>", "release <button>", "wheel <steps>". Answers each with a line once the
// compositor has taken it. Buttons are Linux's numbers: 272 left, 273 right, 274 middle.

#include "wlr-virtual-pointer-unstable-v1-client-protocol.h"

#include <wayland-client.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

namespace {

void bindManager(void *data, wl_registry *registry, std::uint32_t name, const char *interface,
                 std::uint32_t /*version*/) {
    if (std::strcmp(interface, zwlr_virtual_pointer_manager_v1_interface.name) == 0)
        *static_cast<zwlr_virtual_pointer_manager_v1 **>(data) =
            static_cast<zwlr_virtual_pointer_manager_v1 *>(
                wl_registry_bind(registry, name, &zwlr_virtual_pointer_manager_v1_interface, 1));
}

void forget(void * /*data*/, wl_registry * /*registry*/, std::uint32_t /*name*/) {}

} // namespace

int main(int argc, char **argv) {
    if (argc != 3)
        return 2;
    const auto width = static_cast<std::uint32_t>(std::atoi(argv[1]));
    const auto height = static_cast<std::uint32_t>(std::atoi(argv[2]));
    wl_display *display = wl_display_connect(nullptr);
    if (!display)
        return 1;
    zwlr_virtual_pointer_manager_v1 *manager = nullptr;
    static constexpr wl_registry_listener listener{bindManager, forget};
    wl_registry_add_listener(wl_display_get_registry(display), &listener, &manager);
    wl_display_roundtrip(display);
    if (!manager)
        return 1;
    zwlr_virtual_pointer_v1 *pointer =
        zwlr_virtual_pointer_manager_v1_create_virtual_pointer(manager, nullptr);
    wl_display_roundtrip(display);

    std::uint32_t time = 0;
    const auto done = [&] {
        zwlr_virtual_pointer_v1_frame(pointer);
        wl_display_roundtrip(display);
        ++time;
    };
    std::string command;
    while (std::cin >> command) {
        if (command == "move") {
            std::uint32_t x = 0;
            std::uint32_t y = 0;
            std::cin >> x >> y;
            zwlr_virtual_pointer_v1_motion_absolute(pointer, time, x, y, width, height);
            done();
        } else if (command == "press") {
            std::uint32_t button = 0;
            std::cin >> button;
            for (const auto state :
                 {WL_POINTER_BUTTON_STATE_PRESSED, WL_POINTER_BUTTON_STATE_RELEASED}) {
                zwlr_virtual_pointer_v1_button(pointer, time, button, state);
                done();
            }
        } else if (command == "hold" || command == "release") {
            std::uint32_t button = 0;
            std::cin >> button;
            zwlr_virtual_pointer_v1_button(pointer, time, button,
                                           command == "hold" ? WL_POINTER_BUTTON_STATE_PRESSED
                                                             : WL_POINTER_BUTTON_STATE_RELEASED);
            done();
        } else if (command == "wheel") {
            int steps = 0;
            std::cin >> steps;
            zwlr_virtual_pointer_v1_axis_source(pointer, WL_POINTER_AXIS_SOURCE_WHEEL);
            zwlr_virtual_pointer_v1_axis_discrete(pointer, time, WL_POINTER_AXIS_VERTICAL_SCROLL,
                                                  wl_fixed_from_int(15 * steps), steps);
            done();
        } else {
            return 2;
        }
        std::puts("done");
        std::fflush(stdout);
    }
    wl_display_disconnect(display);
    return 0;
}
