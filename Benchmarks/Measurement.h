#pragma once

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
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

} // namespace orvane::bench
