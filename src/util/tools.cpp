// Running other programs.
#include "util/tools.h"

#include "core/imem.h"
#include "core/log.h"
#include "util/file_owners.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <linux/close_range.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr std::size_t COMMAND_SIZE = 256;

// How a tool starts: no signal is blocked or ignored, whatever our own mask is.
class tool_attributes {
public:
    tool_attributes() {
        sigset_t none;
        sigset_t ignored;
        sigemptyset(&none);
        sigemptyset(&ignored);
        sigaddset(&ignored, SIGPIPE);
        posix_spawnattr_init(&attributes_);
        posix_spawnattr_setsigmask(&attributes_, &none);
        posix_spawnattr_setsigdefault(&attributes_, &ignored);
        posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    tool_attributes(const tool_attributes&) = delete;
    tool_attributes& operator=(const tool_attributes&) = delete;
    ~tool_attributes() { posix_spawnattr_destroy(&attributes_); }
    [[nodiscard]] const posix_spawnattr_t* get() const { return &attributes_; }

private:
    posix_spawnattr_t attributes_{};
};

// Like system(), but does not ignore SIGINT: that would discard one pending on the signal
// descriptor.
int run_shell(const char* command) {
    std::array arguments{const_cast<char*>("sh"), const_cast<char*>("-c"),
                         const_cast<char*>(command), static_cast<char*>(nullptr)};
    const tool_attributes attributes;
    pid_t tool = -1;
    if (posix_spawn(&tool, "/bin/sh", nullptr, attributes.get(), arguments.data(), environ) != 0) {
        return -1;
    }
    int status = 0;
    while (waitpid(tool, &status, 0) < 0) {
        if (errno != EINTR) {
            return -1;
        }
    }
    return status;
}

// The way of kernels before 5.11, which can't mark all descriptors in one call.
void mark_descriptors_one_by_one() {
    const folder_owner folder{opendir("/proc/self/fd")};
    if (!folder) {
        return;
    }
    while (const dirent* entry = readdir(folder.get())) {
        const int fd = std::atoi(entry->d_name);
        if (fd > STDERR_FILENO) {
            fcntl(fd, F_SETFD, FD_CLOEXEC);
        }
    }
}

// Elements open descriptors of their own; tools shall inherit none of them.
void keep_descriptors_from_tools() {
    if (close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC) != 0) {
        mark_descriptors_one_by_one();
    }
}

} // namespace

int exec_system_cmd(const char* format, ...) {
    const malloc_text command = emalloc_text(COMMAND_SIZE);
    std::va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(command.get(), COMMAND_SIZE, format, arguments);
    va_end(arguments);
    if (length < 0 || static_cast<std::size_t>(length) >= COMMAND_SIZE) {
        log_message(LEVEL_WARN, "system cmd too long, not executed: %s", command.get());
        return -1;
    }
    log_message(LEVEL_INFO, "Executing system cmd: %s", command.get());
    keep_descriptors_from_tools();
    return run_shell(command.get());
}
