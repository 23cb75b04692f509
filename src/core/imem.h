// Checked allocation: these calls never return without memory, and what they return frees itself.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>

struct free_deleter {
    void operator()(void* block) const noexcept { std::free(block); }
};

// Owner of a block from malloc.
using malloc_block = std::unique_ptr<void, free_deleter>;
// Owner of a NUL-terminated text from malloc; null says "none".
using malloc_text = std::unique_ptr<char, free_deleter>;

// A new block of `size` bytes. When memory is short the ERROR line ends the process.
[[nodiscard]] malloc_block emalloc(std::size_t size);

// A new text buffer of `size` bytes, contents undefined; as emalloc.
[[nodiscard]] malloc_text emalloc_text(std::size_t size);

// A new copy of `text`; as emalloc.
[[nodiscard]] malloc_text estrdup(const char* text);

// `block` resized to `size` bytes, possibly moved; as emalloc.
[[nodiscard]] malloc_block erealloc(malloc_block block, std::size_t size);

// Makes a failing operator new log an ERROR line, as the calls above do, instead of throwing.
void imem_guard_new();
