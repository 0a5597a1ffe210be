#include "Platform/Posix/PosixDescriptors.h"

#include <fcntl.h>
#include <unistd.h>

namespace orvane {

int openCloseOnExecPipe(int* ends) {
    return ::pipe2(ends, O_CLOEXEC);
}

int duplicateCloseOnExec(int descriptor, int lowest) {
    return ::fcntl(descriptor, F_DUPFD_CLOEXEC, lowest);
}

} // namespace orvane
