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
