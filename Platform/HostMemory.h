#pragma once

#include <cstdint>
#include <optional>

namespace orvane {

/// The machine's memory (`sysctl` and `host_statistics`; on Linux `sysconf`).
class HostMemory {
  public:
    /// That of the machine. Lives for ever; may be used from any thread.
    static HostMemory& platform();

    /// Bytes in a page (`CTL_HW`, `HW_PAGESIZE`); nothing when the system does not tell.
    virtual std::optional<std::int32_t> pageSize() = 0;

    /// Pages that hold nothing (`free_count` of `HOST_VM_INFO`); nothing when the system does not tell.
    virtual std::optional<std::uint32_t> freePages() = 0;

  protected:
    ~HostMemory() = default;
};

} // namespace orvane
