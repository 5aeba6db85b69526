#include "Platform/Linux/Wayland/WaylandConnection.h"

#include "Platform/Linux/QtInternals.h"

#include <algorithm>
#include <poll.h>

namespace corvid {

using namespace std::chrono_literals;

WaylandConnection::WaylandConnection(wl_display *display)
    : display_(display), queue_(wl_display_create_queue(display)),
      onQueue_(static_cast<wl_display *>(wl_proxy_create_wrapper(display))) {
    wl_proxy_set_queue(reinterpret_cast<wl_proxy *>(onQueue_.get()), queue_.get());
    registry_.reset(wl_display_get_registry(onQueue_.get()));
    static constexpr wl_registry_listener listener{
        [](void *self, auto *, std::uint32_t name, const char *interface, std::uint32_t version) {
            static_cast<WaylandConnection *>(self)->globals_.try_emplace(interface,
                                                                         Global{name, version});
        },
        [](void *self, auto *, std::uint32_t name) {
            std::erase_if(static_cast<WaylandConnection *>(self)->globals_,
                          [name](const auto &each) { return each.second.name == name; });
        }};
    wl_registry_add_listener(registry_.get(), &listener, this);
    wl_display_roundtrip_queue(display_, queue_.get());
}

std::uint32_t WaylandConnection::offer(const wl_interface &interface) const {
    const auto global = globals_.find(interface.name);
    return global == globals_.end() ? 0 : global->second.name;
}

void *WaylandConnection::bindGlobal(const wl_interface &interface, std::uint32_t version) const {
    const auto global = globals_.find(interface.name);
    if (global == globals_.end())
        return nullptr;
    return wl_registry_bind(registry_.get(), global->second.name, &interface,
                            std::min(version, global->second.version));
}

void WaylandConnection::dispatch(std::chrono::milliseconds longest) {
    while (wl_display_prepare_read_queue(display_, queue_.get()) != 0)
        if (wl_display_dispatch_queue_pending(display_, queue_.get()) < 0)
            return;
    wl_display_flush(display_);
    pollfd socket{wl_display_get_fd(display_), POLLIN, 0};
    if (poll(&socket, 1, static_cast<int>(longest.count())) > 0)
        wl_display_read_events(display_);
    else
        wl_display_cancel_read(display_);
    wl_display_dispatch_queue_pending(display_, queue_.get());
}

bool WaylandConnection::roundTrip() {
    using Clock = std::chrono::steady_clock;
    if (question_)
        dispatch(0ms);
    if (question_)
        return false;
    question_.reset(wl_display_sync(onQueue_.get()));
    static constexpr wl_callback_listener listener{
        [](void *self, auto...) { static_cast<WaylandConnection *>(self)->question_.reset(); }};
    wl_callback_add_listener(question_.get(), &listener, this);
    constexpr auto patience = 500ms;
    const auto deadline = Clock::now() + patience;
    for (auto rest = patience; question_ && rest > 0ms && wl_display_get_error(display_) == 0;
         rest = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()))
        dispatch(rest);
    return !question_;
}

SeatEvents::SeatEvents(const WaylandConnection &connection, std::initializer_list<Device> wanted,
                       Handler handler)
    : handler_(std::move(handler)) {
    if (!connection.offers(wl_seat_interface)) // Qt would crash when asked for it
        return;
    seat_ = qt::waylandSeat();
    for (const Device &device : wanted) {
        // A seat must not be asked for what it does not have. Qt has all that there is.
        if (!qt::seatHas(*device.interface))
            continue;
        devices_.emplace_back(wl_proxy_marshal_constructor(
            reinterpret_cast<wl_proxy *>(seat_), device.request, device.interface, nullptr));
        // No table of listeners: Qt's version of the seat may have events that we do not know.
        wl_proxy_add_dispatcher(
            devices_.back().get(),
            [](const void *self, void * /*device*/, std::uint32_t /*opcode*/,
               const wl_message *event, wl_argument *arguments) {
                static_cast<const SeatEvents *>(self)->handler_(event->name, arguments);
                return 0;
            },
            this, nullptr);
    }
}

wl_pointer *SeatEvents::pointer() const {
    for (const WaylandPointer<wl_proxy> &device : devices_)
        if (std::string_view(wl_proxy_get_class(device.get())) == wl_pointer_interface.name)
            return reinterpret_cast<wl_pointer *>(device.get());
    return nullptr;
}

} // namespace corvid
