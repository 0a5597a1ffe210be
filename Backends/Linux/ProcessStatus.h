#pragma once

#include "Platform/ProcessTable.h"

#include <optional>

namespace orvane {

/// One process by its record "/proc/…/stat": its `started` is in clock ticks since the machine's start. Nothing when
/// there is no such record.
std::optional<ProcessRecord> readProcessStatus(const char* path);

} // namespace orvane
