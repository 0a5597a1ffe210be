// PasteboardBenchmark: what the clipboard history costs the application that has it. Prints, with their bounds,
//  - how much memory a large item takes at most while it is read into the history, and while it is restored, to its
//    size: the pasteboard service makes one copy of the data whenever it is asked for it, and there should be no other,
//  - the time of a poll that finds nothing new, which happens four times a second.
// Exits with 1 when one is above its bound.

#include "Benchmarks/Measurement.h"
#include "Pasteboard/OVPasteboardServer.h"
#include "Tests/Fakes/FakePasteboard.h"

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace orvane::bench;

constexpr std::size_t kLargeItem = std::size_t{64} * 1024 * 1024;
constexpr double kMemoryBound = 1.1;
constexpr int kRounds = 15;
constexpr int kPollsARound = 100000;
constexpr double kPollBound = 2.0; // microseconds

std::vector<orvane::test::FakeContent> largeContent() {
    return {{{"public.tiff", std::make_shared<orvane::test::FakeData>(std::string(kLargeItem, 'x'))}}};
}

struct World {
    World() { service.notes = false; }

    orvane::test::FakePasteboardService service;
    orvane::test::FakeRunLoop loop;
    std::shared_ptr<orvane::OVPasteboardServer> server = orvane::OVPasteboardServer::create(service, loop);
};

double memoryOfReading() {
    World world;
    world.service.general->put(largeContent());
    const double before = memoryFigure("VmRSS:");
    world.loop.fire();
    return memoryFigure("VmHWM:") - before;
}

double memoryOfRestoring() {
    World world;
    const auto large = std::make_shared<orvane::test::FakePasteboard>(world.service, "large");
    large->put(largeContent());
    const double before = memoryFigure("VmRSS:");
    if (!world.server->restoreItemsFromPasteboard(large)) {
        fail("restoreItemsFromPasteboard");
    }
    return memoryFigure("VmHWM:") - before;
}

/// Microseconds, with what the question for the change count takes.
double timeOfPoll(World& world) {
    const double start = now();
    for (int poll = 0; poll < kPollsARound; ++poll) {
        world.loop.fire();
    }
    return (now() - start) / kPollsARound * 1e6;
}

bool reportMemory(const char* what, double bytes) {
    constexpr double kSize = static_cast<double>(kLargeItem);
    if (bytes < 0.9 * kSize) {
        std::printf("%s: only %.0f bytes were seen, so nothing was copied\n", what, bytes);
        return false;
    }
    return report(what, bytes / kSize, kMemoryBound);
}

} // namespace

int main() {
    // Before anything is printed: what waits to be printed would be there twice.
    const double reading = figureOfChild(memoryOfReading);
    const double restoring = figureOfChild(memoryOfRestoring);

    World world;
    std::vector<double> times;
    for (int round = 0; round < kRounds; ++round) {
        times.push_back(timeOfPoll(world));
    }
    bool kept = reportMemory("reading an item of 64 MiB, peak memory / its size", reading);
    kept = reportMemory("restoring an item of 64 MiB, peak memory / its size", restoring) && kept;
    kept = report("a poll without a change, microseconds", median(times), kPollBound) && kept;
    return kept ? 0 : 1;
}
