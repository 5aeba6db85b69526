#include "Platform/Linux/X11/X11ClickMonitor.h"

#include <QAbstractNativeEventFilter>
#include <QCoreApplication>
#include <QCursor>
#include <QGuiApplication>

#include <private/qtx11extras_p.h>

#include <xcb/xcb.h>
#include <xcb/xinput.h>

namespace corvid {

namespace {

class RawPresses final : public ClickMonitor::Token, public QAbstractNativeEventFilter {
public:
    RawPresses(xcb_connection_t *connection, std::uint8_t extension, ClickMonitor::Handler handler)
        : connection_(connection), extension_(extension), handler_(std::move(handler)) {
        select(XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS);
        QCoreApplication::instance()->installNativeEventFilter(this);
    }
    ~RawPresses() override { select(0); }

    bool nativeEventFilter(const QByteArray & /*type*/, void *message,
                           qintptr * /*result*/) override {
        const auto *event = static_cast<const xcb_ge_generic_event_t *>(message);
        if ((event->response_type & 0x7F) == XCB_GE_GENERIC && event->extension == extension_ &&
            event->event_type == XCB_INPUT_RAW_BUTTON_PRESS)
            pressed(reinterpret_cast<const xcb_input_raw_button_press_event_t *>(event)->detail);
        return false;
    }

private:
    void select(std::uint32_t events) const {
        // Qt selects for all devices; the masters are a selection apart.
        struct {
            xcb_input_event_mask_t head;
            std::uint32_t events;
        } mask{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, events};
        xcb_input_xi_select_events(
            connection_, static_cast<xcb_window_t>(QX11Info::appRootWindow()), 1, &mask.head);
        xcb_flush(connection_);
    }

    void pressed(std::uint32_t button) const {
        constexpr std::uint32_t left = 1;
        constexpr std::uint32_t right = 3;
        // The wheel is made of buttons too.
        if (button != left && button != right)
            return;
        // Raw events tell no place.
        const QPoint pointer = QCursor::pos();
        if (!QGuiApplication::topLevelAt(pointer))
            handler_(pointer);
    }

    xcb_connection_t *connection_;
    std::uint8_t extension_;
    ClickMonitor::Handler handler_;
};

} // namespace

std::unique_ptr<ClickMonitor::Token> X11ClickMonitor::install(Handler handler) {
    const xcb_query_extension_reply_t *extension =
        xcb_get_extension_data(connection_, &xcb_input_id);
    if (!extension || !extension->present)
        return nullptr;
    return std::make_unique<RawPresses>(connection_, extension->major_opcode, std::move(handler));
}

} // namespace corvid
