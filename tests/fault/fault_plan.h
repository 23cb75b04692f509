// Tells the preloaded library which call of a program must fail, through a file mapped by both.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

// The environment variable with the file's name.
inline constexpr const char* FAULT_PLAN_VARIABLE = "VTRDC_TEST_FAULT_PLAN";

enum class failing_call : int {
    none,
    accept,
    bind,
    fflush,
    fopen,
    fork,
    fread,
    fsync,
    ftruncate,
    fwrite,
    listen,
    malloc,
    mkdir,
    new_object,
    open,
    openat,
    opendir,
    pipe,
    poll,
    pread,
    pwrite,
    read,
    realloc,
    recv,
    renameat,
    send,
    signalfd,
    sigprocmask,
    socket,
    spawn,
    stat,
    statvfs,
    timer_create,
    timer_set,
    waitpid,
    count
};
inline constexpr auto FAILING_CALLS = static_cast<std::size_t>(failing_call::count);

struct fault_plan {
    // Set by the test: the call, its count from now on (1 is the next), and the resulting errno.
    std::atomic<failing_call> call;
    std::atomic<int> number;
    std::atomic<int> error;
    // Set by the library: number of calls of each kind, and the address from which the failed one
    // was made; 0 until then.
    std::array<std::atomic<int>, FAILING_CALLS> made;
    std::atomic<std::uintptr_t> failed_from;
};
static_assert(std::atomic<std::uintptr_t>::is_always_lock_free &&
              std::atomic<failing_call>::is_always_lock_free);
