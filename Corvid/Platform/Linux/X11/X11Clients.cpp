#include "Platform/Linux/X11/X11Clients.h"

#include <algorithm>
#include <utility>

namespace corvid {

namespace {

// The value of a property of one number; 0 for none.
std::uint32_t onlyOne(const std::vector<std::uint32_t> &values) {
    return values.empty() ? 0 : values.front();
}

QString textOf(const xcb_get_property_reply_t *property) {
    return QString::fromUtf8(x11::bytesOf(property));
}

} // namespace

WindowList::Client clientWith(WindowList::Window window, const WindowProperties &properties) {
    WindowList::Client client;
    client.window = window;
    client.pid = onlyOne(x11::numbersOf(properties.pid));
    const QStringList halves = textOf(properties.windowClass).split(QChar::Null);
    client.traits.instance = halves.value(0);
    client.traits.windowClass = halves.value(1);
    client.traits.gtkApplicationId = textOf(properties.gtkApplicationId);
    client.traits.hintedEntry = textOf(properties.bamfDesktopFile);
    return client;
}

std::unique_ptr<X11Clients> X11Clients::connect(const QByteArray &display) {
    int screen = 0;
    x11::Connection connection = x11::connectTo(display, &screen);
    if (!connection)
        return nullptr;
    return std::unique_ptr<X11Clients>(new X11Clients(std::move(connection), screen));
}

X11Clients::X11Clients(x11::Connection connection, int screen)
    : connection_(std::move(connection)), root_(x11::rootOf(connection_, screen)),
      hiddenWindow_(x11::makeHiddenWindow(connection_, root_)) {
    x11::intern(connection_, {
                                 {&atoms_.clientList, "_NET_CLIENT_LIST"},
                                 {&atoms_.clientListStacking, "_NET_CLIENT_LIST_STACKING"},
                                 {&atoms_.activeWindow, "_NET_ACTIVE_WINDOW"},
                                 {&atoms_.currentDesktop, "_NET_CURRENT_DESKTOP"},
                                 {&atoms_.windowDesktop, "_NET_WM_DESKTOP"},
                                 {&atoms_.supported, "_NET_SUPPORTED"},
                                 {&atoms_.pid, "_NET_WM_PID"},
                                 {&atoms_.gtkApplicationId, "_GTK_APPLICATION_ID"},
                                 {&atoms_.bamfDesktopFile, "_BAMF_DESKTOP_FILE"},
                                 {&atoms_.utf8String, "UTF8_STRING"},
                             });
    // Only the root's properties: those of the windows change with every title.
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(connection_, root_, XCB_CW_EVENT_MASK, &mask);
    xcb_flush(connection_);
}

int X11Clients::fileDescriptor() const {
    return xcb_get_file_descriptor(connection_);
}

X11Clients::Events X11Clients::takeEvents() {
    while (const x11::Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection_)})
        listChanged_ |= x11::typeOf(*event) == XCB_PROPERTY_NOTIFY &&
                        x11::as<xcb_property_notify_event_t>(*event).atom == atoms_.clientList;
    if (xcb_connection_has_error(connection_))
        return Events::ConnectionLost;
    return std::exchange(listChanged_, false) ? Events::ListChanged : Events::Nothing;
}

std::vector<std::uint32_t> X11Clients::property(Window window, std::uint32_t name,
                                                std::uint32_t type) const {
    return x11::numbersOf(
        connection_, xcb_get_property(connection_, 0, window, name, type, 0, x11::longestList));
}

std::vector<X11Clients::Window> X11Clients::list() const {
    return property(root_, atoms_.clientList, XCB_ATOM_WINDOW);
}

std::vector<X11Clients::Client> X11Clients::describe(const std::vector<Window> &windows) const {
    struct Cookies {
        xcb_get_property_cookie_t windowClass, pid, gtkApplicationId, bamfDesktopFile;
    };
    const auto ask = [this](Window window, xcb_atom_t property, xcb_atom_t type) {
        constexpr std::uint32_t longestText = 1024; // 32-bit units
        return xcb_get_property(connection_, 0, window, property, type, 0, longestText);
    };
    const auto reply = [this](xcb_get_property_cookie_t cookie) {
        return x11::Reply<xcb_get_property_reply_t>(
            xcb_get_property_reply(connection_, cookie, nullptr));
    };
    std::vector<Cookies> cookies;
    cookies.reserve(windows.size());
    for (const Window window : windows)
        cookies.push_back({ask(window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING),
                           ask(window, atoms_.pid, XCB_ATOM_CARDINAL),
                           ask(window, atoms_.gtkApplicationId, atoms_.utf8String),
                           ask(window, atoms_.bamfDesktopFile, XCB_GET_PROPERTY_TYPE_ANY)});

    std::vector<Client> clients;
    clients.reserve(windows.size());
    for (std::size_t i = 0; i < windows.size(); ++i) {
        const auto windowClass = reply(cookies[i].windowClass);
        const auto pid = reply(cookies[i].pid);
        const auto gtkApplicationId = reply(cookies[i].gtkApplicationId);
        const auto bamfDesktopFile = reply(cookies[i].bamfDesktopFile);
        clients.push_back(clientWith(windows[i], {windowClass.get(), pid.get(),
                                                  gtkApplicationId.get(), bamfDesktopFile.get()}));
    }
    return clients;
}

bool X11Clients::canActivate() const {
    const std::vector<std::uint32_t> supported = property(root_, atoms_.supported, XCB_ATOM_ATOM);
    return std::ranges::find(supported, atoms_.activeWindow) != supported.end();
}

X11Clients::Window X11Clients::active() const {
    return onlyOne(property(root_, atoms_.activeWindow, XCB_ATOM_WINDOW));
}

X11Clients::Window X11Clients::activateTopmost(const std::vector<Window> &windows) {
    // Bottom to top, so the last of ours is the one that the user saw last.
    const std::vector<Window> stack = property(root_, atoms_.clientListStacking, XCB_ATOM_WINDOW);
    const auto top =
        std::find_first_of(stack.rbegin(), stack.rend(), windows.begin(), windows.end());
    const Window window = top != stack.rend() ? *top : windows.back();

    // A window manager may ignore a request without a time, or one older than the last input.
    const xcb_timestamp_t time = x11::serverTime(connection_, hiddenWindow_);
    listChanged_ = true; // its event may have been dropped
    // Some managers would only make a window on another desktop blink.
    const std::vector<std::uint32_t> desktop =
        property(window, atoms_.windowDesktop, XCB_ATOM_CARDINAL);
    const std::vector<std::uint32_t> current =
        property(root_, atoms_.currentDesktop, XCB_ATOM_CARDINAL);
    constexpr std::uint32_t everyDesktop = 0xffffffff;
    if (!desktop.empty() && desktop.front() != everyDesktop && desktop != current)
        x11::tellManager(connection_, root_, root_, atoms_.currentDesktop, {desktop.front(), time});
    constexpr std::uint32_t fromUser = 2; // what applications ask for may be ignored
    x11::tellManager(connection_, root_, window, atoms_.activeWindow, {fromUser, time});
    xcb_flush(connection_);
    return window;
}

} // namespace corvid
