// Reading a request's data and writing a reply, as the handlers do.
#pragma once

#include "core/imem.h"

#include <cstdint>

// The leading integer of the text, clamped to 32 bits; 0 when there is none.
[[nodiscard]] std::int32_t to_integer(const char* text);

// The leading number of the text; 0.0 when there is none.
[[nodiscard]] double to_number(const char* text);

// 1 when the text's leading integer is not 0, else 0.
[[nodiscard]] int to_flag(const char* text);

// The number as decimal text.
[[nodiscard]] malloc_text decimal_text(std::int32_t value);
