// Checked allocation: running out of memory is an ERROR. Results free themselves.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <type_traits>

struct free_deleter {
    void operator()(void* block) const noexcept { std::free(block); }
};

// Owner of a malloc'ed block.
template <class Value> using malloc_owner = std::unique_ptr<Value, free_deleter>;
using malloc_block = malloc_owner<void>;
using malloc_text = malloc_owner<char>; // NUL-terminated; null means none

// Allocates `size` bytes. Running out of memory is an ERROR, which ends the process.
[[nodiscard]] malloc_block emalloc(std::size_t size);

// Allocates a text buffer of `size` bytes, contents undefined; as emalloc.
[[nodiscard]] malloc_text emalloc_text(std::size_t size);

// Copies `text`; as emalloc.
[[nodiscard]] malloc_text estrdup(const char* text);

// Allocates a zeroed record, or returns none: for callers that log an error of their own.
template <class Record> [[nodiscard]] malloc_owner<Record> zeroed_record() {
    static_assert(std::is_trivially_copyable_v<Record>);
    return malloc_owner<Record>{static_cast<Record*>(std::calloc(1, sizeof(Record)))};
}

// Resizes `block` to `size` bytes, possibly moving it; as emalloc.
[[nodiscard]] malloc_block erealloc(malloc_block block, std::size_t size);

// Makes a failing operator new log an ERROR, like the calls above, instead of throwing.
void imem_guard_new();
