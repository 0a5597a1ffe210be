// soak SECONDS FOLDER: the library under a long run of everything at once. Threads run tasks with much output, cancel
// them, and let them fail; one polls a clipboard that changes and restores from its history; one lists the volumes
// while others come and go on FOLDER. Once in a while it prints what the process holds, and at the end it must hold
// what it held when it was warm: the same descriptors and threads, no child, and hardly more memory.

#include "Pasteboard/OVPasteboardServer.h"
#include "Platform/Volumes.h"
#include "Support/ZRBytesValueTransformer.h"
#include "Tasks/OVTaskRunner.h"
#include "Tests/Fakes/FakePasteboard.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fstream>
#include <functional>
#include <malloc.h>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <sys/mount.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using namespace orvane;
using Clock = std::chrono::steady_clock;

std::atomic<bool> isOver = false;
std::atomic<long> wrong = 0; // answers that should not be

struct Counts {
    std::atomic<long> tasks = 0, cancelled = 0, failed = 0, bytes = 0, polls = 0, restored = 0, lists = 0, mounts = 0;
} counts;

class Owner final : public OVTaskDelegate {
  public:
    explicit Owner(int cancelAfter) : left_(cancelAfter) {}
    void taskWillBegin(OVTask* /*task*/) override {}
    void task(OVTask* /*task*/, std::int32_t /*completedWithStatus*/) override {}
    void hasOutputAvailable(std::optional<std::string_view> output) override {
        counts.bytes += static_cast<long>(output ? output->size() : 0);
    }
    bool shouldCancel() override {
        if (left_ > 0) {
            --left_;
        }
        return left_ == 0;
    }
    std::optional<std::string> archiveDesktopPath() override { return std::nullopt; }
    std::uint64_t largeFilesSize() override { return 0; }
    std::optional<std::vector<std::string>> inputPathsWithDirectoriesOnly(bool, bool) override { return std::nullopt; }

  private:
    int left_; ///< questions until the first one that is answered with yes; below 0 there is none
};

void expect(bool holds, const char* what, std::int32_t status) {
    if (!holds && ++wrong < 20) {
        std::fprintf(stderr, "soak: %s: %d\n", what, status);
    }
}

std::int32_t runOnce(const std::function<std::int32_t(OVTaskRunner&)>& task, int cancelAfter = -1) {
    OVTaskRunner runner;
    runner.setDelegate(std::make_shared<Owner>(cancelAfter));
    const std::int32_t status = task(runner);
    runner.setDelegate(nullptr); // its end releases nothing
    ++counts.tasks;
    return status;
}

void runTasks(unsigned seed) {
    std::minstd_rand random(seed);
    while (!isOver) {
        std::int32_t status = 0;
        switch (random() % 5) {
        case 0:
            status = runOnce([](OVTaskRunner& runner) { return runner.runBashCommand("seq 1 20000; seq 1 9 >&2"); });
            expect(status == kTaskSuccess, "much output", status);
            break;
        case 1:
            status = runOnce([](OVTaskRunner& runner) { return runner.runBashCommand("exit 3"); });
            expect(status == kTaskFailure, "failure", status);
            ++counts.failed;
            break;
        case 2:
            status = runOnce([](OVTaskRunner& runner) { return runner.runBashCommand("yes | head -c 9000000"); },
                             static_cast<int>(random() % 200) + 2);
            expect(status == kTaskCancelled || status == kTaskSuccess, "cancel", status);
            counts.cancelled += status == kTaskCancelled ? 1 : 0;
            break;
        case 3:
            status = runOnce([](OVTaskRunner& runner) { return runner.runCommand("/nowhere/program", {}); });
            expect(status == kTaskFailure, "no program", status);
            ++counts.failed;
            break;
        default:
            status = runOnce([](OVTaskRunner& runner) {
                return runner.runBashCommand("/bin/echo", {"/nowhere/a", "/nowhere/b"});
            });
            expect(status == kTaskSuccess, "list", status);
        }
    }
}

