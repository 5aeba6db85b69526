#include "Platform/Linux/LinuxDesktop.h"

#include <QGuiApplication>

#include <memory>

#include <xcb/xcb.h>

namespace corvid {

namespace {

struct FreeReply {
    void operator()(void *reply) const { free(reply); }
};
template <typename Reply>
using ReplyPointer = std::unique_ptr<Reply, FreeReply>;

// Compositing managers own the selection _NET_WM_CM_S<screen> as long as they run.
bool selectionHasOwner(xcb_connection_t *connection) {
    constexpr char name[] = "_NET_WM_CM_S0";
    const ReplyPointer<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, false, sizeof name - 1, name), nullptr));
    if (!atom)
        return false;
    const ReplyPointer<xcb_get_selection_owner_reply_t> owner(xcb_get_selection_owner_reply(
        connection, xcb_get_selection_owner(connection, atom->atom), nullptr));
    return owner && owner->owner != XCB_NONE;
}

} // namespace

bool displayIsReachable() {
    if (!qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        return true;
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        return false;
    xcb_connection_t *connection = xcb_connect(nullptr, nullptr);
    const bool reachable = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return reachable;
}

bool LinuxDesktop::hasCompositor() const {
    const auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    // Every other platform plugin composes translucent windows.
    return !x11 || selectionHasOwner(x11->connection());
}

} // namespace corvid
