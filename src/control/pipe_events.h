// Connects the buses of pipes to the loop.
#pragma once

#include "video/registry.h"

// Registers the bus of a started pipe, so that its messages are handled. Returns the result of
// ea_register_event.
[[nodiscard]] int register_bus(bus_handle handle);
