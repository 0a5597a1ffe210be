// StartBenchmark TOOL BASELINE: the tool from its start to its exit on an unknown task name, against the least that a
// setuid program can do, started in turn. Prints the ratio of the median times and of the peak memory; exits with 1
// when a ratio is above its bound.

#include "Benchmarks/Measurement.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <grp.h>
#include <spawn.h>
#include <string>
#include <sys/ptrace.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using namespace orvane::bench;

constexpr int kRounds = 2000;
constexpr double kTimeBound = 1.15;
constexpr double kMemoryBound = 1.5;
constexpr uid_t kOrdinaryUser = 65534;

[[noreturn]] void execute(const std::string& path) {
    std::string name = "noSuchTask";
    std::string program = path;
    std::array<char*, 3> words = {program.data(), name.data(), nullptr};
    std::array<char*, 3> environment = {const_cast<char*>("PATH=/usr/bin:/bin"), const_cast<char*>("LANG=C.UTF-8"),
                                        nullptr};
    ::execve(path.c_str(), words.data(), environment.data());
    ::_exit(127);
}

void become(uid_t user) {
    if (user != 0 && (::setgroups(0, nullptr) != 0 || ::setgid(user) != 0 || ::setuid(user) != 0)) {
        ::_exit(126);
    }
}

/// Microseconds from the start of the process to its end.
double timeOf(const std::string& path, uid_t user) {
    const double start = now();
    const pid_t child = ::vfork();
    if (child == 0) {
        if (user != 0) {
            // vfork lends the memory, not the credentials: these are the child's own.
            become(user);
        }
        execute(path);
    }
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, 0) != child) {
        fail("start");
    }
    const double time = (now() - start) * 1e6;
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 255) {
        std::fprintf(stderr, "%s: unexpected status %d\n", path.c_str(), status);
        std::exit(2);
    }
    return time;
}

/// The peak of resident memory in kilobytes, read while the process stands still just before its end.
double peakMemoryOf(const std::string& path, uid_t user) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        ::raise(SIGSTOP);
        become(user);
        execute(path);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    ::ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACEEXIT | PTRACE_O_EXITKILL);
    double peak = 0;
    ::ptrace(PTRACE_CONT, child, nullptr, nullptr);
    while (::waitpid(child, &status, 0) == child && WIFSTOPPED(status)) {
        if (status >> 8 == (SIGTRAP | (PTRACE_EVENT_EXIT << 8))) {
            std::FILE* const file = std::fopen(("/proc/" + std::to_string(child) + "/status").c_str(), "re");
            std::array<char, 256> line = {};
            while (file != nullptr && std::fgets(line.data(), line.size(), file) != nullptr) {
                if (std::strncmp(line.data(), "VmHWM:", 6) == 0) {
                    peak = std::strtod(line.data() + 6, nullptr);
                }
            }
            if (file != nullptr) {
                std::fclose(file);
            }
        }
        ::ptrace(PTRACE_CONT, child, nullptr, nullptr);
    }
    return peak;
}

/// A private copy with the set-user-ID bit, so that both programs start alike.
std::string installed(const char* program, const std::string& folder, const char* name) {
    const std::string copy = folder + "/" + name;
    const std::string command = std::string("cp -- '") + program + "' '" + copy + "'";
    if (std::system(command.c_str()) != 0 || ::chown(copy.c_str(), 0, 0) != 0 || ::chmod(copy.c_str(), 04555) != 0) {
        fail(program);
    }
    return copy;
}

bool compare(const std::string& tool, const std::string& baseline, uid_t user) {
    std::vector<double> toolTimes;
    std::vector<double> baselineTimes;
    for (int round = 0; round < kRounds; ++round) {
        const bool toolFirst = round % 2 == 0;
        if (toolFirst) {
            toolTimes.push_back(timeOf(tool, user));
        }
        baselineTimes.push_back(timeOf(baseline, user));
        if (!toolFirst) {
            toolTimes.push_back(timeOf(tool, user));
        }
    }
    const std::string who = user == 0 ? "as root" : "setuid, by an ordinary user";
    std::printf("start to exit, %s: tool %.0f us, baseline %.0f us (medians of %d)\n", who.c_str(), median(toolTimes),
                median(baselineTimes), kRounds);
    const bool fast = report(("start to exit, " + who).c_str(), median(toolTimes) / median(baselineTimes), kTimeBound);
    const double toolPeak = peakMemoryOf(tool, user);
    const double baselinePeak = peakMemoryOf(baseline, user);
    std::printf("peak memory, %s: tool %.0f kB, baseline %.0f kB\n", who.c_str(), toolPeak, baselinePeak);
    return report(("peak memory, " + who).c_str(), toolPeak / baselinePeak, kMemoryBound) && fast;
}

} // namespace

int main(int argc, char* argv[]) {
    if (argc != 3 || ::getuid() != 0) {
        std::fprintf(stderr, "usage, as root: StartBenchmark TOOL BASELINE\n");
        return 2;
    }
    std::string folder = "/tmp/orvane-start.XXXXXX";
    if (::mkdtemp(folder.data()) == nullptr || ::chmod(folder.c_str(), 0755) != 0) {
        fail("mkdtemp");
    }
    const std::string tool = installed(argv[1], folder, "tool");
    const std::string baseline = installed(argv[2], folder, "baseline");
    const bool asRoot = compare(tool, baseline, 0);
    const bool asUser = compare(tool, baseline, kOrdinaryUser);
    ::unlink(tool.c_str());
    ::unlink(baseline.c_str());
    ::rmdir(folder.c_str());
    return asRoot && asUser ? 0 : 1;
}
