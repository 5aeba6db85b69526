#include "Platform/Linux/DesktopAtHand.h"

#include "Base/VirtualKeys.h"
#include "Platform/Linux/QtInternals.h"
#include "Platform/Linux/X11/X11Replies.h"

#include <QStringList>

#include <utility>

namespace corvid {

using namespace Qt::Literals::StringLiterals;

namespace {

// As sessions call themselves in $XDG_CURRENT_DESKTOP.
constexpr std::pair<QLatin1StringView, Desktop> desktopNames[]{
    {"sway"_L1, Desktop::Sway},      {"Hyprland"_L1, Desktop::Hyprland},
    {"niri"_L1, Desktop::Niri},      {"river"_L1, Desktop::River},
    {"labwc"_L1, Desktop::Labwc},    {"KDE"_L1, Desktop::Kde},
    {"GNOME"_L1, Desktop::Gnome},    {"XFCE"_L1, Desktop::Xfce},
    {"openbox"_L1, Desktop::Openbox}};

// What compositors leave in the environment of what they start.
constexpr std::pair<QLatin1StringView, Desktop> compositorMarks[]{
    {"SWAYSOCK"_L1, Desktop::Sway},
    {"HYPRLAND_INSTANCE_SIGNATURE"_L1, Desktop::Hyprland},
    {"NIRI_SOCKET"_L1, Desktop::Niri},
    {"LABWC_PID"_L1, Desktop::Labwc}};

constexpr std::pair<QLatin1StringView, Desktop> windowManagers[]{
    {"Openbox"_L1, Desktop::Openbox},
    {"Xfwm4"_L1, Desktop::Xfce},
    {"KWin"_L1, Desktop::Kde},
    {"GNOME Shell"_L1, Desktop::Gnome}};

QString windowManagerOfQt() {
    xcb_connection_t *connection = x11::connectionOfQt();
    if (!connection)
        return {};
    xcb_atom_t check = XCB_NONE;
    xcb_atom_t name = XCB_NONE;
    xcb_atom_t text = XCB_NONE;
    x11::intern(
        connection,
        {{&check, "_NET_SUPPORTING_WM_CHECK"}, {&name, "_NET_WM_NAME"}, {&text, "UTF8_STRING"}});
    const auto windows = x11::numbersOf(
        connection, xcb_get_property(connection, 0, x11::rootOf(connection, x11::screenOfQt()),
                                     check, XCB_ATOM_WINDOW, 0, 1));
    if (windows.empty())
        return {};
    return QString::fromUtf8(
        x11::bytesOf(connection, xcb_get_property(connection, 0, windows.front(), name, text, 0,
                                                  x11::longestList)));
}

} // namespace

Desktop desktopOf(const QProcessEnvironment &environment, const QString &windowManager) {
    const QStringList names =
        environment.value(u"XDG_CURRENT_DESKTOP"_s).split(u':', Qt::SkipEmptyParts);
    for (const auto &[name, desktop] : desktopNames)
        if (names.contains(name, Qt::CaseInsensitive))
            return desktop;
    // A session without a display manager often has no name.
    for (const auto &[mark, desktop] : compositorMarks)
        if (environment.contains(mark))
            return desktop;
    for (const auto &[name, desktop] : windowManagers)
        if (windowManager == name)
            return desktop;
    return Desktop::Unknown;
}

QString nameOfKey(quint32 keyCode) {
    const VirtualKey *const key = findKey(&VirtualKey::code, keyCode);
    return key ? qt::keyName(key->evdev + evdevOffset) : QString();
}

Desktop desktopAtHand() {
    return desktopOf(QProcessEnvironment::systemEnvironment(), windowManagerOfQt());
}

} // namespace corvid
