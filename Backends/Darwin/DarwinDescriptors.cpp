#include "Backends/Posix/PosixDescriptors.h"

#include <cstddef>
#include <fcntl.h>
#include <libproc.h>
#include <unistd.h>
#include <utility>

namespace orvane {

std::optional<std::vector<int>> inheritableDescriptors() {
    // Asked without room, the kernel tells how much it would like.
    const int room = ::proc_pidinfo(::getpid(), PROC_PIDLISTFDS, 0, nullptr, 0);
    std::vector<proc_fdinfo> list(room > 0 ? static_cast<std::size_t>(room) / sizeof(proc_fdinfo) : 0);
    const int size = room > 0 ? ::proc_pidinfo(::getpid(), PROC_PIDLISTFDS, 0, list.data(), room) : 0;
    if (size <= 0) {
        return inheritableDescriptorsListedIn("/dev/fd");
    }
    list.resize(static_cast<std::size_t>(size) / sizeof(proc_fdinfo));
    std::vector<int> numbers;
    for (const proc_fdinfo& entry : list) {
        numbers.push_back(entry.proc_fd);
    }
    return inheritableOnes(std::move(numbers));
}

// There is no pipe2, and F_DUPFD_CLOEXEC and O_CLOEXEC are newer than the oldest system served: the flag is set right
// after.

int openCloseOnExec(const char* path, int flags, mode_t mode) {
    // That system passes over a flag that it does not know.
    const int descriptor = ::open(path, flags | O_CLOEXEC, mode);
    if (descriptor >= 0) {
        ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    }
    return descriptor;
}

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
