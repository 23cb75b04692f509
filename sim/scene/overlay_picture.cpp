// The overlay's picture, and blending it onto frames.
#include "overlay_picture.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace sim {
namespace {

static_assert(std::endian::native == std::endian::little);

constexpr std::uint32_t ALPHA_SHIFT = 24;
constexpr std::uint32_t OPAQUE_ALPHA = 255;

std::uint32_t alpha_of(std::uint32_t pixel) {
    return pixel >> ALPHA_SHIFT;
}

rgba_pixel to_rgba(std::uint32_t bgra) {
    return (bgra & 0xff00ff00U) | ((bgra & 0xffU) << 16U) | ((bgra >> 16U) & 0xffU);
}

// How opaque the pixels of a run are.
enum class cover { none, some, all };

cover cover_of(std::uint32_t pixel) {
    const std::uint32_t alpha = alpha_of(pixel);
    if (alpha == 0) {
        return cover::none;
    }
    return alpha == OPAQUE_ALPHA ? cover::all : cover::some;
}

void append_line_runs(std::span<const rgba_pixel> pixels, std::size_t line,
                      std::vector<pixel_run>& runs) {
    const std::size_t end = (line + 1) * OVERLAY_WIDTH;
    std::size_t first = line * OVERLAY_WIDTH;
    while (first < end) {
        const cover kind = cover_of(pixels[first]);
        std::size_t last = first + 1;
        while (last < end && cover_of(pixels[last]) == kind) {
            ++last;
        }
        if (kind != cover::none) {
            runs.push_back({static_cast<std::uint32_t>(first),
                            static_cast<std::uint16_t>(last - first), kind == cover::all});
        }
        first = last;
    }
}

// Blends two channels at a time: `above` plus `under` weighted by its transparency.
rgba_pixel over(rgba_pixel above, rgba_pixel under) {
    const std::uint32_t through = OPAQUE_ALPHA - alpha_of(above);
    // x / 255 for x up to 255 * 255, rounded: (x + 128 + ((x + 128) >> 8)) >> 8.
    const auto scaled = [through](std::uint32_t pair) {
        const std::uint32_t product = pair * through + 0x00800080U;
        return ((product + ((product >> 8U) & 0x00ff00ffU)) >> 8U) & 0x00ff00ffU;
    };
    return above + (scaled(under & 0x00ff00ffU) | (scaled((under >> 8U) & 0x00ff00ffU) << 8U));
}

void blend_run(const rgba_pixel* above, std::uint8_t* frame, std::size_t length) {
    for (std::size_t i = 0; i < length; ++i) {
        rgba_pixel under = 0;
        std::memcpy(&under, frame + i * sizeof under, sizeof under);
        const rgba_pixel result = over(above[i], under);
        std::memcpy(frame + i * sizeof result, &result, sizeof result);
    }
}

} // namespace

overlay_picture::overlay_picture(std::span<const std::uint32_t> bgra) : pixels_(bgra.size()) {
    std::ranges::transform(bgra, pixels_.begin(), to_rgba);
    for (std::size_t line = 0; line < OVERLAY_HEIGHT; ++line) {
        append_line_runs(pixels_, line, runs_);
    }
}

void overlay_picture::blend_onto(std::uint8_t* frame, std::size_t stride) const {
    for (const pixel_run& run : runs_) {
        const std::size_t line = run.first / OVERLAY_WIDTH;
        const std::size_t column = run.first % OVERLAY_WIDTH;
        std::uint8_t* const to = frame + line * stride + column * sizeof(rgba_pixel);
        const rgba_pixel* const above = pixels_.data() + run.first;
        if (run.opaque) {
            std::memcpy(to, above, run.length * sizeof(rgba_pixel));
        } else {
            blend_run(above, to, run.length);
        }
    }
}

} // namespace sim
