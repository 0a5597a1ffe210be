#include "Helpers/NSFileManager+TemporaryDirectory.h"

#include "Support/OVPath.h"

namespace orvane::TemporaryDirectory {

std::optional<std::string> createTemporaryDirectory(SystemCalls& calls, ProcessInfo& processInfo) {
    const std::string path =
        stringByAppendingPathComponent(processInfo.temporaryDirectory(), processInfo.globallyUniqueString());
    return calls.mkdir(path.c_str(), 0777) == 0 ? std::optional(path) : std::nullopt;
}

} // namespace orvane::TemporaryDirectory
