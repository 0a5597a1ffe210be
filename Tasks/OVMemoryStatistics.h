#pragma once

#include "Platform/HostMemory.h"

#include <cstdint>

namespace orvane {

/// How much memory is free. No instances, no state.
class OVMemoryStatistics {
  public:
    OVMemoryStatistics() = delete;

    /// `+freeMemoryCount`: free physical memory in bytes; -1, with a text on standard error, when it cannot be
    /// measured.
    static std::int64_t freeMemoryCount(HostMemory& memory = HostMemory::platform());
};

} // namespace orvane
