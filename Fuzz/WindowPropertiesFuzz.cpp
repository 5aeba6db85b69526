// The properties of a window, which every program sets as it likes: of any format and length, they
// say of a window no more than stands in them.
#include "FuzzInput.h"
#include "Platform/Linux/X11/X11Clients.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

using namespace corvid;
using namespace Qt::Literals::StringLiterals;
using fuzz::require;

namespace {

/** A property as the server sends it: its head, and right behind that the value, in memory of
    exactly that length so that a look beyond its end is seen. */
class Property {
public:
    Property(std::uint8_t format, const QByteArray &value)
        : memory_(sizeof(xcb_get_property_reply_t) + static_cast<std::size_t>(value.size())) {
        xcb_get_property_reply_t head{};
        head.format = format;
        head.value_len = format == 0 ? 0 : static_cast<std::uint32_t>(value.size()) / (format / 8U);
        std::memcpy(memory_.data(), &head, sizeof head);
        std::memcpy(memory_.data() + sizeof head, value.constData(),
                    static_cast<std::size_t>(value.size()));
    }
    const xcb_get_property_reply_t *reply() const {
        return reinterpret_cast<const xcb_get_property_reply_t *>(memory_.data());
    }

private:
    std::vector<char> memory_;
};

const WindowMatcher &matcher() {
    static const WindowMatcher matcher([] {
        DesktopEntry fox;
        fox.id = u"org.Fox"_s;
        fox.path = u"/fox.desktop"_s;
        fox.program = u"fox"_s;
        fox.startupWMClass = u"Fox"_s;
        return std::vector{fox};
    }());
    return matcher;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    // Four pieces of the input, each with its format before it.
    constexpr std::array<std::uint8_t, 4> formats{0, 8, 16, 32};
    std::vector<Property> properties;
    std::size_t at = 0;
    for (int i = 0; i < 4; ++i) {
        const std::uint8_t head = at < size ? data[at++] : std::uint8_t{0};
        const std::size_t length = std::min<std::size_t>(head >> 2, size - at);
        const bool last = i == 3;
        const QByteArray value = fuzz::bytesOf(data + at, last ? size - at : length);
        properties.emplace_back(formats[head & 3], value);
        at += length;
    }
    const auto reply = [&](std::size_t i) { return properties[i].reply(); };
    const WindowList::Client client = clientWith(7, {reply(0), reply(1), reply(2), reply(3)});
    require(client.window == 7, "a window stays itself");
    require(client.pid >= 0 && client.pid <= 0xffffffff, "a process has a number of 32 bits");
    if (reply(0)->format != 8)
        require(client.traits.windowClass.isEmpty() && client.traits.instance.isEmpty(),
                "what is no text has no text");
    require(!client.traits.instance.contains(QChar::Null) &&
                !client.traits.windowClass.contains(QChar::Null),
            "a class ends at a zero byte");
    const auto match = matcher().match(client.traits);
    require(!match || match->id == "org.Fox"_L1, "a window belongs to an entry that there is");
    const WindowList::Client bare = clientWith(7, {});
    require(bare.pid == 0 && !matcher().match(bare.traits), "without properties nothing is known");
    return 0;
}
