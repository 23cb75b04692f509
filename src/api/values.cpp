// Reading a request's data and writing a reply, as the handlers do.
#include "api/values.h"

#include "config/cfg.h"

#include <array>
#include <charconv>

// What stands behind the leading number is not of interest here, unlike in the settings file.
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
    // Eleven characters hold any 32-bit number.
    std::array<char, 12> text{};
    std::to_chars(text.data(), text.data() + text.size() - 1, value);
    return estrdup(text.data());
}
