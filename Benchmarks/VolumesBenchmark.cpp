// VolumesBenchmark: the list of 200 mounted volumes and the count of free memory against the bare system calls that
// they need, in turn and in the same process. The volumes are mounted in a mount namespace of the process's own, which
// goes away with it. Prints the ratios of the median times; exits with 1 when one is above its bound.

#include "Benchmarks/Measurement.h"
#include "Benchmarks/bare_volumes.h"
#include "Tasks/OVMemoryStatistics.h"
#include "Tasks/OVTaskRunner.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>
#include <variant>
#include <vector>

namespace {

using namespace orvane::bench;

constexpr int kVolumes = 200;
constexpr int kVolumeRounds = 501;
constexpr int kMemoryRounds = 501;
constexpr int kMemoryCounts = 1000; ///< in a round: a single one is over too soon to be timed
constexpr double kBound = 1.2;
constexpr const char* kFolder = "/mnt";

std::string volume(int number) {
    return std::string(kFolder) + "/Volume-" + std::to_string(1000 + number);
}

void mountVolumes() {
    if (::unshare(CLONE_NEWNS) != 0 || ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        ::mount("bench", kFolder, "tmpfs", 0, "size=1m") != 0) {
        fail("a mount namespace of one's own");
    }
    for (int number = 1; number < kVolumes; ++number) {
        const std::string place = volume(number);
        if (::mkdir(place.c_str(), 0755) != 0 || ::mount("bench", place.c_str(), "tmpfs", 0, "size=1m") != 0) {
            fail(place.c_str());
        }
    }
}

std::uint64_t numberIn(const orvane::OVVolumeDictionary& dictionary, const char* key) {
    return std::get<std::uint64_t>(dictionary.find(key)->second);
}

double timeOfRunner(orvane::OVTaskRunner& runner, std::size_t expected) {
    const double start = now();
    const auto volumes = runner.mountedBrowsableVolumes();
    const double time = now() - start;
    if (!volumes || volumes->size() < expected) {
        fail("mountedBrowsableVolumes");
    }
    std::size_t ours = 0;
    for (const auto& one : *volumes) {
        const auto& path = std::get<std::string>(one.find(orvane::OVVolumePath)->second);
        if (path.starts_with(kFolder) && numberIn(one, orvane::OVVolumeTotalSpace) == 1U << 20U) {
            ++ours;
        }
    }
    return ours == expected ? time : (fail("the runner's volumes"), 0);
}

double timeOfBareVolumes(int expected) {
    unsigned long long bytes = 0;
    const double start = now();
    const int count = bare_volumes(kFolder, &bytes);
    const double time = now() - start;
    return count == expected && bytes == static_cast<unsigned long long>(count) << 20U ? time
                                                                                       : (fail("bare volumes"), 0);
}

template <typename Count> double timeOfCounts(Count count) {
    const double start = now();
    for (int round = 0; round < kMemoryCounts; ++round) {
        if (count() <= 0) {
            fail("free memory");
        }
    }
    return now() - start;
}

bool report(const char* what, double figure, double bare) {
    const bool kept = figure / bare <= kBound;
    std::printf("%-62s %8.3f (at most %.3f)%s\n", what, figure / bare, kBound, kept ? "" : "  TOO MUCH");
    return kept;
}

} // namespace

int main() {
    mountVolumes();
    orvane::OVTaskRunner runner;
    std::vector<double> bare;
    std::vector<double> listed;
    for (int round = 0; round < kVolumeRounds; ++round) {
        bare.push_back(timeOfBareVolumes(kVolumes));
        listed.push_back(timeOfRunner(runner, kVolumes));
    }
    std::vector<double> bareCounts;
    std::vector<double> counts;
    for (int round = 0; round < kMemoryRounds; ++round) {
        bareCounts.push_back(timeOfCounts(bare_free_memory));
        counts.push_back(timeOfCounts([] { return orvane::OVMemoryStatistics::freeMemoryCount(); }));
    }
    std::printf("list of %d volumes: bare %.0f us, runner %.0f us\n", kVolumes, median(bare) * 1e6,
                median(listed) * 1e6);
    std::printf("count of free memory: bare %.3f us, ours %.3f us\n", median(bareCounts) / kMemoryCounts * 1e6,
                median(counts) / kMemoryCounts * 1e6);
    bool kept = report("mountedBrowsableVolumes / bare system calls, time", median(listed), median(bare));
    kept = report("freeMemoryCount / bare system call, time", median(counts), median(bareCounts)) && kept;
    return kept ? 0 : 1;
}
