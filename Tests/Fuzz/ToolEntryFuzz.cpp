// The tool's whole entry, with the words, environment and user that the input says, and every system call that acts
// stood in for: it does what was asked or fails, as the input says. What is held: nothing runs before the process is
// root, only the table's lines do, in a clean environment, and no argument leaves its quotes.

#include "Helper Tool/CallerEnvironment.h"
#include "Helper Tool/OrvaneTool.h"
#include "Helper Tool/ToolEntry.h"
#include "Support/OVLog.h"
#include "Tests/Fuzz/Fuzz.h"

#include <cerrno>
#include <csignal>
#include <pwd.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>
#include <vector>

using namespace orvane;

namespace {

/// Thrown where the process would end. Nothing of the tool's is destroyed on the way, and what it held is lost.
struct Ended {
    int status;
};

/// The process as its calls see it; there is one while the tool runs.
struct World {
    uid_t realUser = 0;
    uid_t effectiveUser = 0;
    std::vector<std::uint8_t> choices; ///< of the calls' outcomes, in order; success behind their end
    std::size_t next = 0;
    bool isPrivileged = false; ///< `setuid(0)` was accepted
    std::string taskName;
    std::string argument;

    bool fails() { return next < choices.size() && (choices[next++] & 1U) != 0; }
    int number() { return next < choices.size() ? static_cast<signed char>(choices[next++]) : 77; }
    int outcome(int error = EPERM) {
        if (fails()) {
            errno = error;
            return -1;
        }
        return 0;
    }
};

World* world = nullptr;

class Silence final : public OVLogSink {
  public:
    void logMessage(const char* message) override { FUZZ_CHECK(fuzz::isText(message)); }
};

bool isClean(std::string_view entry) {
    for (const char* name : {"HOME=", "USER=", "LOGNAME="}) {
        if (entry.starts_with(name)) {
            return true; // of the password database
        }
    }
    const std::size_t equals = entry.find('=');
    const std::string_view name = entry.substr(0, equals);
    return entry == "PATH=/usr/bin:/bin:/usr/sbin:/sbin" ||
           ((name == "LANG" || name == "TERM" || name.starts_with("LC_")) &&
            isHarmlessEnvironmentValue(entry.substr(equals + 1)));
}

/// Before anything is executed.
void checkState() {
    FUZZ_CHECK(world->isPrivileged);
    FUZZ_CHECK(OrvaneTool::inputOfTask(world->taskName));
    if (world->realUser != 0) {
        for (char** entry = environ; *entry != nullptr; ++entry) {
            FUZZ_CHECK(isClean(*entry));
        }
    }
}

} // namespace

// Every call that the linker turns to here does its own work when no tool runs: the fuzzer's run time makes them, too.
// NOLINTBEGIN(bugprone-reserved-identifier)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-parameter"
#define STAND_IN(result, name, parameters, words, ...)                                                                 \
    extern "C" result __real_##name parameters;                                                                        \
    extern "C" result __wrap_##name parameters {                                                                       \
        if (world == nullptr) {                                                                                        \
            return __real_##name words;                                                                                \
        }                                                                                                              \
        __VA_ARGS__                                                                                                    \
    }

using Handler = void (*)(int);

STAND_IN(uid_t, getuid, (), (), { return world->realUser; })
STAND_IN(uid_t, geteuid, (), (), { return world->effectiveUser; })
STAND_IN(int, setuid, (uid_t user), (user), {
    FUZZ_CHECK(user == 0);
    if (world->effectiveUser != 0) {
        errno = EPERM;
        return -1;
    }
    const int result = world->outcome();
    world->isPrivileged = world->isPrivileged || result == 0;
    return result;
})
STAND_IN(int, seteuid, (uid_t user), (user),
         { return world->effectiveUser == 0 || world->realUser == 0 ? world->outcome() : -1; })
STAND_IN(int, setreuid, (uid_t real, uid_t effective), (real, effective),
         { return world->effectiveUser == 0 ? world->outcome() : -1; })
STAND_IN(int, chown, (const char* path, uid_t user, gid_t group), (path, user, group), {
    FUZZ_CHECK(world->taskName.ends_with("Priviliges"));
    return world->outcome();
})
STAND_IN(int, chmod, (const char* path, mode_t mode), (path, mode), {
    FUZZ_CHECK(world->taskName.ends_with("Priviliges") && ((mode & 07777U) == 04555 || (mode & 07777U) == 0500));
    return world->outcome();
})
STAND_IN(int, fchown, (int file, uid_t user, gid_t group), (file, user, group), {
    FUZZ_CHECK(world->taskName.ends_with("Priviliges"));
    return world->outcome();
})
STAND_IN(int, fchmod, (int file, mode_t mode), (file, mode), {
    FUZZ_CHECK(world->taskName.ends_with("Priviliges") && ((mode & 07777U) == 04555 || (mode & 07777U) == 0500));
    return world->outcome();
})
STAND_IN(int, system, (const char* line), (line), {
    checkState();
    const std::string_view text = line;
    FUZZ_CHECK(text.starts_with("/bin/date; ") && text.ends_with("; /bin/echo; sleep 1; /bin/date;"));
    FUZZ_CHECK(fuzz::isText(text) || world->realUser == 0);
    if (world->taskName == "secureEraseFreeSpace" && world->realUser != 0) {
        for (const char c : world->argument) {
            FUZZ_CHECK(static_cast<unsigned char>(c) >= 0x20 && c != 0x7F);
            FUZZ_CHECK(std::string_view("\"'$`\\").find(c) == std::string_view::npos);
        }
    }
    return world->fails() ? -1 : world->number() * 256;
})
STAND_IN(int, posix_spawn,
         (pid_t * process, const char* path, const posix_spawn_file_actions_t* actions,
          const posix_spawnattr_t* attributes, char* const* words, char* const* variables),
         (process, path, actions, attributes, words, variables), {
             checkState();
             FUZZ_CHECK(path == std::string_view("/bin/sh") || path == std::string_view("/usr/sbin/diskutil"));
             return EAGAIN;
         })
