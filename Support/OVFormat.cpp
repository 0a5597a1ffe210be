#include "Support/OVFormat.h"

namespace orvane {} // namespace orvane
