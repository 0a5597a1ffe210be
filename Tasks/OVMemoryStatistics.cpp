#include "Tasks/OVMemoryStatistics.h"

#include <cstdio>

namespace orvane {

namespace {

constexpr std::int64_t kUnknown = -1;

std::int64_t complain(const char* text) {
    static_cast<void>(std::fputs(text, stderr)); // deliberately without a newline
    return kUnknown;
}

} // namespace

std::int64_t OVMemoryStatistics::freeMemoryCount(HostMemory& memory) {
    const auto pageSize = memory.pageSize();
    if (!pageSize) {
        return complain("getting page size");
    }
    const auto freePages = memory.freePages();
    if (!freePages) {
        return complain("failed to get VM statistics");
    }
    return std::int64_t{*pageSize} * std::int64_t{*freePages};
}

} // namespace orvane
