// Parsing a request's data and formatting a reply, for the handlers.
#pragma once

#include "core/imem.h"

#include <cstdint>

// Returns the leading integer of the text, clamped to 32 bits, or 0 without one.
[[nodiscard]] std::int32_t to_integer(const char* text);

// Returns the leading number of the text, or 0.0 without one.
[[nodiscard]] double to_number(const char* text);

// Returns 1 when the text's leading integer is not 0, else 0.
[[nodiscard]] int to_flag(const char* text);

// Returns the number as decimal text.
[[nodiscard]] malloc_text decimal_text(std::int32_t value);
