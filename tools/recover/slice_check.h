// Checks whether parameter sets fit slices that came without any.
#pragma once

#include "recover/parameter_sets.h"

// Parses the slices of consecutive pictures with the given sets. With another encoder's sets, frame
// numbers soon stop being consecutive.
class slice_check {
public:
    explicit slice_check(const parameter_sets& sets) : sets_{sets} {} // borrowed

    void take(byte_view nal);

    [[nodiscard]] bool fits() const { return fits_; }

private:
    [[nodiscard]] bool goes_on(byte_view nal, const sequence_set& sequence);

    const parameter_sets& sets_;
    bool fits_ = true;
    std::optional<std::uint32_t> frame_number_; // of the next picture
    std::optional<std::uint32_t> order_;        // of the last one
};
