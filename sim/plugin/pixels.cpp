// Loops over the pixels of grey pictures. They are compiled for speed also where the rest is not.
#include "pixels.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace sim {
namespace {

// Weights have eight fractional bits: exact for the zoom factors 1, 2 and 4.
constexpr unsigned ONE = 256;

// Between which two neighbours a sample lies, and the weight of the second.
struct tap {
    std::uint16_t first;
    std::uint16_t second;
    std::uint16_t weight;
};

tap tap_at(double position, int size) {
    const double last = size - 1;
    const double inside = std::clamp(position, 0.0, last);
    const auto fixed = static_cast<unsigned>(std::lround(inside * ONE));
    const unsigned first = fixed / ONE;
    const unsigned second = std::min(first + 1, static_cast<unsigned>(size - 1));
    return {static_cast<std::uint16_t>(first), static_cast<std::uint16_t>(second),
            static_cast<std::uint16_t>(fixed % ONE)};
}

// The centre of target pixel `index` in source pixels, counted from a pixel's centre.
double source_position(double begin, double scale, int index) {
    return begin + (index + 0.5) / scale - 0.5;
}

using tap_row = std::array<tap, SENSOR_WIDTH>;
using wide_row = std::array<std::uint16_t, SENSOR_WIDTH>; // values with eight fractional bits

void stretch_row(const std::uint8_t* source, const tap_row& taps, int width, wide_row& row) {
    for (int x = 0; x < width; ++x) {
        const auto [first, second, weight] = taps[static_cast<std::size_t>(x)];
        row[static_cast<std::size_t>(x)] =
            static_cast<std::uint16_t>(source[first] * (ONE - weight) + source[second] * weight);
    }
}

void mix_rows(const wide_row& upper, const wide_row& lower, unsigned weight, int width,
              std::uint8_t* target) {
    for (int x = 0; x < width; ++x) {
        const auto at = static_cast<std::size_t>(x);
        const unsigned sum = upper[at] * (ONE - weight) + lower[at] * weight;
        target[x] = static_cast<std::uint8_t>((sum + ONE * ONE / 2) / (ONE * ONE));
    }
}

void copy(const grey_view& source, const grey_target& target) {
    for (int y = 0; y < target.height; ++y) {
        std::memcpy(target.pixels + y * target.stride, source.pixels + y * source.stride,
                    static_cast<std::size_t>(target.width));
    }
}

bool is_plain_copy(const grey_view& source, const window& shown, const grey_target& target) {
    return shown.left == 0 && shown.top == 0 && shown.scale == 1 && source.width == target.width &&
           source.height == target.height;
}

// Stretched rows, the last two of them kept: neighbouring target rows share them.
class row_cache {
public:
    row_cache(const grey_view& source, const tap_row& taps, int width)
        : source_(source), taps_(taps), width_(width) {}

    const wide_row& at(int y) {
        const auto slot = static_cast<std::size_t>(y % 2);
        if (held_[slot] != y) {
            stretch_row(source_.pixels + y * source_.stride, taps_, width_, rows_[slot]);
            held_[slot] = y;
        }
        return rows_[slot];
    }

private:
    const grey_view& source_;
    const tap_row& taps_;
    int width_;
    std::array<wide_row, 2> rows_{};
    std::array<int, 2> held_{-1, -1};
};

} // namespace

grey_target part_of(const grey_target& target, int x, int y, int width, int height) {
    return {target.pixels + y * target.stride + x, target.stride, width, height};
}

void fill(const grey_target& target, std::uint8_t level) {
    for (int y = 0; y < target.height; ++y) {
        std::memset(target.pixels + y * target.stride, level,
                    static_cast<std::size_t>(target.width));
    }
}

void resample(const grey_view& source, const window& shown, const grey_target& target) {
    if (is_plain_copy(source, shown, target)) {
        copy(source, target);
        return;
    }
    tap_row columns{};
    for (int x = 0; x < target.width; ++x) {
        columns[static_cast<std::size_t>(x)] =
            tap_at(source_position(shown.left, shown.scale, x), source.width);
    }
    row_cache rows(source, columns, target.width);
    for (int y = 0; y < target.height; ++y) {
        const tap row = tap_at(source_position(shown.top, shown.scale, y), source.height);
        const wide_row& upper = rows.at(row.first);
        mix_rows(upper, rows.at(row.second), row.weight, target.width,
                 target.pixels + y * target.stride);
    }
}

} // namespace sim
