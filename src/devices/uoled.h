// The micro-OLED panel: its driver's attributes. A write that fails is an ERROR.
#pragma once

// Luminance in the panel's own units, 0..240; a level out of range is an ERROR.
void uoled_set_lum(int level);

// Display on, power on, test pattern: the value is written unchanged.
void uoled_active(int value);
void uoled_power(int value);
void uoled_pattern(int value);

// The panel has one resolution; asking for another is an ERROR.
[[noreturn]] void uoled_resolution(int resolution);
