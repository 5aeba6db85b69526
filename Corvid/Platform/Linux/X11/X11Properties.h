#pragma once

#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <memory>
#include <utility>
#include <vector>

#include <xcb/xcb.h>

namespace corvid::x11 {

struct Free {
    void operator()(void *memory) const { std::free(memory); }
};
/** What the server answered; null when it answered with an error or went away. */
template <typename T>
using Reply = std::unique_ptr<T, Free>;

/** Looks up atoms by name, all in one round trip; None for those that cannot be had. */
void intern(xcb_connection_t *connection,
            std::initializer_list<std::pair<xcb_atom_t *, const char *>> atoms);

/** A property of 32-bit values that was asked for. Empty when it is not there. */
std::vector<std::uint32_t> numbers(xcb_connection_t *connection, xcb_get_property_cookie_t cookie);

/** Replaces a property of 32-bit values. */
void setNumbers(xcb_connection_t *connection, xcb_window_t window, xcb_atom_t property,
                xcb_atom_t type, const std::vector<std::uint32_t> &values);

} // namespace corvid::x11
