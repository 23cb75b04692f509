// Connects the buses of pipes to the loop.
#include "control/pipe_events.h"

#include "core/eventagg.h"

#include <cstdint>

int register_bus(bus_handle handle) {
    return ea_register_event(handle.fd, EVENT_TYPE_BUS, static_cast<std::uintptr_t>(handle.pipe));
}
