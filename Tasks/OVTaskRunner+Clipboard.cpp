#include "Tasks/OVTaskRunner.h"

namespace orvane {} // namespace orvane
