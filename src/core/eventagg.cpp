// The event aggregator: the table of descriptors that the main loop polls.
#include "core/eventagg.h"

#include "core/log.h"

#include <array>
#include <poll.h>

namespace {

// poll_events[i] and user_events[i] describe the same descriptor.
std::array<pollfd, EA_MAX_EVENTS> poll_events{};
std::array<user_event, EA_MAX_EVENTS> user_events{};
std::size_t registered_events = 0;
std::array<user_event, EA_MAX_EVENTS> out_list{}; // ready records of the last wait
std::uint64_t next_serial = 1;

// Returns the index of the record with that descriptor, or -1.
int find_existing_fd(int fd) {
    for (std::size_t i = 0; i < registered_events; ++i) {
        if (user_events[i].fd == fd) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

} // namespace

int ea_register_event(int fd, int type, std::uintptr_t user_data) {
    if (registered_events == EA_MAX_EVENTS) {
        return 1;
    }
    if (const int found = find_existing_fd(fd); found >= 0) {
        return user_events[static_cast<std::size_t>(found)].type == type ? 0 : 1;
    }
    user_events[registered_events] = {user_data, type, fd, next_serial++};
    poll_events[registered_events] = {fd, POLLIN, 0};
    ++registered_events;
    log_message(LEVEL_DEBUG, "Registered fd: %d, with type: %d", fd, type);
    return 0;
}

int ea_unregister_event(int fd) {
    const int found = find_existing_fd(fd);
    if (found < 0) {
        return -1;
    }
    const auto index = static_cast<std::size_t>(found);
    log_message(LEVEL_DEBUG, "Unregistered fd: %d, with type: %d", fd, user_events[index].type);
    --registered_events;
    poll_events[index] = poll_events[registered_events];
    user_events[index] = user_events[registered_events];
    return 0;
}

std::span<const user_event> ea_poll_events() {
    if (registered_events == 0) {
        return {};
    }
    // After a failed poll(), `revents` is undefined.
    if (poll(poll_events.data(), registered_events, -1) < 0) {
        return {};
    }
    std::size_t count = 0;
    for (std::size_t i = 0; i < registered_events; ++i) {
        if (poll_events[i].revents != 0) {
            out_list[count++] = user_events[i];
        }
    }
    return {out_list.data(), count};
}

bool ea_is_registered(const user_event& event) {
    const int found = find_existing_fd(event.fd);
    return found >= 0 && user_events[static_cast<std::size_t>(found)].serial == event.serial;
}
