#include "Support/OVAssert.h"

#include "Support/OVLog.h"

#include <cstdlib>

namespace orvane {

void OVAssertionFailed(const char* expression, const char* method, const char* file, int line) {
    OVLog("Assertion failed: (%s), function %s, file %s, line %d.", expression, method, file, line);
    std::abort();
}

} // namespace orvane
