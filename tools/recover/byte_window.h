// Reads a file piece by piece, so that memory use doesn't depend on its size.
#pragma once

#include "recover/big_endian.h"

#include <vector>

class byte_window {
public:
    // Borrows the descriptor. Ignores bytes from `end` on.
    byte_window(int file, std::uint64_t end) : file_{file}, end_{end} {}

    [[nodiscard]] std::uint64_t end() const { return end_; }

    // Returns `length` bytes at that offset, fewer at the end. Valid until the next call. Throws
    // std::system_error when the file can't be read.
    [[nodiscard]] byte_view at(std::uint64_t offset, std::size_t length);

private:
    void fill(std::uint64_t offset, std::size_t length);

    int file_;
    std::uint64_t end_;
    std::uint64_t start_ = 0; // offset of the bytes in the file
    std::vector<std::uint8_t> bytes_;
};
