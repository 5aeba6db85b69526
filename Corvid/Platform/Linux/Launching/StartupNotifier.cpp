#include "Platform/Linux/Launching/StartupNotifier.h"

#include "Platform/Linux/X11/X11Replies.h"

#include <QFileInfo>
#include <QSysInfo>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <poll.h>
#include <unistd.h>
#include <unordered_map>
#include <utility>

namespace corvid {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds longestStart{15};
constexpr std::size_t messagePart = 20; // bytes in one client message
constexpr qsizetype longestMessage = 64 * 1024;
constexpr std::uint32_t longestList = 65536;
constexpr std::uint32_t longestId = 1024;

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

QByteArray removedStartupId(const QByteArray &message) {
    if (!message.startsWith("remove:"))
        return {};
    const qsizetype at = message.indexOf(" ID=");
    if (at < 0)
        return {};
    QByteArray id;
    bool quoted = false;
    for (qsizetype i = at + 4; i < message.size(); ++i) {
        const char c = message[i];
        if (c == '\\' && i + 1 < message.size())
            id += message[++i];
        else if (c == '"')
            quoted = !quoted;
        else if (c == ' ' && !quoted)
            break;
        else
            id += c;
    }
    return id;
}

class StartupNotifier::Connection {
public:
    static std::unique_ptr<Connection> open(const QByteArray &display) {
        int screen = 0;
        xcb_connection_t *connection = xcb_connect(display.constData(), &screen);
        if (!xcb_connection_has_error(connection))
            return std::unique_ptr<Connection>(new Connection(connection, screen));
        xcb_disconnect(connection);
        return nullptr;
    }
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;
    ~Connection() {
        // Closing with unread events would make the server drop what it has not read yet.
        const x11::Reply<xcb_get_input_focus_reply_t> done(
            xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
        xcb_disconnect(connection_);
    }

    int screen() const { return screen_; }

    xcb_timestamp_t time() {
        return x11::serverTime(connection_, window_,
                               [this](const xcb_generic_event_t &event) { note(event); });
    }

    void broadcast(const QByteArray &message) {
        const QByteArray text = message + '\0';
        for (std::size_t sent = 0; sent < static_cast<std::size_t>(text.size());
             sent += messagePart) {
            xcb_client_message_event_t part = {};
            part.response_type = XCB_CLIENT_MESSAGE;
            part.format = 8;
            part.window = window_;
            part.type = sent == 0 ? infoBegin_ : info_;
            const std::size_t size =
                std::min(messagePart, static_cast<std::size_t>(text.size()) - sent);
            std::memcpy(part.data.data8, text.constData() + sent, size);
            std::array<char, 32> bytes{};
            std::memcpy(bytes.data(), &part, sizeof part);
            xcb_send_event(connection_, 0, root_, XCB_EVENT_MASK_PROPERTY_CHANGE, bytes.data());
        }
        xcb_flush(connection_);
    }

    /** Sleeps until something may have happened; false when there is no use in going on. */
    bool wait(int stopDescriptor, Clock::time_point deadline) {
        take();
        if (!removed.empty() || listChanged)
            return true;
        const auto rest =
            std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (rest <= 0 || xcb_connection_has_error(connection_))
            return false;
        std::array<pollfd, 2> sources{
            {{xcb_get_file_descriptor(connection_), POLLIN, 0}, {stopDescriptor, POLLIN, 0}}};
        poll(sources.data(), sources.size(), static_cast<int>(rest));
        take();
        return sources[1].revents == 0 && !xcb_connection_has_error(connection_);
    }

    /** The startup ids that the managed windows carry. */
    std::vector<QByteArray> idsOfWindows() {
        const auto windows = x11::numbersOf(property(root_, clientList_, longestList).get());
        std::vector<QByteArray> ids;
        ids.reserve(windows.size());
        for (const std::uint32_t window : windows)
            ids.push_back(x11::bytesOf(property(window, startupId_, longestId).get()));
        return ids;
    }

    std::vector<QByteArray> removed; ///< ids that others have ended since this was last emptied
    bool listChanged = false;        ///< likewise

private:
    Connection(xcb_connection_t *connection, int screen)
        : connection_(connection), screen_(screen), infoBegin_(atom("_NET_STARTUP_INFO_BEGIN")),
          info_(atom("_NET_STARTUP_INFO")), clientList_(atom("_NET_CLIENT_LIST")),
          startupId_(atom("_NET_STARTUP_ID")) {
        auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
        for (int i = 0; i < screen && screens.rem > 1; ++i)
            xcb_screen_next(&screens);
        root_ = screens.data->root;
        window_ = x11::makeHiddenWindow(connection, root_);
        // Where the messages go, ours and others'.
        const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_change_window_attributes(connection, root_, XCB_CW_EVENT_MASK, &mask);
    }

    xcb_atom_t atom(std::string_view name) {
        const x11::Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
            connection_,
            xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.data()),
            nullptr));
        return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    }

    x11::Reply<xcb_get_property_reply_t> property(xcb_window_t window, xcb_atom_t name,
                                                  std::uint32_t longest) {
        return x11::Reply<xcb_get_property_reply_t>(xcb_get_property_reply(
            connection_,
            xcb_get_property(connection_, 0, window, name, XCB_GET_PROPERTY_TYPE_ANY, 0, longest),
            nullptr));
    }

    void take() {
        while (const x11::Reply<xcb_generic_event_t> event{xcb_poll_for_event(connection_)})
            note(*event);
    }

    void note(const xcb_generic_event_t &event) {
        if (x11::typeOf(event) == XCB_PROPERTY_NOTIFY)
            listChanged |= x11::as<xcb_property_notify_event_t>(event).atom == clientList_;
        if (x11::typeOf(event) != XCB_CLIENT_MESSAGE)
            return;
        const auto part = x11::as<xcb_client_message_event_t>(event);
        if (part.type != infoBegin_ && part.type != info_)
            return;
        QByteArray &message = messages_[part.window];
        if (part.type == infoBegin_)
            message.clear();
        const auto *text = reinterpret_cast<const char *>(part.data.data8);
        const std::size_t size = strnlen(text, messagePart);
        message.append(text, static_cast<qsizetype>(size));
        if (size == messagePart && message.size() < longestMessage)
            return;
        if (QByteArray id = removedStartupId(message); !id.isEmpty())
            removed.push_back(std::move(id));
        messages_.erase(part.window);
    }

    xcb_connection_t *connection_;
    int screen_;
    xcb_atom_t infoBegin_, info_, clientList_, startupId_;
    xcb_window_t root_ = 0;
    xcb_window_t window_ = 0;
    std::unordered_map<xcb_window_t, QByteArray> messages_; ///< incomplete ones, by sender
};

