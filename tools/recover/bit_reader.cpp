// Reads the numbers of an H.264 header bit by bit.
#include "recover/bit_reader.h"

bit_reader::bit_reader(byte_view escaped) {
    bytes_.reserve(escaped.size());
    unsigned zeros = 0;
    for (const std::uint8_t byte : escaped) {
        if (zeros >= 2 && byte == 3) {
            zeros = 0;
            continue;
        }
        zeros = byte == 0 ? zeros + 1 : 0;
        bytes_.push_back(byte);
    }
}

std::uint32_t bit_reader::bits(unsigned count) {
    std::uint32_t number = 0;
    for (; count > 0; --count, ++at_) {
        const std::size_t byte = at_ / 8;
        const unsigned bit =
            byte < bytes_.size() ? static_cast<unsigned>(bytes_[byte]) >> (7 - at_ % 8) & 1U : 0U;
        number = number << 1 | bit;
    }
    return number;
}

std::uint32_t bit_reader::ue() {
    unsigned zeros = 0;
    while (zeros < 32 && !is_past_end() && bits(1) == 0) {
        ++zeros;
    }
    if (zeros == 32) { // longer than any code
        at_ = bytes_.size() * 8 + 1;
        return 0;
    }
    return (1U << zeros) - 1 + bits(zeros);
}

std::int32_t bit_reader::se() {
    const std::uint32_t code = ue();
    const auto half = static_cast<std::int32_t>(code / 2);
    return code % 2 == 0 ? -half : half + 1;
}
