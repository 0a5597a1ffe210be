// FormatterBenchmark: byte counts as text, without a translated table, against snprintf alone with the same values.
// Prints both rates and the ratio of the median times; exits with 1 when the ratio is above its bound or the rate below
// its own.

#include "Benchmarks/Measurement.h"
#include "Platform/Bundle.h"
#include "Platform/Gestalt.h"
#include "Platform/Locale.h"
#include "Support/OVNumber.h"
#include "Support/ZRBytesValueTransformer.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace {

using namespace orvane;

constexpr int kRounds = 9;
constexpr std::size_t kCounts = 200000;
constexpr double kTimeBound = 1.5;     // of snprintf's
constexpr double kRateBound = 5000000; // counts a second

/// A system of version 10.6.8, so that the machine's own does not matter.
class SnowLeopard final : public Gestalt {
  public:
    std::int16_t ask(std::uint32_t selector, std::int32_t* response) override {
        switch (selector) {
        case gestaltSystemVersionMajor:
            *response = 10;
            break;
        case gestaltSystemVersionMinor:
            *response = 6;
            break;
        case gestaltSystemVersionBugFix:
            *response = 8;
            break;
        default:
            *response = 0x1068;
        }
        return 0;
    }
};

/// What keeps the compiler from leaving the work out.
std::size_t total = 0;

std::vector<std::uint64_t> counts() {
    std::vector<std::uint64_t> result(kCounts);
    std::uint64_t state = 1;
    for (std::size_t index = 0; index < kCounts; ++index) {
        // Of all magnitudes alike, up to some hundred TB (GB on a 32-bit build, whose word holds no more).
        state = state * 6364136223846793005U + 1442695040888963407U;
        result[index] = state >> (16U + (state >> 3U) % 32U);
    }
    return result;
}

void printWithLibrary(const std::vector<std::uint64_t>& values) {
    std::array<char, 64> text = {};
    for (const std::uint64_t value : values) {
        const int length =
            std::snprintf(text.data(), text.size(), "%1.1f KB", static_cast<double>(static_cast<float>(value) / 1000));
        total += static_cast<std::size_t>(length) + static_cast<unsigned char>(text[0]);
    }
}

double secondsFor(const std::vector<std::uint64_t>& values, const ZRBytesValueTransformer& transformer) {
    const double start = bench::now();
    for (const std::uint64_t value : values) {
        const std::string text = transformer.transformedValue(OVNumber::numberWithUnsignedLongLong(value));
        total += text.size() + static_cast<unsigned char>(text[0]);
    }
    return bench::now() - start;
}

} // namespace

int main() {
    const std::vector<std::uint64_t> values = counts();
    ZRBytesValueTransformer fixed;
    fixed.setMode(2);
    SnowLeopard system;
    const ZRBytesValueTransformer following(Bundle::platform(), Locale::platform(), system); // asks it each time
    std::vector<double> libraryTimes;
    std::vector<double> fixedTimes;
    std::vector<double> followingTimes;
    for (int round = 0; round < kRounds; ++round) {
        const double start = bench::now();
        printWithLibrary(values);
        libraryTimes.push_back(bench::now() - start);
        fixedTimes.push_back(secondsFor(values, fixed));
        followingTimes.push_back(secondsFor(values, following));
    }
    const double library = bench::median(libraryTimes);
    const double ours = bench::median(fixedTimes);
    const auto millions = [](double seconds) { return static_cast<double>(kCounts) / seconds / 1e6; };
    std::printf(
        "byte counts as text: %.1f million a second, %.2f of snprintf's time (bound %.2f; snprintf %.1f million)\n",
        millions(ours), ours / library, kTimeBound, millions(library));
    std::printf("  with the system's kilo: %.1f million a second\n", millions(bench::median(followingTimes)));
    const bool held = ours / library <= kTimeBound && millions(ours) * 1e6 >= kRateBound && total != 0;
    if (!held) {
        std::printf("  BEYOND ITS BOUND\n");
    }
    return held ? 0 : 1;
}
