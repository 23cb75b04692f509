// Reticle settings, and the reticle's state that the overlay gets at start-up.
//
// Each action saves its setting if it changed and updates the overlay at once, unless an outside
// controller has taken over. A result of 0 is success.
#pragma once

// Sends the overlay the whole reticle state, and the thermal core its correction type.
void ac_initial_reticle_config();

// Saves the origin, in display pixels. It takes effect at the next change of zoom or
// picture-in-picture. Logs a warning and ignores values that are not finite.
void ac_update_reticle_origin(double x, double y);

// Selects an image. The index wraps in both directions.
void ac_update_reticle_src(int index);

// Selects a colour. Returns 1 for an index outside the table.
[[nodiscard]] int ac_update_reticle_color(int index);

// Sets the opacity, 0..1. Returns 1 when out of range.
[[nodiscard]] int ac_update_reticle_opacity(double opacity);

// Shows (non-zero) or hides the red dot. Always returns 0.
[[nodiscard]] int ac_update_red_dot(int flag);

// Shows (1) or hides (0) the reticle.
void ac_set_reticle_visible(int flag);
