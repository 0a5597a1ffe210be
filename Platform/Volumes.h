#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orvane {

/// Flags of a mounted file system, with the values of `statfs`'s `f_flags`.
enum MountFlags : std::uint32_t {
    /// `MNT_NOSUID`: set-user-ID bits are ignored.
    kMountNoSetUserID = 0x00000008,
    /// `MNT_LOCAL`: the files are on this machine.
    kMountLocal = 0x00001000,
    /// `MNT_ROOTFS`: the start-up volume.
    kMountRootFileSystem = 0x00004000,
    /// `MNT_DONTBROWSE`: not for a user's eyes.
    kMountDontBrowse = 0x00100000,
};

/// One mounted file system, as `statfs` describes it.
struct MountedFileSystem {
    std::string mountPoint;            ///< `f_mntonname`, as the file system spells it
    std::uint32_t owner = 0;           ///< `f_owner`: the id of the user who mounted it
    std::uint32_t flags = 0;           ///< `f_flags`: `MountFlags`
    std::uint32_t blockSize = 0;       ///< `f_bsize`: bytes in a block of the two counts
    std::uint64_t blocks = 0;          ///< `f_blocks`: all blocks
    std::uint64_t availableBlocks = 0; ///< `f_bavail`: those a user other than root may still fill
};

/// The mounted file systems (`getfsstat`, `statfs`; on Linux `/proc/self/mountinfo`, `statvfs`).
class Volumes {
  public:
    /// The volumes of the system that the process runs on. Lives for ever; may be used from any thread.
    static Volumes& platform();

    /// The `MountFlags` of the file system that holds the path, as far as they concern its files
    /// (`MNT_NOSUID`); nothing when it cannot be examined (`errno` tells why).
    virtual std::optional<std::uint32_t> mountFlagsAtPath(const char* path) = 0;

    /// All mounted file systems in the system's order (`getfsstat` for the count, then for the records);
    /// nothing when the count is 0 or cannot be had. Sizes are 0 for a file system that does not answer, on
    /// Linux also for one that is hidden from browsing: it is not even asked.
    virtual std::optional<std::vector<MountedFileSystem>> mountedFileSystems() = 0;

  protected:
    ~Volumes() = default;
};

} // namespace orvane
