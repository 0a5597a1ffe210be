#pragma once

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

/// What the benchmarks share.
namespace orvane::bench {

/// Ends the benchmark, with the reason in `errno`: there is nothing to report.
[[noreturn]] inline void fail(const char* what) {
    std::perror(what);
    std::exit(2);
}

/// Seconds of the monotonic clock.
inline double now() {
    timespec time = {};
    ::clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

inline double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// A kilobyte count of this process's status ("VmHWM:" for the peak of its resident memory), in bytes.
inline double memoryFigure(std::string_view name) {
    FILE* const status = std::fopen("/proc/self/status", "re");
    std::array<char, 256> line = {};
    double bytes = 0;
    while (status != nullptr && std::fgets(line.data(), static_cast<int>(line.size()), status) != nullptr) {
        if (std::string_view(line.data()).starts_with(name)) {
            bytes = std::strtod(line.data() + name.size(), nullptr) * 1024;
        }
    }
    if (status == nullptr || bytes == 0) {
        fail("/proc/self/status");
    }
    std::fclose(status);
    return bytes;
}

/// What the measurement yields in a child process, whose memory is not this one's.
template <typename Measurement> double figureOfChild(const Measurement& measure) {
    std::array<int, 2> ends = {};
    if (::pipe(ends.data()) != 0) {
        fail("pipe");
    }
    const pid_t child = ::fork();
    if (child == 0) {
        const double figure = measure();
        ::_exit(::write(ends[1], &figure, sizeof figure) == sizeof figure ? 0 : 2);
    }
    ::close(ends[1]); // or there would be no end to what a failed child does not write
    double figure = 0;
    int status = 0;
    if (::read(ends[0], &figure, sizeof figure) != sizeof figure || ::waitpid(child, &status, 0) != child ||
        status != 0) {
        fail("child");
    }
    ::close(ends[0]);
    return figure;
}

/// Prints the figure with its bound; false when it is above.
inline bool report(const char* what, double figure, double bound) {
    const bool kept = figure <= bound;
    std::printf("%-62s %8.3f (at most %.3f)%s\n", what, figure, bound, kept ? "" : "  TOO MUCH");
    return kept;
}

} // namespace orvane::bench
