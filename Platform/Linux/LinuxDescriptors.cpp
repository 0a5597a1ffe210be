#include "Platform/Posix/PosixDescriptors.h"

#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace orvane {

std::optional<std::vector<int>> openDescriptors() {
    DIR* const folder = ::opendir("/proc/self/fd");
    if (folder == nullptr) {
        return std::nullopt;
    }
    std::optional<std::vector<int>> open(std::in_place);
    errno = 0;                                              // what tells a failure from the end
    while (const dirent* const entry = ::readdir(folder)) { // NOLINT(concurrency-mt-unsafe)
        char* end = nullptr;
        const int number = static_cast<int>(std::strtol(entry->d_name, &end, 10));
        if (end != entry->d_name && number != ::dirfd(folder)) {
            open->push_back(number);
        }
    }
    if (errno != 0) {
        open.reset();
    }
    ::closedir(folder);
    return open;
}

int openCloseOnExecPipe(int* ends) {
    return ::pipe2(ends, O_CLOEXEC);
}

int duplicateCloseOnExec(int descriptor, int lowest) {
    return ::fcntl(descriptor, F_DUPFD_CLOEXEC, lowest);
}

} // namespace orvane
