// Parsing a request's data and formatting a reply, for the handlers.
#include "api/values.h"

#include "config/cfg.h"

#include <array>
#include <charconv>

// Ignores anything after the number, unlike the settings file.
std::int32_t to_integer(const char* text) {
    std::int32_t value = 0;
    static_cast<void>(cfg_parse_to_int(text, value));
    return value;
}

double to_number(const char* text) {
    double value = 0.0;
    static_cast<void>(cfg_parse_to_double(text, value));
    return value;
}

int to_flag(const char* text) {
    return to_integer(text) != 0 ? 1 : 0;
}

malloc_text decimal_text(std::int32_t value) {
    // Any 32-bit number fits in eleven characters.
    std::array<char, 12> text{};
    std::to_chars(text.data(), text.data() + text.size() - 1, value);
    return estrdup(text.data());
}
