// vtrdc-web: serves the control page of a simulated board, on loopback.
#include "command_line.h"
#include "controller.h"
#include "daemon_life.h"
#include "sole_server.h"

#include <array>
#include <chrono>
#include <fcntl.h>
#include <functional>
#include <glib-unix.h>
#include <iostream>
#include <memory>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace {

// A second board's page takes the next free port.
constexpr unsigned FIRST_PORT = 8040;
constexpr unsigned PORTS_TRIED = 10;

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

// How often a background server checks whether it is needed; it ends after two negative checks.
constexpr std::chrono::seconds NEED_INTERVAL{30};

// A page that reloads is away for a moment.
std::function<void()> quit_when_unneeded(GMainLoop* loop, const web::controller& controller) {
    const auto was_needed = std::make_shared<bool>(true); // a timer calls copies of its task
    return [loop, &controller, was_needed] {
        const bool is_needed = controller.is_needed();
        if (!std::exchange(*was_needed, is_needed) && !is_needed) {
            g_main_loop_quit(loop);
        }
    };
}

// Called once, with the page's address or the reason why it can't be served.
using report = std::function<void(bool is_served, const std::string& text)>;

void write_report(bool is_served, const std::string& text) {
    if (is_served) {
        std::cout << text << std::endl;
    } else {
        std::cerr << "the page can't be served: " << text << std::endl;
    }
}

// Each page needs two descriptors, each file being sent one. After running out once, the server
// would never accept a connection again.
void raise_descriptor_limit() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
}

int serve(const web::command_line& line, const report& tell) {
    raise_descriptor_limit();
    std::string why;
    if (!web::become_sole_server(line.options.board + "/run/page.lock")) {
        tell(false, "the board's folder run is not writable");
        return EXIT_FAILURE;
    }
    web::controller controller{line.options};
    if (!listen(controller.server(), line.port, why)) {
        tell(false, why);
        return EXIT_FAILURE;
    }
    tell(true, controller.server().address());
    const g_owned<GMainLoop> loop(g_main_loop_new(nullptr, FALSE));
    g_unix_signal_add(SIGINT, quit, loop.get());
    g_unix_signal_add(SIGTERM, quit, loop.get());
    web::timer need;
    if (line.is_in_background) {
        need.every(NEED_INTERVAL, quit_when_unneeded(loop.get(), controller));
    }
    g_main_loop_run(loop.get());
    return EXIT_SUCCESS;
}

// The first byte tells whether the page is served.
void send_report(int output, bool is_served, const std::string& text) {
    const std::string message = (is_served ? "1" : "0") + text;
    if (write(output, message.data(), message.size()) < 0) {
        // The parent has ended; serve the page anyway.
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
    write_report(is_served, message.empty() ? "the page server ended early" : message.substr(1));
    return is_served;
}

// The parent waits until the page is served. The server is not its child.
int serve_in_background(const web::command_line& line) {
    close_range(STDERR_FILENO + 1, ~0U, 0); // an inherited pipe's reader may wait for its end
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
    return line->is_in_background ? serve_in_background(*line) : serve(*line, write_report);
}
