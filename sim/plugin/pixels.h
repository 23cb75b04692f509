// Grey pictures and the loops over their pixels, apart from anything that knows GStreamer.
#pragma once

#include <cstddef>
#include <cstdint>

namespace sim {

// What the thermal core delivers.
inline constexpr int SENSOR_WIDTH = 640;
inline constexpr int SENSOR_HEIGHT = 480;
inline constexpr int SENSOR_RATE = 30; // pictures a second

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
    int width; // at most SENSOR_WIDTH
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

} // namespace sim
