// The overlay's picture, immutable, and blending it onto frames. Free of Qt, since streaming
// threads use it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace sim {

inline constexpr int OVERLAY_WIDTH = 1024;
inline constexpr int OVERLAY_HEIGHT = 768;
inline constexpr std::size_t OVERLAY_PIXELS = std::size_t{OVERLAY_WIDTH} * OVERLAY_HEIGHT;

// A pixel in memory order red, green, blue, alpha; premultiplied.
using rgba_pixel = std::uint32_t;

// Consecutive pixels of a line that are not fully transparent.
struct pixel_run {
    std::uint32_t first; // index into the picture
    std::uint16_t length;
    bool opaque; // all pixels are opaque
};

class overlay_picture {
public:
    // Pixels in Qt's memory order blue, green, red, alpha; OVERLAY_PIXELS of them.
    explicit overlay_picture(std::span<const std::uint32_t> bgra);

    // Blends the picture onto an RGBA frame of the same size, `stride` bytes per line.
    void blend_onto(std::uint8_t* frame, std::size_t stride) const;

    [[nodiscard]] std::span<const pixel_run> runs() const { return runs_; }

private:
    std::vector<rgba_pixel> pixels_;
    std::vector<pixel_run> runs_;
};

} // namespace sim
