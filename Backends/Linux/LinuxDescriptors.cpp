#include "Backends/Posix/PosixDescriptors.h"

#include <fcntl.h>
#include <unistd.h>

namespace orvane {

std::optional<std::vector<int>> inheritableDescriptors() {
    return inheritableDescriptorsListedIn("/proc/self/fd");
}

int openCloseOnExecPipe(int* ends) {
    return ::pipe2(ends, O_CLOEXEC);
}

int duplicateCloseOnExec(int descriptor, int lowest) {
    return ::fcntl(descriptor, F_DUPFD_CLOEXEC, lowest);
}

} // namespace orvane
