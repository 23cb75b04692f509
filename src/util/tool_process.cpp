// Runs a tool's command line in a shell, with bounded time and memory.
#include "util/tool_process.h"

#include "util/deadline.h"
#include "util/descriptors.h"
#include "util/fd_owned.h"
#include "util/never_destroyed.h"
#include "util/tools.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <optional>
#include <poll.h>
#include <spawn.h>
#include <string_view>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

// How long to wait for it after SIGKILL. A process stuck in a driver doesn't end even then.
constexpr std::chrono::milliseconds KILL_TIME{500};
// Polling interval where the kernel has no pidfd, before 5.3.
constexpr std::chrono::milliseconds LOOK_INTERVAL{20};
// Read size, so that a tool that never stops writing is still killed in time.
constexpr std::size_t READ_BYTES = 65536;

struct running_tool {
    pid_t id = -1;
    int error = 0;
    fd_owned output; // non-blocking; none after end of file
    fd_owned end;    // pidfd: readable when the tool has ended
    std::string kept;
};

// Killed tools that have not ended yet.
never_destroyed<std::vector<pid_t>> left_behind;

// --- Starting --------------------------------------------------------------------------------

class tool_attributes {
public:
    tool_attributes() {
        sigset_t none;
        sigset_t ignored;
        sigemptyset(&none);
        sigemptyset(&ignored);
        sigaddset(&ignored, SIGPIPE);
        sigaddset(&ignored, SIGXFSZ);
        posix_spawnattr_init(&attributes_);
        posix_spawnattr_setsigmask(&attributes_, &none);
        posix_spawnattr_setsigdefault(&attributes_, &ignored);
        posix_spawnattr_setpgroup(&attributes_, 0);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF |
                                                   POSIX_SPAWN_SETPGROUP);
    }
    tool_attributes(const tool_attributes&) = delete;
    tool_attributes& operator=(const tool_attributes&) = delete;
    ~tool_attributes() { posix_spawnattr_destroy(&attributes_); }
    [[nodiscard]] const posix_spawnattr_t* get() const { return &attributes_; }

private:
    posix_spawnattr_t attributes_{};
};

// Redirects standard output and error to a descriptor.
class output_actions {
public:
    explicit output_actions(int fd) {
        posix_spawn_file_actions_init(&actions_);
        posix_spawn_file_actions_adddup2(&actions_, fd, STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions_, fd, STDERR_FILENO);
    }
    output_actions(const output_actions&) = delete;
    output_actions& operator=(const output_actions&) = delete;
    ~output_actions() { posix_spawn_file_actions_destroy(&actions_); }
    [[nodiscard]] const posix_spawn_file_actions_t* get() const { return &actions_; }

private:
    posix_spawn_file_actions_t actions_{};
};

// Its process id is -1 when it can't be started.
running_tool start(const char* command) {
    running_tool tool;
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        tool.error = errno;
        return tool;
    }
    tool.output = fd_owned{ends[0]};
    const fd_owned write_end{ends[1]};
    fcntl(ends[0], F_SETFL, O_NONBLOCK);
    // GStreamer elements open descriptors without close-on-exec.
    keep_descriptors_from_programs();
    std::array arguments{const_cast<char*>("sh"), const_cast<char*>("-c"),
                         const_cast<char*>(command), static_cast<char*>(nullptr)};
    tool.error = posix_spawn(&tool.id, "/bin/sh", output_actions{write_end.get()}.get(),
                             tool_attributes{}.get(), arguments.data(), environ);
    if (tool.error != 0) {
        tool.id = -1;
        return tool;
    }
    tool.end = fd_owned{static_cast<int>(syscall(SYS_pidfd_open, tool.id, 0))};
    return tool;
}

// --- Running ---------------------------------------------------------------------------------

void keep(running_tool& tool, std::string_view bytes) {
    for (const char byte : bytes.substr(0, TOOL_OUTPUT_MAX - tool.kept.size())) {
        const bool is_control = static_cast<unsigned char>(byte) < ' ' || byte == '\x7f';
        tool.kept += is_control ? ' ' : byte;
    }
}

// Reads even output that isn't kept: otherwise the tool would block on a full pipe.
void read_output(running_tool& tool) {
    std::array<char, READ_BYTES> bytes;
    const ssize_t count = read(tool.output.get(), bytes.data(), bytes.size());
    if (count > 0) {
        keep(tool, {bytes.data(), static_cast<std::size_t>(count)});
    } else if (count == 0 || errno != EAGAIN) {
        tool.output.reset();
    }
}

// Returns its wait status, or TOOL_NOT_RUN if there is no such child; none while it runs.
std::optional<int> status_of(pid_t tool) {
    int status = 0;
    const pid_t ended = waitpid(tool, &status, WNOHANG);
    if (ended < 0 && errno != EINTR) {
        return TOOL_NOT_RUN;
    }
    return ended == tool ? std::optional{status} : std::nullopt;
}

// Waits until the tool writes or ends, or until the deadline.
void wait_for_news(const running_tool& tool, const deadline& until) {
    const std::chrono::milliseconds time =
        tool.end ? until.left() : std::min(until.left(), LOOK_INTERVAL);
    // poll() skips negative descriptors.
    std::array<pollfd, 2> news{pollfd{tool.output.get(), POLLIN, 0},
                               pollfd{tool.end.get(), POLLIN, 0}};
    poll(news.data(), news.size(), static_cast<int>(time.count()));
}

// Returns its wait status; none at the deadline.
std::optional<int> wait_for_end(running_tool& tool, const deadline& until) {
    for (;;) {
        const std::optional<int> status = status_of(tool.id);
        tool.error = status == TOOL_NOT_RUN ? errno : 0;
        if (tool.output) {
            read_output(tool);
        }
        if (status || until.has_passed()) {
            return status;
        }
        wait_for_news(tool, until);
    }
}

void kill_group(running_tool& tool) {
    kill(-tool.id, SIGKILL);
    if (!wait_for_end(tool, deadline{KILL_TIME})) {
        left_behind->push_back(tool.id);
    }
}

} // namespace

tool_end run_tool(const char* command) {
    std::erase_if(*left_behind, [](pid_t tool) { return status_of(tool).has_value(); });
    running_tool tool = start(command);
    if (tool.id < 0) {
        return {.status = TOOL_NOT_RUN, .error = tool.error, .output = {}};
    }
    const std::optional<int> status = wait_for_end(tool, deadline{TOOL_TIME_MAX});
    const int error = status == TOOL_NOT_RUN ? errno : 0;
    if (!status || status == TOOL_NOT_RUN) {
        kill_group(tool);
    }
    return {
        .status = status.value_or(TOOL_TIMED_OUT), .error = error, .output = std::move(tool.kept)};
}
