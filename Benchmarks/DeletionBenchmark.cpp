// DeletionBenchmark [FOLDER]: the task runner against the bare minimum of the same work, taken in turn in the folder
// (a new one in /tmp by default). Prints, with their bounds,
//  - the time of forceDeleteItemsAtGlobs over 20,000 files to that of the bare shell line on the same list,
//  - the peak of the runner's memory during such a deletion to the bytes of the list,
//  - the time of expanding 100,000 matches to that of a glob(3) loop that copies the paths.
// Exits with 1 when one is above its bound.

#include "Benchmarks/Measurement.h"
#include "Helpers/NSFileManager+Globbing.h"
#include "Tasks/OVTaskRunner.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <glob.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

using namespace orvane::bench;

constexpr int kDeletionRounds = 3;
constexpr int kDeletedFiles = 20000;
constexpr double kDeletionBound = 1.03;
constexpr double kMemoryBoundPerByte = 2.5;
constexpr double kMemoryBoundBeyond = 4.0 * 1024 * 1024;
constexpr int kGlobRounds = 15;
constexpr int kGlobFiles = 100000;
constexpr double kGlobBound = 1.15;

void makeFiles(const std::string& folder, int count) {
    for (int number = 0; number < count; ++number) {
        const std::string path = folder + "/a cached file of some length " + std::to_string(100000 + number);
        const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
        if (file < 0) {
            fail(path.c_str());
        }
        ::close(file);
    }
}

/// Waits for what the other side's rounds have left to the disk.
void settle() {
    ::sync();
}

void run(const std::string& line) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): there is one thread
    if (std::system(line.c_str()) != 0) {
        fail(line.c_str());
    }
}

/// The paths as the list file holds them.
std::size_t writeList(const std::string& listFile, const std::vector<std::string>& paths) {
    FILE* const list = std::fopen(listFile.c_str(), "we");
    std::size_t size = 0;
    for (const std::string& path : paths) {
        size += path.size() + 1;
        if (list == nullptr || std::fprintf(list, "%s\n", path.c_str()) < 0) {
            fail("list");
        }
    }
    if (list == nullptr || std::fclose(list) != 0) {
        fail("list");
    }
    return size;
}

/// The bare line: a list that is there already, the output to nowhere.
double timeOfShell(const std::string& folder, const std::string& listFile) {
    makeFiles(folder, kDeletedFiles);
    writeList(listFile, orvane::Globbing::arrayWithFilesMatchingPattern("*", folder));
    settle();
    const double start = now();
    run("cat " + listFile + " | xargs -I __FILE__ rm -rfv '__FILE__' > /dev/null");
    return now() - start;
}

double timeOfRunner(const std::string& folder) {
    makeFiles(folder, kDeletedFiles);
    settle();
    orvane::OVTaskRunner runner;
    const double start = now();
    if (runner.forceDeleteItemsAtGlobs({folder + "/*"}) != 0) {
        fail("forceDeleteItemsAtGlobs");
    }
    return now() - start;
}

/// How much the peak of resident memory lies above what a new process with a runner starts from, and the
/// bytes of the list.
struct Memory {
    double peak;
    double list;
};

Memory memoryOfRunner(const std::string& folder) {
    makeFiles(folder, kDeletedFiles);
    const double peak = figureOfChild([&] {
        orvane::OVTaskRunner runner;
        const double before = memoryFigure("VmRSS:");
        if (runner.forceDeleteItemsAtGlobs({folder + "/*"}) != 0) {
            fail("forceDeleteItemsAtGlobs");
        }
        return memoryFigure("VmHWM:") - before;
    });
    const double list = static_cast<double>((folder.size() + 1 + 36) * kDeletedFiles);
    return {.peak = peak, .list = list};
}

double timeOfBareGlob(const std::string& pattern) {
    const double start = now();
    glob_t matches = {};
    // NOLINTNEXTLINE(concurrency-mt-unsafe): there is one thread
    if (::glob(pattern.c_str(), 0, nullptr, &matches) != 0) {
        fail("glob");
    }
    std::vector<std::string> paths;
    for (std::size_t index = 0; index < matches.gl_pathc; ++index) {
        paths.emplace_back(matches.gl_pathv[index]);
    }
    ::globfree(&matches);
    const double time = now() - start;
    return paths.size() == kGlobFiles ? time : (fail("glob"), 0);
}

double timeOfExpansion(orvane::OVTaskRunner& runner, const std::string& pattern) {
    const double start = now();
    const std::vector<std::string> paths = runner.pathsByExpandingGlobs({pattern});
    const double time = now() - start;
    return paths.size() == kGlobFiles ? time : (fail("pathsByExpandingGlobs"), 0);
}

} // namespace

int main(int argc, char* argv[]) {
    std::string folder = (argc > 1 ? std::string(argv[1]) : "/tmp") + "/orvane-bench-XXXXXX";
    if (::mkdtemp(folder.data()) == nullptr) {
        fail(folder.c_str());
    }
    const std::string files = folder + "/files";
    const std::string lists = folder + "/lists";
    if (::mkdir(files.c_str(), 0755) != 0 || ::mkdir(lists.c_str(), 0755) != 0 ||
        ::setenv("TMPDIR", lists.c_str(), 1) != 0) { // NOLINT(concurrency-mt-unsafe): there is one thread
        fail(folder.c_str());
    }

    // Before anything else has grown this process, which the child starts from.
    const Memory memory = memoryOfRunner(files);

    std::vector<double> shell;
    std::vector<double> runner;
    for (int round = 0; round < kDeletionRounds; ++round) {
        shell.push_back(timeOfShell(files, lists + "/bare"));
        runner.push_back(timeOfRunner(files));
    }

    makeFiles(files, kGlobFiles);
    orvane::OVTaskRunner expanding;
    std::vector<double> bare;
    std::vector<double> expanded;
    timeOfBareGlob(files + "/*"); // the folder's entries come to memory
    for (int round = 0; round < kGlobRounds; ++round) {
        bare.push_back(timeOfBareGlob(files + "/*"));
        expanded.push_back(timeOfExpansion(expanding, files + "/*"));
    }
    run("rm -rf " + folder);

    std::printf("deletion of %d files: shell %.2f s, runner %.2f s\n", kDeletedFiles, median(shell), median(runner));
    std::printf("peak memory of a deletion: %.0f KB beyond the start, list of %.0f KB\n", memory.peak / 1024,
                memory.list / 1024);
    std::printf("expansion of %d matches: bare %.1f ms, runner %.1f ms\n", kGlobFiles, median(bare) * 1e3,
                median(expanded) * 1e3);
    bool kept =
        report("forceDeleteItemsAtGlobs / bare shell line, time", median(runner) / median(shell), kDeletionBound);
    kept = report("peak memory / (2.5 times the list and 4 MB)",
                  memory.peak / (kMemoryBoundPerByte * memory.list + kMemoryBoundBeyond), 1.0) &&
           kept;
    kept = report("pathsByExpandingGlobs / bare glob loop, time", median(expanded) / median(bare), kGlobBound) && kept;
    return kept ? 0 : 1;
}
