// The accelerometer: set up through its driver's attributes, read one sample at a time.
#include "devices/acc.h"

#include "core/eventagg.h"
#include "core/imem.h"
#include "core/log.h"
#include "osd/overlay.h"
#include "util/files.h"
#include "util/never_destroyed.h"
#include "util/numbers.h"
#include "util/sysroot.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr const char* scale_file = "in_accel_x_scale";
constexpr const char* freq_file = "sampling_frequency";
constexpr std::array buffer_en_files{
    "/scan_elements/in_accel_x_en",
    "/scan_elements/in_accel_y_en",
    "/scan_elements/in_accel_z_en",
    "/buffer/enable",
};
constexpr double g_const = 9.81;
constexpr double DEGREES_PER_RADIAN = 57.29577951308232;
constexpr std::size_t PATH_SIZE = 256;
// One sample: x, y and z as little-endian words, each with a 12-bit reading in the upper bits.
constexpr std::size_t SAMPLE_SIZE = 6;
constexpr unsigned int READING_SHIFT = 4;

int fd = -1;
double axis_scale = 0.0;
constinit never_destroyed<malloc_text> sysfs_path; // while the device is open

using path_buffer = std::array<char, PATH_SIZE>;

// Builds the path of an attribute. Returns false when it doesn't fit.
bool attribute_path(const char* directory, const char* file, path_buffer& path) {
    const int length = std::snprintf(path.data(), path.size(), "%s/%s", directory, file);
    if (length < 0 || static_cast<std::size_t>(length) >= path.size()) {
        log_message(LEVEL_WARN, "ACC path too long: %s", path.data());
        return false;
    }
    return true;
}

bool write_attribute(const char* directory, const char* file, const char* text) {
    path_buffer path{};
    return attribute_path(directory, file, path) && write_full_file(path.data(), text) == 0;
}

bool read_scale(const char* directory) {
    path_buffer path{};
    if (!attribute_path(directory, scale_file, path)) {
        return false;
    }
    const malloc_text text = read_full_file(path.data());
    if (!text) {
        log_message(LEVEL_WARN, "Failed to read the acc scale from %s", path.data());
        return false;
    }
    axis_scale = std::atof(text.get());
    log_message(LEVEL_DEBUG, "ACC scale converted: %f", axis_scale);
    return true;
}

void set_frequency(const char* directory, int frequency) {
    std::array<char, 12> text{};
    std::snprintf(text.data(), text.size(), "%d", frequency);
    static_cast<void>(write_attribute(directory, freq_file, text.data()));
    log_message(LEVEL_DEBUG, "ACC frequence set to %d Hz", frequency);
}

bool enable_sampling(const char* directory) {
    for (const char* file : buffer_en_files) {
        if (!write_attribute(directory, file, "1")) {
            log_message(LEVEL_WARN, "Failed to write enable to file %s", file);
            return false;
        }
    }
    return true;
}

void close_device() {
    close(fd);
    fd = -1;
}

std::int16_t reading_at(const std::array<std::uint8_t, SAMPLE_SIZE>& sample, std::size_t axis) {
    const unsigned int word = sample.at(2 * axis) | unsigned{sample.at(2 * axis + 1)} << 8U;
    return static_cast<std::int16_t>(static_cast<std::int16_t>(word) >> READING_SHIFT);
}

void scale_reading(acc_reading& reading) {
    log_message(LEVEL_DEBUG, "ACC raw x: %d, y:%d, z:%d", reading.x_raw, reading.y_raw,
                reading.z_raw);
    reading.x = reading.x_raw * axis_scale;
    reading.y = reading.y_raw * axis_scale;
    reading.z = reading.z_raw * axis_scale;
    log_message(LEVEL_DEBUG, "ACC scaled x: %f, y:%f, z:%f", reading.x, reading.y, reading.z);
    const double limited_y = std::clamp(reading.y, -g_const, g_const);
    reading.y_tilt_deg = conv_to_deg(std::asin(limited_y / g_const));
    reading.xz_tilt_deg = conv_to_deg(std::atan2(-reading.x, reading.z));
}

} // namespace

int acc_init(const char* device_path, const char* sysfs_directory, int frequency) {
    fd = open(sysroot_path(device_path).c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        log_message(LEVEL_WARN, "Failed to open acc: %s", device_path);
        return -1;
    }
    if (!read_scale(sysfs_directory)) {
        close_device();
        return -1;
    }
    set_frequency(sysfs_directory, frequency);
    if (!enable_sampling(sysfs_directory)) {
        close_device();
        return -1;
    }
    *sysfs_path = estrdup(sysfs_directory);
    return fd;
}

std::unique_ptr<acc_reading> acc_get() {
    std::array<std::uint8_t, SAMPLE_SIZE> sample{};
    if (read(fd, sample.data(), sample.size()) != static_cast<ssize_t>(sample.size())) {
        return nullptr;
    }
    auto reading = std::make_unique<acc_reading>();
    reading->x_raw = reading_at(sample, 0);
    reading->y_raw = reading_at(sample, 1);
    reading->z_raw = reading_at(sample, 2);
    scale_reading(*reading);
    return reading;
}

void acc_drop() {
    if (ea_unregister_event(fd) == 0) {
        acc_close();
    }
}

void acc_close() {
    if (fd < 0) {
        return;
    }
    for (const char* file : buffer_en_files) {
        static_cast<void>(write_attribute(sysfs_path->get(), file, "0"));
    }
    sysfs_path->reset();
    close_device();
}

int conv_to_deg(double radians) {
    return truncate_to_int(radians * DEGREES_PER_RADIAN);
}

void process_acc() {
    if (const std::unique_ptr<acc_reading> reading = acc_get()) {
        ov_leveler_data(reading->xz_tilt_deg, reading->y_tilt_deg);
    }
}
