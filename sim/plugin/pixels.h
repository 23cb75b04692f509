// Pixel loops of the stand-ins, apart from anything that knows GStreamer.
#pragma once

#include <cstddef>
#include <cstdint>

namespace sim {

inline constexpr int thermal_width = 640;
inline constexpr int thermal_height = 480;
inline constexpr int panel_width = 1024;
inline constexpr int panel_height = 768;

// Grey pictures of one byte a pixel, not owned. `stride` is in bytes.
struct grey_view {
    const std::uint8_t* pixels;
    std::ptrdiff_t stride;
    int width;
    int height;
};

struct grey_target {
    std::uint8_t* pixels;
    std::ptrdiff_t stride;
    int width; // at most thermal_width
    int height;
};

// The part of `target` that begins at (x, y); it must lie inside.
[[nodiscard]] grey_target part_of(const grey_target& target, int x, int y, int width, int height);

void fill(const grey_target& target, std::uint8_t level);

// Which part of a picture is shown: the continuous source coordinates of the target's top-left
// corner (pixel i covers i to i + 1), and how many target pixels a source pixel gets.
struct window {
    double left;
    double top;
    double scale;
};

// Fills `target` with the window, bilinear. Beyond the source's borders its edge pixels repeat.
void resample(const grey_view& source, const window& shown, const grey_target& target);

// Turns `count` pixels with red in the lowest byte into such with blue in the lowest byte.
void swap_red_and_blue(const std::uint8_t* source, std::uint32_t* target, std::size_t count);

} // namespace sim
