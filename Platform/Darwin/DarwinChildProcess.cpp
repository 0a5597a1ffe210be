#include "Platform/Posix/PosixChildProcess.h"

#include <cerrno>
#include <cstdio>

namespace orvane {

// vfork is deprecated here and there is no start that runs the child on a stack of its own.
pid_t forkSharingMemory(int (*)(void*), void*, void*, std::size_t) {
    errno = ENOSYS;
    return -1;
}

const char* ChildProcess::errorDescription(int error) {
    return error >= 0 && error < sys_nerr ? sys_errlist[error] : "Unknown error";
}

ChildProcess& ChildProcess::platform() {
    return plainFork();
}

} // namespace orvane
