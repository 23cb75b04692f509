// The reticle's settings, and its state as the overlay is told it at start-up.
//
// Each action keeps its setting when that differs and updates the overlay at once, until an outside
// controller has taken over. A result of 0 is success.
#pragma once

// Tells the overlay all of the reticle's state, and the thermal core its type of correction.
void ac_initial_reticle_config();

// Keeps the origin, in display pixels. It takes effect at the next zoom or picture-in-picture
// change. One that is not finite is refused with a warning.
void ac_update_reticle_origin(double x, double y);

// Selects an image; the index wraps, from below as well.
void ac_update_reticle_src(int index);

// Selects a colour; 1 for an index outside the table.
[[nodiscard]] int ac_update_reticle_color(int index);

// Takes an opacity, 0..1; 1 for any other.
[[nodiscard]] int ac_update_reticle_opacity(double opacity);

// Shows (non-zero) or hides the red dot; 0 always.
[[nodiscard]] int ac_update_red_dot(int flag);

// Shows (1) or hides (0) the reticle.
void ac_set_reticle_visible(int flag);
