// TerminalStartBenchmark ORVANE: `orvane tasks` from its start to its end, against /bin/true, started in turn. Exits
// with 1 when the ratio of the medians is above its bound.

#include "Benchmarks/Measurement.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <vector>

namespace {

using namespace orvane::bench;

constexpr int kRounds = 500;
constexpr double kBound = 5;

double millisecondsOf(const std::string& path) {
    std::string program = path;
    std::string command = "tasks";
    std::array<char*, 3> words = {program.data(), command.data(), nullptr};
    std::array<char*, 1> environment = {nullptr};
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    int status = 0;
    const double start = now();
    if (::posix_spawn(&child, path.c_str(), &actions, nullptr, words.data(), environment.data()) != 0 ||
        ::waitpid(child, &status, 0) != child || status != 0) {
        fail(path.c_str());
    }
    const double time = (now() - start) * 1000;
    ::posix_spawn_file_actions_destroy(&actions);
    return time;
}

} // namespace

int main(int argc, char* argv[]) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: TerminalStartBenchmark ORVANE\n");
        return 2;
    }
    std::vector<double> orvane;
    std::vector<double> least;
    for (int round = 0; round < kRounds; ++round) {
        least.push_back(millisecondsOf("/bin/true"));
        orvane.push_back(millisecondsOf(argv[1]));
    }
    std::printf("orvane tasks: %.2f ms, /bin/true %.2f ms (medians of %d)\n", median(orvane), median(least), kRounds);
    return report("start of orvane tasks", median(orvane) / median(least), kBound) ? 0 : 1;
}
