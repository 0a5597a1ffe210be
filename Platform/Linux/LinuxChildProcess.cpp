#include "Platform/ChildProcess.h"
#include "Platform/Posix/PosixChildProcess.h"

#include <cstring>

namespace orvane {

short newSessionFlag() {
    return POSIX_SPAWN_SETSID;
}

int addInheritedDescriptor(posix_spawn_file_actions_t* actions, int descriptor) {
    return ::posix_spawn_file_actions_adddup2(actions, descriptor, descriptor);
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
