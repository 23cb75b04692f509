// The event aggregator: the daemon's only wait point.
//
// Every descriptor that can wake the daemon is registered here with a type and one word of user
// data. The aggregator never opens or closes a descriptor: the module that registered it owns it,
// and may close it before or after unregistering it.
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
    // Distinguishes registrations, since descriptor numbers are used again.
    std::uint64_t serial;
};

// Registers `fd`, which may be negative (it never becomes ready). 0 when the descriptor is, or
// already was, registered with that type; 1 when it has another type or 32 are in use.
[[nodiscard]] int ea_register_event(int fd, int type, std::uintptr_t user_data);

// Takes `fd` out; 0, or -1 when it is not registered.
[[nodiscard]] int ea_unregister_event(int fd);

// Waits without time limit and returns the ready records in table order, at most one for each
// descriptor. They are copies, valid until the next wait, so a handler may register and unregister
// freely: ask ea_is_registered before dispatching each. Empty when nothing is registered, and when
// the wait itself failed.
[[nodiscard]] std::span<const user_event> ea_poll_events();

// True while the registration that `event` was taken from is in the table.
[[nodiscard]] bool ea_is_registered(const user_event& event);
