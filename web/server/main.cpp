// vtrdc-web: serves the control page of a simulated board, on loopback.
#include "command_line.h"
#include "controller.h"
#include "daemon_life.h"

#include <array>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <glib-unix.h>
#include <iostream>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

// The page of a second board takes the next free port.
constexpr unsigned FIRST_PORT = 8040;
constexpr unsigned PORTS_TRIED = 10;

// The daemon and the browser come first.
constexpr int NICENESS = 5;

bool listen(web::http_server& server, std::optional<unsigned> port, std::string& why) {
    if (port) {
        return server.listen(*port, why);
    }
    for (unsigned offset = 0; offset < PORTS_TRIED; ++offset) {
        if (server.listen(FIRST_PORT + offset, why)) {
            return true;
        }
    }
    return false;
}

gboolean quit(gpointer loop) noexcept {
    g_main_loop_quit(static_cast<GMainLoop*>(loop));
    return G_SOURCE_CONTINUE;
}

// Time for the daemon's last lines to reach the pages through its log.
constexpr guint LAST_WORDS_MS = 500;

// Frees the port for the next daemon's page.
gboolean stop_listening(gpointer server) noexcept {
    static_cast<web::http_server*>(server)->stop_listening();
    return G_SOURCE_REMOVE;
}

// Waits on a thread of its own, which is still waiting if the main loop ends first.
void quit_with_daemon(GMainLoop* loop, web::http_server& server, const web::command_line& line) {
    const daemon_marks marks = marks_of_daemon(line.daemon, line.options.board);
    std::thread([loop, &server, marks, starter = *line.beside] {
        wait_for_daemon_end(marks, starter);
        g_idle_add(stop_listening, &server);
        g_timeout_add(LAST_WORDS_MS, quit, loop);
    }).detach();
}

// Called once: with the address of the page, or why it can't be served.
using report = std::function<void(bool is_served, const std::string& text)>;

void write_report(bool is_served, const std::string& text) {
    if (is_served) {
        std::cout << text << std::endl;
    } else {
        std::cerr << "the page can't be served: " << text << std::endl;
    }
}

// Each page takes two descriptors, each file that is sent one more. A server that ran out of them
// once accepts no connection again.
void raise_descriptor_limit() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
}

int serve(const web::command_line& line, const report& tell) {
    setpriority(PRIO_PROCESS, 0, NICENESS);
    raise_descriptor_limit();
    web::controller controller{line.options};
    std::string why;
    if (!listen(controller.server(), line.port, why)) {
        tell(false, why);
        return EXIT_FAILURE;
    }
    tell(true, controller.server().address());
    const g_owned<GMainLoop> loop(g_main_loop_new(nullptr, FALSE));
    g_unix_signal_add(SIGINT, quit, loop.get());
    g_unix_signal_add(SIGTERM, quit, loop.get());
    if (line.beside) {
        quit_with_daemon(loop.get(), controller.server(), line);
    }
    g_main_loop_run(loop.get());
    return EXIT_SUCCESS;
}

// The first byte says whether the page is served.
void send_report(int output, bool is_served, const std::string& text) {
    const std::string message = (is_served ? "1" : "0") + text;
    if (write(output, message.data(), message.size()) < 0) {
        // The starter is gone; the page is served all the same.
    }
    close(output);
}

bool pass_report_on(int input) {
    std::string message;
    char byte = 0;
    while (read(input, &byte, 1) == 1) {
        message += byte;
    }
    const bool is_served = message.starts_with('1');
    write_report(is_served, message.empty() ? "it ended early" : message.substr(1));
    return is_served;
}

// The starter waits until the page is served; the server is no child of its.
int serve_in_background(const web::command_line& line) {
    close_range(STDERR_FILENO + 1, ~0U, 0); // somebody may wait for the end of an inherited pipe
    std::array<int, 2> pipe{};
    if (pipe2(pipe.data(), O_CLOEXEC) != 0) {
        return EXIT_FAILURE;
    }
    const pid_t child = fork();
    if (child == 0) {
        close(pipe[0]);
        leave_parent();
        return serve(line, [output = pipe[1]](bool is_served, const std::string& text) {
            send_report(output, is_served, text);
        });
    }
    close(pipe[1]);
    const bool is_served = pass_report_on(pipe[0]);
    waitpid(child, nullptr, 0);
    return is_served ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace

int main(int argc, char* argv[]) {
    std::string why;
    const std::optional<web::command_line> line = web::read_command_line(argc, argv, why);
    if (!line) {
        write_report(false, why);
        return EXIT_FAILURE;
    }
    return line->beside ? serve_in_background(*line) : serve(*line, write_report);
}
