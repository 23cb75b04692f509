// Buses of pipes as events of the loop.
#pragma once

#include "video/registry.h"

// Registers the bus of a pipe that was started, so that its messages are handled. The result of
// ea_register_event.
[[nodiscard]] int register_bus(bus_handle handle);
