// The drawn scene: computed coarsely, then enlarged, as warm things have soft edges anyway.
#include "thermal_scene.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace sim {
namespace {

constexpr int coarseness = 4;
constexpr int coarse_width = thermal_width / coarseness;
constexpr int coarse_height = thermal_height / coarseness;

// Levels as video counts them: 16 is black, 235 white. White is hot.
constexpr double sky_level = 30;
constexpr double ground_level = 80;
constexpr double hottest_level = 235;

// A warm spot on an elliptic path; all lengths in coarse pixels, speeds in radians a second.
struct spot {
    double centre_x, centre_y;
    double swing_x, swing_y;
    double speed_x, speed_y;
    double radius;
    double heat;
};

constexpr std::array spots{
    spot{40, 80, 30, 6, 0.31, 0.47, 9, 150},    spot{100, 70, 45, 8, 0.19, 0.83, 7, 170},
    spot{80, 95, 60, 10, 0.13, 0.29, 14, 110},  spot{130, 60, 18, 12, 0.53, 0.37, 5, 190},
    spot{60, 50, 50, 4, -0.23, 0.61, 4, 140},
};

void draw_ground(std::vector<std::uint8_t>& picture) {
    for (int y = 0; y < coarse_height; ++y) {
        const double level = sky_level + (ground_level - sky_level) * y / coarse_height;
        std::fill_n(picture.begin() + std::ptrdiff_t{y} * coarse_width, coarse_width,
                    static_cast<std::uint8_t>(level));
    }
}

void draw_spot(const spot& one, double seconds, std::vector<std::uint8_t>& picture) {
    const double at_x = one.centre_x + one.swing_x * std::sin(one.speed_x * seconds);
    const double at_y = one.centre_y + one.swing_y * std::sin(one.speed_y * seconds);
    const int top = std::max(0, static_cast<int>(at_y - one.radius));
    const int bottom = std::min(coarse_height - 1, static_cast<int>(at_y + one.radius));
    const int left = std::max(0, static_cast<int>(at_x - one.radius));
    const int right = std::min(coarse_width - 1, static_cast<int>(at_x + one.radius));
    for (int y = top; y <= bottom; ++y) {
        for (int x = left; x <= right; ++x) {
            const double distance = std::hypot(x - at_x, y - at_y) / one.radius;
            const double fall = std::max(0.0, 1 - distance * distance);
            auto& pixel = picture[static_cast<std::size_t>(y * coarse_width + x)];
            pixel = static_cast<std::uint8_t>(
                std::min(hottest_level, pixel + one.heat * fall * fall));
        }
    }
}

} // namespace

thermal_scene::thermal_scene()
    : coarse_(std::size_t{coarse_width} * coarse_height),
      picture_(std::size_t{thermal_width} * thermal_height) {}

grey_view thermal_scene::at(double seconds) {
    draw_ground(coarse_);
    for (const spot& one : spots) {
        draw_spot(one, seconds, coarse_);
    }
    resample({coarse_.data(), coarse_width, coarse_width, coarse_height}, {0, 0, coarseness},
             {picture_.data(), thermal_width, thermal_width, thermal_height});
    return {picture_.data(), thermal_width, thermal_width, thermal_height};
}

} // namespace sim
