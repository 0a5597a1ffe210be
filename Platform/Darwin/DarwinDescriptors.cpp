#include "Platform/Posix/PosixDescriptors.h"

#include <fcntl.h>
#include <unistd.h>

namespace orvane {

// There is no pipe2, and F_DUPFD_CLOEXEC is newer than the oldest system served: the flag is set right after.

int openCloseOnExecPipe(int* ends) {
    if (::pipe(ends) != 0) {
        return -1;
    }
    ::fcntl(ends[0], F_SETFD, FD_CLOEXEC);
    ::fcntl(ends[1], F_SETFD, FD_CLOEXEC);
    return 0;
}

int duplicateCloseOnExec(int descriptor, int lowest) {
    const int duplicate = ::fcntl(descriptor, F_DUPFD, lowest);
    if (duplicate >= 0) {
        ::fcntl(duplicate, F_SETFD, FD_CLOEXEC);
    }
    return duplicate;
}

} // namespace orvane
