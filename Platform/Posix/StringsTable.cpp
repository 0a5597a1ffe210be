#include "Platform/Bundle.h"

namespace orvane {} // namespace orvane
