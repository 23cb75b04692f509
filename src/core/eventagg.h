// The event aggregator: the table of descriptors that the main loop polls.
//
// Every descriptor that can wake the daemon is registered here with a type and one word of user
// data. The module that registers a descriptor owns it, and may close it before or after
// unregistering it; the aggregator never opens or closes descriptors.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

inline constexpr std::size_t EA_MAX_EVENTS = 32;

enum event_type : int {
    EVENT_TYPE_SERVER = 0, // listening command socket; user data: server_socket
    EVENT_TYPE_CLIENT = 1, // client connection; user data: client_socket
    EVENT_TYPE_BUS = 2,    // bus of a pipe; user data: pipe number
    EVENT_TYPE_KBD = 3,    // buttons; no user data
    EVENT_TYPE_SIGNAL = 4, // signal descriptor; no user data
    EVENT_TYPE_TIMER = 5,  // one-second timer; no user data
    EVENT_TYPE_ACC = 6,    // accelerometer; no user data
};

struct user_event {
    std::uintptr_t user_data;
    int type;
    int fd;
    // Distinguishes registrations: descriptor numbers are reused.
    std::uint64_t serial;
};

// Registers `fd`. A negative one is allowed and never becomes ready. Returns 0 if it is registered
// with that type, now or before; 1 if it has another type, or if the table is full.
[[nodiscard]] int ea_register_event(int fd, int type, std::uintptr_t user_data);

// Unregisters `fd`. Returns 0, or -1 when it is not registered.
[[nodiscard]] int ea_unregister_event(int fd);

// Waits without a timeout. Returns the ready records in table order, at most one per descriptor.
// They are copies, valid until the next wait, so a handler may register and unregister freely;
// check ea_is_registered before dispatching each. Empty when nothing is registered or the wait
// failed.
[[nodiscard]] std::span<const user_event> ea_poll_events();

// True while the registration from which `event` was copied is in the table.
[[nodiscard]] bool ea_is_registered(const user_event& event);
