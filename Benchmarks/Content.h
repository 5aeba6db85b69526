#pragma once

#include <cstddef>
#include <cstdint>

namespace corvid::bench {

/** Whether something is written or drawn there: a plain ground with a frame and a caret, as a
   window has before its first picture, is no content. */
inline bool hasContent(const std::uint32_t *pixels, std::size_t width, std::size_t height) {
    // Borders, fields and shades are like the pixel beside them or the one above.
    constexpr int leastInk = 60;
    int ink = 0;
    for (std::size_t y = 1; y < height; ++y) {
        const std::uint32_t *row = pixels + y * width;
        for (std::size_t x = 1; x < width; ++x)
            ink += row[x] != row[x - 1] && row[x] != row[x - width] ? 1 : 0;
    }
    return ink >= leastInk;
}

} // namespace corvid::bench
