// How regularly key frames come, which tells how many pictures are missing.
#pragma once

#include "recover/sample_scan.h"

class key_rhythm {
public:
    explicit key_rhythm(const scanned& found);

    // True when key frames come as regularly as elsewhere if so many pictures were lost before the
    // one of that number. Always true where they come irregularly.
    [[nodiscard]] bool fits(std::uint32_t picture, std::int64_t lost) const;

private:
    const std::vector<std::uint32_t>& keys_; // borrowed
    std::uint32_t distance_ = 0; // pictures from one key frame to the next; 0: irregular
};
