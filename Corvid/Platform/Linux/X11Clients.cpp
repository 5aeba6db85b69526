#include "Platform/Linux/X11Clients.h"

#include <xcb/xcb.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

namespace corvid {

namespace {

constexpr std::uint32_t longestText = 1024;  // 32-bit units
constexpr std::uint32_t longestList = 65536; // windows

struct Free {
    void operator()(void *memory) const { std::free(memory); }
};
template <typename T>
using Reply = std::unique_ptr<T, Free>;

QByteArray bytesOf(const xcb_get_property_reply_t *reply) {
    if (!reply || reply->format != 8)
        return {};
    return {static_cast<const char *>(xcb_get_property_value(reply)),
            xcb_get_property_value_length(reply)};
}

std::vector<std::uint32_t> numbersOf(const xcb_get_property_reply_t *reply) {
    if (!reply || reply->format != 32)
        return {};
    std::vector<std::uint32_t> numbers(
        static_cast<std::size_t>(xcb_get_property_value_length(reply)) / sizeof(std::uint32_t));
    std::memcpy(numbers.data(), xcb_get_property_value(reply),
                numbers.size() * sizeof(std::uint32_t));
    return numbers;
}

} // namespace

struct X11Clients::Atoms {
    xcb_atom_t clientList, clientListStacking, activeWindow, supported, pid, gtkApplicationId,
        bamfDesktopFile, utf8String;

    explicit Atoms(xcb_connection_t *connection) {
        const std::pair<xcb_atom_t *, const char *> names[]{
            {&clientList, "_NET_CLIENT_LIST"},
            {&clientListStacking, "_NET_CLIENT_LIST_STACKING"},
            {&activeWindow, "_NET_ACTIVE_WINDOW"},
            {&supported, "_NET_SUPPORTED"},
            {&pid, "_NET_WM_PID"},
            {&gtkApplicationId, "_GTK_APPLICATION_ID"},
            {&bamfDesktopFile, "_BAMF_DESKTOP_FILE"},
            {&utf8String, "UTF8_STRING"},
        };
        std::array<xcb_intern_atom_cookie_t, std::size(names)> cookies{};
        for (std::size_t i = 0; i < cookies.size(); ++i)
            cookies[i] = xcb_intern_atom(connection, 0,
                                         static_cast<std::uint16_t>(std::strlen(names[i].second)),
                                         names[i].second);
        for (std::size_t i = 0; i < cookies.size(); ++i) {
            const Reply<xcb_intern_atom_reply_t> reply(
                xcb_intern_atom_reply(connection, cookies[i], nullptr));
            *names[i].first = reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
        }
    }
};

std::unique_ptr<X11Clients> X11Clients::connect(const QByteArray &display) {
    if (display.isEmpty())
        return nullptr;
    int screen = 0;
    xcb_connection_t *connection = xcb_connect(display.constData(), &screen);
    if (xcb_connection_has_error(connection)) {
        xcb_disconnect(connection);
        return nullptr;
    }
    return std::unique_ptr<X11Clients>(new X11Clients(connection, screen));
}

X11Clients::X11Clients(xcb_connection_t *connection, int screen) : connection_(connection) {
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (int i = 0; i < screen && screens.rem > 1; ++i)
        xcb_screen_next(&screens);
    root_ = screens.data->root;
    atoms_ = std::make_unique<Atoms>(connection);
    // Only the root's properties: those of the windows change with every title.
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(connection_, root_, XCB_CW_EVENT_MASK, &mask);
    xcb_flush(connection_);
}

X11Clients::~X11Clients() {
    xcb_disconnect(connection_);
}

int X11Clients::fileDescriptor() const {
    return xcb_get_file_descriptor(connection_);
}

X11Clients::Events X11Clients::takeEvents() {
    Events result = Events::Nothing;
    while (const Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection_)}) {
        constexpr std::uint8_t sentBit = 0x80;
        if ((event->response_type & ~sentBit) != XCB_PROPERTY_NOTIFY)
            continue;
        xcb_property_notify_event_t change;
        std::memcpy(&change, event.get(), sizeof change);
        if (change.atom == atoms_->clientList)
            result = Events::ListChanged;
    }
    return xcb_connection_has_error(connection_) ? Events::ConnectionLost : result;
}

