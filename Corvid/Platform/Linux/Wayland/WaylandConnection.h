#pragma once

#include "Platform/Linux/Wayland/WaylandPointers.h"

#include <QtGlobal>

#include <chrono>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace corvid {

/** What a compositor offers, over a connection that may be Qt's: events of the objects that are
    bound here go to a queue of their own. One thread at a time. */
class WaylandConnection {
public:
    /** Waits until the compositor has told what it offers. The connection must outlive this. */
    explicit WaylandConnection(wl_display *display);
    Q_DISABLE_COPY_MOVE(WaylandConnection)

    bool offers(const wl_interface &interface) const { return offer(interface) != 0; }
    /** The number of the compositor's offer: another one when it took it back and made it again. 0
        when it does not offer the interface, as far as its events have been dispatched. */
    std::uint32_t offer(const wl_interface &interface) const;

    /** In the highest version that both know, `version` being ours. Null where the compositor does
        not offer it. */
    template <typename T>
    WaylandPointer<T> bind(const wl_interface &interface, std::uint32_t version) const {
        return WaylandPointer<T>(static_cast<T *>(bindGlobal(interface, version)));
    }

    /** Reads and dispatches the queue's events, and waits for some at most this long. */
    void dispatch(std::chrono::milliseconds longest);

    /** Waits until the compositor has answered all requests so far and dispatches the answers.
        False when it takes longer than half a second; until it does answer, further calls do not
       wait at all. */
    bool roundTrip();

private:
    struct Unwrap {
        void operator()(wl_display *wrapper) const { wl_proxy_wrapper_destroy(wrapper); }
    };
    struct Global {
        std::uint32_t name, version;
    };

    void *bindGlobal(const wl_interface &interface, std::uint32_t version) const;

    wl_display *display_;
    WaylandPointer<wl_event_queue> queue_;
    std::unique_ptr<wl_display, Unwrap> onQueue_; ///< what it is asked for goes to the queue
    WaylandPointer<wl_registry> registry_;
    WaylandPointer<wl_callback> question_;            ///< null while nothing is unanswered
    std::unordered_map<std::string, Global> globals_; ///< the first of each interface
};

/** Hears the events of devices of Qt's seat, which Qt hears as well. Main thread only. */
class SeatEvents {
public:
    struct Device {
        std::uint32_t request; ///< by which a seat gives it
        const wl_interface *interface;
    };
    /** Gets each event's name in the protocol, and its arguments. */
    using Handler = std::function<void(std::string_view event, const wl_argument *arguments)>;

    /** Leaves out devices that are not there. */
    SeatEvents(const WaylandConnection &connection, std::initializer_list<Device> wanted,
               Handler handler);
    Q_DISABLE_COPY_MOVE(SeatEvents)

    /** Null when there are none of the devices. */
    wl_seat *seat() const { return devices_.empty() ? nullptr : seat_; }
    /** Null when it is not there. */
    wl_pointer *pointer() const;

private:
    Handler handler_;
    wl_seat *seat_ = nullptr; ///< Qt's
    std::vector<WaylandPointer<wl_proxy>> devices_;
};

} // namespace corvid
