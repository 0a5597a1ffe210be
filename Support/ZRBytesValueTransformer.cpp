#include "Support/ZRBytesValueTransformer.h"

namespace orvane {} // namespace orvane
