#include "Platform/Linux/Wayland/WaylandActivation.h"

#include "Platform/Linux/Wayland/WaylandSurface.h"
#include "xdg-activation-v1-client-protocol.h"

#include <QGuiApplication>
#include <QWindow>

#include <qpa/qplatformnativeinterface.h>

#include <cstring>
#include <unistd.h>
#include <wayland-client.h>

namespace corvid {

namespace {

struct Globals {
    xdg_activation_v1 *&activation;
    bool seat = false;
};

void noteGlobal(void *data, wl_registry *registry, std::uint32_t name, const char *interface,
                std::uint32_t /*version*/) {
    auto &globals = *static_cast<Globals *>(data);
    if (std::strcmp(interface, wl_seat_interface.name) == 0)
        globals.seat = true;
    if (!globals.activation && std::strcmp(interface, xdg_activation_v1_interface.name) == 0)
        globals.activation = static_cast<xdg_activation_v1 *>(
            wl_registry_bind(registry, name, &xdg_activation_v1_interface, 1));
}

void forgetGlobal(void * /*data*/, wl_registry * /*registry*/, std::uint32_t /*name*/) {}

} // namespace

std::unique_ptr<WaylandActivation> WaylandActivation::bind(wl_display *display) {
    std::unique_ptr<WaylandActivation> result(new WaylandActivation);
    result->display_ = display;
    result->queue_ = wl_display_create_queue(display);
    auto *wrapper = static_cast<wl_display *>(wl_proxy_create_wrapper(display));
    wl_proxy_set_queue(reinterpret_cast<wl_proxy *>(wrapper), result->queue_);
    wl_registry *registry = wl_display_get_registry(wrapper);
    wl_proxy_wrapper_destroy(wrapper);
    Globals globals{result->activation_};
    static constexpr wl_registry_listener listener{noteGlobal, forgetGlobal};
    wl_registry_add_listener(registry, &listener, &globals);
    wl_display_roundtrip_queue(display, result->queue_);
    wl_registry_destroy(registry);
    if (globals.seat) // Qt would crash when asked for one that is not there
        result->listen();
    return result->activation_ && result->keyboard_ ? std::move(result) : nullptr;
}

WaylandActivation::~WaylandActivation() {
    if (pointer_)
        wl_proxy_destroy(reinterpret_cast<wl_proxy *>(pointer_));
    if (keyboard_)
        wl_proxy_destroy(reinterpret_cast<wl_proxy *>(keyboard_));
    if (activation_)
        xdg_activation_v1_destroy(activation_);
    wl_event_queue_destroy(queue_);
}

// Qt tells nobody the numbers of its events, so we listen to the devices ourselves.
void WaylandActivation::listen() {
    QPlatformNativeInterface *native = QGuiApplication::platformNativeInterface();
    seat_ = static_cast<wl_seat *>(native->nativeResourceForIntegration("wl_seat"));
    // A seat must not be asked for what it does not have. Qt has what there is.
    if (!native->nativeResourceForIntegration("wl_keyboard"))
        return;
    keyboard_ = wl_seat_get_keyboard(seat_);
    wl_proxy_add_dispatcher(reinterpret_cast<wl_proxy *>(keyboard_), dispatch, this, nullptr);
    if (!native->nativeResourceForIntegration("wl_pointer"))
        return;
    pointer_ = wl_seat_get_pointer(seat_);
    wl_proxy_add_dispatcher(reinterpret_cast<wl_proxy *>(pointer_), dispatch, this, nullptr);
}

// Not a table of functions: the seat is Qt's, whose version may have events that we do not know.
int WaylandActivation::dispatch(const void *self, void * /*target*/, std::uint32_t /*opcode*/,
                                const wl_message *message, wl_argument *arguments) {
    const auto is = [message](const char *name) { return std::strcmp(message->name, name) == 0; };
    if (is("keymap")) // format, file, size
        close(arguments[1].h);
    else if (is("key") || is("button")) // serial, time, which, state
        if (arguments[3].u != 0)
            const_cast<WaylandActivation *>(static_cast<const WaylandActivation *>(self))->serial_ =
                arguments[0].u;
    return 0;
}

QByteArray WaylandActivation::token() const {
    QByteArray result;
    auto *wrapper = static_cast<xdg_activation_v1 *>(wl_proxy_create_wrapper(activation_));
    wl_proxy_set_queue(reinterpret_cast<wl_proxy *>(wrapper), queue_);
    xdg_activation_token_v1 *token = xdg_activation_v1_get_activation_token(wrapper);
    wl_proxy_wrapper_destroy(wrapper);
    static constexpr xdg_activation_token_v1_listener listener{
        [](void *data, xdg_activation_token_v1 * /*token*/, const char *text) {
            *static_cast<QByteArray *>(data) = text;
        }};
    xdg_activation_token_v1_add_listener(token, &listener, &result);
    if (serial_ != 0)
        xdg_activation_token_v1_set_serial(token, serial_, seat_);
    if (QWindow *window = QGuiApplication::focusWindow()) {
        if (wl_surface *surface = surfaceOf(*window))
            xdg_activation_token_v1_set_surface(token, surface);
    }
    xdg_activation_token_v1_commit(token);
    wl_display_roundtrip_queue(display_, queue_);
    xdg_activation_token_v1_destroy(token);
    return result;
}

} // namespace corvid
