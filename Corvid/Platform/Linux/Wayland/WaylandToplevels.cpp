#include "Platform/Linux/Wayland/WaylandToplevels.h"

#include "wlr-foreign-toplevel-management-unstable-v1-client-protocol.h"

#include <algorithm>
#include <cstring>
#include <poll.h>
#include <utility>
#include <wayland-client.h>

namespace corvid {

struct WaylandToplevels::Toplevel {
    WaylandToplevels *list;
    zwlr_foreign_toplevel_handle_v1 *handle;
    Window window;
    QString application;
    bool known = false; ///< all that there is to say of it has been said
    bool active = false;
    bool minimised = false;
    std::uint64_t lastActive = 0; ///< grows with each change of the focus
};

std::unique_ptr<WaylandToplevels> WaylandToplevels::connect(const QByteArray &display) {
    if (display.isEmpty())
        return nullptr;
    wl_display *connection = wl_display_connect(display.constData());
    if (!connection)
        return nullptr;
    std::unique_ptr<WaylandToplevels> result(new WaylandToplevels(connection));
    result->listen();
    return result->manager_ ? std::move(result) : nullptr;
}

WaylandToplevels::WaylandToplevels(wl_display *display) : display_(display) {}

WaylandToplevels::~WaylandToplevels() {
    for (const auto &toplevel : toplevels_)
        zwlr_foreign_toplevel_handle_v1_destroy(toplevel->handle);
    if (manager_)
        zwlr_foreign_toplevel_manager_v1_destroy(manager_);
    if (seat_)
        wl_seat_destroy(seat_);
    wl_display_disconnect(display_);
}

void WaylandToplevels::listen() {
    static constexpr wl_registry_listener globals{
        [](void *data, wl_registry *registry, std::uint32_t name, const char *interface,
           std::uint32_t version) {
            auto *self = static_cast<WaylandToplevels *>(data);
            if (!self->manager_ &&
                std::strcmp(interface, zwlr_foreign_toplevel_manager_v1_interface.name) == 0) {
                constexpr std::uint32_t knownVersion = 3;
                self->manager_ = static_cast<zwlr_foreign_toplevel_manager_v1 *>(
                    wl_registry_bind(registry, name, &zwlr_foreign_toplevel_manager_v1_interface,
                                     std::min(version, knownVersion)));
            }
            if (!self->seat_ && std::strcmp(interface, wl_seat_interface.name) == 0)
                self->seat_ =
                    static_cast<wl_seat *>(wl_registry_bind(registry, name, &wl_seat_interface, 1));
        },
        [](void * /*data*/, wl_registry * /*registry*/, std::uint32_t /*name*/) {}};
    wl_registry *registry = wl_display_get_registry(display_);
    wl_registry_add_listener(registry, &globals, this);
    wl_display_roundtrip(display_);
    wl_registry_destroy(registry);
    if (!manager_)
        return;
    static constexpr zwlr_foreign_toplevel_manager_v1_listener listener{
        [](void *data, zwlr_foreign_toplevel_manager_v1 * /*manager*/,
           zwlr_foreign_toplevel_handle_v1 *handle) {
            static_cast<WaylandToplevels *>(data)->add(handle);
        },
        [](void *data, zwlr_foreign_toplevel_manager_v1 *manager) {
            static_cast<WaylandToplevels *>(data)->manager_ = nullptr;
            zwlr_foreign_toplevel_manager_v1_destroy(manager);
        }};
    zwlr_foreign_toplevel_manager_v1_add_listener(manager_, &listener, this);
    wl_display_roundtrip(display_);
}

void WaylandToplevels::add(zwlr_foreign_toplevel_handle_v1 *handle) {
    static constexpr zwlr_foreign_toplevel_handle_v1_listener listener{
        [](void * /*data*/, zwlr_foreign_toplevel_handle_v1 * /*handle*/, const char * /*title*/) {
        },
        [](void *data, zwlr_foreign_toplevel_handle_v1 * /*handle*/, const char *id) {
            auto &toplevel = *static_cast<Toplevel *>(data);
            toplevel.list->setApplication(toplevel, id);
        },
        [](void * /*data*/, zwlr_foreign_toplevel_handle_v1 * /*handle*/, wl_output * /*output*/) {
        },
        [](void * /*data*/, zwlr_foreign_toplevel_handle_v1 * /*handle*/, wl_output * /*output*/) {
        },
        [](void *data, zwlr_foreign_toplevel_handle_v1 * /*handle*/, wl_array *states) {
            auto &toplevel = *static_cast<Toplevel *>(data);
            toplevel.list->setState(toplevel, *states);
        },
        [](void *data, zwlr_foreign_toplevel_handle_v1 * /*handle*/) {
            auto &toplevel = *static_cast<Toplevel *>(data);
            if (!std::exchange(toplevel.known, true))
                toplevel.list->note(Events::ListChanged);
        },
        [](void *data, zwlr_foreign_toplevel_handle_v1 * /*handle*/) {
            const auto &toplevel = *static_cast<Toplevel *>(data);
            toplevel.list->remove(toplevel);
        },
        [](void * /*data*/, zwlr_foreign_toplevel_handle_v1 * /*handle*/,
           zwlr_foreign_toplevel_handle_v1 * /*parent*/) {}};
    toplevels_.push_back(std::make_unique<Toplevel>(Toplevel{this, handle, ++newest_, {}}));
    zwlr_foreign_toplevel_handle_v1_add_listener(handle, &listener, toplevels_.back().get());
}

// What is known of a window is kept by its number, so one that becomes another's gets a new one.
void WaylandToplevels::setApplication(Toplevel &toplevel, const char *id) {
    const QString application = QString::fromUtf8(id);
    if (toplevel.application == application)
        return;
    toplevel.application = application;
    toplevel.window = ++newest_;
    if (toplevel.known)
        note(Events::ListChanged);
}

void WaylandToplevels::setState(Toplevel &toplevel, const wl_array &states) {
    const auto *first = static_cast<const std::uint32_t *>(states.data);
    const auto *last = first + states.size / sizeof(std::uint32_t);
    const auto has = [&](std::uint32_t state) { return std::find(first, last, state) != last; };
    toplevel.minimised = has(ZWLR_FOREIGN_TOPLEVEL_HANDLE_V1_STATE_MINIMIZED);
    const bool active = has(ZWLR_FOREIGN_TOPLEVEL_HANDLE_V1_STATE_ACTIVATED);
    if (std::exchange(toplevel.active, active) == active)
        return;
    toplevel.lastActive = ++focusChanges_;
    note(Events::FocusMoved);
}

void WaylandToplevels::remove(const Toplevel &toplevel) {
    zwlr_foreign_toplevel_handle_v1_destroy(toplevel.handle);
    std::erase_if(toplevels_, [&](const auto &each) { return each.get() == &toplevel; });
    note(Events::ListChanged);
}

void WaylandToplevels::note(Events event) {
    events_ = std::max(events_, event);
}

const WaylandToplevels::Toplevel *WaylandToplevels::find(Window window) const {
    const auto found = std::find_if(toplevels_.begin(), toplevels_.end(),
                                    [&](const auto &each) { return each->window == window; });
    return found == toplevels_.end() ? nullptr : found->get();
}

int WaylandToplevels::fileDescriptor() const {
    return wl_display_get_fd(display_);
}

WindowList::Events WaylandToplevels::takeEvents() {
    while (wl_display_prepare_read(display_) != 0)
        wl_display_dispatch_pending(display_);
    wl_display_flush(display_);
    pollfd socket{wl_display_get_fd(display_), POLLIN, 0};
    if (poll(&socket, 1, 0) > 0)
        wl_display_read_events(display_);
    else
        wl_display_cancel_read(display_);
    wl_display_dispatch_pending(display_);
    if (wl_display_get_error(display_) != 0)
        return Events::ConnectionLost;
    return std::exchange(events_, Events::Nothing);
}

std::vector<WindowList::Window> WaylandToplevels::list() const {
    std::vector<Window> result;
    for (const auto &toplevel : toplevels_)
        if (toplevel->known)
            result.push_back(toplevel->window);
    return result;
}

// The compositor tells one name only: of an X11 program its class.
std::vector<WindowList::Client>
WaylandToplevels::describe(const std::vector<Window> &windows) const {
    std::vector<Client> result;
    for (const Window window : windows) {
        Client client;
        client.window = window;
        if (const Toplevel *toplevel = find(window)) {
            client.traits.windowClass = toplevel->application;
            client.traits.gtkApplicationId = toplevel->application;
        }
        result.push_back(std::move(client));
    }
    return result;
}

WindowList::Window WaylandToplevels::active() const {
    const auto found = std::find_if(toplevels_.begin(), toplevels_.end(),
                                    [](const auto &each) { return each->known && each->active; });
    return found == toplevels_.end() ? 0 : (*found)->window;
}

WindowList::Window WaylandToplevels::activateTopmost(const std::vector<Window> &windows) {
    const Toplevel *topmost = nullptr;
    for (const auto &toplevel : toplevels_) {
        const bool wanted = std::ranges::find(windows, toplevel->window) != windows.end();
        if (wanted && (!topmost || toplevel->lastActive >= topmost->lastActive))
            topmost = toplevel.get();
    }
    if (!topmost)
        return windows.back();
    if (topmost->minimised)
        zwlr_foreign_toplevel_handle_v1_unset_minimized(topmost->handle);
    zwlr_foreign_toplevel_handle_v1_activate(topmost->handle, seat_);
    wl_display_flush(display_);
    return topmost->window;
}

} // namespace corvid
