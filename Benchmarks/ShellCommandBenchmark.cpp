// ShellCommandBenchmark: OVShellCommand against the least that a C program does, in turn and in the same process.
// Prints the ratios of the median times; exits with 1 when one is above its bound.
//
// ShellCommandBenchmark --write ascii|multibyte: the child of the streaming part.

#include "Benchmarks/Measurement.h"
#include "Benchmarks/bare_process.h"
#include "Tasks/OVShellCommand.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

namespace {

using namespace orvane;
using bench::median;
using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr int kStreamRounds = 9;
constexpr long long kStreamBytes = 1LL << 30;
constexpr double kAsciiStreamBound = 1.00;
constexpr double kMultibyteStreamBound = 1.10;
constexpr long kStreamMemoryBound = 1024; // KiB
constexpr int kStarts = 1000;
constexpr double kStartBound = 0.95;
constexpr std::size_t kLargeHost = std::size_t{1} << 30;
constexpr int kLargeHostStarts = 200;
constexpr double kLargeHostBound = 2.0;
constexpr int kCancels = 25;
constexpr double kCancelBound = 0.6;

bool allHeld = true;

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "shell_command_benchmark: %s went wrong\n", what);
    std::exit(2);
}

void hold(double value, double bound) {
    if (value > bound) {
        std::printf("  ABOVE ITS BOUND\n");
        allHeld = false;
    }
    std::fflush(stdout);
}

double timed(const std::function<void()>& work) {
    const auto start = Clock::now();
    work();
    return Seconds(Clock::now() - start).count();
}

class Counter final : public OVShellCommandDelegate {
  public:
    void shellCommandHasOutputAvailable(std::optional<std::string_view> chunk) override {
        bytes += chunk ? static_cast<long long>(chunk->size()) : 0;
    }
    bool shellCommandShouldCancel() override { return false; }

    long long bytes = 0;
};

/// Cancels from a time on, and lets go of a descriptor as soon as the child has been started.
class Canceller final : public OVShellCommandDelegate {
  public:
    Canceller(Clock::duration after, int descriptor) : from(Clock::now() + after), descriptor_(descriptor) {}
    void shellCommandHasOutputAvailable(std::optional<std::string_view>) override {}
    bool shellCommandShouldCancel() override {
        if (++questions_ == 2) {
            ::close(descriptor_);
        }
        return Clock::now() >= from;
    }

    Clock::time_point from;

  private:
    int descriptor_;
    int questions_ = 0;
};

int write(bool multibyte) {
    // Characters of one to four bytes; the pattern's length divides a chunk, so that none is cut.
    const std::string pattern = multibyte ? "\u0416\u20AC\u00E9\U0001F600z\u042F\u0434" : "Sixteen letters\n";
    static std::array<char, 65536> block;
    for (std::size_t at = 0; at < block.size(); ++at) {
        block[at] = pattern[at % pattern.size()];
    }
    for (long long total = 0; total < kStreamBytes;) {
        const ssize_t count = ::write(STDOUT_FILENO, block.data(), block.size());
        if (count != static_cast<ssize_t>(block.size())) {
            return 1;
        }
        total += count;
    }
    return 0;
}

