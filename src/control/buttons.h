// What the sight's buttons do.
#pragma once

#include "devices/kbd.h"

// Runs the action of a released button. Returns the action's result, 0 if there was nothing to do,
// or 1 for an action that no button has.
[[nodiscard]] int process_kbd_event(const kbd_event& event);
