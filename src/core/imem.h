// Checked allocation: memory that runs out is an ERROR, and what these calls return frees itself.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <type_traits>

struct free_deleter {
    void operator()(void* block) const noexcept { std::free(block); }
};

// Owner of what came from malloc.
template <class Value> using malloc_owner = std::unique_ptr<Value, free_deleter>;
using malloc_block = malloc_owner<void>;
using malloc_text = malloc_owner<char>; // NUL-terminated; null says "none"

// A new block of `size` bytes. When memory is short the ERROR line ends the process.
[[nodiscard]] malloc_block emalloc(std::size_t size);

// A new text buffer of `size` bytes, contents undefined; as emalloc.
[[nodiscard]] malloc_text emalloc_text(std::size_t size);

// A new copy of `text`; as emalloc.
[[nodiscard]] malloc_text estrdup(const char* text);

// A new record, all zero; none when memory is short, for callers that have their own text for that.
template <class Record> [[nodiscard]] malloc_owner<Record> zeroed_record() {
    static_assert(std::is_trivially_copyable_v<Record>);
    return malloc_owner<Record>{static_cast<Record*>(std::calloc(1, sizeof(Record)))};
}

// `block` resized to `size` bytes, possibly moved; as emalloc.
[[nodiscard]] malloc_block erealloc(malloc_block block, std::size_t size);

// Makes a failing operator new log an ERROR line, as the calls above do, instead of throwing.
void imem_guard_new();
