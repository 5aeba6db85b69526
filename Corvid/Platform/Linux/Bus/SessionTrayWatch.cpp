#include "Platform/Linux/Bus/SessionTrayWatch.h"

#include "Platform/Linux/X11/X11Replies.h"

#include <QGuiApplication>

#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto watcherName = "org.kde.StatusNotifierWatcher"_L1;
constexpr auto watcherPath = "/StatusNotifierWatcher"_L1;

} // namespace

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
        else if (!manager_)
            lookForXEmbed();
    });
}

// Only where there is no host: desktops that have both prefer that one.
void SessionTrayWatch::lookForXEmbed() {
    xcb_connection_t *connection = x11::connectionOfQt();
    if (!connection)
        return;
    x11::intern(connection, {{&tray_, "_NET_SYSTEM_TRAY_S0"}, {&manager_, "MANAGER"}});
    qGuiApp->installNativeEventFilter(this);
    const x11::Reply<xcb_get_selection_owner_reply_t> owner(xcb_get_selection_owner_reply(
        connection, xcb_get_selection_owner(connection, tray_), nullptr));
    if (owner && owner->owner != XCB_NONE)
        arrived();
}

// Sees a tray announce itself: Qt listens on the root window already.
bool SessionTrayWatch::nativeEventFilter(const QByteArray &type, void *message,
                                         qintptr * /*result*/) {
    if (type != "xcb_generic_event_t")
        return false;
    const auto &event = *static_cast<const xcb_generic_event_t *>(message);
    const auto &announcement = x11::as<xcb_client_message_event_t>(event);
    if (x11::typeOf(event) == XCB_CLIENT_MESSAGE && announcement.type == manager_ &&
        announcement.data.data32[1] == tray_) {
        // Not in the midst of an event that Qt has not seen yet.
        QMetaObject::invokeMethod(
            &receiver_, [this] { arrived(); }, Qt::QueuedConnection);
    }
    return false;
}

void SessionTrayWatch::arrived() {
    qGuiApp->removeNativeEventFilter(this);
    watcher_.reset();
    if (const auto there = std::exchange(there_, nullptr))
        there();
}

} // namespace corvid
