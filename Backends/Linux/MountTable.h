#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvane {

/// What a file system's type tells of it.
enum class FileSystemKind : std::uint8_t {
    kOrdinary, ///< files on this machine
    kPseudo,   ///< no files of anybody's: the kernel's own views and switches, or the desktop's
    kMemory,   ///< files in memory
    kNetwork,  ///< files on another machine
};

/// One line of `/proc/self/mountinfo`. The views are of the text it was read from, escapes as they are there; the
/// options have commas between them.
struct MountRecord {
    std::int64_t mountID = 0;
    std::int64_t parentID = 0;
    std::string mountPoint; ///< escapes decoded
    std::string_view fileSystemType;
    FileSystemKind kind = FileSystemKind::kOrdinary;
    std::string_view mountOptions;
    std::string_view superOptions; ///< of the file system
    std::string userOptions;       ///< those that the mounting tool alone knows
};

/// The records of `/proc/self/mountinfo`, in its order; a line that is none is left out. The text must outlive them.
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

/// For each record whether another mount lies over it, at its place or at a folder above, so that no path
/// leads to it.
std::vector<bool> coveredMounts(const std::vector<MountRecord>& records);

} // namespace orvane
