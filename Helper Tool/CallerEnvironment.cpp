#include "Helper Tool/CallerEnvironment.h"

#include "Platform/Process.h"
#include "Support/OVLog.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
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

constexpr std::string_view kPath = "/usr/bin:/bin:/usr/sbin:/sbin";

/// The home of a user whom the password database does not know: no folder of anybody's.
constexpr const char* kNoHome = "/";

/// Where a task works: a folder of root's in which systems keep nothing.
constexpr const char* kEmptyFolder = "/var/empty";

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

/// Brings one signal back to its default action; ignoring drops a pending one first.
void resetSignal(int number, bool isPending) {
    struct sigaction action = {};
    if (::sigaction(number, nullptr, &action) != 0) {
        return; // one that the C library keeps for itself
    }
    if (isPending) {
        action.sa_handler = SIG_IGN;
        ::sigaction(number, &action, nullptr);
    }
    if (action.sa_handler != SIG_DFL) {
        action.sa_handler = SIG_DFL;
        ::sigaction(number, &action, nullptr);
    }
}

/// Ignored and blocked signals outlive exec, and so do pending ones, which must go before they are unblocked. An
/// ignored real-time signal can wait until something is executed.
void resetSignals() {
    // These are macros on some systems, hence no ::.
    sigset_t pending;
    sigemptyset(&pending);
    ::sigpending(&pending);
    for (int number = 1; number < NSIG; ++number) {
        const bool isPending = sigismember(&pending, number) == 1;
        if (isPending || number < kFirstRealTimeSignal) {
            resetSignal(number, isPending);
        }
    }
    sigset_t all;
    sigfillset(&all);
    ::sigprocmask(SIG_UNBLOCK, &all, nullptr); // NOLINT(concurrency-mt-unsafe): there is one thread
}

void resetRealTimeSignals() {
    for (int number = kFirstRealTimeSignal; number < NSIG; ++number) {
        resetSignal(number, false);
    }
}

bool isKeptName(std::string_view name) {
    constexpr std::size_t kLongest = 32;
    if (name.size() > kLongest) {
        return false;
    }
    if (name == "LANG" || name == "TERM") {
        return true;
    }
    constexpr std::string_view kCategory = "LC_";
    if (!name.starts_with(kCategory) || name.size() == kCategory.size()) {
        return false;
    }
    name.remove_prefix(kCategory.size());
    return std::all_of(name.begin(), name.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
}

/// The environment that the tool's commands see. `environ` points into it until the process ends; it has room of its
/// own so that nothing of it is anywhere else.
class Environment {
  public:
    static Environment& shared() {
        static constinit Environment environment;
        return environment;
    }

    /// Adds a variable that is not there yet, as far as there is room.
    void add(std::string_view name, std::string_view value) {
        const std::size_t size = name.size() + 1 + value.size() + 1;
        if (count_ + 1 >= pointers_.size() || size > text_.size() - used_ || has(name)) {
            return;
        }
        char* const entry = text_.data() + used_;
        char* end = std::copy(name.begin(), name.end(), entry);
        *end++ = '=';
        end = std::copy(value.begin(), value.end(), end);
        *end = '\0';
        used_ += size;
        pointers_[count_++] = entry;
    }

    void install() { environ = pointers_.data(); }

  private:
    [[nodiscard]] bool has(std::string_view name) const {
        return std::any_of(pointers_.data(), pointers_.data() + count_, [&](const char* entry) {
            const std::string_view other = entry;
            return other.starts_with(name) && other.substr(name.size()).starts_with('=');
        });
    }

    // What is always touched stands together.
    std::size_t count_ = 0;
    std::size_t used_ = 0;
    std::array<char*, 64> pointers_ = {}; ///< the last one is always null
    std::array<char, 16384> text_ = {};
};

void addKeptValues(Environment& environment) {
    int left = 32; // more than there are; the account must find room
    for (char** entry = environ; entry != nullptr && *entry != nullptr && left > 0; ++entry) {
        const std::string_view text = *entry;
        const std::size_t equals = text.find('=');
        if (equals == std::string_view::npos) {
            continue;
        }
        const std::string_view name = text.substr(0, equals);
        const std::string_view value = text.substr(equals + 1);
        if (isKeptName(name) && isHarmlessEnvironmentValue(value)) {
            environment.add(name, value);
            --left;
        }
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

/// A caller's low limit must not cut a list or a file short in the middle of a task.
void raiseLimits() {
    const rlimit noCore = {0, 0};
    ::setrlimit(RLIMIT_CORE, &noCore);
    for (const Limit& limit : kLimits) {
        raiseLimit(limit);
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

void leaveCallersFolder() {
    if (!enterEmptyFolder() && ::chdir("/") != 0) {
        refuse("cannot leave the caller's folder");
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

    Environment& environment = Environment::shared();
    environment.add("PATH", kPath);
    addKeptValues(environment);
    environment.install();

    raiseLimits();
    secureDescriptors();
    ::umask(022);
    leaveCallersFolder();
    return realUserID;
}

void prepareForTask(uid_t realUserID) {
    if (realUserID == 0) {
        return;
    }
    refuseLowLimits();
    resetRealTimeSignals();
    Environment& environment = Environment::shared();
    const passwd* const account = ::getpwuid(realUserID); // NOLINT(concurrency-mt-unsafe): there is one thread
    const bool hasHome = account != nullptr && account->pw_dir != nullptr && account->pw_dir[0] == '/';
    environment.add("HOME", hasHome ? account->pw_dir : kNoHome);
    if (account != nullptr && account->pw_name != nullptr) {
        environment.add("USER", account->pw_name);
        environment.add("LOGNAME", account->pw_name);
    }
}

bool isHarmlessEnvironmentValue(std::string_view value) {
    constexpr std::size_t kLongest = 64;
    constexpr std::string_view kPunctuation = "._-+@";
    return !value.empty() && value.size() <= kLongest && value.front() != '.' &&
           std::all_of(value.begin(), value.end(), [&](char c) {
               return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                      kPunctuation.find(c) != std::string_view::npos;
           });
}

bool enterEmptyFolder() {
    struct stat here = {};
    return ::chdir(kEmptyFolder) == 0 && ::stat(".", &here) == 0 && here.st_uid == 0 &&
           (here.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

bool holdsShellCharacter(std::string_view text) {
    for (std::size_t index = 0; index < text.size(); ++index) {
        const auto c = static_cast<unsigned char>(text[index]);
        const auto next = static_cast<unsigned char>(index + 1 < text.size() ? text[index + 1] : 0);
        const bool isControl = c < 0x20 || c == 0x7F || (c == 0xC2 && next >= 0x80 && next <= 0x9F);
        // The one line of that kind puts what stands between double quotes between single quotes as well.
        if (isControl || c == '"' || c == '\'' || c == '$' || c == '`' || c == '\\') {
            return true;
        }
    }
    return false;
}

} // namespace orvane
