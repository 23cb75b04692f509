// A text that grows by doubling, for listings put together piece by piece.
#pragma once

#include "core/imem.h"

#include <cstddef>
#include <utility>

class text_buffer {
public:
    // Starts empty with room for `capacity` bytes, the terminator included; at least 1.
    explicit text_buffer(std::size_t capacity);

    // Appends the formatted piece whole, whatever its length.
    [[gnu::format(printf, 2, 3)]] void append(const char* format, ...);

    // Characters so far, without the terminator.
    [[nodiscard]] std::size_t length() const { return length_; }

    // Hands the text over; the buffer must not be used after it.
    [[nodiscard]] malloc_text take() { return std::move(text_); }

private:
    void reserve(std::size_t piece_length);

    malloc_text text_;
    std::size_t capacity_;
    std::size_t length_ = 0;
};
