#include "Backends/Linux/LinuxHostMemory.h"

#include "Platform/HostMemory.h"

#include <algorithm>
#include <limits>
#include <unistd.h>

namespace orvane {

std::uint32_t freePagesOf(const struct sysinfo& info, std::int32_t pageSize) {
    const std::uint64_t bytes = std::uint64_t{info.freeram} * info.mem_unit;
    const std::uint64_t pages = bytes / static_cast<std::uint32_t>(pageSize);
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(pages, std::numeric_limits<std::uint32_t>::max()));
}

namespace {

class LinuxHostMemory final : public HostMemory {
  public:
    std::optional<std::int32_t> pageSize() override {
        const long size = ::sysconf(_SC_PAGESIZE);
        if (size <= 0 || size > std::numeric_limits<std::int32_t>::max()) {
            return std::nullopt;
        }
        return static_cast<std::int32_t>(size);
    }

    std::optional<std::uint32_t> freePages() override {
        const auto size = pageSize();
        struct sysinfo info = {};
        if (!size || ::sysinfo(&info) != 0) {
            return std::nullopt;
        }
        return freePagesOf(info, *size);
    }
};

} // namespace

HostMemory& HostMemory::platform() {
    static constinit LinuxHostMemory memory;
    return memory;
}

} // namespace orvane
