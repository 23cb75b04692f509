// The sanitizers' defaults in tests; their environment variables override them.
#ifdef __SANITIZE_ADDRESS__

extern "C" {

// A too large allocation must fail as without the sanitizer. Leaks are only checked where nothing
// but the daemon's code runs.
const char* __asan_default_options() {
#ifdef VTRDC_LOOK_FOR_LEAKS
    return "allocator_may_return_null=1";
#else
    return "allocator_may_return_null=1:detect_leaks=0";
#endif
}

// GLib keeps tables until the process ends; its stacks can't be told apart.
const char* __lsan_default_suppressions() {
    return "leak:g_malloc\n";
}
}

#endif

#ifdef __SANITIZE_THREAD__

extern "C" {

// Only instrumented code is checked. GLib's locks are futexes that the sanitizer doesn't see, so
// data passed between threads under them looks like a race: stamps and flags of a buffer that
// arrives at an inter-pipe sink, and what tests push and pull.
const char* __tsan_default_options() {
    return "ignore_noninstrumented_modules=1:history_size=4";
}
const char* __tsan_default_suppressions() {
    return "race:in_running_time\n"
           "race:is_delta\n"
           "race:tests/sim/\n"
           "race:testing::internal\n";
}
}

#endif
