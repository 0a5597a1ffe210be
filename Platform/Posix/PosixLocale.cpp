#include "Platform/Locale.h"

namespace orvane {} // namespace orvane
