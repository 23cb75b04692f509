// Start-up, the dispatch loop, live-view recovery and the orderly stop.
#include "api/socket.h"
#include "config/cfg.h"
#include "control/actions_reticle.h"
#include "control/actions_sight.h"
#include "control/buttons.h"
#include "control/pipe_events.h"
#include "core/cmdline.h"
#include "core/daemon.h"
#include "core/eventagg.h"
#include "core/log.h"
#include "core/signals.h"
#include "core/timer.h"
#include "devices/acc.h"
#include "devices/kbd.h"
#include "osd/notices.h"
#include "osd/redis_message_broker.h"
#include "util/files.h"
#include "util/process_state.h"
#include "util/sysroot.h"
#include "util/value_tables.h"
#include "video/registry.h"
#include "video/start.h"

#include <array>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <syslog.h>

namespace {

constexpr std::int64_t NANOSECONDS_PER_SECOND = 1'000'000'000;

cmdline_options options;
int running = 0;
// Set by a signal: from then on live-view recovery is suppressed and the loop may end.
int exit_flag = 0;

// --- Start-up --------------------------------------------------------------------------------

// Plug-ins may call setlocale at any time; a comma must not get into the settings file or into the
// texts for the overlay.
void pin_numeric_locale() {
    uselocale(newlocale(LC_NUMERIC_MASK, "C", duplocale(LC_GLOBAL_LOCALE)));
}

void require_valid_sysroot() {
    if (!sysroot_is_valid()) {
        std::fprintf(stderr, "%s: %s must name an absolute folder\n", options.app_name,
                     SYSROOT_VARIABLE);
        std::exit(EXIT_FAILURE);
    }
}

void open_syslog() {
    openlog(options.app_name, LOG_PID | LOG_CONS, LOG_DAEMON);
    syslog(LOG_INFO, "Started %s", options.app_name);
}

void open_log(int signal_fd, int signal_errno) {
    log_open(options.log_file_name);
    log_message(LEVEL_INFO, "%s", version_banner);
    if (signal_fd < 0) {
        errno = signal_errno;
        log_fatal("Failed to set up the signals");
    }
}

// Seconds of processor time that the call takes.
template <class Call> double processor_seconds(Call call) {
    const std::clock_t start = std::clock();
    call();
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

int read_conf_file() {
    const char* const path = options.conf_file_name;
    log_message(LEVEL_INFO, "Reading file '%s' as configuration..", path);
    const int result = cfg_read_config(path);
    if (result != 0) {
        log_message(LEVEL_WARN, "Failed to read the configuration file %s", path);
    } else {
        log_message(LEVEL_INFO, "Configuration file '%s' parsed.", path);
    }
    return result;
}

void configure() {
    // A file that can't be read is only warned about: the defaults apply.
    const double seconds = processor_seconds([] { static_cast<void>(read_conf_file()); });
    log_message(LEVEL_INFO, "Configure func takes : %fs", seconds);
    cfg_correct_indices();
}

video_config video_settings() {
    const settings& config = global_config;
    return {
        .mic_amplification = static_cast<double>(config.mic_volume),
        .record_max_len_ns = config.record_max_len * NANOSECONDS_PER_SECOND,
        .record_enc_bitrate = config.record_enc_bitrate,
        .record_enc_gop = config.record_enc_gop,
        .record_enc_idr = config.record_enc_idr,
        .record_enc_search_range = config.record_enc_search_range,
        .aud_enc_bitrate = config.aud_enc_bitrate,
        .stream_enc_bitrate = config.stream_enc_bitrate,
        .stream_enc_gop = config.stream_enc_gop,
        .stream_enc_idr = config.stream_enc_idr,
        .stream_enc_search_range = config.stream_enc_search_range,
        .enc_type = config.enc_type,
        .profile = options.profile ? 1 : 0,
    };
}

// The pipes that show the camera, as they were started.
struct live_view {
    bus_handle src;
    bus_handle display;
};

live_view start_live_view() {
    if (gstvideo_init(video_settings()) != 0) {
        log_fatal("Failed to init gstreamer");
    }
    const live_view view{gstvideo_start_video_src(global_config.qml_file),
                         gstvideo_start_display()};
    static_cast<void>(touch_file(global_config.video_ready_file));
    if (view.src.fd < 0 || view.display.fd < 0) {
        log_fatal("Failed to init the video pipes");
    }
    return view;
}

server_owner open_command_socket() {
    server_owner server = socket_init(AF_UNIX, SOCK_STREAM);
    if (!server) {
        log_fatal("Failed to create the command socket");
    }
    socket_bind(*server, global_config.socket_file);
    socket_listen(*server);
    return server;
}

// Brings overlay, panel and thermal core into the state that the settings ask for.
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

// A sight whose buttons can't be read still takes commands.
int open_buttons() {
    const int kbd_fd = kbd_init(global_config.kbd_device);
    if (kbd_fd < 0) {
        syslog(LOG_ERR, "Can not open kbd event file: %s, error: %s", global_config.kbd_device,
               std::strerror(errno));
    }
    return kbd_fd;
}

// A registration that is refused is not fatal here.
void register_event(int fd, int type, std::uintptr_t user_data = 0) {
    static_cast<void>(ea_register_event(fd, type, user_data));
}

// What the loop waits for from the start.
struct start_events {
    live_view view;
    const server_socket& server;
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

// --- Live-view recovery ----------------------------------------------------------------------

void display_no_input() {
    log_message(LEVEL_WARN, "Input failed - showing no video indication");
    const bus_handle splash = gstvideo_start_splash(global_config.qml_file, NO_INPUT_IMAGE);
    if (splash.fd < 0) {
        log_fatal("Failed to create no input splash pipe");
    }
    if (register_bus(splash) != 0) {
        log_fatal("Failed to register splash pipe in event aggregator");
    }
    send_mb_event(NOTICE_NO_INPUT);
}

// A camera that is lost first ends the display; the display's end then brings the splash. Pipes
// are told by number, so that a live view that a client rebuilt recovers as well.
void recover_live_view(int ended_pipe) {
    if (exit_flag != 0) {
        return;
    }
    if (ended_pipe == PIPE_SRC) {
        gstvideo_stop_pipe(PIPE_DISPLAY);
    } else if (ended_pipe == PIPE_DISPLAY) {
        display_no_input();
    }
}

// --- Dispatch --------------------------------------------------------------------------------

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
    // Nothing refers to it any more.
    const client_owner released{client};
}

void on_bus(const user_event& event) {
    const int pipe = static_cast<int>(event.user_data);
    if (gstvideo_process_message(pipe) == 0) {
        return;
    }
    if (ea_unregister_event(event.fd) != 0) {
        log_fatal("failed to unregister gst bus descriptor");
    }
    recover_live_view(pipe);
}

void on_kbd(const user_event& /*event*/) {
    kbd_event pressed{};
    const kbd_result result = kbd_read(pressed);
    if (result == KBD_KEY && process_kbd_event(pressed) != 0) {
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
    exit_flag = 1;
    if (number == SIGINT || number == SIGTERM) {
        log_message(LEVEL_INFO, "stopping daemon ...");
        gstvideo_stop_all_pipes();
        release_pid_file(options.pid_file_name);
    }
}

void on_signal(const user_event& event) {
    process_signal(decode_signal(event.fd));
}

void on_overdue_end(bus_handle handle) {
    // Registered or not: a full aggregator is how its end could come to be overlooked.
    static_cast<void>(ea_unregister_event(handle.fd));
    recover_live_view(handle.pipe);
}

void on_timer(const user_event& /*event*/) {
    process_timer();
    gstvideo_end_overdue_pipes(on_overdue_end);
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

void rewrite_changed_settings() {
    if (update_conf_file == 0) {
        return;
    }
    update_conf_file = 0;
    // Always the sight's own file, also when another one was read.
    const double seconds =
        processor_seconds([] { static_cast<void>(cfg_write_config_file(DEFAULT_CONF_FILE)); });
    log_message(LEVEL_INFO, "Config write takes : %fs", seconds);
}

void run_loop() {
    while (running == 1) {
        for (const user_event& event : ea_poll_events()) {
            if (ea_is_registered(event)) {
                dispatch(event);
            }
        }
        rewrite_changed_settings();
        if (gstvideo_are_pipes_closed() != 0 && exit_flag != 0) {
            running = 0;
        }
    }
}

// --- Shutdown --------------------------------------------------------------------------------

void daemon_shutdown(server_socket& server) {
    socket_close(server);
    kbd_close();
    log_close();
    syslog(LOG_INFO, "Stopped %s", options.app_name);
    closelog();
    cfg_clean();
}

} // namespace

int main(int argc, char* argv[]) {
    pin_numeric_locale();
    imem_guard_new();
    options = parse_cmdline_opts(argc, argv);
    require_valid_sysroot();
    if (options.start_daemonized) {
        daemonize(options.pid_file_name);
    }
    open_syslog();
    const int signal_fd = signals_init();
    open_log(signal_fd, errno);
    configure();
    const live_view view = start_live_view();
    const server_owner server = open_command_socket();
    device_start_init();
    const int kbd_fd = open_buttons();
    running = 1;
    register_events({.view = view,
                     .server = *server,
                     .kbd_fd = kbd_fd,
                     .signal_fd = signal_fd,
                     .timer_fd = timer_init()});
    run_loop();
    gstvideo_destroy();
    daemon_shutdown(*server);
    rmb_disconnect();
    log_message(LEVEL_INFO, "Goodbye");
    return 0;
}
