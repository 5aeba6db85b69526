#include "Platform/Linux/Launching/StartupNotifier.h"

#include "Platform/Linux/X11/X11Replies.h"

#include <QFileInfo>
#include <QSysInfo>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <string_view>
#include <unistd.h>

namespace corvid {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds longestStart{15};
constexpr std::uint32_t longestWindowList = 65536; // 32-bit units
constexpr std::uint32_t longestStartupId = 1024;

x11::Reply<xcb_get_property_reply_t> anyProperty(xcb_connection_t *connection, xcb_window_t window,
                                                 xcb_atom_t name, std::uint32_t longest) {
    return x11::Reply<xcb_get_property_reply_t>(xcb_get_property_reply(
        connection,
        xcb_get_property(connection, 0, window, name, XCB_GET_PROPERTY_TYPE_ANY, 0, longest),
        nullptr));
}

xcb_atom_t startupAtom(xcb_connection_t *connection, std::string_view name) {
    const x11::Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        connection,
        xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data()),
        nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

} // namespace

QByteArray startupMessage(const QByteArray &kind,
                          const std::vector<std::pair<QByteArray, QByteArray>> &values) {
    QByteArray message = kind + ':';
    for (const auto &[key, value] : values) {
        QByteArray escaped = value;
        escaped.replace('\\', "\\\\").replace('"', "\\\"").replace('\0', "");
        message += ' ' + key + "=\"" + escaped + '"';
    }
    return message;
}

void StartupNotifier::Disconnect::operator()(xcb_connection_t *connection) const {
    // A server that sees the connection closed may drop requests that it has not read yet.
    const x11::Reply<xcb_get_input_focus_reply_t> allRead(
        xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
    xcb_disconnect(connection);
}

bool StartupNotifier::connect() {
    if (display_.isEmpty())
        return connection_ != nullptr;
    connection_.reset(xcb_connect(std::exchange(display_, {}).constData(), &screen_));
    xcb_connection_t *connection = connection_.get();
    if (xcb_connection_has_error(connection)) {
        connection_.reset();
        return false;
    }
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (int i = 0; i < screen_ && screens.rem > 1; ++i)
        xcb_screen_next(&screens);
    root_ = screens.data->root;
    window_ = x11::makeHiddenWindow(connection, root_);
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(connection, root_, XCB_CW_EVENT_MASK, &mask);
    infoBegin_ = startupAtom(connection, "_NET_STARTUP_INFO_BEGIN");
    info_ = startupAtom(connection, "_NET_STARTUP_INFO");
    clientList_ = startupAtom(connection, "_NET_CLIENT_LIST");
    startupId_ = startupAtom(connection, "_NET_STARTUP_ID");
    return true;
}

void StartupNotifier::broadcast(const QByteArray &kind, const Values &values) {
    // The message and the zero byte after it, in as many events as it takes.
    QByteArray text = startupMessage(kind, values) + '\0';
    for (std::uint32_t type = infoBegin_; !text.isEmpty(); type = info_) {
        xcb_client_message_event_t part = {};
        part.response_type = XCB_CLIENT_MESSAGE;
        part.format = 8;
        part.window = window_;
        part.type = type;
        const auto size = std::min(text.size(), qsizetype{sizeof part.data});
        std::copy_n(text.constData(), size, std::begin(part.data.data8));
        text.remove(0, size);
        std::array<char, 32> bytes{};
        std::memcpy(bytes.data(), &part, sizeof part);
        xcb_send_event(connection_.get(), 0, root_, XCB_EVENT_MASK_PROPERTY_CHANGE, bytes.data());
    }
    xcb_flush(connection_.get());
}

QByteArray StartupNotifier::begin(const LaunchedEntry &entry, Announcement announcement) {
    if (!connect())
        return {};
    static std::atomic<unsigned> count = 0;
    const xcb_timestamp_t now = x11::serverTime(connection_.get(), window_);
    QByteArray id = "corvid-" + QByteArray::number(getpid()) + '-' +
                    QSysInfo::machineHostName().toUtf8() + '-' +
                    QFileInfo(entry.path).completeBaseName().toUtf8() + '-' +
                    QByteArray::number(count++) + "_TIME" + QByteArray::number(now);
    if (announcement == Announcement::Silent)
        return id;
    Values values{{"ID", id},
                  {"NAME", entry.name.toUtf8()},
                  {"SCREEN", QByteArray::number(screen_)},
                  {"APPLICATION_ID", entry.path.toUtf8()}};
    if (!entry.icon.isEmpty())
        values.emplace_back("ICON", entry.icon.toUtf8());
    if (!entry.windowClass.isEmpty())
        values.emplace_back("WMCLASS", entry.windowClass.toUtf8());
    broadcast("new", values);
    open_.push_back(id);
    return id;
}

void StartupNotifier::cancel(const QByteArray &id) {
    if (std::erase(open_, id) > 0)
        broadcast("remove", {{"ID", id}});
}

bool StartupNotifier::takeListChange() {
    bool changed = false;
    while (const x11::Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection_.get())})
        changed |= x11::typeOf(*event) == XCB_PROPERTY_NOTIFY &&
                   x11::as<xcb_property_notify_event_t>(*event).atom == clientList_;
    return changed;
}

void StartupNotifier::endThoseWithWindows() {
    const auto windows =
        x11::numbersOf(anyProperty(connection_.get(), root_, clientList_, longestWindowList).get());
    for (const std::uint32_t window : windows)
        cancel(x11::bytesOf(
            anyProperty(connection_.get(), window, startupId_, longestStartupId).get()));
}

void StartupNotifier::finish(GCancellable *shutdown) {
    if (open_.empty())
        return;
    std::array<GPollFD, 2> sources{{{xcb_get_file_descriptor(connection_.get()), G_IO_IN, 0}, {}}};
    if (g_cancellable_make_pollfd(shutdown, &sources[1])) {
        const auto deadline = Clock::now() + longestStart;
        bool look = true; // windows may have appeared before
        while (!open_.empty() && !xcb_connection_has_error(connection_.get())) {
            if (look)
                endThoseWithWindows();
            // The answers may have brought events along, which the descriptor no longer announces.
            look = takeListChange();
            const auto rest = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
            if (rest.count() <= 0 || g_cancellable_is_cancelled(shutdown))
                break;
            if (!look)
                g_poll(sources.data(), sources.size(), static_cast<int>(rest.count()));
        }
        g_cancellable_release_fd(shutdown);
    }
    for (const QByteArray &id : std::vector(open_))
        cancel(id);
}

} // namespace corvid
