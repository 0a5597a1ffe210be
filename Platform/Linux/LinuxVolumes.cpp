#include "Platform/Volumes.h"

#include <sys/statvfs.h>

namespace orvane {

namespace {

class LinuxVolumes final : public Volumes {
  public:
    std::optional<std::uint32_t> mountFlagsAtPath(const char* path) override {
        struct statvfs status = {};
        if (::statvfs(path, &status) != 0) {
            return std::nullopt;
        }
        std::uint32_t flags = 0;
        if ((status.f_flag & ST_NOSUID) != 0) {
            flags |= kMountNoSetUserID;
        }
        return flags;
    }
};

} // namespace

Volumes& Volumes::platform() {
    static constinit LinuxVolumes volumes;
    return volumes;
}

} // namespace orvane
