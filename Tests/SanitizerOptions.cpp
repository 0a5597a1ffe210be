// For the tool as the sanitizers build it: the leak checker traces its own process, which the system forbids once the
// user id has changed. Leaks are looked for where the same code runs in the unit tests.
extern "C" const char* __asan_default_options() { // NOLINT(bugprone-reserved-identifier): the sanitizer's name
    return "detect_leaks=0";
}
