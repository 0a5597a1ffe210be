#include "Helpers/NSFileManager+TemporaryDirectory.h"

#include "Support/OVPath.h"

#include <sys/stat.h>

namespace orvane::TemporaryDirectory {

std::optional<std::string> createTemporaryDirectory(SystemCalls& calls, ProcessInfo& processInfo) {
    const std::string path =
        stringByAppendingPathComponent(processInfo.temporaryDirectory(), processInfo.globallyUniqueString());
    constexpr mode_t kLeftToUmask = 0777;
    if (calls.mkdir(path.c_str(), kLeftToUmask) != 0) {
        return std::nullopt;
    }
    return path;
}

} // namespace orvane::TemporaryDirectory
