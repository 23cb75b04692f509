// Checked allocation: running out of memory is an ERROR. Results free themselves.
#include "core/imem.h"

#include "core/log.h"

#include <cstring>
#include <new>

malloc_block emalloc(std::size_t size) {
    malloc_block block{std::malloc(size)};
    if (!block) {
        log_fatal("malloc of %zu bytes failed:", size);
    }
    return block;
}

malloc_text emalloc_text(std::size_t size) {
    return malloc_text{static_cast<char*>(emalloc(size).release())};
}

malloc_text estrdup(const char* text) {
    const std::size_t size = std::strlen(text) + 1;
    malloc_text copy{static_cast<char*>(std::malloc(size))};
    if (!copy) {
        log_fatal("estrdup failed (\"%.20s\") failed:", text);
    }
    std::memcpy(copy.get(), text, size);
    return copy;
}

malloc_block erealloc(malloc_block block, std::size_t size) {
    void* const moved = std::realloc(block.get(), size);
    if (moved == nullptr) {
        log_fatal("malloc of %zu bytes failed:", size);
    }
    static_cast<void>(block.release());
    return malloc_block{moved};
}

void imem_guard_new() {
    std::set_new_handler([] { log_fatal("out of memory"); });
}
