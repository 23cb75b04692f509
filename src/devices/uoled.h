// The micro-OLED panel: its driver's attributes. A write that fails is an ERROR.
#pragma once

#define UOLED_ATTRIBUTE(name) "/sys/bus/i2c/drivers/mxc_uoled_i2c/0-0024/attr_" name
inline constexpr const char* sysfs_luminance = UOLED_ATTRIBUTE("luminance");
inline constexpr const char* sysfs_active = UOLED_ATTRIBUTE("display_on");
inline constexpr const char* sysfs_power = UOLED_ATTRIBUTE("pon");
inline constexpr const char* sysfs_pattern = UOLED_ATTRIBUTE("pattern");
#undef UOLED_ATTRIBUTE

// Luminance in the panel's own units, 0..240; a level out of range is an ERROR.
void uoled_set_lum(int level);

// Display on, power on, test pattern: the value is written unchanged, at most nine characters of
// it.
void uoled_active(int value);
void uoled_power(int value);
void uoled_pattern(int value);

// The panel has one resolution; asking for another is an ERROR.
[[noreturn]] void uoled_resolution(int resolution);
