#include "Tasks/OVMemoryStatistics.h"

#include <cstdio>

namespace orvane {

namespace {

std::int64_t unknown(const char* reason) {
    static_cast<void>(std::fputs(reason, stderr)); // deliberately without a newline
    return -1;
}

} // namespace

std::int64_t OVMemoryStatistics::freeMemoryCount(HostMemory& memory) {
    const auto pageSize = memory.pageSize();
    if (!pageSize) {
        return unknown("getting page size");
    }
    const auto freePages = memory.freePages();
    if (!freePages) {
        return unknown("failed to get VM statistics");
    }
    return std::int64_t{*pageSize} * std::int64_t{*freePages};
}

} // namespace orvane
