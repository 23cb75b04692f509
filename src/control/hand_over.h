// Hand-over of the sight to an outside controller, for the rest of the run.
#pragma once

// Hands the sight over: closes buttons and accelerometer, connects to the broker; actions only
// store settings from then on. Always returns 0. Further calls only connect to the broker again.
[[nodiscard]] int ac_disable_kbd();

// True after the hand-over: thermal core, panel and overlay are left alone.
[[nodiscard]] bool ac_is_handed_over();
