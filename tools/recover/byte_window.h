// A file read piece by piece, so that memory does not grow with the file.
#pragma once

#include "recover/big_endian.h"

#include <vector>

class byte_window {
public:
    // Borrows the descriptor. Bytes from `end` on are passed over.
    byte_window(int file, std::uint64_t end) : file_{file}, end_{end} {}

    [[nodiscard]] std::uint64_t end() const { return end_; }

    // The bytes at that offset: `length` of them, fewer at the end. Valid until the next call.
    // Throws std::system_error when the file can't be read.
    [[nodiscard]] byte_view at(std::uint64_t offset, std::size_t length);

private:
    void fill(std::uint64_t offset, std::size_t length);

    int file_;
    std::uint64_t end_;
    std::uint64_t start_ = 0; // where the bytes stand in the file
    std::vector<std::uint8_t> bytes_;
};
