// Time stamps and joined texts.
#include "util/text.h"

#include <cstdlib>
#include <cstring>
#include <utility>

malloc_text get_timestamp_string(std::time_t moment) {
    constexpr std::size_t size = TIMESTAMP_LENGTH + 1;
    std::tm local{};
    malloc_text text{static_cast<char*>(std::malloc(size))};
    if (localtime_r(&moment, &local) == nullptr || !text) {
        return nullptr;
    }
    const std::size_t length = std::strftime(text.get(), size, "%Y%m%d%H%M%S", &local);
    return length > 0 ? std::move(text) : nullptr;
}

malloc_text concatenate_strings(std::initializer_list<const char*> texts) {
    std::size_t size = 1;
    for (const char* text : texts) {
        size += std::strlen(text);
    }
    malloc_text joined{static_cast<char*>(std::malloc(size))};
    if (!joined) {
        return nullptr;
    }
    char* end = joined.get();
    for (const char* text : texts) {
        end = stpcpy(end, text);
    }
    *end = '\0';
    return joined;
}
