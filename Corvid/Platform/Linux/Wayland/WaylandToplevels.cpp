#include "Platform/Linux/Wayland/WaylandToplevels.h"

#include <algorithm>
#include <span>
#include <utility>

namespace corvid {

using namespace std::chrono_literals;

namespace {

constexpr auto ignore = [](auto...) {};

} // namespace

std::unique_ptr<WaylandToplevels> WaylandToplevels::connect(const QByteArray &display) {
    if (display.isEmpty())
        return nullptr;
    WaylandPointer<wl_display> connection(wl_display_connect(display.constData()));
    if (!connection)
        return nullptr;
    std::unique_ptr<WaylandToplevels> result(new WaylandToplevels(std::move(connection)));
    return result->manager_ || result->listing_ ? std::move(result) : nullptr;
}

WaylandToplevels::WaylandToplevels(WaylandPointer<wl_display> display)
    : display_(std::move(display)) {
    static constexpr auto self = [](void *data) -> WaylandToplevels & {
        return *static_cast<WaylandToplevels *>(data);
    };
    if (manager_) {
        static constexpr zwlr_foreign_toplevel_manager_v1_listener listener{
            .toplevel = [](void *data, auto *, auto *handle) { self(data).add(handle); },
            .finished = [](void *data, auto *) { self(data).manager_.reset(); }};
        zwlr_foreign_toplevel_manager_v1_add_listener(manager_.get(), &listener, this);
    } else {
        listing_ = connection_.bind<ext_foreign_toplevel_list_v1>(
            ext_foreign_toplevel_list_v1_interface, 1);
        if (!listing_)
            return;
        static constexpr ext_foreign_toplevel_list_v1_listener listener{
            .toplevel = [](void *data, auto *, auto *handle) { self(data).add(handle); },
            .finished = [](void *data, auto *) { self(data).listing_.reset(); }};
        ext_foreign_toplevel_list_v1_add_listener(listing_.get(), &listener, this);
    }
    connection_.roundTrip();
}

WaylandToplevels::Toplevel &WaylandToplevels::of(void *data) {
    return *static_cast<Toplevel *>(data);
}

void WaylandToplevels::add(zwlr_foreign_toplevel_handle_v1 *handle) {
    static constexpr zwlr_foreign_toplevel_handle_v1_listener listener{
        .title = ignore,
        .app_id = [](void *data, auto *, const char *id) { of(data).setApplication(id); },
        .output_enter = ignore,
        .output_leave = ignore,
        .state = [](void *data, auto *, wl_array *states) { of(data).setState(*states); },
        .done = [](void *data, auto *) { of(data).described(); },
        .closed = [](void *data, auto *) { of(data).remove(); },
        .parent = ignore};
    toplevels_.emplace_back(new Toplevel{
        *this, WaylandPointer<zwlr_foreign_toplevel_handle_v1>(handle), nullptr, ++newest_});
    zwlr_foreign_toplevel_handle_v1_add_listener(handle, &listener, toplevels_.back().get());
}

void WaylandToplevels::add(ext_foreign_toplevel_handle_v1 *handle) {
    static constexpr ext_foreign_toplevel_handle_v1_listener listener{
        .closed = [](void *data, auto *) { of(data).remove(); },
        .done = [](void *data, auto *) { of(data).described(); },
        .title = ignore,
        .app_id = [](void *data, auto *, const char *id) { of(data).setApplication(id); },
        .identifier = ignore};
    toplevels_.emplace_back(new Toplevel{
        *this, nullptr, WaylandPointer<ext_foreign_toplevel_handle_v1>(handle), ++newest_});
    ext_foreign_toplevel_handle_v1_add_listener(handle, &listener, toplevels_.back().get());
}

// Our callers remember what they know of a window by its number, so another application's window
// needs another number.
void WaylandToplevels::Toplevel::setApplication(const char *id) {
    if (const QString named = QString::fromUtf8(id); std::exchange(application, named) == named)
        return;
    window = ++list.newest_;
    if (known)
        list.note(Events::ListChanged);
}

void WaylandToplevels::Toplevel::setState(const wl_array &states) {
    const std::span all(static_cast<const std::uint32_t *>(states.data),
                        states.size / sizeof(std::uint32_t));
    const auto has = [&](std::uint32_t state) {
        return std::ranges::find(all, state) != all.end();
    };
    minimised = has(ZWLR_FOREIGN_TOPLEVEL_HANDLE_V1_STATE_MINIMIZED);
    const bool activated = has(ZWLR_FOREIGN_TOPLEVEL_HANDLE_V1_STATE_ACTIVATED);
    if (std::exchange(active, activated) == activated)
        return;
    lastActive = ++list.focusChanges_;
    list.note(Events::FocusMoved);
}

void WaylandToplevels::Toplevel::described() {
    if (!std::exchange(known, true))
        list.note(Events::ListChanged);
}

void WaylandToplevels::Toplevel::remove() {
    list.note(Events::ListChanged);
    std::erase_if(list.toplevels_, [this](const auto &each) { return each.get() == this; });
}

int WaylandToplevels::fileDescriptor() const {
    return wl_display_get_fd(display_.get());
}

WindowList::Events WaylandToplevels::takeEvents() {
    connection_.dispatch(0ms);
    if (wl_display_get_error(display_.get()) != 0)
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
        const auto found = std::ranges::find_if(
            toplevels_, [&](const auto &each) { return each->window == window; });
        if (found != toplevels_.end()) {
            client.traits.windowClass = (*found)->application;
            client.traits.gtkApplicationId = (*found)->application;
        }
        result.push_back(std::move(client));
    }
    return result;
}

WindowList::Window WaylandToplevels::active() const {
    const auto found = std::ranges::find_if(
        toplevels_, [](const auto &each) { return each->known && each->active; });
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
        zwlr_foreign_toplevel_handle_v1_unset_minimized(topmost->managed.get());
    zwlr_foreign_toplevel_handle_v1_activate(topmost->managed.get(), seat_.get());
    wl_display_flush(display_.get());
    return topmost->window;
}

} // namespace corvid
