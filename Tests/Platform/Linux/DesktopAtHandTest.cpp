#include "Platform/Linux/DesktopAtHand.h"

#include <gtest/gtest.h>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;

namespace {

QProcessEnvironment with(const QString &variable, const QString &value) {
    QProcessEnvironment result;
    result.insert(variable, value);
    return result;
}

Desktop named(const QString &names) {
    return desktopOf(with(u"XDG_CURRENT_DESKTOP"_s, names), {});
}

} // namespace

TEST(DesktopAtHandTest, aSessionSaysWhichDesktopItIs) {
    EXPECT_EQ(named(u"sway"_s), Desktop::Sway);
    EXPECT_EQ(named(u"Hyprland"_s), Desktop::Hyprland);
    EXPECT_EQ(named(u"niri"_s), Desktop::Niri);
    EXPECT_EQ(named(u"river"_s), Desktop::River);
    EXPECT_EQ(named(u"labwc:wlroots"_s), Desktop::Labwc);
    EXPECT_EQ(named(u"KDE"_s), Desktop::Kde);
    EXPECT_EQ(named(u"ubuntu:GNOME"_s), Desktop::Gnome);
    EXPECT_EQ(named(u"XFCE"_s), Desktop::Xfce);
    EXPECT_EQ(named(u"Openbox"_s), Desktop::Openbox);
    EXPECT_EQ(named(u"Enlightenment"_s), Desktop::Unknown);
}

TEST(DesktopAtHandTest, aCompositorWithoutANameIsKnownByItsMark) {
    EXPECT_EQ(desktopOf(with(u"SWAYSOCK"_s, u"/run/x"_s), {}), Desktop::Sway);
    EXPECT_EQ(desktopOf(with(u"HYPRLAND_INSTANCE_SIGNATURE"_s, u"x"_s), {}), Desktop::Hyprland);
    EXPECT_EQ(desktopOf(with(u"NIRI_SOCKET"_s, u"/run/x"_s), {}), Desktop::Niri);
    EXPECT_EQ(desktopOf(with(u"LABWC_PID"_s, u"7"_s), {}), Desktop::Labwc);
}

TEST(DesktopAtHandTest, elseTheWindowManagerIsAsked) {
    EXPECT_EQ(desktopOf({}, u"Openbox"_s), Desktop::Openbox);
    EXPECT_EQ(desktopOf({}, u"Xfwm4"_s), Desktop::Xfce);
    EXPECT_EQ(desktopOf({}, u"KWin"_s), Desktop::Kde);
    EXPECT_EQ(desktopOf({}, u"GNOME Shell"_s), Desktop::Gnome);
    EXPECT_EQ(desktopOf({}, u"IceWM 3.3"_s), Desktop::Unknown);
    EXPECT_EQ(desktopOf({}, {}), Desktop::Unknown);
}

TEST(DesktopAtHandTest, aDesktopsOwnNameCountsBeforeItsWindowManagers) {
    EXPECT_EQ(desktopOf(with(u"XDG_CURRENT_DESKTOP"_s, u"XFCE"_s), u"Openbox"_s), Desktop::Xfce);
}
