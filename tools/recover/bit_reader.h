// Reads the numbers of an H.264 header bit by bit.
#pragma once

#include "recover/big_endian.h"

#include <vector>

class bit_reader {
public:
    // Takes a NAL unit, or the beginning of one, without its first byte.
    explicit bit_reader(byte_view escaped);

    // The next bits, 32 at most. Beyond the end they are 0, and is_past_end() is true.
    std::uint32_t bits(unsigned count);
    bool flag() { return bits(1) != 0; }
    // Exp-Golomb codes, unsigned and signed.
    std::uint32_t ue();
    std::int32_t se();

    [[nodiscard]] bool is_past_end() const { return at_ > bytes_.size() * 8; }

private:
    std::vector<std::uint8_t> bytes_; // without the bytes that prevent start codes
    std::size_t at_ = 0;
};
