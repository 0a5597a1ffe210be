// Numbers in texts against a model that computes with room to spare.

#include "Support/OVText.h"
#include "Tests/Fuzz/Fuzz.h"

#include <algorithm>
#include <limits>

using namespace orvane;

namespace {

std::int32_t model(std::string_view text) {
    std::size_t at = 0;
    while (at < text.size() && (text[at] == ' ' || (text[at] >= '\t' && text[at] <= '\r'))) {
        ++at;
    }
    const bool isNegative = at < text.size() && text[at] == '-';
    if (at < text.size() && (text[at] == '-' || text[at] == '+')) {
        ++at;
    }
    double value = 0; // exact far beyond what counts, and never full
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
        value = std::min(value * 10 + (text[at] - '0'), 1e15);
    }
    value = isNegative ? -value : value;
    return static_cast<std::int32_t>(std::clamp(value, double{std::numeric_limits<std::int32_t>::min()},
                                                double{std::numeric_limits<std::int32_t>::max()}));
}

bool isYes(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    if (!text.empty() && (text.front() == '+' || text.front() == '-')) {
        text.remove_prefix(1);
    }
    text.remove_prefix(std::min(text.find_first_not_of('0'), text.size()));
    return !text.empty() && std::string_view("YyTt123456789").find(text.front()) != std::string_view::npos;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = fuzz::bytes(data, size);
    // What other than ASCII counts as white space is the text functions' own affair.
    if (std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; })) {
        FUZZ_CHECK(intValue(text) == model(text));
        FUZZ_CHECK(boolValue(text) == isYes(text));
    }
    static_cast<void>(intValue(text));
    static_cast<void>(boolValue(text));
    return 0;
}
