// Packs a rendered picture into runs and blends the runs onto frames.
#include "picture.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <span>

namespace overlay {

static_assert(std::endian::native == std::endian::little, "pixels are handled as words");

namespace {

constexpr std::uint32_t alpha_shift = 24;
constexpr std::uint32_t alpha_full = 0xff;

std::uint32_t alpha_of(std::uint32_t pixel) {
    return pixel >> alpha_shift;
}

std::uint32_t argb_to_rgba(std::uint32_t pixel) {
    return (pixel & 0xff00ff00U) | ((pixel & 0xffU) << 16U) | ((pixel >> 16U) & 0xffU);
}

// Two channels at once: each 8-bit half times factor / 255, rounded.
std::uint32_t scale_pair(std::uint32_t pair, std::uint32_t factor) {
    const std::uint32_t product = pair * factor + 0x00800080U;
    return ((product + ((product >> 8U) & 0x00ff00ffU)) >> 8U) & 0x00ff00ffU;
}

std::uint32_t over(std::uint32_t source, std::uint32_t below) {
    const std::uint32_t rest = alpha_full - alpha_of(source);
    return source + scale_pair(below & 0x00ff00ffU, rest) +
           (scale_pair((below >> 8U) & 0x00ff00ffU, rest) << 8U);
}

// The end of the run that begins at first: neighbours that are alike, all opaque or none.
std::size_t run_end(std::span<const std::uint32_t> row, std::size_t first) {
    const bool opaque = alpha_of(row[first]) == alpha_full;
    std::size_t end = first + 1;
    while (end < row.size() && alpha_of(row[end]) != 0 &&
           (alpha_of(row[end]) == alpha_full) == opaque) {
        ++end;
    }
    return end;
}

void add_row(picture& out, std::span<const std::uint32_t> row, std::uint32_t row_number) {
    for (std::size_t x = 0; x < row.size();) {
        if (alpha_of(row[x]) == 0) {
            ++x;
            continue;
        }
        const std::size_t end = run_end(row, x);
        out.runs.push_back({row_number, static_cast<std::uint32_t>(x),
                            static_cast<std::uint32_t>(end - x), alpha_of(row[x]) == alpha_full});
        std::transform(row.begin() + static_cast<std::ptrdiff_t>(x),
                       row.begin() + static_cast<std::ptrdiff_t>(end),
                       std::back_inserter(out.pixels), argb_to_rgba);
        x = end;
    }
}

void blend_run(const std::uint32_t* source, std::uint8_t* target, std::size_t count) noexcept {
    for (std::size_t i = 0; i < count; ++i) {
        std::uint32_t below = 0;
        std::memcpy(&below, target + i * sizeof(below), sizeof(below));
        const std::uint32_t mixed = over(source[i], below);
        std::memcpy(target + i * sizeof(mixed), &mixed, sizeof(mixed));
    }
}

} // namespace

picture make_picture(const argb_view& image, std::uint64_t serial) {
    picture out;
    out.serial = serial;
    for (std::uint32_t y = 0; y < image.height; ++y) {
        const auto* row = reinterpret_cast<const std::uint32_t*>(image.data + y * image.stride);
        add_row(out, {row, image.width}, y);
    }
    return out;
}

void blend(const picture& overlay, const frame_view& frame) noexcept {
    const std::uint32_t* source = overlay.pixels.data();
    for (const pixel_run& run : overlay.runs) {
        if (run.row < frame.height && run.column < frame.width) {
            const std::size_t count = std::min(run.length, frame.width - run.column);
            std::uint8_t* target =
                frame.data + run.row * frame.stride + run.column * sizeof(std::uint32_t);
            if (run.opaque) {
                std::memcpy(target, source, count * sizeof(std::uint32_t));
            } else {
                blend_run(source, target, count);
            }
        }
        source += run.length;
    }
}

} // namespace overlay
