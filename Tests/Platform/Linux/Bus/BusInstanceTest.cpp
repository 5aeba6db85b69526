#include "Platform/Linux/Bus/BusInstance.h"

#include "Front/InstanceCall.h"
#include "Worlds/LaunchWorld.h"

#include <gio/gio.h>

#include <future>

using namespace corvid;
using namespace corvid::test;

namespace {

[[maybe_unused]] const auto *const bus = ::testing::AddGlobalTestEnvironment(new PrivateBus);

/** Sends calls to the instance, and waits for no answer; returns when the bus has them. */
void flood(const char *method, GVariant *arguments, int count) {
    GDBusConnection *connection = g_dbus_connection_new_for_address_sync(
        qgetenv("DBUS_SESSION_BUS_ADDRESS").constData(),
        GDBusConnectionFlags(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                             G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, nullptr);
    g_variant_ref_sink(arguments);
    for (int i = 0; i < count; ++i)
        g_dbus_connection_call(connection, instanceBusName, instanceObjectPath, instanceInterface,
                               method, arguments, nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr,
                               nullptr, nullptr);
    g_variant_unref(arguments);
    g_dbus_connection_flush_sync(connection, nullptr, nullptr);
    g_object_unref(connection);
}

GVariant *action(const char *name) {
    return g_variant_new("(s@av@a{sv})", name, g_variant_new_array(G_VARIANT_TYPE("v"), nullptr, 0),
                         g_variant_new_array(G_VARIANT_TYPE("{sv}"), nullptr, 0));
}

} // namespace

TEST(BusInstance, aFloodOfWishesIsMergedAndHoldsUpNoneBehindIt) {
    constexpr int many = 5'000;
    BusInstance instance;
    ASSERT_EQ(instance.claim({}), BusInstance::Claim::Sole);
    int shows = 0;
    int settings = 0;
    instance.serve(
        [&](const Wish &wish) { ++(wish.kind == Wish::Kind::OpenSettings ? settings : shows); });
    const auto sent = std::async(std::launch::async, [] {
        flood("ActivateAction", action("show"), many);
        flood("Nonsense", g_variant_new("()"), many);
        flood("ActivateAction", action("settings"), 1);
    });
    sent.wait();
    EXPECT_TRUE(eventually([&] { return settings > 0; }));
    EXPECT_EQ(settings, 1);
    EXPECT_GE(shows, 1);
    EXPECT_LT(shows, many / 20) << "each would have held up the others";
}
