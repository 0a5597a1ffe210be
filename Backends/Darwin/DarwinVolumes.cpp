#include "Platform/Volumes.h"

#include <cstddef>
#include <sys/mount.h>
#include <sys/param.h>

namespace orvane {

namespace {

static_assert(kMountNoSetUserID == MNT_NOSUID);
static_assert(kMountLocal == MNT_LOCAL);
static_assert(kMountRootFileSystem == MNT_ROOTFS);
static_assert(kMountDontBrowse == MNT_DONTBROWSE);
static_assert(sizeof(statfs::f_mntonname) == MAXPATHLEN, "the records must be those with 64-bit inodes");

class DarwinVolumes final : public Volumes {
  public:
    std::optional<std::uint32_t> mountFlagsAtPath(const char* path) override {
        struct statfs status = {};
        if (::statfs(path, &status) != 0) {
            return std::nullopt;
        }
        return status.f_flags;
    }

    std::optional<std::vector<MountedFileSystem>> mountedFileSystems() override {
        const int expected = ::getfsstat(nullptr, 0, MNT_WAIT);
        if (expected <= 0) {
            return std::nullopt;
        }
        std::vector<struct statfs> records(static_cast<std::size_t>(expected));
        const int count =
            ::getfsstat(records.data(), static_cast<int>(records.size() * sizeof(struct statfs)), MNT_WAIT);
        records.resize(count > 0 ? static_cast<std::size_t>(count) : 0);

        std::vector<MountedFileSystem> mounted;
        mounted.reserve(records.size());
        for (const struct statfs& record : records) {
            mounted.push_back({.mountPoint = record.f_mntonname,
                               .owner = record.f_owner,
                               .flags = record.f_flags,
                               .blockSize = record.f_bsize,
                               .blocks = record.f_blocks,
                               .availableBlocks = record.f_bavail});
        }
        return mounted;
    }
};

} // namespace

Volumes& Volumes::platform() {
    static constinit DarwinVolumes volumes;
    return volumes;
}

} // namespace orvane
