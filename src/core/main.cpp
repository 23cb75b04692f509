// Start-up and the orderly stop.
#include "api/socket.h"
#include "config/cfg.h"
#include "control/actions_reticle.h"
#include "control/actions_sight.h"
#include "control/pipe_events.h"
#include "core/cmdline.h"
#include "core/daemon.h"
#include "core/eventagg.h"
#include "core/imem.h"
#include "core/live_view.h"
#include "core/log.h"
#include "core/loop.h"
#include "core/notify.h"
#include "core/settings_file.h"
#include "core/signals.h"
#include "core/status.h"
#include "core/timer.h"
#include "devices/kbd.h"
#include "osd/redis_message_broker.h"
#include "util/sysroot.h"
#include "util/value_tables.h"
#include "video/registry.h"

#include <cerrno>
#include <clocale>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/socket.h>
#include <sys/stat.h>
#include <syslog.h>

namespace {

// Plug-ins may call setlocale at any time. Decimal commas must not get into the settings file or
// the overlay's texts.
void pin_numeric_locale() {
    uselocale(newlocale(LC_NUMERIC_MASK, "C", duplocale(LC_GLOBAL_LOCALE)));
}

void require_valid_sysroot(const char* app_name) {
    if (!sysroot_is_valid()) {
        std::fprintf(stderr, "%s: %s must name an absolute folder\n", app_name, SYSROOT_VARIABLE);
        std::exit(EXIT_FAILURE);
    }
}

void open_syslog(const char* app_name) {
    openlog(app_name, LOG_PID | LOG_CONS, LOG_DAEMON);
    syslog(LOG_INFO, "Started %s", app_name);
}

void open_log(const char* file_name) {
    log_open(file_name);
    log_message(LEVEL_INFO, "%s", version_banner);
}

// Signals are set up before the log is open, so a failure is reported here, with the errno from
// then.
void require_signals(int signal_fd, int error_number) {
    if (signal_fd < 0) {
        errno = error_number;
        log_fatal("Failed to set up the signals");
    }
}

// The umask with which the daemon was started decides who may connect. It is applied with chmod:
// lifting the process's umask would affect files that streaming threads create meanwhile. Nobody
// can connect before the socket listens.
void admit_clients(const server_socket& server, mode_t given_umask) {
    if (chmod(server.address.sun_path, ACCESSPERMS & ~given_umask) != 0) {
        log_message(LEVEL_WARN, "Failed to set the mode of the command socket: %s",
                    std::strerror(errno));
    }
}

server_owner open_command_socket(mode_t given_umask) {
    server_owner server = socket_init(AF_UNIX, SOCK_STREAM);
    if (!server) {
        log_fatal("Failed to create the command socket");
    }
    socket_bind(*server, global_config.socket_file);
    admit_clients(*server, given_umask);
    socket_listen(*server);
    return server;
}

// Sets overlay, panel and thermal core to the state in the settings.
void device_start_init() {
    ac_initial_reticle_config();
    const int luminance = global_config.luminance;
    log_message(LEVEL_DEBUG, "Setting %d as defautl luminance (index %d)",
                lum_values.at(static_cast<std::size_t>(luminance)), luminance);
    static_cast<void>(ac_exec_luminance_cmd(luminance));
    log_message(LEVEL_DEBUG, "pip_mode: %d", global_config.pip_mode);
    if (global_config.pip_mode != 0) {
        static_cast<void>(ac_exec_pip_cmd(pip_values.front()));
        log_message(LEVEL_INFO, "PIP started by default");
    }
}

// Without buttons the sight still takes commands.
int open_buttons() {
    const int kbd_fd = kbd_init(global_config.kbd_device);
    if (kbd_fd < 0) {
        syslog(LOG_ERR, "Can not open kbd event file: %s, error: %s", global_config.kbd_device,
               std::strerror(errno));
    }
    return kbd_fd;
}

// A refused registration is not fatal here.
void register_event(int fd, int type, std::uintptr_t user_data = 0) {
    static_cast<void>(ea_register_event(fd, type, user_data));
}

// The descriptors that the loop waits for from the start.
struct start_events {
    live_view view;
    server_socket& server;
    int kbd_fd;
    int signal_fd;
    int timer_fd;
};

void register_events(const start_events& events) {
    register_event(events.server.fd, EVENT_TYPE_SERVER,
                   reinterpret_cast<std::uintptr_t>(&events.server));
    static_cast<void>(register_bus(events.view.src));
    static_cast<void>(register_bus(events.view.display));
    register_event(events.kbd_fd, EVENT_TYPE_KBD);
    register_event(events.signal_fd, EVENT_TYPE_SIGNAL);
    register_event(events.timer_fd, EVENT_TYPE_TIMER);
}

void daemon_shutdown(server_socket& server, const char* app_name) {
    socket_close(server);
    remove_status();
    kbd_close();
    log_close();
    syslog(LOG_INFO, "Stopped %s", app_name);
    closelog();
    cfg_clean();
}

} // namespace

int main(int argc, char* argv[]) {
    open_standard_descriptors();
    pin_numeric_locale();
    imem_guard_new();
    const cmdline_options options = parse_cmdline_opts(argc, argv);
    require_valid_sysroot(options.app_name);
    if (options.start_daemonized) {
        daemonize(options.pid_file_name);
    }
    const mode_t given_umask = restrict_umask();
    notify_open();
    open_syslog(options.app_name);
    const int signal_fd = signals_init();
    const int signal_errno = errno;
    open_log(options.log_file_name);
    require_signals(signal_fd, signal_errno);
    read_settings(options.conf_file_name);
    const live_view view = start_live_view(options.profile);
    const server_owner server = open_command_socket(given_umask);
    device_start_init();
    const int kbd_fd = open_buttons();
    register_events({.view = view,
                     .server = *server,
                     .kbd_fd = kbd_fd,
                     .signal_fd = signal_fd,
                     .timer_fd = timer_init()});
    refresh_new_overlay();
    write_changed_status();
    notify_supervisor("READY=1\nSTATUS=Takes buttons and commands");
    run_loop(options.pid_file_name);
    gstvideo_destroy();
    daemon_shutdown(*server, options.app_name);
    rmb_disconnect();
    log_message(LEVEL_INFO, "Goodbye");
    return 0;
}
