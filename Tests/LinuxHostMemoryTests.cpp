#include "Platform/HostMemory.h"
#include "Tasks/OVMemoryStatistics.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <sys/sysinfo.h>
#include <unistd.h>

namespace orvane {
namespace {

/// Free pages by the kernel's own count, without those that hold buffers or files.
std::int64_t pagesThatNobodyUses() {
    struct sysinfo info = {};
    ::sysinfo(&info);
    return static_cast<std::int64_t>(std::uint64_t{info.freeram} * info.mem_unit) / ::sysconf(_SC_PAGESIZE);
}

TEST(HostMemory, MeasuresTheRunningSystem) {
    const std::int64_t pageSize = ::sysconf(_SC_PAGESIZE);
    EXPECT_EQ(HostMemory::platform().pageSize(), pageSize);
    // Others take and give memory all the time: what is measured between two equal readings is the same.
    bool compared = false;
    for (int attempt = 0; attempt < 100000 && !compared; ++attempt) {
        const std::int64_t before = pagesThatNobodyUses();
        const auto pages = HostMemory::platform().freePages();
        const std::int64_t bytes = OVMemoryStatistics::freeMemoryCount();
        compared = pagesThatNobodyUses() == before;
        if (compared) {
            EXPECT_EQ(pages, before);
            EXPECT_EQ(bytes, before * pageSize);
        }
    }
    EXPECT_TRUE(compared);
}

} // namespace
} // namespace orvane