STAND_IN(pid_t, fork, (), (), {
    checkState();
    errno = EAGAIN;
    return -1;
})
STAND_IN(int, execv, (const char* path, char* const* words), (path, words), {
    __builtin_trap(); // only a child executes
})
STAND_IN(int, kill, (pid_t process, int signal), (process, signal), {
    __builtin_trap(); // nothing was started that could be ended
})
STAND_IN(pid_t, getpgid, (pid_t process), (process), { return world->fails() ? -1 : world->number(); })
STAND_IN(pid_t, getpgrp, (), (), { return 4711; })
STAND_IN(int, killpg, (pid_t group, int signal), (group, signal), {
    checkState();
    FUZZ_CHECK(world->taskName.starts_with("killProcess") && (group == 0 || group > 1) && signal == SIGINT);
    return world->outcome(ESRCH);
})
STAND_IN(Handler, signal, (int number, Handler handler), (number, handler), { return SIG_DFL; })
STAND_IN(int, sigprocmask, (int how, const sigset_t* signals, sigset_t* previous), (how, signals, previous), {
    if (previous != nullptr) {
        sigemptyset(previous);
    }
    return 0;
})
STAND_IN(int, setitimer, (__itimer_which_t which, const itimerval* value, itimerval* previous),
         (which, value, previous), { return 0; })
STAND_IN(int, setrlimit, (__rlimit_resource_t resource, const rlimit* limit), (resource, limit),
         { return world->outcome(); })
STAND_IN(int, getrlimit, (__rlimit_resource_t resource, rlimit* limit), (resource, limit), {
    *limit = {RLIM_INFINITY, RLIM_INFINITY};
    if (world->fails()) {
        *limit = {static_cast<rlim_t>(world->number() & 0xFF), RLIM_INFINITY};
    }
    return 0;
})
STAND_IN(mode_t, umask, (mode_t mode), (mode), { return mode; })
STAND_IN(int, chdir, (const char* path), (path), {
    FUZZ_CHECK(path == std::string_view("/var/empty") || path == std::string_view("/"));
    return world->outcome(ENOENT);
})
STAND_IN(int, mkdir, (const char* path, mode_t mode), (path, mode), {
    errno = EACCES;
    return -1;
})
// Closing what the caller left open would close the fuzzer's files.
STAND_IN(long, syscall, (long number, long first, long second, long third), (number, first, second, third),
         { return 0; })
STAND_IN(passwd*, getpwuid, (uid_t user), (user), { return world->fails() ? nullptr : __real_getpwuid(user); })
STAND_IN(void, exit, (int status), (status), { throw Ended{status}; })
// A failed assertion: the way back from root that a call refused.
STAND_IN(void, abort, (), (), { throw Ended{-1}; })
STAND_IN(void, _Exit, (int status), (status), { throw Ended{status}; })
#pragma GCC diagnostic pop
// NOLINTEND(bugprone-reserved-identifier)

/// What an ended process held is not given back.
extern "C" const char* __asan_default_options() { // NOLINT(bugprone-reserved-identifier)
    return "detect_leaks=0";
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Silence silence;
    OVSetLogSink(&silence);
    FuzzedDataProvider input(data, size);

    World here;
    constexpr uid_t kUsers[] = {0, 1, 501, 65534};
    here.realUser = input.PickValueInArray(kUsers);
    here.effectiveUser = input.ConsumeBool() ? 0 : here.realUser;
    here.choices = input.ConsumeBytes<std::uint8_t>(input.ConsumeIntegralInRange<std::size_t>(0, 24));

    // A task's name, mostly: the input would hardly come upon one.
    std::vector<std::string> words = {"OrvaneTool"};
    const int count = input.ConsumeIntegralInRange(0, 3);
    for (int index = 0; index < count; ++index) {
        std::string word = input.ConsumeRandomLengthString(80);
        if (index == 0 && input.ConsumeBool()) {
            const auto names = OrvaneTool::taskNames();
            const auto name = names[input.ConsumeIntegralInRange<std::size_t>(0, names.size() - 1)];
            word = std::string(name) + (name == "killProcess" ? " " + word : "");
        }
        words.push_back(word.substr(0, word.find('\0')));
    }
    here.taskName = words.size() > 1 ? words[1] : "";
    here.argument = words.size() > 2 ? words[2] : "";

    std::vector<std::string> entries;
    while (input.remaining_bytes() > 0) {
        const std::string entry = input.ConsumeRandomLengthString(100);
        entries.push_back(entry.substr(0, entry.find('\0')));
    }
    std::vector<const char*> argv;
    for (const std::string& word : words) {
        argv.push_back(word.c_str());
    }
    argv.push_back(nullptr);
    std::vector<char*> variables;
    for (std::string& entry : entries) {
        variables.push_back(entry.data());
    }
    variables.push_back(nullptr);

    char** const kept = environ;
    environ = variables.data();
    world = &here;
    int status = 0;
    try {
        status = toolMain(static_cast<int>(words.size()), argv.data(), secureProcessFromCaller());
        FUZZ_CHECK(here.isPrivileged);
    } catch (const Ended& ended) {
        status = ended.status;
    }
    world = nullptr;
    environ = kept;
    FUZZ_CHECK(OrvaneTool::inputOfTask(here.taskName) || status != 0 || words.size() == 1 ||
               here.taskName.ends_with("Priviliges"));
    return 0;
}
