#include "Tasks/OVMemoryStatistics.h"

namespace orvane {} // namespace orvane
