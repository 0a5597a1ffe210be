#include "Helper Tool/CallerEnvironment.h"

#include "Platform/Process.h"
#include "Support/OVLog.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <pwd.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

extern char** environ; // NOLINT(readability-redundant-declaration): POSIX leaves it to the program

namespace orvane {

namespace {

constexpr rlim_t kMebibyte = 1U << 20U;

/// A limit that the caller may have lowered to cut a task short.
struct Limit {
    int resource;
    const char* text;
    rlim_t wanted; ///< the soft limit becomes this at least, the hard one the highest that the system accepts
    rlim_t floor;  ///< below it no task is started, because it could lose a file
};

constexpr std::array kLimits = {
    // Lines move files away and back: a copy that is cut short loses one, and so does a shell that is ended half-way.
    Limit{RLIMIT_FSIZE, "file size", RLIM_INFINITY, RLIM_INFINITY},
    Limit{RLIMIT_CPU, "processor time", RLIM_INFINITY, RLIM_INFINITY},
    // A program without memory fails, and the line goes on to the next: enough for any program of the lines.
    Limit{RLIMIT_DATA, "data size", RLIM_INFINITY, 64 * kMebibyte},
    Limit{RLIMIT_AS, "address space", RLIM_INFINITY, 256 * kMebibyte},
    // A command's arguments may take a quarter of it. "No limit" would make Linux place a program's memory less at
    // random.
    Limit{RLIMIT_STACK, "stack size", 8 * kMebibyte, kMebibyte},
    // The most that macOS accepts for the soft one. Programs that walk a deep folder hold some tens of descriptors.
    Limit{RLIMIT_NOFILE, "open files", 10240, 64},
    // Root is exempt, but not the root of a container; other processes of root's count as well.
    Limit{RLIMIT_NPROC, "processes", RLIM_INFINITY, 64},
};

[[noreturn]] void refuse(const char* what) {
    OVLog("Command-line tool: %s: error %d", what, errno);
    std::_Exit(EXIT_FAILURE);
}

/// Timers outlive exec: one set by the caller would end a task half-way.
void cancelTimers() {
    const itimerval none = {};
    for (const auto timer : {ITIMER_REAL, ITIMER_VIRTUAL, ITIMER_PROF}) {
        ::setitimer(timer, &none, nullptr);
    }
}

/// The first signal of those that no program of the system's gives a meaning of its own.
constexpr int kFirstRealTimeSignal = 32;

void setDefaultActions(int first, int end) {
    for (int number = first; number < end; ++number) {
        static_cast<void>(::signal(number, SIG_DFL)); // refused for those that are not the program's to change
    }
}

/// Ignored and blocked signals outlive exec, and so do pending ones, which ignoring drops before they are unblocked. An
/// ignored real-time signal can wait until something is executed.
void resetSignals() {
    // These are macros on some systems, hence no ::.
    sigset_t pending;
    sigemptyset(&pending);
    ::sigpending(&pending);
    for (int number = 1; number < NSIG; ++number) {
        if (sigismember(&pending, number) == 1) {
            static_cast<void>(::signal(number, SIG_IGN));
        }
    }
    setDefaultActions(1, kFirstRealTimeSignal);
    sigset_t all;
    sigfillset(&all);
    ::sigprocmask(SIG_UNBLOCK, &all, nullptr); // NOLINT(concurrency-mt-unsafe): there is one thread
}

bool isKeptName(std::string_view name) {
    constexpr std::string_view kCategory = "LC_";
    constexpr std::size_t kLongest = 32;
    return name == "LANG" || name == "TERM" ||
           (name.starts_with(kCategory) && name.size() > kCategory.size() && name.size() <= kLongest &&
            name.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ", kCategory.size()) == std::string_view::npos);
}

/// The tool's commands see a path of the system's folders and the caller's names of locale and terminal, each once.
void rebuildEnvironment() {
    static constinit char path[] = "PATH=/usr/bin:/bin:/usr/sbin:/sbin";
    // Room for more than there are, but not for so many that a command's own arguments would be too long.
    static constinit std::array<char*, 34> variables = {path};
    auto end = variables.begin() + 1;
    for (char** entry = environ; entry != nullptr && *entry != nullptr && end != variables.end() - 1; ++entry) {
        const std::string_view text = *entry;
        const std::string_view name = text.substr(0, text.find('='));
        const auto isSame = [&](const char* other) {
            return std::string_view(other).starts_with(text.substr(0, name.size() + 1));
        };
        if (name.size() < text.size() && isKeptName(name) && isHarmlessEnvironmentValue(text.substr(name.size() + 1)) &&
            std::none_of(variables.begin(), end, isSame)) {
            *end++ = *entry;
        }
    }
    *end = nullptr;
    environ = variables.data();
}

void setVariable(const char* name, const char* value) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): there is one thread
    if (::setenv(name, value, 1) != 0) {
        refuse("cannot set the environment");
    }
}

void raiseLimit(const Limit& limit) {
    rlimit now = {};
    if (::getrlimit(limit.resource, &now) != 0) {
        return;
    }
    const rlim_t soft = std::max(now.rlim_cur, limit.wanted); // "no limit" is the largest number there is
    // The best that is accepted: systems have ceilings of their own, and root may lack the right to raise a hard limit.
    for (const rlimit best : {rlimit{soft, RLIM_INFINITY}, rlimit{soft, std::max(soft, now.rlim_max)},
                              rlimit{std::min(soft, now.rlim_max), now.rlim_max}}) {
        if (::setrlimit(limit.resource, &best) == 0) {
            return;
        }
    }
}

/// Ends the process where a limit that could not be raised is too low for a task.
void refuseLowLimits() {
    for (const Limit& limit : kLimits) {
        rlimit now = {};
        if (::getrlimit(limit.resource, &now) == 0 && now.rlim_cur >= limit.floor) {
            continue;
        }
        // Standard error may be a file, for which the line may be too long.
        static_cast<void>(::signal(SIGXFSZ, SIG_IGN));
        OVLog("Command-line tool: the caller's limit of %s is too low and cannot be raised, nothing was run",
              limit.text);
        std::_Exit(EXIT_FAILURE);
    }
}

void secureDescriptors() {
    if (!Process::current().closeDescriptorsFrom(STDERR_FILENO + 1)) {
        refuse("cannot close inherited descriptors");
    }
    // A command that opens a file must not get it as its standard output or error. Closed ones may come here open the
    // wrong way round: a privileged program's C library fills them so that any use of them fails.
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        const int flags = ::fcntl(descriptor, F_GETFL);
        const int useless = descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY;
        if (flags == -1 || (flags & O_ACCMODE) == useless) {
            const int null = ::open("/dev/null", O_RDWR);
            if (null == -1 || (null != descriptor && ::dup2(null, descriptor) != descriptor)) {
                refuse("cannot open /dev/null");
            }
            if (null > STDERR_FILENO) {
                ::close(null);
            }
        }
    }
}

} // namespace

