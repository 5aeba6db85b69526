#include "Platform/Linux/Bus/SessionTrayWatch.h"

#include "Platform/Linux/X11/X11Replies.h"

#include <QAbstractNativeEventFilter>
#include <QGuiApplication>

#include <cstring>
#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto watcherName = "org.kde.StatusNotifierWatcher"_L1;
constexpr auto watcherPath = "/StatusNotifierWatcher"_L1;

} // namespace

/** Sees a tray announce itself: Qt listens on the root window already. */
class SessionTrayWatch::ManagerFilter final : public QAbstractNativeEventFilter {
public:
    ManagerFilter(xcb_connection_t *connection, SessionTrayWatch &watch)
        : connection_(connection), watch_(watch) {
        x11::intern(connection, {{&tray_, "_NET_SYSTEM_TRAY_S0"}, {&manager_, "MANAGER"}});
    }

    bool trayIsThere() const {
        const x11::Reply<xcb_get_selection_owner_reply_t> owner(xcb_get_selection_owner_reply(
            connection_, xcb_get_selection_owner(connection_, tray_), nullptr));
        return owner && owner->owner != XCB_NONE;
    }

    bool nativeEventFilter(const QByteArray &type, void *message, qintptr * /*result*/) override {
        if (type != "xcb_generic_event_t")
            return false;
        const auto &event = *static_cast<const xcb_generic_event_t *>(message);
        const auto &announcement = x11::as<xcb_client_message_event_t>(event);
        if (x11::typeOf(event) == XCB_CLIENT_MESSAGE && announcement.type == manager_ &&
            announcement.data.data32[1] == tray_) {
            // Not in the midst of an event that Qt has not seen yet.
            QMetaObject::invokeMethod(
                &watch_.receiver_, [watch = &watch_] { watch->arrived(); }, Qt::QueuedConnection);
        }
        return false;
    }

private:
    xcb_connection_t *connection_;
    SessionTrayWatch &watch_;
    xcb_atom_t tray_ = XCB_ATOM_NONE;
    xcb_atom_t manager_ = XCB_ATOM_NONE;
};

SessionTrayWatch::SessionTrayWatch() = default;
SessionTrayWatch::~SessionTrayWatch() = default;

void SessionTrayWatch::await(std::function<void()> there) {
    there_ = std::move(there);
    watcher_.reset(new BusPeer(QDBusConnection::sessionBus(), watcherName));
    watcher_->onOwnerChange = [this](bool /*there*/) { lookForHost(); };
    watcher_->listen(watcherPath, watcherName, u"StatusNotifierHostRegistered"_s,
                     [this](const QDBusMessage & /*signal*/) { lookForHost(); });
    lookForHost();
}

// A watcher alone is not enough for Qt: somebody must show the items that it lists.
void SessionTrayWatch::lookForHost() {
    if (!there_)
        return;
    auto ask = watcher_->method(watcherPath, u"org.freedesktop.DBus.Properties"_s, u"Get"_s,
                                {watcherName, u"IsStatusNotifierHostRegistered"_s});
    ask.setAutoStartService(false);
    watcher_->send(ask, [this](const QDBusMessage &reply) {
        if (unboxed<bool>(reply.arguments().value(0)) == true)
            arrived();
        else if (!filter_)
            lookForXEmbed();
    });
}

// Only where there is no host: desktops that have both prefer that one.
void SessionTrayWatch::lookForXEmbed() {
    xcb_connection_t *connection = x11::connectionOfQt();
    if (!connection)
        return;
    filter_ = std::make_unique<ManagerFilter>(connection, *this);
    qGuiApp->installNativeEventFilter(filter_.get());
    if (filter_->trayIsThere())
        arrived();
}

void SessionTrayWatch::arrived() {
    filter_.reset();
    watcher_.reset();
    if (const auto there = std::exchange(there_, nullptr))
        there();
}

} // namespace corvid
