#include "Platform/Linux/X11/X11PanelSurface.h"

#include "Platform/Linux/QtInternals.h"
#include "Platform/Linux/RoundedRegion.h"
#include "Platform/Linux/X11/X11Replies.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>
#include <QWindow>

#include <xcb/shape.h>
#include <xcb/xinput.h>

#include <algorithm>
#include <tuple>
#include <utility>

namespace corvid {

namespace {

QRect nativeGeometry(const QScreen &screen) {
    // Qt does not scale a screen's position, only its size.
    return {screen.geometry().topLeft(),
            (QSizeF(screen.geometry().size()) * screen.devicePixelRatio()).toSize()};
}

QPoint nativePlace(const QWindow &window) {
    const QPoint origin = window.screen()->geometry().topLeft();
    return (QPointF(window.position() - origin) * window.devicePixelRatio()).toPoint() + origin;
}

QRectF nativeRect(const QWindow &window) {
    return {QPointF(), QSizeF(window.size()) * window.devicePixelRatio()};
}

QRect scaledDown(const QRect &native, const QScreen &screen) {
    const QPointF origin = screen.geometry().topLeft();
    const qreal ratio = screen.devicePixelRatio();
    return QRectF((QPointF(native.topLeft()) - origin) / ratio + origin,
                  QSizeF(native.size()) / ratio)
        .toRect();
}

class RawPresses final : public ClickMonitor::Token, public QAbstractNativeEventFilter {
public:
    RawPresses(std::uint8_t extension, ClickMonitor::Handler handler)
        : extension_(extension), handler_(std::move(handler)) {
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
    static void select(std::uint32_t events) {
        xcb_connection_t *connection = x11::connectionOfQt();
        x11::selectDeviceEvents(connection, x11::rootOf(connection, x11::screenOfQt()), events);
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

    std::uint8_t extension_;
    ClickMonitor::Handler handler_;
};

constexpr std::uint32_t everyDesktop = 0xFFFFFFFF;

} // namespace

X11PanelSurface::X11PanelSurface()
    : connection_(x11::connectionOfQt()), root_(x11::rootOf(connection_, x11::screenOfQt())),
      watch_(connection_, root_) {
    x11::intern(connection_, {
                                 {&atoms_.startupId, "_NET_STARTUP_ID"},
                                 {&atoms_.utf8, "UTF8_STRING"},
                                 {&atoms_.state, "_NET_WM_STATE"},
                                 {&atoms_.skipTaskbar, "_NET_WM_STATE_SKIP_TASKBAR"},
                                 {&atoms_.skipPager, "_NET_WM_STATE_SKIP_PAGER"},
                                 {&atoms_.above, "_NET_WM_STATE_ABOVE"},
                                 {&atoms_.sticky, "_NET_WM_STATE_STICKY"},
                                 {&atoms_.desktop, "_NET_WM_DESKTOP"},
                                 {&atoms_.blurRegion, "_KDE_NET_WM_BLUR_BEHIND_REGION"},
                                 {&atoms_.clientList, "_NET_CLIENT_LIST"},
                                 {&atoms_.strutPartial, "_NET_WM_STRUT_PARTIAL"},
                                 {&atoms_.foreignShadow, "_COMPTON_SHADOW"},
                             });
}

PanelSurface::Behind X11PanelSurface::behind() const {
    if (!qt::isComposited())
        behind_ = Behind::Nothing;
    else
        behind_ = watch_.compositorBlurs() ? Behind::BlurredDesktop : Behind::Desktop;
    return behind_;
}

QRect X11PanelSurface::visibleFrame(const QScreen &screen) const {
    // The window manager publishes one work area for all screens together, so Qt knows what is
    // free only where there is a single one.
    if (screen.virtualSiblings().size() < 2)
        return screen.availableGeometry();
    const std::vector<std::uint32_t> windows =
        x11::numbersOf(connection_, xcb_get_property(connection_, 0, root_, atoms_.clientList,
                                                     XCB_ATOM_WINDOW, 0, x11::longestList));
    std::vector<xcb_get_property_cookie_t> cookies;
    cookies.reserve(windows.size());
    for (const std::uint32_t window : windows)
        cookies.push_back(xcb_get_property(connection_, 0, window, atoms_.strutPartial,
                                           XCB_ATOM_CARDINAL, 0, std::tuple_size_v<Strut>));
    std::vector<Strut> struts;
    for (const xcb_get_property_cookie_t cookie : cookies) {
        const std::vector<std::uint32_t> values = x11::numbersOf(connection_, cookie);
        if (values.size() == std::tuple_size_v<Strut>)
            std::copy(values.begin(), values.end(), struts.emplace_back().begin());
    }
    QRect desktop;
    const QList<QScreen *> screens = screen.virtualSiblings();
    for (const QScreen *sibling : screens)
        desktop |= nativeGeometry(*sibling);
    return scaledDown(
        withoutStruts(nativeGeometry(screen), {desktop.right() + 1, desktop.bottom() + 1}, struts),
        screen);
}

void X11PanelSurface::prepare(QWindow &panel, qreal cornerRadius, quint32 time) {
    // Window managers give the keyboard to the window with the latest user time. The press of the
    // hot key came over another connection, so Qt does not know its time.
    qt::setUserTime(time ? time : qt::serverTime());
    // A shown window's state belongs to the window manager, which forgets it when it is hidden.
    if (panel.isVisible())
        return;
    watch_.prepare(panel);
    const auto window = static_cast<xcb_window_t>(panel.winId());
    x11::setNumbers(connection_, window, atoms_.state, XCB_ATOM_ATOM,
                    {atoms_.skipTaskbar, atoms_.skipPager, atoms_.above, atoms_.sticky});
    x11::setNumbers(connection_, window, atoms_.desktop, XCB_ATOM_CARDINAL, {everyDesktop});
    if (startupId_.isEmpty())
        xcb_delete_property(connection_, window, atoms_.startupId);
    else
        xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window, atoms_.startupId,
                            atoms_.utf8, 8, static_cast<std::uint32_t>(startupId_.size()),
                            startupId_.constData());
    // picom's follows the window instead of the card.
    x11::setNumbers(connection_, window, atoms_.foreignShadow, XCB_ATOM_CARDINAL, {0});
    askForBlur(panel, cornerRadius);
    cutCorners(panel, cornerRadius);
}

// A window manager that is slow forgets the states of a hidden window only after it was prepared to
// be shown again. What is asked of it now it hears last.
void X11PanelSurface::appeared(QWindow &panel, const QPoint & /*origin*/, const QRect & /*card*/) {
    if (!watch_.managerIsLate())
        return;
    constexpr std::uint32_t add = 1;
    constexpr std::uint32_t fromApplication = 1;
    const auto window = static_cast<xcb_window_t>(panel.winId());
    x11::tellManager(connection_, root_, window, atoms_.state,
                     {add, atoms_.skipTaskbar, atoms_.skipPager, fromApplication});
    x11::tellManager(connection_, root_, window, atoms_.state,
                     {add, atoms_.above, atoms_.sticky, fromApplication});
    x11::tellManager(connection_, root_, window, atoms_.desktop, {everyDesktop, fromApplication});
}

void X11PanelSurface::anticipateKeyboard(QWindow &panel) {
    qt::reportKeyboard(panel);
}

void X11PanelSurface::castShadow(QWindow &panel, const Shadow &shadow) {
    if (behind_ == Behind::Nothing) {
        shadow_.reset();
        return;
    }
    const qreal scale = panel.devicePixelRatio();
    if (shadow_ && shadowScale_ == scale) {
        showShadow(panel);
        return;
    }
    if (std::exchange(isBeingDrawn_, true))
        return;
    shadow.draw(scale, [this, &panel, scale, room = shadow.room](const QImage &picture) {
        isBeingDrawn_ = false;
        const QPoint card = (QPointF(room.left(), room.top()) * scale).toPoint();
        shadow_ = std::make_unique<X11ShadowWindow>(picture,
                                                    QRect(card, nativeRect(panel).size().toSize()));
        shadowScale_ = scale;
        if (panel.isVisible() && behind_ != Behind::Nothing && panel.devicePixelRatio() == scale)
            showShadow(panel);
    });
}

void X11PanelSurface::showShadow(QWindow &panel) {
    if (!followed_) {
        const auto follow = [this, &panel] {
            if (shadow_)
                shadow_->moveTo(nativePlace(panel));
        };
        QObject::connect(&panel, &QWindow::xChanged, &panel, follow);
        QObject::connect(&panel, &QWindow::yChanged, &panel, follow);
        followed_ = true;
    }
    shadow_->moveTo(nativePlace(panel));
    shadow_->show();
}

void X11PanelSurface::withdraw(QWindow & /*panel*/) {
    if (shadow_)
        shadow_->hide();
}

// Not by the window manager, which would keep the keyboard to itself meanwhile.
void X11PanelSurface::drag(QWindow &panel, const QPoint &grip, const QPoint & /*inWindow*/,
                           const QPoint &onDesktop) {
    panel.setPosition(onDesktop - grip);
}

// The request may have come over the bus, so Qt knows no time of it.
void X11PanelSurface::claimKeyboard(QWindow & /*window*/) {
    qt::setUserTime(qt::serverTime());
}

bool X11PanelSurface::hasKeyboard(const QWindow &panel) const {
    const x11::Reply<xcb_get_input_focus_reply_t> focus(
        xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
    return focus && focus->focus == static_cast<xcb_window_t>(panel.winId());
}

void X11PanelSurface::askForBlur(const QWindow &panel, qreal cornerRadius) const {
    std::vector<std::uint32_t> rectangles;
    for (const QRect &rectangle :
         roundedRegion(nativeRect(panel), cornerRadius * panel.devicePixelRatio())) {
        for (const int number :
             {rectangle.x(), rectangle.y(), rectangle.width(), rectangle.height()})
            rectangles.push_back(static_cast<std::uint32_t>(number));
    }
    x11::setNumbers(connection_, static_cast<xcb_window_t>(panel.winId()), atoms_.blurRegion,
                    XCB_ATOM_CARDINAL, rectangles);
}

// Without a compositor translucent corners are black. Qt would cut in its own pixels, which shows
// where they are larger than the screen's.
void X11PanelSurface::cutCorners(const QWindow &panel, qreal cornerRadius) {
    const auto window = static_cast<xcb_window_t>(panel.winId());
    if (behind_ == Behind::Nothing)
        x11::shape(connection_, window, XCB_SHAPE_SK_BOUNDING,
                   roundedRegion(nativeRect(panel), cornerRadius * panel.devicePixelRatio()));
    else if (isCut_)
        xcb_shape_mask(connection_, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING, window, 0, 0,
                       XCB_NONE);
    isCut_ = behind_ == Behind::Nothing;
}

QRect withoutStruts(const QRect &screen, const QSize &desktop, const std::vector<Strut> &struts) {
    enum { Left, Right, Top, Bottom, Edges };
    // From each edge of the desktop to the screen's.
    const std::array<int, Edges> gaps{screen.left(), desktop.width() - screen.right() - 1,
                                      screen.top(), desktop.height() - screen.bottom() - 1};
    std::array<int, Edges> taken{};
    for (const Strut &strut : struts) {
        const auto at = [&strut](std::size_t index) {
            // Desktops are smaller than this, and differences of such numbers do not overflow.
            constexpr std::uint32_t furthest = 1U << 20;
            return static_cast<int>(std::min(strut[index], furthest));
        };
        for (std::size_t edge = 0; edge < Edges; ++edge) {
            const auto [first, last, room] =
                edge < Top ? std::tuple(screen.top(), screen.bottom(), screen.width())
                           : std::tuple(screen.left(), screen.right(), screen.height());
            const int depth = at(edge) - gaps[edge];
            const std::size_t start = Edges + 2 * edge;
            if (at(edge) > 0 && depth < room && at(start) <= last && at(start + 1) >= first)
                taken[edge] = std::max(taken[edge], depth);
        }
    }
    const QRect visible =
        screen.marginsRemoved({taken[Left], taken[Top], taken[Right], taken[Bottom]});
    return visible.isValid() ? visible : screen;
}

std::unique_ptr<ClickMonitor::Token> X11ClickMonitor::install(Handler handler) {
    const auto *extension = xcb_get_extension_data(x11::connectionOfQt(), &xcb_input_id);
    if (!extension || !extension->present)
        return nullptr;
    return std::make_unique<RawPresses>(extension->major_opcode, std::move(handler));
}

} // namespace corvid
