#include "Platform/Linux/X11/X11ClickMonitor.h"

#include "Platform/Linux/X11/X11Replies.h"

#include <QAbstractNativeEventFilter>
#include <QCoreApplication>
#include <QCursor>
#include <QGuiApplication>

#include <private/qtx11extras_p.h>

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
        const auto &event = *static_cast<const xcb_generic_event_t *>(message);
        if (x11::typeOf(event) != XCB_GE_GENERIC)
            return false;
        const auto &press = x11::as<xcb_input_raw_button_press_event_t>(event);
        if (press.extension == extension_ && press.event_type == XCB_INPUT_RAW_BUTTON_PRESS)
            pressed(press.detail);
        return false;
    }

private:
    // Does not touch Qt's selection, which is for all devices instead of all masters.
    void select(std::uint32_t events) const {
        x11::selectDeviceEvents(connection_, static_cast<xcb_window_t>(QX11Info::appRootWindow()),
                                events);
    }

    void pressed(std::uint32_t button) const {
        constexpr std::uint32_t left = 1;
        constexpr std::uint32_t right = 3;
        if (button != left && button != right) // each step of the wheel is a button, too
            return;
        // Raw events do not say where the pointer is.
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
    const auto *extension = xcb_get_extension_data(connection_, &xcb_input_id);
    if (!extension || !extension->present)
        return nullptr;
    return std::make_unique<RawPresses>(connection_, extension->major_opcode, std::move(handler));
}

} // namespace corvid
