// The sight's image controls: zoom, picture-in-picture, luminance and non-uniformity correction
// (NUC).
//
// Each action stores its setting first; once an outside controller has taken over, it does nothing
// else. A result of 0 is success. The status of a failing command is returned unchanged and ends
// the action.
#pragma once

// Sets the thermal core's zoom factor and places the reticle accordingly.
[[nodiscard]] int ac_exec_zoom_cmd(int factor);

// Steps the zoom factor or, while picture-in-picture is on, its factor.
[[nodiscard]] int ac_toggle_zoom();

// Sets zoom factor 1.
void ac_reset_zoom();

// Returns the index of the active factor: picture-in-picture's while that is on, else the zoom's.
[[nodiscard]] int ac_get_current_zoom_index();

// Switches picture-in-picture off (0) or on with that factor (2 or 4).
[[nodiscard]] int ac_exec_pip_cmd(int factor);

// Return the factors that the thermal core shows; the inset's is 0 while it is off.
[[nodiscard]] int ac_get_zoom();
[[nodiscard]] int ac_get_inset();

// Sets the luminance level by index, 0..3. Returns 1 when out of range. Leaves the panel alone
// while a monitor is plugged in.
[[nodiscard]] int ac_exec_luminance_cmd(int index);

// Steps the luminance level.
[[nodiscard]] int ac_toggle_lum();

// Runs a fast correction; non-zero shows its icon.
[[nodiscard]] int ac_exec_nuc_cmd(int show_icon);

// Sets the correction type, 0..3. Returns 1 when out of range.
[[nodiscard]] int ac_update_nuc_type(int type);
