#pragma once

#include <fcntl.h>
#include <set>

namespace orvane::test {

/// The process's, of the first so many: what is there before and not behind, or the other way round, was closed or
/// left.
inline std::set<int> openDescriptors() {
    constexpr int kMost = 1024;
    std::set<int> numbers;
    for (int number = 0; number < kMost; ++number) {
        if (::fcntl(number, F_GETFD) != -1) {
            numbers.insert(number);
        }
    }
    return numbers;
}

} // namespace orvane::test
