#include "Platform/Linux/Wayland/WaylandActivation.h"

#include "Platform/Linux/Wayland/WaylandConnection.h"

#include <QGuiApplication>

#include <unistd.h>

namespace corvid {

namespace {

class Activation {
public:
    explicit Activation(std::shared_ptr<WaylandConnection> connection)
        : connection_(std::move(connection)),
          activation_(connection_->bind<xdg_activation_v1>(xdg_activation_v1_interface, 1)) {}

    bool works() const { return activation_ && presses_.seat(); }

    QByteArray token() const {
        QByteArray result;
        const WaylandPointer<xdg_activation_token_v1> token(
            xdg_activation_v1_get_activation_token(activation_.get()));
        static constexpr xdg_activation_token_v1_listener listener{
            [](void *data, xdg_activation_token_v1 * /*token*/, const char *text) {
                *static_cast<QByteArray *>(data) = text;
            }};
        xdg_activation_token_v1_add_listener(token.get(), &listener, &result);
        if (serial_ != 0)
            xdg_activation_token_v1_set_serial(token.get(), serial_, presses_.seat());
        if (QWindow *window = QGuiApplication::focusWindow()) {
            if (wl_surface *surface = surfaceOf(*window))
                xdg_activation_token_v1_set_surface(token.get(), surface);
        }
        xdg_activation_token_v1_commit(token.get());
        connection_->roundTrip();
        return result;
    }

private:
    void hear(std::string_view event, const wl_argument *arguments) {
        if (event == "keymap") // format, file, size
            close(arguments[1].h);
        else if ((event == "key" || event == "button") && arguments[3].u != 0)
            serial_ = arguments[0].u; // serial, time, which, state
    }

    std::shared_ptr<WaylandConnection> connection_;
    WaylandPointer<xdg_activation_v1> activation_;
    std::uint32_t serial_ = 0; ///< of the last press
    // Qt tells nobody the serials of its events.
    SeatEvents presses_{
        *connection_,
        {{WL_SEAT_GET_KEYBOARD, &wl_keyboard_interface},
         {WL_SEAT_GET_POINTER, &wl_pointer_interface}},
        [this](std::string_view event, const wl_argument *arguments) { hear(event, arguments); }};
};

} // namespace

std::function<QByteArray()> activationTokens(std::shared_ptr<WaylandConnection> connection) {
    const auto activation = std::make_shared<Activation>(std::move(connection));
    if (!activation->works())
        return nullptr;
    return [activation] { return activation->token(); };
}

} // namespace corvid
