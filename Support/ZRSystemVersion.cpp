#include "Support/ZRSystemVersion.h"

namespace orvane {} // namespace orvane
