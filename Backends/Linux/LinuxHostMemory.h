#pragma once

#include <cstdint>
#include <sys/sysinfo.h>

namespace orvane {

/// The pages that nobody uses: those that hold buffers or files are not free, though they can be had.
std::uint32_t freePagesOf(const struct sysinfo& info, std::int32_t pageSize);

} // namespace orvane
