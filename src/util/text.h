// Time stamps and joined texts.
#pragma once

#include "core/imem.h"

#include <cstddef>
#include <ctime>
#include <initializer_list>

inline constexpr std::size_t TIMESTAMP_LENGTH = 14;

// Formats local time as 14 digits, year first. None on failure.
[[nodiscard]] malloc_text get_timestamp_string(std::time_t moment = std::time(nullptr));

// Concatenates the texts. None when memory is short.
[[nodiscard]] malloc_text concatenate_strings(std::initializer_list<const char*> texts);
