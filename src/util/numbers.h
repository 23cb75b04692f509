// Conversions between kinds of numbers.
#pragma once

// The number truncated toward zero. Saturates; NaN gives 0.
[[nodiscard]] int truncate_to_int(double value);
