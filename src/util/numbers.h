// Number conversions.
#pragma once

// Truncates toward zero. Saturates; NaN gives 0.
[[nodiscard]] int truncate_to_int(double value);
