#include "Platform/Gestalt.h"

namespace orvane {} // namespace orvane
