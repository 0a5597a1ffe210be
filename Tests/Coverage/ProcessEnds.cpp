// For programs that count what is executed: writes the counts also where a process ends without its exit handlers or
// becomes another program, and where a limit allows no file, leaves them unwritten instead of dying of it. The linker
// brings the calls here (--wrap).

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/resource.h>
#include <unistd.h>

// NOLINTBEGIN(bugprone-reserved-identifier): the linker's names.
extern "C" {

#include <gcov.h> // GCC 12's is for C alone

[[noreturn]] void __real__exit(int status);
[[noreturn]] void __real__Exit(int status);
[[noreturn]] void __real_abort();
char* __real_getenv(const char* name);

static void writeCounts() {
    rlimit limit = {};
    if (::getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur == RLIM_INFINITY) {
        __gcov_dump();
    }
}

[[noreturn]] void __wrap__exit(int status) {
    writeCounts();
    __real__exit(status);
}

[[noreturn]] void __wrap__Exit(int status) {
    writeCounts();
    __real__Exit(status);
}

[[noreturn]] void __wrap_abort() {
    writeCounts();
    __real_abort();
}

/// What GCC calls for execv where it counts.
int __wrap___gcov_execv(const char* path, char* const* words) {
    writeCounts();
    const int result = ::execv(path, words);
    __gcov_reset();
    return result;
}

/// On the stage the counts go to a folder that is lent to it: said here, since the tool cleans its environment, and a
/// program that it starts must see nothing of it.
char* __wrap_getenv(const char* name) {
    static char folder[] = "/stage/counts";
    if (std::strcmp(name, "GCOV_PREFIX") == 0) {
        return ::access(folder, F_OK) == 0 ? folder : nullptr;
    }
    return __real_getenv(name);
}

} // extern "C"
// NOLINTEND(bugprone-reserved-identifier)

/// The first to be registered is the last to be called, before the library would write by itself.
__attribute__((constructor(101))) static void writeCountsAtLast() {
    ::on_exit(
        [](int status, void* /*nothing*/) {
            std::fflush(nullptr);
            __wrap__exit(status);
        },
        nullptr);
}
