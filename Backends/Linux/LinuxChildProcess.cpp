#include "Backends/Posix/PosixChildProcess.h"
#include "Platform/ChildProcess.h"

#include <cstring>
#include <spawn.h>

namespace orvane {

short newSessionFlag() {
    return POSIX_SPAWN_SETSID;
}

const char* childErrorDescription(int error) {
    const char* const text = ::strerrordesc_np(error);
    return text != nullptr ? text : "Unknown error";
}

} // namespace orvane
