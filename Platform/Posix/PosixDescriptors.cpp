#include "Platform/Posix/PosixDescriptors.h"

#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <sys/resource.h>
#include <unistd.h>

namespace orvane {

bool closeListedDescriptors(const char* folder, int first) {
    DIR* const directory = ::opendir(folder);
    if (directory == nullptr) {
        return false;
    }
    const int own = __extension__ dirfd(directory); // a macro with GNU extensions on older macOS, hence no ::
    bool closedSome = true;
    // Closing while reading may make the folder skip entries, so it is read again until nothing is left.
    while (closedSome) {
        closedSome = false;
        ::rewinddir(directory);
        while (const dirent* const entry = ::readdir(directory)) { // NOLINT(concurrency-mt-unsafe)
            char* end = nullptr;
            const long number = std::strtol(entry->d_name, &end, 10);
            if (end == entry->d_name || *end != '\0' || number < first || number == own) {
                continue;
            }
            closedSome = ::close(static_cast<int>(number)) == 0 || closedSome;
        }
    }
    ::closedir(directory);
    return true;
}

bool closeDescriptorsUpToLimit(int first) {
    rlimit limit = {};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_max == RLIM_INFINITY) {
        return false;
    }
    for (auto number = static_cast<rlim_t>(first); number < limit.rlim_max; ++number) {
        ::close(static_cast<int>(number));
    }
    return true;
}

int openPipe(int* ends) {
    if (openCloseOnExecPipe(ends) != 0) {
        return -1;
    }
    // In a host that closed some of 0 to 2, an end there would pass for its standard streams.
    for (int index = 0; index < 2; ++index) {
        if (ends[index] > STDERR_FILENO) {
            continue;
        }
        const int moved = duplicateCloseOnExec(ends[index], STDERR_FILENO + 1);
        if (moved < 0) {
            const int error = errno;
            ::close(ends[0]);
            ::close(ends[1]);
            errno = error;
            return -1;
        }
        ::close(ends[index]);
        ends[index] = moved;
    }
    return 0;
}

} // namespace orvane