long peakMemory() {
    rusage usage = {};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

void measureStream(const char* self, const char* kind, double bound) {
    std::vector<double> bare;
    std::vector<double> polled;
    std::vector<double> runner;
    std::array<char*, 4> words = {const_cast<char*>(self), const_cast<char*>("--write"), const_cast<char*>(kind),
                                  nullptr};
    const long before = peakMemory();
    for (int round = 0; round < kStreamRounds; ++round) {
        bare.push_back(timed([&] {
            if (bare_stream(self, words.data()) != kStreamBytes) {
                fail("the bare stream");
            }
        }));
        polled.push_back(timed([&] {
            if (polled_stream(self, words.data()) != kStreamBytes) {
                fail("the polled stream");
            }
        }));
        runner.push_back(timed([&] {
            Counter counter;
            if (OVShellCommand().runCommandAtPath(self, {"--write", kind}, &counter) != 0 ||
                counter.bytes != kStreamBytes) {
                fail("the runner's stream");
            }
        }));
    }
    const double ratio = median(runner) / median(polled);
    std::printf("stream 1 GiB, %s: %.2f of the same loop in C (%.3f s, %.3f s), at most %.2f; %.2f of bare reads\n",
                kind, ratio, median(runner), median(polled), bound, median(runner) / median(bare));
    hold(ratio, bound);
    const long growth = peakMemory() - before;
    std::printf("stream 1 GiB, %s: peak memory grew by %ld KiB, at most %ld\n", kind, growth, kStreamMemoryBound);
    hold(static_cast<double>(growth), static_cast<double>(kStreamMemoryBound));
}

void startOnce() {
    if (OVShellCommand().runCommandAtPath("/bin/true", {}, nullptr) != 0) {
        fail("the runner's start");
    }
}

void bareStartOnce() {
    std::array<char*, 2> words = {const_cast<char*>("/bin/true"), nullptr};
    if (bare_start("/bin/true", words.data()) != 0) {
        fail("the bare start");
    }
}

void measureStart() {
    std::vector<double> bare;
    std::vector<double> runner;
    for (int round = 0; round < kStarts; ++round) {
        bare.push_back(timed(bareStartOnce));
        runner.push_back(timed(startOnce));
    }
    const double ratio = median(runner) / median(bare);
    std::printf("start /bin/true: %.2f of bare pipe, fork, setsid, execv, waitpid (%.0f us, %.0f us), at most %.2f\n",
                ratio, median(runner) * 1e6, median(bare) * 1e6, kStartBound);
    hold(ratio, kStartBound);

    void* const memory = ::mmap(nullptr, kLargeHost, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        fail("the large host");
    }
    std::memset(memory, 1, kLargeHost);
    std::vector<double> large;
    std::vector<double> bareLarge;
    for (int round = 0; round < kLargeHostStarts; ++round) {
        large.push_back(timed(startOnce));
        if (round % 10 == 0) {
            bareLarge.push_back(timed(bareStartOnce));
        }
    }
    ::munmap(memory, kLargeHost);
    const double growth = median(large) / median(runner);
    std::printf("start from a host of 1 GiB: %.2f of a small host's (%.0f us; bare %.0f us), at most %.2f\n", growth,
                median(large) * 1e6, median(bareLarge) * 1e6, kLargeHostBound);
    hold(growth, kLargeHostBound);
}

void measureCancel() {
    std::vector<double> latencies;
    for (int round = 0; round < kCancels; ++round) {
        // Spread over two rounds of polling, so that every phase of one is met.
        // The group's own pipe: its end of file tells that the last member is dead.
        std::array<int, 2> group = {};
        if (::pipe(group.data()) != 0) {
            fail("the pipe");
        }
        Canceller canceller(std::chrono::milliseconds(20 + 40 * round), group[1]);
        if (OVShellCommand().runCommandAtPath("/bin/sh", {"-c", "sleep 100 & sleep 100"}, &canceller) !=
            OVShellCommandCancelled) {
            fail("the cancel");
        }
        char nothing = 0;
        if (::read(group[0], &nothing, 1) != 0) {
            fail("the group's end");
        }
        ::close(group[0]);
        latencies.push_back(Seconds(Clock::now() - canceller.from).count());
    }
    const double worst = *std::max_element(latencies.begin(), latencies.end());
    std::printf("cancel of a silent child, until its group is gone: median %.3f s, worst %.3f s, at most %.1f s\n",
                median(latencies), worst, kCancelBound);
    hold(worst, kCancelBound);
}

} // namespace

int main(int count, char** arguments) {
    if (count == 3 && std::strcmp(arguments[1], "--write") == 0) {
        return write(std::strcmp(arguments[2], "multibyte") == 0);
    }
    std::array<char, 4096> self = {};
    if (::realpath(arguments[0], self.data()) == nullptr) {
        fail("the own path");
    }
    measureStart();
    measureStream(self.data(), "ascii", kAsciiStreamBound);
    measureStream(self.data(), "multibyte", kMultibyteStreamBound);
    measureCancel();
    return allHeld ? 0 : 1;
}
