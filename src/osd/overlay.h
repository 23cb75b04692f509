// What the daemon tells the on-screen display: each call sends one update to the overlay's scene.
//
// The calls don't look at whether an outside controller has taken over; the actions decide.
#pragma once

// Shows (non-zero) or hides the reticle.
void ov_reticle_visible(int visible);

// Places the reticle image, its red dot and its size, all in display pixels.
void ov_zoom_reticle(double x, double y, double red_dot_x, double red_dot_y, double width,
                     double height);

// Offset of the reticle in the picture-in-picture inset, display pixels, truncated toward zero.
void ov_pip_reticle_offset(double x, double y);

// Colour as a text such as "#cc2c24".
void ov_pip_reticle_color(const char* color);

// Opacity 0..1.
void ov_reticle_opacity(double opacity);

// Path of the reticle's drawing on the sight.
void ov_set_reticle(const char* path);

// Shows (1) or hides (0) the red dot.
void ov_red_dot_visibility(int flag);

// Luminance icon, level 0..4. 0; 1 with nothing sent for any other level.
int ov_brigthness_icon(int level);

// Tells that a correction of the picture is running.
void ov_nuc_icon();

// Zoom icon under the given key, factor 1, 2 or 4. 0; 1 with nothing sent for any other factor.
inline constexpr const char* OV_KEY_ZOOM = "ZOOM";
inline constexpr const char* OV_KEY_PIP_ZOOM = "PIP_ZOOM";
int ov_zoom_icon(int factor, const char* key);

// Picture-in-picture on (non-zero) or off.
void ov_pip_reticle(int flag);

// Shows (non-zero) or hides the leveler.
void ov_leveler_visibility(int shown);

// Tilt angles for the leveler in whole degrees; nothing takes them yet, which a warning says.
void ov_leveler_data(int xz_tilt_deg, int y_tilt_deg);

// Sends the last update about each thing again, to a scene that was loaded since. What shows for a
// moment only, such as the icon of a correction, is not among them.
void ov_send_again();
