// The micro-OLED panel, through its driver's attributes.
#include "devices/uoled.h"

#include "core/log.h"
#include "util/files.h"

#include <array>
#include <cstdio>

namespace {

constexpr int LUMINANCE_MAX = 240;
// Nine characters and the terminator, more than any valid value needs; longer ones are cut.
constexpr std::size_t VALUE_SIZE = 10;

// An attribute of the panel, and its name in log lines.
struct panel_control {
    const char* path;
    const char* name;
};

void write_control(const panel_control& control, int value) {
    std::array<char, VALUE_SIZE> text{};
    std::snprintf(text.data(), text.size(), "%d", value);
    if (write_full_file(control.path, text.data()) != 0) {
        log_fatal("Failed to write %s to %s", control.name, control.path);
    }
    log_message(LEVEL_DEBUG, "uoled %s set to: %d", control.name, value);
}

} // namespace

void uoled_set_lum(int level) {
    if (level < 0 || level > LUMINANCE_MAX) {
        log_fatal("lum value out of the range [0 - 240].");
    }
    write_control({sysfs_luminance, "luminance"}, level);
}

void uoled_active(int value) {
    write_control({sysfs_active, "active"}, value);
}

void uoled_power(int value) {
    write_control({sysfs_power, "power"}, value);
}

void uoled_pattern(int value) {
    write_control({sysfs_pattern, "pattern"}, value);
}

void uoled_resolution(int /*resolution*/) {
    log_fatal("Not implemented - uoled_resolution");
}
