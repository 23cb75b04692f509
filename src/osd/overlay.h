// Updates for the on-screen display: each call sends one update to the overlay's scene.
//
// The calls don't check for a hand-over; the actions do.
#pragma once

// Shows (non-zero) or hides the reticle.
void ov_reticle_visible(int visible);

// Places the reticle image and its red dot and sets the image's size, all in display pixels.
void ov_zoom_reticle(double x, double y, double red_dot_x, double red_dot_y, double width,
                     double height);

// Offset of the reticle in the picture-in-picture inset, in display pixels, truncated toward zero.
void ov_pip_reticle_offset(double x, double y);

// Colour such as "#cc2c24".
void ov_pip_reticle_color(const char* color);

// Opacity 0..1.
void ov_reticle_opacity(double opacity);

// Path of the reticle drawing on the sight.
void ov_set_reticle(const char* path);

// Shows (1) or hides (0) the red dot.
void ov_red_dot_visibility(int flag);

// Luminance icon, level 0..4. Returns 0; 1, sending nothing, when out of range.
int ov_brigthness_icon(int level);

// Shows that a correction is running.
void ov_nuc_icon();

// Zoom icon under the given key, factor 1, 2 or 4. Returns 0; 1, sending nothing, for any other
// factor.
inline constexpr const char* OV_KEY_ZOOM = "ZOOM";
inline constexpr const char* OV_KEY_PIP_ZOOM = "PIP_ZOOM";
int ov_zoom_icon(int factor, const char* key);

// Picture-in-picture on (non-zero) or off.
void ov_pip_reticle(int flag);

// Shows (non-zero) or hides the leveler.
void ov_leveler_visibility(int shown);

// Tilt angles for the leveler, in whole degrees. Only logs a warning: nothing displays them yet.
void ov_leveler_data(int xz_tilt_deg, int y_tilt_deg);

// Sends the last update of each property again, for a newly loaded scene. Skips what shows only for
// a moment, such as the correction icon.
void ov_send_again();
