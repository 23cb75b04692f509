// The micro-OLED panel: its driver's attributes. A write that fails is an ERROR.
#pragma once

// Luminance in the panel's own units, 0..240; a level out of range is an ERROR. 0, or -1.
[[nodiscard]] int uoled_set_lum(int level);

// Display on, power on, test pattern: the value is written unchanged. 0, or -1.
[[nodiscard]] int uoled_active(int value);
[[nodiscard]] int uoled_power(int value);
[[nodiscard]] int uoled_pattern(int value);

// The panel has one resolution; asking for another is an ERROR. 1 always.
[[nodiscard]] int uoled_resolution(int resolution);
