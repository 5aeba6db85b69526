#include "Platform/Linux/X11/X11Replies.h"

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
