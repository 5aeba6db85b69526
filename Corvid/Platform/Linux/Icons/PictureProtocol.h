#pragma once

#include <cstdint>

namespace corvid {

// What passes between us and the process that draws pictures, both of which come from one
// executable: each structure as it lies in memory.

/** Starts the executable as that process; its two ends of the conversation are the standard
    streams. */
inline constexpr const char *drawPicturesOption = "--draw-icons";
/** Follows it where fonts are needed. */
inline constexpr const char *withFontsOption = "--fonts";

/** Said once by the process when it is ready. Another number for another protocol: while the
    program is being upgraded, the two sides can be of different versions. */
inline constexpr std::uint32_t pictureGreeting = 0x43'56'50'01;

/** Followed by the bytes of the picture. */
struct PictureRequest {
    std::uint64_t size;      ///< of the bytes
    std::uint32_t edge;      ///< in pixels, of the square that is wanted
    std::uint32_t isDrawing; ///< an SVG drawing; else a picture of pixels
};

/** Followed by edge × edge premultiplied pixels of 32 bits where there is a picture. */
enum class PictureAnswer : std::uint32_t { None, Picture };

inline constexpr std::uint32_t largestEdge = 512;
inline constexpr std::uint64_t largestPicture = 8 * 1024 * 1024; ///< bytes of its file

} // namespace corvid
