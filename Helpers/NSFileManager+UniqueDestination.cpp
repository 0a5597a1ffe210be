#include "Helpers/NSFileManager+UniqueDestination.h"

#include "Support/OVPath.h"

#include <cstdint>

namespace orvane::UniqueDestination {

std::string findUniqueDestinationForFile(std::string_view name, std::string_view inDirectory, SystemCalls& calls) {
    const std::string first = stringByAppendingPathComponent(inDirectory, name);
    std::string path = first;
    struct stat status = {};
    for (std::uint64_t number = 2; calls.lstat(path.c_str(), &status) == 0; ++number) {
        path = first + " " + std::to_string(number);
    }
    return path;
}

} // namespace orvane::UniqueDestination
