// VolumesBenchmark: the list of 200 mounted volumes and the count of free memory against the bare system calls that
// they need, in turn and in the same process. The volumes are mounted in a mount namespace of the process's own, which
// goes away with it. Prints the ratios of the median times; exits with 1 when one is above its bound.

#include "Benchmarks/Measurement.h"
#include "Benchmarks/bare_volumes.h"
#include "Platform/Volumes.h"
#include "Tasks/OVMemoryStatistics.h"
#include "Tasks/OVTaskRunner.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

using namespace orvane::bench;

constexpr int kVolumes = 200;
constexpr int kVolumeRounds = 501;
constexpr int kMemoryRounds = 501;
constexpr int kMemoryCounts = 1000;   ///< in a round: a single one is over too soon to be timed
constexpr double kVolumesBound = 2.5; // what stands in for another system's call is plain, not quick
constexpr double kMemoryBound = 1.2;
constexpr std::uint64_t kVolumeSize = std::uint64_t{1} << 20U;
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

/// Has the heap put together what the round before has left behind, which is not this round's to do.
void settle() {
    void* volatile large = std::malloc(100000);
    std::free(large);
}

double timeOfRunner(orvane::OVTaskRunner& runner, std::size_t expected) {
    settle();
    const double start = now();
    const auto volumes = runner.mountedBrowsableVolumes();
    const double time = now() - start;
    if (!volumes || volumes->size() < expected) {
        fail("mountedBrowsableVolumes");
    }
    std::size_t ours = 0;
    for (const auto& one : *volumes) {
        if (one.path.starts_with(kFolder) && one.totalSpace == kVolumeSize) {
            ++ours;
        }
    }
    return ours == expected ? time : (fail("the runner's volumes"), 0);
}

double timeOfRecords(std::size_t expected) {
    settle();
    const double start = now();
    const auto mounted = orvane::Volumes::platform().mountedFileSystems();
    const double time = now() - start;
    if (!mounted) {
        fail("mountedFileSystems");
    }
    const auto isOurs = [](const auto& one) {
        return one.mountPoint.starts_with(kFolder) && one.blockSize * one.blocks == kVolumeSize;
    };
    const auto ours = std::count_if(mounted->begin(), mounted->end(), isOurs);
    return static_cast<std::size_t>(ours) == expected ? time : (fail("the records of volumes"), 0);
}

double timeOfBareVolumes(int expected) {
    std::array<bare_volume, kVolumes + 1> volumes = {};
    settle();
    const double start = now();
    const int count = bare_volumes(kFolder, volumes.data(), kVolumes + 1);
    const double time = now() - start;
    for (const bare_volume& one : volumes) {
        if (one.place != nullptr && one.total != kVolumeSize) {
            fail("the bare volumes");
        }
        std::free(one.place);
    }
    return count == expected ? time : (fail("the bare volumes"), 0);
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

bool report(const char* what, double figure, double bare, double bound) {
    const bool kept = figure / bare <= bound;
    std::printf("%-62s %8.3f (at most %.3f)%s\n", what, figure / bare, bound, kept ? "" : "  TOO MUCH");
    return kept;
}

} // namespace

int main() {
    mountVolumes();
    orvane::OVTaskRunner runner;
    std::vector<double> bare;
    std::vector<double> records;
    std::vector<double> listed;
    for (int round = 0; round < kVolumeRounds; ++round) {
        bare.push_back(timeOfBareVolumes(kVolumes));
        records.push_back(timeOfRecords(kVolumes));
        listed.push_back(timeOfRunner(runner, kVolumes));
    }
    std::vector<double> bareCounts;
    std::vector<double> counts;
    for (int round = 0; round < kMemoryRounds; ++round) {
        bareCounts.push_back(timeOfCounts(bare_free_memory));
        counts.push_back(timeOfCounts([] { return orvane::OVMemoryStatistics::freeMemoryCount(); }));
    }
    std::printf("list of %d volumes: bare %.0f us, records %.0f us, dictionaries %.0f us\n", kVolumes,
                median(bare) * 1e6, median(records) * 1e6, median(listed) * 1e6);
    std::printf("count of free memory: bare %.3f us, ours %.3f us\n", median(bareCounts) / kMemoryCounts * 1e6,
                median(counts) / kMemoryCounts * 1e6);
    bool kept = report("mountedFileSystems / bare system calls, time", median(records), median(bare), kVolumesBound);
    kept = report("mountedBrowsableVolumes / bare system calls, time", median(listed), median(bare), kVolumesBound) &&
           kept;
    kept = report("freeMemoryCount / bare system call, time", median(counts), median(bareCounts), kMemoryBound) && kept;
    return kept ? 0 : 1;
}
