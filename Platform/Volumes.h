#pragma once

#include <cstdint>
#include <optional>

namespace orvane {

/// Flags of a mounted file system, with the values of `statfs`'s `f_flags`.
enum MountFlags : std::uint32_t {
    /// `MNT_NOSUID`: set-user-ID bits are ignored.
    kMountNoSetUserID = 0x00000008,
};

/// The mounted file systems (`statfs`; on Linux `statvfs`).
class Volumes {
  public:
    /// The volumes of the system that the process runs on. Lives for ever; may be used from any thread.
    static Volumes& platform();

    /// The `MountFlags` of the file system that holds the path; nothing when it cannot be examined (`errno`
    /// tells why).
    virtual std::optional<std::uint32_t> mountFlagsAtPath(const char* path) = 0;

  protected:
    Volumes() = default;
    Volumes(const Volumes&) = default;
    Volumes& operator=(const Volumes&) = default;
    ~Volumes() = default;
};

} // namespace orvane
