#include "Platform/Pasteboard.h"

namespace orvane {} // namespace orvane
