// Checked allocation: running out of memory is an ERROR. The results are owners.
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
using malloc_text = malloc_owner<char>; // NUL-terminated; null: no text

// Allocates `size` bytes. Like the other functions here, ends the process with an ERROR line if
// memory runs out.
[[nodiscard]] malloc_block emalloc(std::size_t size);

// Allocates a text buffer of `size` bytes with undefined contents.
[[nodiscard]] malloc_text emalloc_text(std::size_t size);

// Copies `text`.
[[nodiscard]] malloc_text estrdup(const char* text);

// Allocates a zeroed record. Unlike the others, returns null if memory runs out, for callers that
// log an error of their own.
template <class Record> [[nodiscard]] malloc_owner<Record> zeroed_record() {
    static_assert(std::is_trivially_copyable_v<Record>);
    return malloc_owner<Record>{static_cast<Record*>(std::calloc(1, sizeof(Record)))};
}

// Resizes `block` to `size` bytes, possibly moving it.
[[nodiscard]] malloc_block erealloc(malloc_block block, std::size_t size);

// Makes operator new end the process with an ERROR line, instead of throwing, if memory runs out.
void imem_guard_new();
