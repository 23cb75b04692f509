// A rendered overlay picture in the form that is cheapest to lay onto video frames.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace overlay {

// Neighbouring pixels of one row that are not transparent.
struct pixel_run {
    std::uint32_t row;
    std::uint32_t column;
    std::uint32_t length;
    bool opaque; // all of them, so that they can be copied
};

// Immutable once made. Transparent pixels are not kept.
struct picture {
    std::uint64_t serial = 0;          // counts a scene's renderings, from 1
    std::vector<pixel_run> runs;       // by row, then by column
    std::vector<std::uint32_t> pixels; // bytes R, G, B, A, premultiplied; run after run
};

// A video frame with bytes R, G, B, A; stride in bytes.
struct frame_view {
    std::uint8_t* data;
    std::size_t stride;
    std::uint32_t width;
    std::uint32_t height;
};

// Rows of words 0xAARRGGBB, premultiplied; stride in bytes.
struct argb_view {
    const std::uint8_t* data;
    std::size_t stride;
    std::uint32_t width;
    std::uint32_t height;
};

[[nodiscard]] picture make_picture(const argb_view& image, std::uint64_t serial);

// Lays the picture onto the frame from its top left corner; what does not fit is cut.
void blend(const picture& overlay, const frame_view& frame) noexcept;

} // namespace overlay
