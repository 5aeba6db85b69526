// A Wayland compositor for tests that has a layer shell, but neither seat nor output:
//
//   corvid_seatless_compositor
//
// takes all requests and does nothing of what they ask for. Prints the display's name once it can
// be reached. Ends when it is killed.

#include "Platform/Linux/Wayland/LayerShellProtocol.h"
#include "xdg-activation-v1-client-protocol.h"
#include "xdg-shell-client-protocol.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <unistd.h>
#include <wayland-server-core.h>

namespace {

wl_resource *create(wl_client *client, const wl_interface *interface, std::uint32_t version,
                    std::uint32_t id);

int take(const void * /*self*/, void *target, std::uint32_t /*opcode*/, const wl_message *message,
         wl_argument *arguments) {
    auto *resource = static_cast<wl_resource *>(target);
    int argument = 0;
    for (const char *type = message->signature; *type != 0; ++type) {
        if (std::strchr("iufsonah", *type) == nullptr)
            continue; // a version, or that it may be absent
        if (*type == 'n')
            create(wl_resource_get_client(resource), message->types[argument],
                   static_cast<std::uint32_t>(wl_resource_get_version(resource)),
                   arguments[argument].n);
        else if (*type == 'h')
            close(arguments[argument].h);
        ++argument;
    }
    if (std::strcmp(message->name, "destroy") == 0)
        wl_resource_destroy(resource);
    return 0;
}

wl_resource *create(wl_client *client, const wl_interface *interface, std::uint32_t version,
                    std::uint32_t id) {
    wl_resource *resource = wl_resource_create(client, interface, static_cast<int>(version), id);
    wl_resource_set_dispatcher(resource, take, nullptr, nullptr, nullptr);
    return resource;
}

void bindGlobal(wl_client *client, void *interface, std::uint32_t version, std::uint32_t id) {
    create(client, static_cast<const wl_interface *>(interface), version, id);
}

} // namespace

int main() {
    wl_display *display = wl_display_create();
    const char *name = wl_display_add_socket_auto(display);
    if (!name)
        return 1;
    wl_display_init_shm(display);
    for (const wl_interface *interface :
         {&wl_compositor_interface, &wl_subcompositor_interface, &xdg_wm_base_interface,
          &xdg_activation_v1_interface, &zwlr_layer_shell_v1_interface})
        wl_global_create(display, interface, 1, const_cast<wl_interface *>(interface), bindGlobal);
    std::puts(name);
    std::fflush(stdout);
    wl_display_run(display);
    return 0;
}
