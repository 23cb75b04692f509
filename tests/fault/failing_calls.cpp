// Preloaded into a program of ours: makes one of its calls fail. Only calls by the program's own
// code on its main thread count, not those by libraries. In other programs, and without a plan, all
// calls work.
#include "fault_plan.h"

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <new>
#include <poll.h>
#include <spawn.h>
#include <string_view>
#include <sys/mman.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/timerfd.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

fault_plan* plan = nullptr;
// Address range of the program's own code.
std::uintptr_t program_begin = 0;
std::uintptr_t program_end = 0;

int find_program(dl_phdr_info* info, std::size_t /*size*/, void* /*data*/) {
    program_begin = info->dlpi_addr;
    for (int i = 0; i < info->dlpi_phnum; ++i) {
        const auto& segment = info->dlpi_phdr[i];
        if (segment.p_type == PT_LOAD) {
            program_end = info->dlpi_addr + segment.p_vaddr + segment.p_memsz;
        }
    }
    return 1; // the program comes first
}

[[gnu::constructor]] void find_plan() {
    const char* const path = std::getenv(FAULT_PLAN_VARIABLE);
    const std::string_view program{program_invocation_short_name};
    if (path == nullptr || (program != "vtrdc" && program != "vtrdc-recover")) {
        return;
    }
    dl_iterate_phdr(find_program, nullptr);
    const int fd = ::open(path, O_RDWR | O_CLOEXEC);
    void* const memory =
        mmap(nullptr, sizeof(fault_plan), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    ::close(fd);
    plan = memory == MAP_FAILED ? nullptr : static_cast<fault_plan*>(memory);
}

// True if the call from that address must fail.
bool fails(failing_call call, const void* from) {
    const auto place = reinterpret_cast<std::uintptr_t>(from);
    if (plan == nullptr || place < program_begin || place >= program_end || gettid() != getpid()) {
        return false;
    }
    const int number = ++plan->made[static_cast<std::size_t>(call)];
    if (plan->call != call || plan->number != number) {
        return false;
    }
    plan->failed_from = place - program_begin;
    errno = plan->error;
    return true;
}

template <class Function> Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

// A macro, because the return address is the caller's only within the function itself.
#define FAIL_AS_PLANNED(call, failure)                                                             \
    if (fails(failing_call::call, __builtin_return_address(0))) {                                  \
        return failure;                                                                            \
    }

// Wraps a function that reports failure by its return value.
#define FAILING(call, failure, result, name, parameters, arguments)                                \
    result name parameters {                                                                       \
        FAIL_AS_PLANNED(call, failure)                                                             \
        static auto* const function = next<result parameters>(#name);                              \
        return function arguments;                                                                 \
    }

extern "C" {

FAILING(accept, -1, int, accept4, (int fd, sockaddr* address, socklen_t* size, int flags),
        (fd, address, size, flags))
FAILING(fflush, EOF, int, fflush, (FILE * file), (file))
FAILING(fopen, nullptr, FILE*, fopen64, (const char* path, const char* mode), (path, mode))
FAILING(fread, 0, std::size_t, fread, (void* data, std::size_t size, std::size_t count, FILE* file),
        (data, size, count, file))
FAILING(fsync, -1, int, fsync, (int fd), (fd))
FAILING(fwrite, 0, std::size_t, fwrite,
        (const void* data, std::size_t size, std::size_t count, FILE* file),
        (data, size, count, file))
FAILING(opendir, nullptr, DIR*, opendir, (const char* path), (path))
FAILING(poll, -1, int, poll, (pollfd * polled, nfds_t count, int timeout), (polled, count, timeout))
FAILING(pread, -1, ssize_t, pread64, (int fd, void* data, std::size_t size, off64_t offset),
        (fd, data, size, offset))
FAILING(pwrite, -1, ssize_t, pwrite64, (int fd, const void* data, std::size_t size, off64_t offset),
        (fd, data, size, offset))
FAILING(read, -1, ssize_t, read, (int fd, void* data, std::size_t size), (fd, data, size))
FAILING(recv, -1, ssize_t, recv, (int fd, void* data, std::size_t size, int flags),
        (fd, data, size, flags))
FAILING(send, -1, ssize_t, send, (int fd, const void* data, std::size_t size, int flags),
        (fd, data, size, flags))
FAILING(spawn, errno, int, posix_spawn,
        (pid_t * process, const char* path, const posix_spawn_file_actions_t* actions,
         const posix_spawnattr_t* attributes, char* const arguments[], char* const environment[]),
        (process, path, actions, attributes, arguments, environment))
FAILING(waitpid, -1, pid_t, waitpid, (pid_t process, int* status, int options),
        (process, status, options))

// Functions that the C library declares noexcept.
#define FAILING_QUIETLY(call, name, parameters, arguments)                                         \
    int name parameters noexcept {                                                                 \
        FAIL_AS_PLANNED(call, -1)                                                                  \
        static auto* const function = next<int parameters>(#name);                                 \
        return function arguments;                                                                 \
    }

FAILING_QUIETLY(bind, bind, (int fd, const sockaddr* address, socklen_t size), (fd, address, size))
FAILING_QUIETLY(fork, fork, (), ())
FAILING_QUIETLY(ftruncate, ftruncate64, (int fd, off64_t size), (fd, size))
FAILING_QUIETLY(listen, listen, (int fd, int backlog), (fd, backlog))
FAILING_QUIETLY(mkdir, mkdir, (const char* path, mode_t mode), (path, mode))
FAILING_QUIETLY(pipe, pipe2, (int ends[2], int flags), (ends, flags))
FAILING_QUIETLY(renameat, renameat,
                (int old_folder, const char* old_name, int folder, const char* name),
                (old_folder, old_name, folder, name))
FAILING_QUIETLY(signalfd, signalfd, (int fd, const sigset_t* set, int flags), (fd, set, flags))
FAILING_QUIETLY(sigprocmask, sigprocmask, (int how, const sigset_t* set, sigset_t* old),
                (how, set, old))
FAILING_QUIETLY(socket, socket, (int domain, int type, int protocol), (domain, type, protocol))
FAILING_QUIETLY(stat, stat64, (const char* path, struct stat64* status), (path, status))
FAILING_QUIETLY(statvfs, statvfs64, (const char* path, struct statvfs64* status), (path, status))
FAILING_QUIETLY(timer_create, timerfd_create, (clockid_t clock, int flags), (clock, flags))
FAILING_QUIETLY(timer_set, timerfd_settime,
                (int fd, int flags, const itimerspec* setting, itimerspec* old),
                (fd, flags, setting, old))

// A mode follows where a file may be made.
#define MODE_BEHIND(flags)                                                                         \
    std::va_list rest;                                                                             \
    va_start(rest, flags);                                                                         \
    const mode_t mode = ((flags)&O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;                         \
    va_end(rest);

int open64(const char* path, int flags, ...) {
    FAIL_AS_PLANNED(open, -1)
    static auto* const function = next<int(const char*, int, ...)>("open64");
    MODE_BEHIND(flags)
    return function(path, flags, mode);
}

int openat64(int folder, const char* path, int flags, ...) {
    FAIL_AS_PLANNED(openat, -1)
    static auto* const function = next<int(int, const char*, int, ...)>("openat64");
    MODE_BEHIND(flags)
    return function(folder, path, flags, mode);
}

// Sanitizers bring their own allocator.
#ifndef VTRDC_TEST_LEAVE_MEMORY

// glibc's own names: looking them up by dlsym would allocate.
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);

void* malloc(std::size_t size) noexcept {
    FAIL_AS_PLANNED(malloc, nullptr)
    return __libc_malloc(size);
}

// Compilers turn malloc and memset into this.
void* calloc(std::size_t count, std::size_t size) noexcept {
    FAIL_AS_PLANNED(malloc, nullptr)
    return __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size) noexcept {
    FAIL_AS_PLANNED(realloc, nullptr)
    return __libc_realloc(block, size);
}

#endif
}

#ifndef VTRDC_TEST_LEAVE_MEMORY

// As required: allocate, else call the new handler.
void* operator new(std::size_t size) {
    bool planned = fails(failing_call::new_object, __builtin_return_address(0));
    for (;;) {
        void* const block = planned ? nullptr : __libc_malloc(size);
        planned = false;
        if (block != nullptr) {
            return block;
        }
        const std::new_handler handler = std::get_new_handler();
        if (handler == nullptr) {
            throw std::bad_alloc{};
        }
        handler();
    }
}

#endif
