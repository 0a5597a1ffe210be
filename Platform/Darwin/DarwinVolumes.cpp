#include "Platform/Volumes.h"

#include <sys/mount.h>
#include <sys/param.h>

namespace orvane {

namespace {

static_assert(kMountNoSetUserID == MNT_NOSUID);

class DarwinVolumes final : public Volumes {
  public:
    std::optional<std::uint32_t> mountFlagsAtPath(const char* path) override {
        struct statfs status = {};
        if (::statfs(path, &status) != 0) {
            return std::nullopt;
        }
        return status.f_flags;
    }
};

} // namespace

Volumes& Volumes::platform() {
    static constinit DarwinVolumes volumes;
    return volumes;
}

} // namespace orvane
