// Number conversions.
#include "util/numbers.h"

#include <algorithm>
#include <cmath>
#include <limits>

int truncate_to_int(double value) {
    using limits = std::numeric_limits<int>;
    if (std::isnan(value)) {
        return 0;
    }
    const double limited =
        std::clamp(value, static_cast<double>(limits::min()), static_cast<double>(limits::max()));
    return static_cast<int>(limited);
}
