// The main loop: waits for events and dispatches them.
#include "core/loop.h"

#include "api/socket.h"
#include "control/buttons.h"
#include "core/daemon.h"
#include "core/eventagg.h"
#include "core/live_view.h"
#include "core/log.h"
#include "core/notify.h"
#include "core/settings_file.h"
#include "core/signals.h"
#include "core/status.h"
#include "core/timer.h"
#include "devices/acc.h"
#include "devices/kbd.h"
#include "util/tools.h"
#include "video/registry.h"

#include <span>
#include <syslog.h>

namespace {

// True once a stop signal was handled.
bool is_stopping = false;
const char* pid_file = nullptr;

void on_server(const user_event& event) {
    accept_client_connection(*reinterpret_cast<server_socket*>(event.user_data));
}

void on_client(const user_event& event) {
    auto* const client = reinterpret_cast<client_socket*>(event.user_data);
    if (accept_client_message(*client) == 0) {
        return;
    }
    if (ea_unregister_event(event.fd) != 0) {
        log_fatal("failed to unregister client socket");
    }
    // Nothing else refers to the client now: free it.
    const client_owner released{client};
}

// Replaces a picture that has ended, unless the daemon is stopping.
void on_pipe_end(int pipe) {
    if (!is_stopping) {
        recover_live_view(pipe);
    }
}

void on_bus(const user_event& event) {
    const int pipe = static_cast<int>(event.user_data);
    if (gstvideo_process_message(pipe) == 0) {
        return;
    }
    if (ea_unregister_event(event.fd) != 0) {
        log_fatal("failed to unregister gst bus descriptor");
    }
    on_pipe_end(pipe);
}

// Not fatal: a tool that hung, since it may work at the next press, and one that was not started
// because the daemon is stopping.
bool is_fatal(int button_result) {
    return button_result != 0 && button_result != TOOL_TIMED_OUT &&
           button_result != TOOL_NOT_STARTED;
}

void on_kbd(const user_event& /*event*/) {
    kbd_event pressed{};
    const kbd_result result = kbd_read(pressed);
    if (result == KBD_KEY && is_fatal(process_kbd_event(pressed))) {
        log_fatal("failed to process kbd input");
    }
    if (result == KBD_GONE) {
        log_message(LEVEL_WARN, "the button device is gone, buttons are dead");
        kbd_drop();
    }
}

void on_acc(const user_event& /*event*/) {
    process_acc();
}

void process_signal(int number) {
    syslog(LOG_INFO, "Caught signal %d\n", number);
    is_stopping = true;
    log_message(LEVEL_INFO, "stopping daemon ...");
    notify_supervisor("STOPPING=1\nSTATUS=Ends recordings, streams and the picture");
    gstvideo_stop_all_pipes();
    release_pid_file(pid_file);
}

void on_signal(const user_event& event) {
    process_signal(decode_signal(event.fd));
}

void on_end_at_tick(bus_handle handle) {
    // The bus is not registered if the start failed half-way, or if the event table was full.
    static_cast<void>(ea_unregister_event(handle.fd));
    on_pipe_end(handle.pipe);
}

void on_timer(const user_event& /*event*/) {
    notify_supervisor("WATCHDOG=1");
    process_timer();
    watch_live_view();
    gstvideo_watch_pushes();
    gstvideo_handle_ending_pipes(on_end_at_tick);
}

struct dispatch_row {
    int type;
    void (*handle)(const user_event& event);
};

constexpr dispatch_row dispatch_rows[] = {
    {EVENT_TYPE_SERVER, on_server}, {EVENT_TYPE_CLIENT, on_client}, {EVENT_TYPE_BUS, on_bus},
    {EVENT_TYPE_KBD, on_kbd},       {EVENT_TYPE_SIGNAL, on_signal}, {EVENT_TYPE_TIMER, on_timer},
    {EVENT_TYPE_ACC, on_acc},
};

void dispatch(const user_event& event) {
    for (const dispatch_row& row : dispatch_rows) {
        if (row.type == event.type) {
            row.handle(event);
            return;
        }
    }
    log_message(LEVEL_WARN, "unsupported event type");
}

} // namespace

void run_loop(const char* pid_file_name) {
    pid_file = pid_file_name;
    do {
        const std::span<const user_event> ready = ea_poll_events();
        socket_begin_pass();
        for (const user_event& event : ready) {
            if (ea_is_registered(event)) {
                dispatch(event);
            }
        }
        refresh_new_overlay();
        rewrite_changed_settings();
        write_changed_status();
    } while (!is_stopping || gstvideo_are_pipes_closed() == 0);
}
