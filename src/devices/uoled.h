// The micro-OLED panel, through its driver's attributes. A failing write is an ERROR.
#pragma once

#define UOLED_ATTRIBUTE(name) "/sys/bus/i2c/drivers/mxc_uoled_i2c/0-0024/attr_" name
inline constexpr const char* sysfs_luminance = UOLED_ATTRIBUTE("luminance");
inline constexpr const char* sysfs_active = UOLED_ATTRIBUTE("display_on");
inline constexpr const char* sysfs_power = UOLED_ATTRIBUTE("pon");
inline constexpr const char* sysfs_pattern = UOLED_ATTRIBUTE("pattern");
#undef UOLED_ATTRIBUTE

// Sets the luminance in the panel's units, 0..240; other values are an ERROR.
void uoled_set_lum(int level);

// Display on, power on, test pattern: write the value unchanged, at most nine characters.
void uoled_active(int value);
void uoled_power(int value);
void uoled_pattern(int value);

// The panel has a single resolution; any other is an ERROR.
[[noreturn]] void uoled_resolution(int resolution);
