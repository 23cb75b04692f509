// Time stamps and joined texts.
#pragma once

#include "core/imem.h"

#include <initializer_list>

// Local time as 14 digits, year first; none when it can't be had.
[[nodiscard]] malloc_text get_timestamp_string();

// The texts joined in order; none when memory is short.
[[nodiscard]] malloc_text concatenate_strings(std::initializer_list<const char*> texts);
