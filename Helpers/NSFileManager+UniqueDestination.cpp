#include "Helpers/NSFileManager+UniqueDestination.h"

namespace orvane {} // namespace orvane
