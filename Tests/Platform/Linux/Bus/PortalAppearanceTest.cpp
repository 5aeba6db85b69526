// What the desktop's settings portal says about the look of programs, read from a real bus.

#include "Platform/Linux/Bus/PortalAppearance.h"

#include "Platform/Linux/Bus/Portal.h"
#include "Platform/Linux/Bus/PortalReplies.h"
#include "Worlds/LaunchWorld.h"
#include "Worlds/SettingsPortal.h"
#include "Worlds/Wait.h"

#include <gtest/gtest.h>

#include <malloc.h>

using namespace corvid;
using namespace corvid::test;

namespace {

[[maybe_unused]] const auto *const bus = ::testing::AddGlobalTestEnvironment(new PrivateBus);

const QString appearance = u"org.freedesktop.appearance"_s;
const QString interface = u"org.gnome.desktop.interface"_s;

struct PortalAppearanceTest : ::testing::Test {
    void SetUp() override { qputenv("XDG_CURRENT_DESKTOP", "GNOME"); }
    void TearDown() override { qunsetenv("XDG_CURRENT_DESKTOP"); }
};

} // namespace

TEST_F(PortalAppearanceTest, theDefaultsHoldUntilThePortalAnswers) {
    const PortalAppearance settings;
    EXPECT_EQ(settings.current(), Appearance{});
}

TEST_F(PortalAppearanceTest, everySettingIsRead) {
    const SettingsPortal portal({appearance, u"accent-color"_s, u"(0.2, 0.4, 1.0)"_s, appearance,
                                 u"contrast"_s, u"uint32 1"_s, interface, u"enable-animations"_s,
                                 u"false"_s, interface, u"font-name"_s, u"'Cantarell 11'"_s,
                                 appearance, u"color-scheme"_s, u"uint32 1"_s});
    const PortalAppearance settings;
    EXPECT_TRUE(waitUntil([&] {
        return settings.current() ==
               Appearance{0x3366FF, u"Cantarell"_s, true, false, ColorScheme::Dark};
    }));
}

TEST_F(PortalAppearanceTest, aChangeIsTold) {
    SettingsPortal portal({appearance, u"contrast"_s, u"uint32 1"_s});
    PortalAppearance settings;
    ASSERT_TRUE(waitUntil([&] { return settings.current().highContrast; }));
    int changes = 0;
    settings.onChange = [&] { ++changes; };
    portal.change("org.freedesktop.appearance contrast uint32 0");
    EXPECT_TRUE(waitUntil([&] { return changes == 1 && !settings.current().highContrast; }));
    portal.change("org.freedesktop.appearance accent-color (1.0, 0.0, 0.0)");
    EXPECT_TRUE(waitUntil([&] { return settings.current().accent == 0xFF0000; }));
    portal.change("org.freedesktop.appearance reduced-motion uint32 1");
    EXPECT_TRUE(waitUntil([&] { return !settings.current().motion; }));
    portal.change("org.gnome.desktop.interface font-name 'Fira Sans Bold 10.5'");
    EXPECT_TRUE(waitUntil([&] { return settings.current().fontFamily == u"Fira Sans Bold"; }));
}

TEST_F(PortalAppearanceTest, anAccentOutsideTheColoursMeansThatThereIsNone) {
    SettingsPortal portal({appearance, u"accent-color"_s, u"(0.5, 0.5, 0.5)"_s});
    const PortalAppearance settings;
    ASSERT_TRUE(waitUntil([&] { return settings.current().accent.has_value(); }));
    portal.change("org.freedesktop.appearance accent-color (-1.0, 0.5, 0.5)");
    EXPECT_TRUE(waitUntil([&] { return !settings.current().accent; }));
}

TEST_F(PortalAppearanceTest, theColourSchemeIsDarkLightOrNoPreference) {
    SettingsPortal portal({appearance, u"color-scheme"_s, u"uint32 1"_s});
    const PortalAppearance settings;
    const auto becomes = [&](ColorScheme scheme) {
        return waitUntil([&] { return settings.current().colorScheme == scheme; });
    };
    EXPECT_TRUE(becomes(ColorScheme::Dark));
    portal.change("org.freedesktop.appearance color-scheme uint32 2");
    EXPECT_TRUE(becomes(ColorScheme::Light));
    portal.change("org.freedesktop.appearance color-scheme uint32 0");
    EXPECT_TRUE(becomes(ColorScheme::NoPreference));
    portal.change("org.freedesktop.appearance color-scheme uint32 1");
    EXPECT_TRUE(becomes(ColorScheme::Dark));
    portal.change("org.freedesktop.appearance color-scheme 'dark'");
    EXPECT_TRUE(becomes(ColorScheme::NoPreference));
    portal.change("org.freedesktop.appearance color-scheme uint32 2");
    EXPECT_TRUE(becomes(ColorScheme::Light));
    portal.change("org.freedesktop.appearance color-scheme uint32 3");
    EXPECT_TRUE(becomes(ColorScheme::NoPreference));
}

TEST_F(PortalAppearanceTest, valuesOfAWrongTypeAreTheDefaults) {
    SettingsPortal portal({appearance, u"contrast"_s, u"'high'"_s, interface,
                           u"enable-animations"_s, u"uint32 0"_s, interface, u"font-name"_s,
                           u"11"_s, appearance, u"accent-color"_s, u"(1.0, 0.0, 0.0)"_s});
    const PortalAppearance settings;
    ASSERT_TRUE(waitUntil([&] { return settings.current().accent.has_value(); }));
    EXPECT_EQ(settings.current(), (Appearance{0xFF0000, {}, false, true}));
    portal.change("org.freedesktop.appearance accent-color 'red'");
    EXPECT_TRUE(waitUntil([&] { return settings.current() == Appearance{}; }));
}

TEST_F(PortalAppearanceTest, underKdeTheFontIsQtsMatter) {
    qputenv("XDG_CURRENT_DESKTOP", "KDE");
    const SettingsPortal portal(
        {interface, u"font-name"_s, u"'Cantarell 11'"_s, appearance, u"contrast"_s, u"uint32 1"_s});
    const PortalAppearance settings;
    ASSERT_TRUE(waitUntil([&] { return settings.current().highContrast; }));
    EXPECT_EQ(settings.current().fontFamily, QString());
}

TEST_F(PortalAppearanceTest, itEndsThoughThePortalDoesNotAnswer) {
    // The services helper takes the name, but a reply to this call has another type.
    const QTemporaryDir folder;
    const BusServices services(folder.filePath(u"trace"_s), {u"org.freedesktop.portal.Desktop"_s});
    const PortalAppearance settings;
    EXPECT_EQ(settings.current(), Appearance{});
}

TEST_F(PortalAppearanceTest, readingTheSettingsLeavesNothingBehind) {
    const SettingsPortal portal({appearance, u"accent-color"_s, u"(1.0, 0.0, 0.0)"_s});
    auto readAll = QDBusMessage::createMethodCall(
        Portal::name, Portal::path, u"org.freedesktop.portal.Settings"_s, u"ReadAll"_s);
    readAll.setArguments({QStringList{appearance}});
    const QDBusMessage reply = QDBusConnection::sessionBus().call(readAll);
    ASSERT_EQ(appearanceIn(reply).value_or(Appearance()).accent, 0xFF0000U);
    constexpr std::size_t times = 1000;
    constexpr std::size_t mostEach = 16; // for what the bus's own thread does meanwhile
    const std::size_t before = mallinfo2().uordblks;
    for (std::size_t i = 0; i < times; ++i)
        appearanceIn(reply);
    EXPECT_LT(mallinfo2().uordblks, before + times * mostEach);
}
