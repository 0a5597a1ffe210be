#include "Backends/Posix/PosixChildProcess.h"
#include "Platform/ChildProcess.h"

#include <cstring>
#include <spawn.h>

namespace orvane {

short newSessionFlag() {
    return POSIX_SPAWN_SETSID;
}

const char* childErrorDescription(int error) {
#ifdef __GLIBC__
    const char* const text = ::strerrordesc_np(error);
#else
    const char* const text = std::strerror(error); // NOLINT(concurrency-mt-unsafe): a table look-up there
#endif
    return text != nullptr ? text : "Unknown error";
}

} // namespace orvane
