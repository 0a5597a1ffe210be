#include "Platform/AuthorizationServices.h"

namespace orvane {} // namespace orvane
