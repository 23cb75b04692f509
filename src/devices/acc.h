// The accelerometer: set up through its driver's attributes, read one sample at a time.
//
// Nothing opens it today; it is ready for a leveler in the on-screen display.
#pragma once

#include <cstdint>
#include <memory>

struct acc_reading {
    std::int16_t x_raw; // 12-bit readings
    std::int16_t y_raw;
    std::int16_t z_raw;
    double x; // m/s^2
    double y;
    double z;
    std::int32_t y_tilt_deg;  // whole degrees, -90..90
    std::int32_t xz_tilt_deg; // whole degrees, -180..180
};

// Opens the character device and sets sampling up below its sysfs directory, at `frequency` Hz. The
// descriptor, owned by this module, or -1 with a warning.
[[nodiscard]] int acc_init(const char* device_path, const char* sysfs_directory, int frequency);

// The next sample; none when no whole one could be read.
[[nodiscard]] std::unique_ptr<acc_reading> acc_get();

// Takes the device out of the event aggregator and closes it; nothing when it is not in there.
void acc_drop();

// Ends sampling and closes the device when it is open.
void acc_close();

// Whole degrees of an angle in radians, truncated toward zero.
[[nodiscard]] int conv_to_deg(double radians);

// Hands a sample's angles to the overlay.
void process_acc();
