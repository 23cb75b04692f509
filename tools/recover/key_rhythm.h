// The regular distance of key frames, which tells how many pictures are missing.
#pragma once

#include "recover/sample_scan.h"

class key_rhythm {
public:
    explicit key_rhythm(const scanned& found);

    // True if key frames stay regular when that many pictures were lost before picture number
    // `picture`. Always true if they are irregular.
    [[nodiscard]] bool fits(std::uint32_t picture, std::int64_t lost) const;

private:
    const std::vector<std::uint32_t>& keys_; // borrowed
    std::uint32_t distance_ = 0; // distance between key frames in pictures; 0: irregular
};