void useClipboard() {
    test::FakePasteboardService service;
    service.notes = false; // what it would note and count grows with the time
    test::FakeRunLoop runLoop;
    const auto server = OVPasteboardServer::create(service, runLoop);
    std::minstd_rand random(7);
    while (!isOver) {
        service.general->put(std::string(random() % 4096, 'x'));
        server->pollPasteboard();
        ++counts.polls;
        const std::size_t size = server->pasteboards()->size();
        expect(size >= 1 && size <= 10, "history", static_cast<std::int32_t>(size));
        if (random() % 8 == 0) {
            expect(server->restoreItemsFromPasteboard(server->pasteboards()->back()), "restore", 0);
            ++counts.restored;
        }
        if (random() % 100 == 0) {
            server->clearHistory();
            service.made.clear();
            service.handedOut.clear();
            server->readItemsFromPasteboard();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

void listVolumes() {
    OVTaskRunner runner;
    while (!isOver) {
        const auto volumes = runner.mountedBrowsableVolumes();
        expect(volumes.has_value(), "volumes", 0);
        for (const OVVolumeDictionary& volume : volumes.value_or(std::vector<OVVolumeDictionary>())) {
            expect(!ZRBytesValueTransformer::formatBytes(volume.freeSpace).empty(), "size", 0);
        }
        ++counts.lists;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

void mountVolumes(const std::string& folder) {
    while (!isOver) {
        if (::mount("soak", folder.c_str(), "tmpfs", 0, "size=64k") == 0) {
            ++counts.mounts;
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            ::umount2(folder.c_str(), MNT_DETACH);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

struct Held {
    int descriptors = 0;
    int threads = 0;
    int children = 0;
    long kilobytes = 0; ///< resident
    long heap = 0;      ///< kilobytes in use
    long most = 0;      ///< of the heap at any moment
};

int entriesOf(const char* folder) {
    int count = -3; // the folder's two own, and the one that it is read by
    DIR* const directory = ::opendir(folder);
    while (directory != nullptr && ::readdir(directory) != nullptr) {
        ++count;
    }
    ::closedir(directory);
    return count;
}

long heapInUse() {
    return static_cast<long>(::mallinfo2().uordblks / 1024);
}

Held held() {
    Held now;
    now.descriptors = entriesOf("/proc/self/fd");
    now.threads = entriesOf("/proc/self/task") + 1;
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmRSS:")) {
            now.kilobytes = std::strtol(line.c_str() + 6, nullptr, 10);
        }
    }
    now.heap = heapInUse();
    std::ifstream children("/proc/self/task/" + std::to_string(::getpid()) + "/children");
    for (std::string child; children >> child;) {
        ++now.children;
    }
    return now;
}

void show(const char* when, const Held& now) {
    std::printf("%s: %d descriptors, %d threads, %d children, %ld kB, %ld kB of the heap (%ld at most); %ld tasks (%ld "
                "cancelled, "
                "%ld failed), %ld MB of "
                "output, %ld polls (%ld restored), %ld lists of volumes, %ld mounts\n",
                when, now.descriptors, now.threads, now.children, now.kilobytes, now.heap, now.most,
                counts.tasks.load(), counts.cancelled.load(), counts.failed.load(), counts.bytes.load() / 1000000,
                counts.polls.load(), counts.restored.load(), counts.lists.load(), counts.mounts.load());
    std::fflush(stdout);
}

/// Everything at once for so long; what is held when all of it has ended.
Held soak(std::chrono::seconds duration, const std::string& folder) {
    isOver = false;
    const auto end = Clock::now() + duration;
    std::vector<std::thread> threads;
    for (unsigned index = 1; index <= 3; ++index) {
        threads.emplace_back(runTasks, index);
    }
    threads.emplace_back(useClipboard);
    threads.emplace_back(listVolumes);
    threads.emplace_back(mountVolumes, folder);
    long most = 0;
    for (auto next = Clock::now() + std::chrono::minutes(1); Clock::now() < end;) {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        most = std::max(most, heapInUse());
        if (Clock::now() >= next) {
            show("meanwhile", held());
            next += std::chrono::minutes(1);
        }
    }
    isOver = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    Held now = held();
    now.most = most;
    return now;
}

} // namespace

int main(int count, char* words[]) {
    const long seconds = count == 3 ? std::strtol(words[1], nullptr, 10) : 0;
    if (seconds <= 0) {
        std::fprintf(stderr, "usage: soak SECONDS FOLDER\n");
        return 64;
    }
    // What a library keeps once it was used (streams, tables, the heap's own) counts before the measured part.
    const Held warm = soak(std::chrono::seconds(std::min(seconds, 20L)), words[2]);
    show("warm", warm);
    const Held end = soak(std::chrono::seconds(seconds), words[2]);
    show("at the end", end);
    // kB. The heap may lie differently, and a moment be busier than all of the first part.
    constexpr long kGrowth = 8192;
    constexpr long kHeapGrowth = 64;
    constexpr long kMostGrowth = 512;
    const bool isFlat = end.descriptors == warm.descriptors && end.threads == warm.threads && end.children == 0 &&
                        end.kilobytes <= warm.kilobytes + kGrowth && end.heap <= warm.heap + kHeapGrowth &&
                        end.most <= warm.most + kMostGrowth;
    const bool hasWorked = counts.cancelled > 0 && counts.failed > 0 && counts.restored > 0 && counts.mounts > 0;
    std::printf("%s\n", !isFlat      ? "soak: not flat"
                        : wrong != 0 ? "soak: wrong answers"
                        : !hasWorked ? "soak: not all was run"
                                     : "soak: flat");
    return isFlat && wrong == 0 && hasWorked ? 0 : 1;
}
