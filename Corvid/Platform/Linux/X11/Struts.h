#pragma once

#include <QRect>
#include <QSize>

#include <array>
#include <cstdint>
#include <vector>

namespace corvid {

/** What a dock or a bar keeps for itself along one or more edges of the whole desktop, in native
    pixels: the numbers of _NET_WM_STRUT_PARTIAL in their order. */
using Strut = std::array<std::uint32_t, 12>;

/** What the struts leave of a screen. `desktop` is the size of all screens together, from whose
    edges the struts are measured. A strut that would leave nothing of the screen belongs to one
    that lies behind it, and takes nothing here. */
QRect withoutStruts(const QRect &screen, const QSize &desktop, const std::vector<Strut> &struts);

} // namespace corvid
