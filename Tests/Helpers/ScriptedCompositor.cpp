// A Wayland compositor for tests that has a layer shell, but nothing to type or click with:
//
//   corvid_scripted_compositor [<manner>...]
//
// takes all requests and shows nothing of what they ask for. Prints the display's name once it can
// be reached. Its manners:
//
//   --background-effect   can blur what lies behind surfaces, by the protocol for all
//   --kde-blur            can do it by KDE's protocol
//   --lists-windows       lists windows
//   --output              has an output of 1280 × 800 pixels
//   --keeps-pixels        gives pixels back only once there are new ones
//
// Prints of what it is asked for:
//
//   blur <x> <y> <width> <height> of <n>   a region of n rectangles, and the smallest around it
//   no blur
//   opacity <0 to 255>    how opaque the middle of a surface is that is wider than 500 pixels
//   hidden                that surface is gone
//
// Takes lines from its standard input:
//
//   window <name> <application>    it is there now, or another application's
//   unfinished <application>       a window that is never told all of
//   gone <name>
//   finished                       it lists no further windows
//   blurs | does-not-blur          by the protocol for all
//   kde-blurs | kde-does-not-blur
//   nonsense                       everybody gets a message that there is not
//
// Ends with its standard input.

#include "Platform/Linux/Wayland/LayerShellProtocol.h"
#include "ext-background-effect-v1-client-protocol.h"
#include "ext-foreign-toplevel-list-v1-client-protocol.h"
#include "kde-blur-client-protocol.h"
#include "xdg-activation-v1-client-protocol.h"
#include "xdg-shell-client-protocol.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <iostream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <unistd.h>
#include <utility>
#include <vector>
#include <wayland-server-core.h>
#include <wayland-server-protocol.h>

