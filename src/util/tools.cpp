// Running other programs.
#include "util/tools.h"

#include "core/imem.h"
#include "core/log.h"
#include "util/descriptors.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
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
    keep_descriptors_from_programs(); // elements open some of their own
    return run_shell(command.get());
}
