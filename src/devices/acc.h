// The accelerometer: set up through its driver's attributes, read one sample at a time.
//
// Nothing opens it yet; it is meant for a leveler in the on-screen display.
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

// Opens the character device and configures sampling at `frequency` Hz in its sysfs directory.
// Returns the descriptor, owned by this module, or -1 with a warning.
[[nodiscard]] int acc_init(const char* device_path, const char* sysfs_directory, int frequency);

// Returns the next sample, or none when no complete one could be read.
[[nodiscard]] std::unique_ptr<acc_reading> acc_get();

// Unregisters and closes the device. Does nothing if it is not registered.
void acc_drop();

// Stops sampling and closes the device if it is open.
void acc_close();

// Converts radians to whole degrees, truncated toward zero.
[[nodiscard]] int conv_to_deg(double radians);

// Sends a sample's angles to the overlay.
void process_acc();
