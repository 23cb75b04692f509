// The values that settings and commands choose from by index.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

// Digital zoom factors of the thermal core, in the order of the zoom button.
inline constexpr std::array zoom_values{1, 2, 4};
inline constexpr std::size_t ZOOM_VALUE_SIZE = zoom_values.size();

// Magnification factors of the picture-in-picture inset.
inline constexpr std::array pip_values{2, 4};
inline constexpr std::size_t PIP_VALUE_SIZE = pip_values.size();

// Panel luminance levels in the panel's units (range 0..240).
inline constexpr std::array lum_values{75, 130, 185, 220};
inline constexpr std::size_t LUM_VALUE_SIZE = lum_values.size();

// A reticle drawing: its file on the sight, its aim point from the top-left corner and its size,
// both in display pixels at zoom 1.
struct reticle_src {
    const char* path;
    double center_x;
    double center_y;
    std::int32_t width;
    std::int32_t height;
};

inline constexpr std::array<reticle_src, 5> reticle_srcs{{
    {"/opt/okr/Reticles/StandardMilDot.svg", 185.0, 185.0, 370, 370},
    {"/opt/okr/Reticles/5.56x45.svg", 130.55, 84.55, 260, 208},
    {"/opt/okr/Reticles/7.62x39.svg", 185.55, 140.55, 400, 320},
    {"/opt/okr/Reticles/7.62x51.svg", 130.5, 104.5, 260, 208},
    {"/opt/okr/Reticles/7.62x54.svg", 130.5, 104.5, 260, 208},
}};
inline constexpr std::size_t RETICLE_SRCS_SIZE = reticle_srcs.size();

inline constexpr std::array reticle_colors{"#000000", "#ffffff", "#c8c8c7", "#cc2c24",
                                           "#008351", "#f67828", "#0089b6"};
inline constexpr std::size_t RETICLE_COLORS_SIZE = reticle_colors.size();
