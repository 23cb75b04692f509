// The hand-over of the sight to an outside controller, which holds for the rest of the run.
#pragma once

// Hands the sight over: buttons and accelerometer are dropped, the broker is connected, and actions
// only record settings from then on. 0 always; another call only tries the broker again.
[[nodiscard]] int ac_disable_kbd();

// True once the sight was handed over: thermal core, panel and overlay are left alone then.
[[nodiscard]] bool ac_is_handed_over();
