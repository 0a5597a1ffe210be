#include "Platform/HostMemory.h"

namespace orvane {} // namespace orvane
