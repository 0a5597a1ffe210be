#include "Support/OVNumber.h"

namespace orvane {} // namespace orvane
