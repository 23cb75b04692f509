// A text that grows by doubling, for listings.
#include "util/text_buffer.h"

#include <cstdarg>
#include <cstdio>

text_buffer::text_buffer(std::size_t capacity)
    : text_{emalloc_text(capacity)}, capacity_{capacity} {
    text_.get()[0] = '\0';
}

void text_buffer::append(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    std::va_list again;
    va_copy(again, arguments);
    const int measured = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    if (measured > 0) {
        const auto piece_length = static_cast<std::size_t>(measured);
        reserve(piece_length);
        std::vsnprintf(text_.get() + length_, capacity_ - length_, format, again);
        length_ += piece_length;
    }
    va_end(again);
}

void text_buffer::reserve(std::size_t piece_length) {
    const std::size_t needed = length_ + piece_length;
    if (needed < capacity_) {
        return;
    }
    while (needed >= capacity_) {
        capacity_ *= 2;
    }
    malloc_block grown = erealloc(malloc_block{text_.release()}, capacity_);
    text_.reset(static_cast<char*>(grown.release()));
}
