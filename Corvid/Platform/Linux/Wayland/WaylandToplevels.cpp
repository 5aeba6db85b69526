#include "Platform/Linux/Wayland/WaylandToplevels.h"

#include <algorithm>
#include <utility>

namespace corvid {

using namespace std::chrono_literals;

struct WaylandToplevels::Toplevel {
    WaylandToplevels &list;
    WaylandPointer<zwlr_foreign_toplevel_handle_v1> handle;
    Window window;
    QString application{};
    bool known = false; ///< whether its first description is complete
    bool active = false;
    bool minimised = false;
    std::uint64_t lastActive = 0; ///< grows with each change of the focus
};

std::unique_ptr<WaylandToplevels> WaylandToplevels::connect(const QByteArray &display) {
    if (display.isEmpty())
        return nullptr;
    WaylandPointer<wl_display> connection(wl_display_connect(display.constData()));
    if (!connection)
        return nullptr;
    std::unique_ptr<WaylandToplevels> result(new WaylandToplevels(std::move(connection)));
    return result->manager_ ? std::move(result) : nullptr;
}

WaylandToplevels::~WaylandToplevels() = default;

WaylandToplevels::WaylandToplevels(WaylandPointer<wl_display> display)
    : display_(std::move(display)) {
    if (!manager_)
        return;
    static constexpr zwlr_foreign_toplevel_manager_v1_listener listener{
        [](void *data, zwlr_foreign_toplevel_manager_v1 * /*manager*/,
           zwlr_foreign_toplevel_handle_v1 *handle) {
            static_cast<WaylandToplevels *>(data)->add(handle);
        },
        [](void *data, zwlr_foreign_toplevel_manager_v1 * /*manager*/) {
            static_cast<WaylandToplevels *>(data)->manager_.reset();
        }};
    zwlr_foreign_toplevel_manager_v1_add_listener(manager_.get(), &listener, this);
    connection_.roundTrip();
}

void WaylandToplevels::add(zwlr_foreign_toplevel_handle_v1 *handle) {
    using Handle = zwlr_foreign_toplevel_handle_v1;
    static constexpr zwlr_foreign_toplevel_handle_v1_listener listener{
        .title = [](void * /*data*/, Handle * /*handle*/, const char * /*title*/) {},
        .app_id =
            [](void *data, Handle * /*handle*/, const char *id) {
                auto &toplevel = *static_cast<Toplevel *>(data);
                toplevel.list.setApplication(toplevel, id);
            },
        .output_enter = [](void * /*data*/, Handle * /*handle*/, wl_output * /*output*/) {},
        .output_leave = [](void * /*data*/, Handle * /*handle*/, wl_output * /*output*/) {},
        .state =
            [](void *data, Handle * /*handle*/, wl_array *states) {
                auto &toplevel = *static_cast<Toplevel *>(data);
                toplevel.list.setState(toplevel, *states);
            },
        .done =
            [](void *data, Handle * /*handle*/) {
                auto &toplevel = *static_cast<Toplevel *>(data);
                if (!std::exchange(toplevel.known, true))
                    toplevel.list.note(Events::ListChanged);
            },
        .closed =
            [](void *data, Handle * /*handle*/) {
                const auto &toplevel = *static_cast<Toplevel *>(data);
                toplevel.list.remove(toplevel);
            },
        .parent = [](void * /*data*/, Handle * /*handle*/, Handle * /*parent*/) {}};
    toplevels_.emplace_back(new Toplevel{*this, WaylandPointer<Handle>(handle), {++newest_}});
    zwlr_foreign_toplevel_handle_v1_add_listener(handle, &listener, toplevels_.back().get());
}

// Our callers remember what they know of a window by its number, so another application's window
// needs another number.
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
    std::erase_if(toplevels_, [&](const auto &each) { return each.get() == &toplevel; });
    note(Events::ListChanged);
}

const WaylandToplevels::Toplevel *WaylandToplevels::find(Window window) const {
    const auto found = std::find_if(toplevels_.begin(), toplevels_.end(),
                                    [&](const auto &each) { return each->window == window; });
    return found == toplevels_.end() ? nullptr : found->get();
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
        zwlr_foreign_toplevel_handle_v1_unset_minimized(topmost->handle.get());
    zwlr_foreign_toplevel_handle_v1_activate(topmost->handle.get(), seat_.get());
    wl_display_flush(display_.get());
    return topmost->window;
}

} // namespace corvid
