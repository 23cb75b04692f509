// What the sanitizers assume in tests unless their variables say otherwise.
#ifdef __SANITIZE_ADDRESS__

extern "C" {

// An allocation that is too large shall fail as it does without the sanitizer. Leaks are looked
// for where nothing but the daemon's own code runs.
const char* __asan_default_options() {
#ifdef VTRDC_LOOK_FOR_LEAKS
    return "allocator_may_return_null=1";
#else
    return "allocator_may_return_null=1:detect_leaks=0";
#endif
}

// GLib keeps tables of its own until the process ends; its stacks are not told apart further.
const char* __lsan_default_suppressions() {
    return "leak:g_malloc\n";
}
}

#endif

#ifdef __SANITIZE_THREAD__

extern "C" {

// Only what is built with the sanitizer is looked at. The locks of GLib are made of futexes that it
// does not see, so what GStreamer hands from one thread to another under them seems unguarded: the
// stamps and flags of a buffer that arrives at an inter-pipe sink, and what tests push and pull.
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
