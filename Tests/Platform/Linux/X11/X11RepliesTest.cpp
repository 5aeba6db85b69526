#include "Platform/Linux/X11/X11Replies.h"

#include "Platform/Linux/X11/X11Clients.h"
#include "Worlds/QtPrinters.h"

#include <gtest/gtest.h>

#include <array>

using namespace corvid::x11;

namespace {

/** A property's reply as it comes from the server, its value right behind it. */
struct PropertyReply {
    PropertyReply(std::uint8_t format, std::uint32_t count) {
        head.format = format;
        head.value_len = count;
    }

    xcb_get_property_reply_t head{};
    std::array<std::uint32_t, 2> value{7, 9};
};

} // namespace

TEST(X11Replies, aPropertyOfNumbersIsRead) {
    const PropertyReply reply(32, 2);
    EXPECT_EQ(numbersOf(&reply.head), (std::vector<std::uint32_t>{7, 9}));
}

TEST(X11Replies, aPropertyWithoutAnyNumberIsEmpty) {
    const PropertyReply reply(32, 0);
    EXPECT_TRUE(numbersOf(&reply.head).empty());
}

TEST(X11Replies, aPropertyOfAnotherFormatHasNoNumbers) {
    const PropertyReply reply(8, 2);
    EXPECT_TRUE(numbersOf(&reply.head).empty());
}

TEST(X11Replies, noPropertyHasNoNumbers) {
    EXPECT_TRUE(numbersOf(nullptr).empty());
}

TEST(WindowProperties, aPropertyOfAnotherFormatSaysNothing) {
    const PropertyReply number(32, 1);
    const PropertyReply text(8, 4);
    const auto client = corvid::clientWith(3, {&number.head, &text.head, &number.head, nullptr});
    EXPECT_EQ(client.window, 3U);
    EXPECT_EQ(client.pid, 0);
    EXPECT_EQ(client.traits.windowClass, QString());
    EXPECT_EQ(client.traits.gtkApplicationId, QString());
}

TEST(WindowProperties, aClassThatDoesNotEndIsAnInstanceOnly) {
    const PropertyReply unended(8, 1); // the byte 7
    const PropertyReply number(32, 1);
    const auto client = corvid::clientWith(3, {&unended.head, &number.head, nullptr, nullptr});
    EXPECT_EQ(client.traits.instance, QString(QChar(7)));
    EXPECT_EQ(client.traits.windowClass, QString());
    EXPECT_EQ(client.pid, 7);
}
