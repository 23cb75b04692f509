// The one-second timer and the housekeeping that its ticks drive.
#pragma once

// Creates and arms the timer: first expiry after a second, then one each second on the monotonic
// clock. Returns its descriptor; a failure is an ERROR.
[[nodiscard]] int timer_init();

// Consumes the expiry count, so ticks missed while the loop was busy fold into one. Returns the
// result of the read.
long timer_read();

// Closes the timer.
void timer_close();

// One tick, called when the descriptor is readable: two shutter corrections shortly after start-up,
// and a recording is stopped when its storage runs low.
void process_timer();
