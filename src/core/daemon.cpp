// Running in the background, with a locked PID file.
#include "core/daemon.h"

#include "util/descriptors.h"
#include "util/sysroot.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Descriptor of the locked PID file, or -1.
int pid_fd = -1;

void fork_and_leave() {
    const pid_t child = fork();
    if (child < 0) {
        std::exit(EXIT_FAILURE);
    }
    if (child > 0) {
        std::exit(EXIT_SUCCESS);
    }
}

void reopen_stream(FILE* stream, const char* mode) {
    if (std::freopen(sysroot_path("/dev/null").c_str(), mode, stream) == nullptr) {
        std::exit(EXIT_FAILURE);
    }
}

void lock_pid_file(const char* name) {
    pid_fd = open(sysroot_path(name).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0640);
    if (pid_fd < 0 || lockf(pid_fd, F_TLOCK, 0) != 0) {
        std::exit(EXIT_FAILURE);
    }
    // Locked: remove what an earlier process wrote, which may be longer.
    if (ftruncate(pid_fd, 0) != 0 || dprintf(pid_fd, "%d\n", static_cast<int>(getpid())) < 0) {
        std::exit(EXIT_FAILURE);
    }
}

} // namespace

void open_standard_descriptors() {
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        // open() uses the lowest free number. Not close-on-exec: tools inherit it.
        if (fcntl(fd, F_GETFD) < 0 && open(sysroot_path("/dev/null").c_str(), O_RDWR) != fd) {
            std::exit(EXIT_FAILURE);
        }
    }
}

void daemonize(const char* pid_file_name) {
    fork_and_leave();
    if (setsid() < 0) {
        std::exit(EXIT_FAILURE);
    }
    fork_and_leave();
    umask(0);
    if (chdir(sysroot_path("/").c_str()) != 0) {
        std::exit(EXIT_FAILURE);
    }
    close_all_descriptors();
    reopen_stream(stdin, "r");
    reopen_stream(stdout, "w+");
    reopen_stream(stderr, "w+");
    if (pid_file_name != nullptr) {
        lock_pid_file(pid_file_name);
    }
}

mode_t restrict_umask() {
    constexpr mode_t others_writing = S_IWGRP | S_IWOTH;
    const mode_t before = umask(others_writing);
    umask(before | others_writing);
    return before;
}

void release_pid_file(const char* pid_file_name) {
    if (pid_fd != -1) {
        static_cast<void>(lockf(pid_fd, F_ULOCK, 0));
        close(pid_fd);
        pid_fd = -1;
    }
    if (pid_file_name != nullptr) {
        unlink(sysroot_path(pid_file_name).c_str());
    }
}
