#include "Platform/Linux/Launching/StartupNotifier.h"

#include <QFileInfo>
#include <QSysInfo>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <unistd.h>

namespace corvid {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds longestStart{15};

} // namespace

QByteArray startupMessage(const QByteArray &kind, const StartupValues &values) {
    QByteArray message = kind + ':';
    for (const auto &[key, value] : values) {
        QByteArray escaped = value;
        escaped.replace('\\', "\\\\").replace('"', "\\\"").replace('\0', "");
        message += ' ' + key + "=\"" + escaped + '"';
    }
    return message;
}

bool StartupNotifier::connect() {
    if (display_.isEmpty())
        return connection_ != nullptr;
    connection_ = x11::connectTo(std::exchange(display_, {}), &screen_);
    if (!connection_)
        return false;
    root_ = x11::rootOf(connection_, screen_);
    window_ = x11::makeHiddenWindow(connection_, root_);
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(connection_, root_, XCB_CW_EVENT_MASK, &mask);
    x11::intern(connection_, {{&atoms_.infoBegin, "_NET_STARTUP_INFO_BEGIN"},
                              {&atoms_.info, "_NET_STARTUP_INFO"},
                              {&atoms_.clientList, "_NET_CLIENT_LIST"},
                              {&atoms_.startupId, "_NET_STARTUP_ID"}});
    return true;
}

void StartupNotifier::broadcast(const QByteArray &kind, const StartupValues &values) {
    // The message and the zero byte after it, in as many events as it takes.
    QByteArray text = startupMessage(kind, values) + '\0';
    for (std::uint32_t type = atoms_.infoBegin; !text.isEmpty(); type = atoms_.info) {
        xcb_client_message_event_t part = {};
        part.response_type = XCB_CLIENT_MESSAGE;
        part.format = 8;
        part.window = window_;
        part.type = type;
        const auto size = std::min(text.size(), qsizetype{sizeof part.data});
        std::copy_n(text.constData(), size, std::begin(part.data.data8));
        text.remove(0, size);
        xcb_send_event(connection_, 0, root_, XCB_EVENT_MASK_PROPERTY_CHANGE,
                       reinterpret_cast<const char *>(&part));
    }
    // A server that sees the connection closed may drop requests that it has not read yet.
    const x11::Reply<xcb_get_input_focus_reply_t> allRead(
        xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
}

QByteArray StartupNotifier::begin(const LaunchedEntry &entry) {
    if (!connect())
        return {};
    static std::atomic<unsigned> count = 0;
    const xcb_timestamp_t now = x11::serverTime(connection_.get(), window_);
    QByteArray id = "corvid-" + QByteArray::number(getpid()) + '-' +
                    QSysInfo::machineHostName().toUtf8() + '-' +
                    QFileInfo(entry.path).completeBaseName().toUtf8() + '-' +
                    QByteArray::number(count++) + "_TIME" + QByteArray::number(now);
    if (!entry.notifiesOfStart)
        return id;
    StartupValues values{{"ID", id},
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
    while (const x11::Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection_)})
        changed |= x11::typeOf(*event) == XCB_PROPERTY_NOTIFY &&
                   x11::as<xcb_property_notify_event_t>(*event).atom == atoms_.clientList;
    return changed;
}

void StartupNotifier::endThoseWithWindows() {
    const auto ask = [this](xcb_window_t window, xcb_atom_t property) {
        return xcb_get_property(connection_, 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0,
                                x11::longestList);
    };
    for (const xcb_window_t window : x11::numbersOf(connection_, ask(root_, atoms_.clientList)))
        cancel(x11::bytesOf(connection_, ask(window, atoms_.startupId)));
}

void StartupNotifier::finish(GCancellable *shutdown) {
    if (open_.empty())
        return;
    std::array<GPollFD, 2> sources{{{xcb_get_file_descriptor(connection_), G_IO_IN, 0}, {}}};
    if (g_cancellable_make_pollfd(shutdown, &sources[1])) {
        const auto deadline = Clock::now() + longestStart;
        bool look = true; // windows may have appeared before
        while (!open_.empty() && !xcb_connection_has_error(connection_)) {
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
