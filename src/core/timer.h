// The one-second timer and the housekeeping on its ticks.
#pragma once

// Creates and arms the timer on the monotonic clock: first expiry after a second, then every
// second. Returns its descriptor; a failure is an ERROR.
[[nodiscard]] int timer_init();

// Consumes the expiry count: ticks missed while the loop was busy count as one. Returns the result
// of the read.
long timer_read();

// Closes the timer.
void timer_close();

// Handles one tick: runs two shutter corrections shortly after start-up, and stops a recording when
// its storage runs low.
void process_timer();
