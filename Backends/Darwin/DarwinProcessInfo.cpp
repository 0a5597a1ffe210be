#include "Backends/Posix/PosixProcessInfo.h"

#include <array>
#include <climits>
#include <unistd.h>

namespace orvane {

namespace {

class DarwinProcessInfo final : public PosixProcessInfo {
  public:
    std::string temporaryDirectory() override {
        // The system's own folder of the effective user, root's being closed to everybody else; TMPDIR is the
        // caller's word.
        std::array<char, PATH_MAX> path = {};
        const std::size_t length = ::confstr(_CS_DARWIN_USER_TEMP_DIR, path.data(), path.size());
        return length > 0 && length <= path.size() ? path.data() : "/tmp";
    }
};

} // namespace

ProcessInfo& ProcessInfo::platform() {
    static constinit DarwinProcessInfo info;
    return info;
}

ProcessInfo& ProcessInfo::privileged() {
    return platform();
}

} // namespace orvane