namespace {

struct Rectangle {
    int x, y, width, height;
};

// Events by their place in the protocols.
enum : std::uint32_t { Geometry = 0, Mode = 1, OutputDone = 2 };
enum : std::uint32_t { Capabilities = 0 };
enum : std::uint32_t { NewToplevel = 0, Finished = 1 };
enum : std::uint32_t { Closed = 0, Done = 1, Title = 2, ApplicationId = 3, Identifier = 4 };

std::set<std::string> manners;
wl_display *display = nullptr;
wl_global *kdeBlur = nullptr;
bool blurs = false;
std::map<wl_resource *, std::vector<Rectangle>> regions;
wl_resource *kept = nullptr;                    // a buffer
std::set<wl_resource *> wide;                   // surfaces
std::map<wl_resource *, wl_resource *> buffers; // attached to surfaces, to be committed
std::set<wl_resource *> managers;               // of background effects
std::set<wl_resource *> listings;
std::map<std::string, std::vector<wl_resource *>> windows; // their handles, one a listing

void say(const std::string &line) {
    std::puts(line.c_str());
    std::fflush(stdout);
}

template <typename... Words>
void sayAll(const Words &...words) {
    std::ostringstream line;
    const char *gap = "";
    ((line << std::exchange(gap, " ") << words), ...);
    say(line.str());
}

void tellRegion(wl_resource *region) {
    const std::vector<Rectangle> &parts = regions[region];
    if (parts.empty()) {
        say("no blur");
        return;
    }
    Rectangle all = parts.front();
    for (const Rectangle &part : parts) {
        const int right = std::max(all.x + all.width, part.x + part.width);
        const int bottom = std::max(all.y + all.height, part.y + part.height);
        all.x = std::min(all.x, part.x);
        all.y = std::min(all.y, part.y);
        all.width = right - all.x;
        all.height = bottom - all.y;
    }
    sayAll("blur", all.x, all.y, all.width, all.height, "of", parts.size());
}

void tellOpacity(wl_resource *surface, wl_resource *buffer) {
    wl_shm_buffer *pixels = wl_shm_buffer_get(buffer);
    constexpr int wideOnes = 500;
    if (!pixels || wl_shm_buffer_get_width(pixels) < wideOnes)
        return;
    wide.insert(surface);
    const int row = wl_shm_buffer_get_height(pixels) / 2;
    const auto *bytes = static_cast<const unsigned char *>(wl_shm_buffer_get_data(pixels));
    constexpr int alpha = 3;
    sayAll("opacity", static_cast<int>(bytes[row * wl_shm_buffer_get_stride(pixels) +
                                             wl_shm_buffer_get_width(pixels) / 2 * 4 + alpha]));
}

void tellGone(wl_resource *surface) {
    if (wide.erase(surface) > 0)
        say("hidden");
}

void note(wl_resource *target, std::string_view request, const wl_argument *arguments) {
    const std::string_view interface = wl_resource_get_class(target);
    const auto object = [&](int at) { return reinterpret_cast<wl_resource *>(arguments[at].o); };
    if (interface == "wl_region" && request == "add")
        regions[target].push_back({arguments[0].i, arguments[1].i, arguments[2].i, arguments[3].i});
    else if (request == "set_region" || request == "set_blur_region")
        tellRegion(object(0));
    else if (request == "unset" ||
             (interface == "ext_background_effect_surface_v1" && request == "destroy"))
        say("no blur");
    else if (interface == "wl_surface" && request == "attach") {
        buffers[target] = object(0);
        if (!object(0)) // so Qt 6.11 hides a surface, which it keeps
            tellGone(target);
    } else if (interface == "wl_surface" && request == "commit") {
        if (wl_resource *buffer = std::exchange(buffers[target], nullptr)) {
            tellOpacity(target, buffer);
            if (manners.count("--keeps-pixels") > 0)
                buffer = std::exchange(kept, buffer);
            if (buffer)
                wl_buffer_send_release(buffer);
        }
    }
}

wl_resource *create(wl_client *client, const wl_interface *interface, std::uint32_t version,
                    std::uint32_t id);

int take(const void * /*self*/, void *target, std::uint32_t /*opcode*/, const wl_message *message,
         wl_argument *arguments) {
    auto *resource = static_cast<wl_resource *>(target);
    note(resource, message->name, arguments);
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
    for (const char *last : {"destroy", "release"})
        if (std::strcmp(message->name, last) == 0) {
            wl_resource_destroy(resource);
            break;
        }
    return 0;
}

void forget(wl_resource *resource) {
    regions.erase(resource);
    tellGone(resource);
    if (buffers.erase(resource) > 0)
        kept = nullptr; // its client destroys it, too
    managers.erase(resource);
    listings.erase(resource);
    for (auto &[name, handles] : windows)
        handles.erase(std::remove(handles.begin(), handles.end(), resource), handles.end());
}

wl_resource *create(wl_client *client, const wl_interface *interface, std::uint32_t version,
                    std::uint32_t id) {
    wl_resource *resource = wl_resource_create(client, interface, static_cast<int>(version), id);
    wl_resource_set_dispatcher(resource, take, nullptr, nullptr, forget);
    return resource;
}

void tellCapabilities(wl_resource *manager) {
    constexpr std::uint32_t blur = EXT_BACKGROUND_EFFECT_MANAGER_V1_CAPABILITY_BLUR;
    wl_resource_post_event(manager, Capabilities, blurs ? blur : 0U);
}

void tellWindow(wl_resource *handle, const std::string &application) {
    wl_resource_post_event(handle, Title, "a window");
    wl_resource_post_event(handle, ApplicationId, application.c_str());
}

wl_resource *addWindow(wl_resource *listing) {
    wl_resource *handle =
        create(wl_resource_get_client(listing), &ext_foreign_toplevel_handle_v1_interface, 1, 0);
    wl_resource_post_event(listing, NewToplevel, handle);
    return handle;
}

void bindGlobal(wl_client *client, void *interface, std::uint32_t version, std::uint32_t id) {
    wl_resource *resource =
        create(client, static_cast<const wl_interface *>(interface), version, id);
    if (interface == &ext_background_effect_manager_v1_interface) {
        managers.insert(resource);
        tellCapabilities(resource);
    } else if (interface == &ext_foreign_toplevel_list_v1_interface) {
        listings.insert(resource);
        say("listing");
    } else if (interface == &wl_output_interface) {
        wl_resource_post_event(resource, Geometry, 0, 0, 0, 0, WL_OUTPUT_SUBPIXEL_UNKNOWN, "",
                               "scripted", WL_OUTPUT_TRANSFORM_NORMAL);
        wl_resource_post_event(resource, Mode, WL_OUTPUT_MODE_CURRENT, 1280, 800, 60'000);
        wl_resource_post_event(resource, OutputDone);
    }
}

wl_global *offer(const wl_interface &interface, int version = 1) {
    return wl_global_create(display, &interface, version, const_cast<wl_interface *>(&interface),
                            bindGlobal);
}

void sendNonsense() {
    wl_client *client = nullptr;
    wl_client_for_each(client, wl_display_get_client_list(display)) {
        wl_client_flush(client);
        // An event of the display's that it does not have.
        constexpr std::uint32_t message[]{1, 12U << 16U | 0xFFFFU, 0};
        if (write(wl_client_get_fd(client), message, sizeof message) != sizeof message)
            say("could not write");
    }
}

void obeyOfWindows(const std::string &command, std::istream &words) {
    std::string name;
    std::string application;
    if (command == "unfinished") {
        words >> application;
        for (wl_resource *listing : listings)
            tellWindow(addWindow(listing), application);
        return;
    }
    words >> name >> application;
    std::vector<wl_resource *> &handles = windows[name];
    if (command == "window") {
        if (handles.empty())
            for (wl_resource *listing : listings) {
                handles.push_back(addWindow(listing));
                wl_resource_post_event(handles.back(), Identifier, name.c_str());
            }
        for (wl_resource *handle : handles) {
            tellWindow(handle, application);
            wl_resource_post_event(handle, Done);
        }
    } else {
        for (wl_resource *handle : std::exchange(handles, {}))
            wl_resource_post_event(handle, Closed);
    }
}

void obey(const std::string &line) {
    std::istringstream words(line);
    std::string command;
    words >> command;
    if (command == "window" || command == "unfinished" || command == "gone") {
        obeyOfWindows(command, words);
    } else if (command == "finished") {
        for (wl_resource *listing : listings)
            wl_resource_post_event(listing, Finished);
    } else if (command == "blurs" || command == "does-not-blur") {
        blurs = command == "blurs";
        for (wl_resource *manager : managers)
            tellCapabilities(manager);
    } else if (command == "kde-blurs" && !kdeBlur) {
        kdeBlur = offer(org_kde_kwin_blur_manager_interface);
    } else if (command == "kde-does-not-blur" && kdeBlur) {
        wl_global_destroy(std::exchange(kdeBlur, nullptr));
    } else if (command == "nonsense") {
        sendNonsense();
    }
    wl_display_flush_clients(display);
    say("did " + command);
}

int readInput(int file, std::uint32_t /*mask*/, void * /*data*/) {
    static std::string unread;
    char bytes[512];
    const ssize_t length = read(file, bytes, sizeof bytes);
    if (length <= 0) {
        wl_display_terminate(display);
        return 0;
    }
    unread.append(bytes, static_cast<std::size_t>(length));
    for (std::size_t end = 0; (end = unread.find('\n')) != std::string::npos;
         unread.erase(0, end + 1))
        obey(unread.substr(0, end));
    return 0;
}

} // namespace

int main(int argc, char **argv) {
    manners = {argv + 1, argv + argc};
    display = wl_display_create();
    const char *name = wl_display_add_socket_auto(display);
    if (!name)
        return 1;
    wl_display_init_shm(display);
    for (const wl_interface *interface :
         {&wl_compositor_interface, &wl_subcompositor_interface, &xdg_wm_base_interface,
          &xdg_activation_v1_interface, &zwlr_layer_shell_v1_interface})
        offer(*interface);
    blurs = manners.count("--background-effect") > 0;
    if (blurs)
        offer(ext_background_effect_manager_v1_interface);
    if (manners.count("--kde-blur") > 0)
        kdeBlur = offer(org_kde_kwin_blur_manager_interface);
    if (manners.count("--output") > 0)
        offer(wl_output_interface, WL_OUTPUT_DONE_SINCE_VERSION);
    if (manners.count("--lists-windows") > 0)
        offer(ext_foreign_toplevel_list_v1_interface);
    wl_event_loop_add_fd(wl_display_get_event_loop(display), STDIN_FILENO, WL_EVENT_READABLE,
                         readInput, nullptr);
    say(name);
    wl_display_run(display);
    return 0;
}
