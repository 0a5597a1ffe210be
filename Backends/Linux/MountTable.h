#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvane {

/// One line of `/proc/self/mountinfo`.
struct MountRecord {
    std::uint64_t mountID = 0;
    std::string mountPoint; ///< escapes decoded
    std::string fileSystemType;
    std::string options; ///< of the mount, of the file system and of the mounting tool, with commas between them
};

/// The records of `/proc/self/mountinfo`, in its order; a line that is none is left out.
std::vector<MountRecord> parseMountInfo(std::string_view text);

/// Adds the options that the kernel does not keep ("x-gvfs-hide") from the mounting tool's own table,
/// `/run/mount/utab`: to the mount with the line's number, without a number to the last one at its place.
void addUserOptions(std::vector<MountRecord>& records, std::string_view utab);

/// What the options and the type alone say of a mount: its `MountFlags`. Hidden from browsing are pseudo file
/// systems, memory file systems in the system's own folders, and what asks for it.
std::uint32_t mountFlags(const MountRecord& record);

/// Whether asking the file system may depend on a server or another process, and so last for ever.
bool mayNotAnswer(const MountRecord& record);

/// The mounting user from "user_id=" or "uid="; nothing when no option tells.
std::optional<std::uint32_t> mountingUser(const MountRecord& record);

} // namespace orvane
