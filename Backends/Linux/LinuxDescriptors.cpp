#include "Backends/Posix/PosixDescriptors.h"

#include <fcntl.h>
#include <unistd.h>

namespace orvane {

std::optional<std::vector<int>> inheritableDescriptors() {
    return inheritableDescriptorsListedIn("/proc/self/fd");
}

int openCloseOnExec(const char* path, int flags, mode_t mode) {
    return ::open(path, flags | O_CLOEXEC, mode);
}

int openCloseOnExecPipe(int* ends) {
    return ::pipe2(ends, O_CLOEXEC);
}

int duplicateCloseOnExec(int descriptor, int lowest) {
    return ::fcntl(descriptor, F_DUPFD_CLOEXEC, lowest);
}

} // namespace orvane