StartupNotifier::StartupNotifier(QByteArray display) : display_(std::move(display)) {}

StartupNotifier::~StartupNotifier() = default;

bool StartupNotifier::connect() {
    if (!connection_ && !display_.isEmpty())
        connection_ = Connection::open(std::exchange(display_, {}));
    return connection_ != nullptr;
}

QByteArray StartupNotifier::begin(const Application &application, Announcement announcement) {
    if (!connect())
        return {};
    static std::atomic<unsigned> count = 0;
    QByteArray id = "corvid-" + QByteArray::number(getpid()) + '-' +
                    QSysInfo::machineHostName().toUtf8() + '-' +
                    QFileInfo(application.entryPath).completeBaseName().toUtf8() + '-' +
                    QByteArray::number(count++) + "_TIME" + QByteArray::number(connection_->time());
    if (announcement == Announcement::Silent)
        return id;
    std::vector<std::pair<QByteArray, QByteArray>> values{
        {"ID", id},
        {"NAME", application.name.toUtf8()},
        {"SCREEN", QByteArray::number(connection_->screen())},
        {"APPLICATION_ID", application.entryPath.toUtf8()}};
    if (!application.icon.isEmpty())
        values.emplace_back("ICON", application.icon.toUtf8());
    if (!application.windowClass.isEmpty())
        values.emplace_back("WMCLASS", application.windowClass.toUtf8());
    connection_->broadcast(startupMessage("new", values));
    open_.push_back(id);
    return id;
}

void StartupNotifier::cancel(const QByteArray &id) {
    if (std::erase(open_, id) > 0)
        end(id);
}

void StartupNotifier::end(const QByteArray &id) {
    connection_->broadcast(startupMessage("remove", {{"ID", id}}));
}

void StartupNotifier::finish(int stopDescriptor) {
    const auto deadline = Clock::now() + longestStart;
    while (!open_.empty() && connection_->wait(stopDescriptor, deadline)) {
        for (const QByteArray &id : std::exchange(connection_->removed, {}))
            std::erase(open_, id);
        if (std::exchange(connection_->listChanged, false))
            for (const QByteArray &id : connection_->idsOfWindows())
                cancel(id);
    }
    for (const QByteArray &id : std::exchange(open_, {}))
        end(id);
}

} // namespace corvid