std::vector<std::uint32_t> X11Clients::rootProperty(std::uint32_t property,
                                                    std::uint32_t type) const {
    const Reply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        connection_, xcb_get_property(connection_, 0, root_, property, type, 0, longestList),
        nullptr));
    return numbersOf(reply.get());
}

std::vector<X11Clients::Window> X11Clients::list() const {
    return rootProperty(atoms_->clientList, XCB_ATOM_WINDOW);
}

std::vector<X11Clients::Client> X11Clients::describe(const std::vector<Window> &windows) const {
    struct Cookies {
        xcb_get_property_cookie_t windowClass, pid, gtkApplicationId, bamfDesktopFile;
    };
    const auto ask = [this](Window window, xcb_atom_t property, xcb_atom_t type) {
        return xcb_get_property(connection_, 0, window, property, type, 0, longestText);
    };
    const auto answer = [this](xcb_get_property_cookie_t cookie) {
        return Reply<xcb_get_property_reply_t>(
            xcb_get_property_reply(connection_, cookie, nullptr));
    };
    std::vector<Cookies> cookies;
    cookies.reserve(windows.size());
    for (const Window window : windows)
        cookies.push_back({ask(window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING),
                           ask(window, atoms_->pid, XCB_ATOM_CARDINAL),
                           ask(window, atoms_->gtkApplicationId, atoms_->utf8String),
                           ask(window, atoms_->bamfDesktopFile, XCB_GET_PROPERTY_TYPE_ANY)});

    std::vector<Client> clients;
    for (std::size_t i = 0; i < windows.size(); ++i) {
        Client client;
        client.window = windows[i];
        const QList<QByteArray> halves = bytesOf(answer(cookies[i].windowClass).get()).split('\0');
        client.traits.instance = QString::fromUtf8(halves.value(0));
        client.traits.windowClass = QString::fromUtf8(halves.value(1));
        const std::vector<std::uint32_t> pid = numbersOf(answer(cookies[i].pid).get());
        client.pid = pid.empty() ? 0 : pid.front();
        client.traits.gtkApplicationId =
            QString::fromUtf8(bytesOf(answer(cookies[i].gtkApplicationId).get()));
        client.traits.hintedEntry =
            QString::fromUtf8(bytesOf(answer(cookies[i].bamfDesktopFile).get()));
        clients.push_back(std::move(client));
    }
    return clients;
}

bool X11Clients::canActivate() const {
    const std::vector<std::uint32_t> supported = rootProperty(atoms_->supported, XCB_ATOM_ATOM);
    return std::find(supported.begin(), supported.end(), atoms_->activeWindow) != supported.end();
}

void X11Clients::activate(const std::vector<Window> &windows) const {
    // Bottom to top, so the last of ours is the one that the user saw last.
    const std::vector<Window> stack = rootProperty(atoms_->clientListStacking, XCB_ATOM_WINDOW);
    const auto top = std::find_if(stack.rbegin(), stack.rend(), [&](Window window) {
        return std::find(windows.begin(), windows.end(), window) != windows.end();
    });
    const Window window = top != stack.rend() ? *top : windows.back();

    constexpr std::uint32_t fromUser = 2; // a window manager may ignore what applications ask
    xcb_client_message_event_t message = {};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = atoms_->activeWindow;
    message.data.data32[0] = fromUser;
    message.data.data32[1] = XCB_CURRENT_TIME;
    std::array<char, 32> bytes{};
    std::memcpy(bytes.data(), &message, sizeof message);
    xcb_send_event(connection_, 0, root_,
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   bytes.data());
    xcb_flush(connection_);
}

} // namespace corvid
