// The automatic gain of a thermal core. Compiled for speed also where the rest is not.
#include "automatic_gain.h"

#include <algorithm>
#include <cstddef>

namespace sim {
namespace {

constexpr std::size_t COUNTS = std::size_t{1} << 16;
constexpr std::uint32_t LEFT_OUT_PART = 200; // one in so many pixels, at either end
constexpr double LEAST_RANGE = 32;           // counts: an even scene must not become noise
constexpr double NEW_SHARE = 0.2;            // of the newest picture in the range that is shown
constexpr int FRACTION_BITS = 22;            // of the factor: 255 with these bits fits an int

} // namespace

automatic_gain::automatic_gain() : histogram_(COUNTS) {}

// The lowest count that more than so many pixels don't exceed.
int automatic_gain::count_above(std::uint32_t share) const {
    std::uint32_t pixels = 0;
    std::size_t count = 0;
    while (count < COUNTS - 1 && (pixels += histogram_[count]) <= share) {
        ++count;
    }
    return static_cast<int>(count);
}

automatic_gain::range automatic_gain::range_of(std::span<const std::uint16_t> counts) {
    std::ranges::fill(histogram_, 0U);
    for (const std::uint16_t count : counts) {
        ++histogram_[count];
    }
    const auto pixels = static_cast<std::uint32_t>(counts.size());
    const std::uint32_t left_out = pixels / LEFT_OUT_PART;
    range found{static_cast<double>(count_above(left_out)),
                static_cast<double>(count_above(pixels - 1 - left_out))};
    const double missing = std::max(0.0, LEAST_RANGE - (found.high - found.low));
    return {found.low - missing / 2, found.high + missing / 2};
}

void automatic_gain::apply(std::span<const std::uint16_t> counts, std::span<std::uint8_t> levels) {
    const range now = range_of(counts);
    const double share = has_shown_ ? NEW_SHARE : 1;
    shown_.low += (now.low - shown_.low) * share;
    shown_.high += (now.high - shown_.high) * share;
    has_shown_ = true;
    const int low = static_cast<int>(shown_.low);
    const int span = static_cast<int>(shown_.high - shown_.low);
    const int factor = (255 << FRACTION_BITS) / span;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        const int inside = std::clamp(counts[i] - low, 0, span);
        levels[i] = static_cast<std::uint8_t>((inside * factor + (1 << (FRACTION_BITS - 1))) >>
                                              FRACTION_BITS);
    }
}

} // namespace sim
