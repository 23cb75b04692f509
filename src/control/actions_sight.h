// The sight's image controls: zoom, picture-in-picture, luminance and correction of the picture.
//
// Each action stores its setting first. Once an outside controller has taken over, that is all it
// does. A result of 0 is success; a failing command's status is passed back unchanged, and nothing
// after it runs.
#pragma once

// Zooms the thermal core by that factor and places the reticle for it.
[[nodiscard]] int ac_exec_zoom_cmd(int factor);

// Steps the zoom factor or, while picture-in-picture is on, its factor.
[[nodiscard]] int ac_toggle_zoom();

// Goes back to zoom factor 1.
void ac_reset_zoom();

// Index of the factor in force: of picture-in-picture while that is on, else of the zoom.
[[nodiscard]] int ac_get_current_zoom_index();

// Switches picture-in-picture off (0) or on with that factor (2 or 4).
[[nodiscard]] int ac_exec_pip_cmd(int factor);

// The factors that the thermal core shows; the inset's is 0 while there is none.
[[nodiscard]] int ac_get_zoom();
[[nodiscard]] int ac_get_inset();

// Takes the luminance level of that index, 0..3; 1 for any other. The panel is left alone while a
// monitor is plugged in.
[[nodiscard]] int ac_exec_luminance_cmd(int index);

// Steps the luminance level.
[[nodiscard]] int ac_toggle_lum();

// Runs a fast correction of the picture; non-zero shows its icon.
[[nodiscard]] int ac_exec_nuc_cmd(int show_icon);

// Takes the type of correction, 0..3; 1 for any other.
[[nodiscard]] int ac_update_nuc_type(int type);
