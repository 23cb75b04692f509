// A text that grows by doubling, for listings.
#pragma once

#include "core/imem.h"

#include <cstddef>
#include <utility>

class text_buffer {
public:
    // Starts empty, with room for `capacity` bytes (at least 1), including the terminator.
    explicit text_buffer(std::size_t capacity);

    // Appends the whole formatted text, whatever its length.
    [[gnu::format(printf, 2, 3)]] void append(const char* format, ...);

    // Length without the terminator.
    [[nodiscard]] std::size_t length() const { return length_; }

    // Returns the text; don't use the buffer afterwards.
    [[nodiscard]] malloc_text take() { return std::move(text_); }

private:
    void reserve(std::size_t piece_length);

    malloc_text text_;
    std::size_t capacity_;
    std::size_t length_ = 0;
};
