#include "Platform/HostMemory.h"

#include <algorithm>
#include <limits>
#include <unistd.h>

namespace orvane {

namespace {

class LinuxHostMemory final : public HostMemory {
  public:
    std::optional<std::int32_t> pageSize() override {
        const long size = ::sysconf(_SC_PAGESIZE);
        return size > 0 ? std::optional(static_cast<std::int32_t>(size)) : std::nullopt;
    }

    std::optional<std::uint32_t> freePages() override {
        // Those that hold buffers or files are not free, though they can be had.
        const std::int64_t pages = ::sysconf(_SC_AVPHYS_PAGES);
        constexpr std::int64_t kMost = std::numeric_limits<std::uint32_t>::max();
        return pages >= 0 ? std::optional(static_cast<std::uint32_t>(std::min(pages, kMost))) : std::nullopt;
    }
};

} // namespace

HostMemory& HostMemory::platform() {
    static constinit LinuxHostMemory memory;
    return memory;
}

} // namespace orvane
