#include "Platform/Linux/X11/X11Properties.h"

#include <cstring>

namespace corvid::x11 {

void intern(xcb_connection_t *connection,
            std::initializer_list<std::pair<xcb_atom_t *, const char *>> atoms) {
    std::vector<xcb_intern_atom_cookie_t> cookies;
    cookies.reserve(atoms.size());
    for (const auto &[atom, name] : atoms)
        cookies.push_back(
            xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(std::strlen(name)), name));
    auto cookie = cookies.begin();
    for (const auto &[atom, name] : atoms) {
        const Reply<xcb_intern_atom_reply_t> reply(
            xcb_intern_atom_reply(connection, *cookie++, nullptr));
        *atom = reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    }
}

std::vector<std::uint32_t> numbers(xcb_connection_t *connection, xcb_get_property_cookie_t cookie) {
    const Reply<xcb_get_property_reply_t> reply(
        xcb_get_property_reply(connection, cookie, nullptr));
    if (!reply || reply->format != 32)
        return {};
    std::vector<std::uint32_t> values(
        static_cast<std::size_t>(xcb_get_property_value_length(reply.get())) /
        sizeof(std::uint32_t));
    std::memcpy(values.data(), xcb_get_property_value(reply.get()),
                values.size() * sizeof(std::uint32_t));
    return values;
}

void setNumbers(xcb_connection_t *connection, xcb_window_t window, xcb_atom_t property,
                xcb_atom_t type, const std::vector<std::uint32_t> &values) {
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, property, type, 32,
                        static_cast<std::uint32_t>(values.size()), values.data());
}

} // namespace corvid::x11
