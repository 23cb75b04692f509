// What the overlay draws: a picture that never changes once it is made, and how to lay it over a
// frame. Knows nothing of Qt, since streaming threads use it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace sim {

inline constexpr int OVERLAY_WIDTH = 1024;
inline constexpr int OVERLAY_HEIGHT = 768;
inline constexpr std::size_t OVERLAY_PIXELS = std::size_t{OVERLAY_WIDTH} * OVERLAY_HEIGHT;

// A pixel in memory order red, green, blue, alpha; colours are multiplied by alpha.
using rgba_pixel = std::uint32_t;

// Neighbouring pixels of one line that are not wholly transparent.
struct pixel_run {
    std::uint32_t first; // index into the picture
    std::uint16_t length;
    bool opaque; // all of them: they replace what is beneath
};

class overlay_picture {
public:
    // Pixels as Qt has them: blue, green, red, alpha in memory; OVERLAY_PIXELS of them.
    explicit overlay_picture(std::span<const std::uint32_t> bgra);

    // Lays the picture over a frame of RGBA lines of its own size, `stride` bytes apart.
    void blend_onto(std::uint8_t* frame, std::size_t stride) const;

    [[nodiscard]] std::span<const pixel_run> runs() const { return runs_; }

private:
    std::vector<rgba_pixel> pixels_;
    std::vector<pixel_run> runs_;
};

} // namespace sim
