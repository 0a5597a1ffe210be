// TreeWalkBenchmark [COUNT [FOLDER]]: the walk that measures what a task removes against find and du, taken in turn on
// a tree of COUNT files (a million by default), a hundred to a folder, in a new folder in FOLDER (/tmp by default).
// What is walked is in memory. Prints, with their bounds, the walk's time to that of `find -printf` of the same facts
// and to that of `du -s`, and its peak of memory to a fixed amount. Exits with 1 when one is above its bound.

#include "Benchmarks/Measurement.h"
#include "Support/OVTreeWalk.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

using namespace orvane::bench;

constexpr int kRounds = 5;
constexpr int kFilesInFolder = 100;
constexpr int kFoldersInFolder = 100;
constexpr int kDefaultCount = 1000000;
constexpr double kFindBound = 1.0;
constexpr double kDuBound = 0.8;
constexpr double kMemoryBound = 16.0 * 1024 * 1024;

void makeFolder(const std::string& path) {
    if (::mkdir(path.c_str(), 0755) != 0) {
        fail(path.c_str());
    }
}

/// How many entries the tree has, the folder itself included.
std::uint64_t makeTree(const std::string& folder, int count) {
    std::uint64_t entries = 1;
    std::string upper;
    std::string lower;
    for (int file = 0; file < count; ++file) {
        if (file % (kFilesInFolder * kFoldersInFolder) == 0) {
            upper = folder + "/folder " + std::to_string(file / kFilesInFolder);
            makeFolder(upper);
            ++entries;
        }
        if (file % kFilesInFolder == 0) {
            lower = upper + "/inner " + std::to_string(file / kFilesInFolder);
            makeFolder(lower);
            ++entries;
        }
        const int made =
            ::open((lower + "/file " + std::to_string(file)).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
        if (made < 0) {
            fail(lower.c_str());
        }
        ::close(made);
        ++entries;
    }
    return entries;
}

/// Wall and processor time of one side.
struct Times {
    std::vector<double> wall;
    std::vector<double> processor;

    template <typename Work> void add(int who, const Work& work) {
        const double before = processorTime(who);
        wall.push_back(work());
        processor.push_back(processorTime(who) - before);
    }

    static double processorTime(int who) {
        rusage usage = {};
        ::getrusage(who, &usage);
        return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
               static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
    }
};

double timeOfWalk(const std::string& folder, std::uint64_t entries) {
    const double start = now();
    std::vector<orvane::OVTreeWalk::Tree> trees = {{.path = folder}};
    orvane::OVTreeWalk walk({});
    if (!walk.walk(trees) || trees.front().entries != entries) {
        fail("walk");
    }
    return now() - start;
}

double timeOf(const std::string& line) {
    const double start = now();
    // NOLINTNEXTLINE(concurrency-mt-unsafe): there is one thread
    if (std::system(line.c_str()) != 0) {
        fail(line.c_str());
    }
    return now() - start;
}

} // namespace

int main(int argc, char* argv[]) {
    const int count = argc > 1 ? static_cast<int>(std::strtol(argv[1], nullptr, 10)) : kDefaultCount;
    std::string folder = (argc > 2 ? std::string(argv[2]) : "/tmp") + "/orvane-bench-XXXXXX";
    if (count <= 0 || ::mkdtemp(folder.data()) == nullptr) {
        fail(folder.c_str());
    }
    const std::uint64_t entries = makeTree(folder, count);
    const double memory = figureOfChild([&] {
        const double before = memoryFigure("VmRSS:");
        timeOfWalk(folder, entries);
        return memoryFigure("VmHWM:") - before;
    });
    Times walk;
    Times find;
    Times du;
    for (int round = 0; round < kRounds; ++round) {
        walk.add(RUSAGE_SELF, [&] { return timeOfWalk(folder, entries); });
        find.add(RUSAGE_CHILDREN, [&] { return timeOf("find '" + folder + "' -printf '%b %n %i\\n' >/dev/null"); });
        du.add(RUSAGE_CHILDREN, [&] { return timeOf("du -s '" + folder + "' >/dev/null"); });
    }
    timeOf("rm -rf '" + folder + "'");
    std::printf("%llu entries: walk %.2f s, find %.2f s, du %.2f s, %.0f KB more memory\n",
                static_cast<unsigned long long>(entries), median(walk.wall), median(find.wall), median(du.wall),
                memory / 1024);
    std::printf("processor time: walk %.2f s, find %.2f s, du %.2f s\n", median(walk.processor), median(find.processor),
                median(du.processor));
    bool isKept = report("walk / find -printf, time", median(walk.wall) / median(find.wall), kFindBound);
    isKept = report("walk / du -s, time", median(walk.wall) / median(du.wall), kDuBound) && isKept;
    isKept = report("peak memory of the walk / 16 MB", memory / kMemoryBound, 1.0) && isKept;
    return isKept ? 0 : 1;
}
