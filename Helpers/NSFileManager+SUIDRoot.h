#pragma once

#include "Platform/SystemCalls.h"
#include "Platform/Volumes.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

/// The category `SUIDRoot` of `NSFileManager`: an executable's setuid-root state.
///
/// Installed: owner root, group unchanged, mode 04555. Surrendered: owner the process's real user, group unchanged,
/// mode 0500. Paths are file-system representations; null is nil. The effective user id belongs to the whole process:
/// no other thread may depend on it during the first two operations.
namespace orvane::SUIDRoot {

/// A file that is changed: what its path names at that moment, unless a derived class holds on to it.
class File {
  public:
    File(std::optional<std::string> path, SystemCalls& calls) : calls_(calls), path_(std::move(path)) {}
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    virtual ~File() = default;

    /// Null for none.
    [[nodiscard]] const char* path() const { return path_ ? path_->c_str() : nullptr; }

    /// Before the first change, when the process is effective root. 0, or the error number with which the operation
    /// ends there; the reason has then been logged.
    virtual std::int32_t take() { return 0; }
    virtual int chown(uid_t owner, gid_t group) { return calls_.chown(path(), owner, group); }
    virtual int chmod(mode_t mode) { return calls_.chmod(path(), mode); }
    /// After the last change, or the first that failed, whose `errno` it keeps; not if `take` did.
    virtual void release() {}

  protected:
    SystemCalls& calls_;

  private:
    const std::optional<std::string> path_;
};

/// `setSUIDRoot:`: makes the file setuid root (`seteuid(0)`, `chown`, `chmod`, `seteuid(getuid())`).
///
/// Returns 0, or the `errno` of the step that failed, which is logged; steps already made stay made, and after a failed
/// `chown` or `chmod` the effective user id stays 0. A null path, or not getting back to the real user id at the end,
/// stops the process with a failed assertion.
std::int32_t setSUIDRoot(const char* path, SystemCalls& calls = SystemCalls::platform());
std::int32_t setSUIDRoot(File& file, SystemCalls& calls = SystemCalls::platform());

/// `surrenderSUIDRoot:`: takes the state away and hands the file to the real user (`seteuid(0)`, `chmod`, `chown`,
/// `seteuid(getuid())`).
///
/// Returns 0, or the `errno` of the step that failed, which is logged, the way back to the real user id included; steps
/// already made stay made. A null path stops the process with a failed assertion.
std::int32_t surrenderSUIDRoot(const char* path, SystemCalls& calls = SystemCalls::platform());
std::int32_t surrenderSUIDRoot(File& file, SystemCalls& calls = SystemCalls::platform());

/// Whether anybody may start the file as root: owner root, mode 04555.
bool isInstalled(const struct stat& status);

/// `isSetUIDRoot:`: whether the file, symbolic links followed, is owned by root and has the set-user-ID bit. No for a
/// path that cannot be examined and for null.
bool isSetUIDRoot(const char* path, SystemCalls& calls = SystemCalls::platform());

/// `isIgnoringSetUIDAtPath:`: whether the volume that holds the path ignores set-user-ID bits (`MNT_NOSUID`), so that
/// an installed tool would not become root there. No for a path that cannot be examined and for null.
bool isIgnoringSetUIDAtPath(const char* path, Volumes& volumes = Volumes::platform());

} // namespace orvane::SUIDRoot
