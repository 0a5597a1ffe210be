#include "Backends/Posix/PosixDescriptors.h"

#include <cerrno>
#include <charconv>
#include <cstddef>
#include <dirent.h>
#include <fcntl.h>
#include <limits>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace orvane {

std::vector<int> inheritableOnes(std::vector<int> numbers) {
    std::erase_if(numbers, [](int number) { return ::fcntl(number, F_GETFD) != 0; });
    return numbers;
}

std::optional<std::vector<int>> inheritableDescriptorsListedIn(const char* folder) {
    DIR* const directory = ::opendir(folder);
    if (directory == nullptr) {
        return std::nullopt;
    }
    std::vector<int> numbers;
    errno = 0;                                                 // what tells a failure of readdir from the end
    while (const dirent* const entry = ::readdir(directory)) { // NOLINT(concurrency-mt-unsafe)
        const std::string_view name = entry->d_name;
        int number = 0;
        if (std::from_chars(name.data(), name.data() + name.size(), number).ec == std::errc()) {
            numbers.push_back(number);
        }
        errno = 0;
    }
    const int error = errno;
    ::closedir(directory);
    if (error != 0) {
        errno = error;
        return std::nullopt;
    }
    return inheritableOnes(std::move(numbers));
}

bool closeListedDescriptors(int first, std::optional<std::vector<int>> (*list)(), int (*close)(int)) {
    std::size_t left = std::numeric_limits<std::size_t>::max();
    for (;;) {
        std::optional<std::vector<int>> open = list();
        if (!open) {
            return false;
        }
        std::erase_if(*open, [&](int descriptor) { return descriptor < first; });
        if (open->empty()) {
            return true;
        }
        if (open->size() >= left) {
            return false;
        }
        left = open->size();
        for (const int descriptor : *open) {
            close(descriptor);
        }
    }
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
