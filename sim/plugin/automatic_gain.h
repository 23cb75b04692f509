// The automatic gain of a thermal core: brings pictures of 16 bits a pixel to the 8 that are shown,
// white-hot and with full contrast.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace sim {

class automatic_gain {
public:
    automatic_gain();

    // Both are of one size. The range of counts that is shown leaves out the darkest and brightest
    // few pixels, and follows a change of the scene over some pictures.
    void apply(std::span<const std::uint16_t> counts, std::span<std::uint8_t> levels);

private:
    struct range {
        double low;
        double high;
    };

    [[nodiscard]] range range_of(std::span<const std::uint16_t> counts);
    [[nodiscard]] int count_above(std::uint32_t share) const;

    std::vector<std::uint32_t> histogram_;
    range shown_{};
    bool has_shown_ = false;
};

} // namespace sim