uid_t secureProcessFromCaller() {
    const uid_t realUserID = ::getuid();
    if (realUserID == 0) {
        return realUserID;
    }
    cancelTimers();
    resetSignals();
    rebuildEnvironment();
    // A caller's low limit must not cut a list or a file short in the middle of a task.
    const rlimit noCore = {0, 0};
    ::setrlimit(RLIMIT_CORE, &noCore);
    std::for_each(kLimits.begin(), kLimits.end(), raiseLimit);
    secureDescriptors();
    ::umask(022);
    if (!enterEmptyFolder() && ::chdir("/") != 0) {
        refuse("cannot leave the caller's folder");
    }
    return realUserID;
}

void prepareForTask(uid_t realUserID) {
    if (realUserID == 0) {
        return;
    }
    refuseLowLimits();
    setDefaultActions(kFirstRealTimeSignal, NSIG);
    const passwd* const account = ::getpwuid(realUserID); // NOLINT(concurrency-mt-unsafe): there is one thread
    const bool hasHome = account != nullptr && account->pw_dir != nullptr && account->pw_dir[0] == '/';
    setVariable("HOME", hasHome ? account->pw_dir : "/"); // else no folder of anybody's
    if (account != nullptr && account->pw_name != nullptr) {
        setVariable("USER", account->pw_name);
        setVariable("LOGNAME", account->pw_name);
    }
}

bool isHarmlessEnvironmentValue(std::string_view value) {
    constexpr std::size_t kLongest = 64;
    constexpr std::string_view kPlain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789._-+@";
    return !value.empty() && value.size() <= kLongest && value.front() != '.' &&
           value.find_first_not_of(kPlain) == std::string_view::npos;
}

bool enterEmptyFolder() {
    struct stat here = {};
    return ::chdir("/var/empty") == 0 && ::stat(".", &here) == 0 && here.st_uid == 0 &&
           (here.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

bool holdsShellCharacter(std::string_view text) {
    const auto isControl = [&](std::size_t index) {
        const auto c = static_cast<unsigned char>(text[index]);
        const auto next = static_cast<unsigned char>(index + 1 < text.size() ? text[index + 1] : 0);
        return c < 0x20 || c == 0x7F || (c == 0xC2 && next >= 0x80 && next <= 0x9F);
    };
    for (std::size_t index = 0; index < text.size(); ++index) {
        // The one line of that kind puts what stands between double quotes between single quotes as well.
        if (isControl(index) || std::string_view("\"'$`\\").find(text[index]) != std::string_view::npos) {
            return true;
        }
    }
    return false;
}

} // namespace orvane
