// Reads the numbers of an H.264 header bit by bit.
#pragma once

#include "recover/big_endian.h"

#include <vector>

class bit_reader {
public:
    // Takes a NAL unit, or its beginning, without its first byte.
    explicit bit_reader(byte_view escaped);

    // Returns the next bits, 32 at most. Past the end they are 0, and is_past_end() is true.
    std::uint32_t bits(unsigned count);
    bool flag() { return bits(1) != 0; }
    // Exp-Golomb codes, unsigned and signed.
    std::uint32_t ue();
    std::int32_t se();

    [[nodiscard]] bool is_past_end() const { return at_ > bytes_.size() * 8; }

private:
    std::vector<std::uint8_t> bytes_; // without emulation prevention bytes
    std::size_t at_ = 0;
};
