// A thermal-like scene of warm spots that wander over cool ground, for when there is no footage.
#pragma once

#include "pixels.h"

#include <cstdint>
#include <vector>

namespace sim {

class thermal_scene {
public:
    thermal_scene();

    // The scene `seconds` after its begin. The view is valid until the next call.
    [[nodiscard]] grey_view at(double seconds);

private:
    std::vector<std::uint8_t> coarse_;
    std::vector<std::uint8_t> picture_;
};

} // namespace sim
