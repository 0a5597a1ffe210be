#pragma once

#include "Platform/SystemCalls.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace orvane {

/// Writes one file as a whole or not at all (`writeToFile:atomically:encoding:error:`).
///
/// The bytes go to a new file in the same folder (`open` with `O_EXCL`, `write`), which is synced (`fsync`), closed and
/// only then renamed into place (`rename`). Whatever fails, `path` names the old file or none, never a part of the new
/// one, and the new file is removed. A file-size limit is an error like any other: its signal does not end the process.
class OVAtomicFile {
  public:
    /// Starts a file that is to stand at `path` with the permissions `mode`, from which the process's umask is taken.
    /// The system calls must outlive the object.
    OVAtomicFile(std::string path, mode_t mode, SystemCalls& calls = SystemCalls::platform());
    OVAtomicFile(const OVAtomicFile&) = delete;
    OVAtomicFile& operator=(const OVAtomicFile&) = delete;
    /// Throws away what was not committed.
    ~OVAtomicFile();

    /// Adds bytes at the end. After a failure it does nothing; `commit` tells.
    void append(std::string_view bytes);

    /// Puts the file into place. Returns 0, or the `errno` of the first step that failed, in `append` or here. Called
    /// once, as the last thing.
    std::int32_t commit();

  private:
    void create();
    void flush();
    void fail(std::int32_t error);

    SystemCalls& calls_;
    std::string path_;
    std::string newPath_;
    std::string buffer_;
    mode_t mode_;
    int descriptor_ = -1;
    bool exists_ = false; ///< whether `newPath_` is a file of ours to remove
    std::int32_t error_ = 0;
};

/// A file's text, or why there is none.
struct OVTextFile {
    std::optional<std::string> text; ///< UTF-8, without a byte-order mark
    std::string error;               ///< when there is no text: the description of what went wrong

    /// `stringWithContentsOfFile:usedEncoding:error:`: reads the whole file (`open`, `read`) and finds out its encoding
    /// as `textFromData` does. No path is an error like that of a missing file.
    static OVTextFile read(const std::optional<std::string>& path, SystemCalls& calls = SystemCalls::platform());
};

/// A system error's description, as "%@" shows an error object.
std::string errorDescription(std::int32_t error);

} // namespace orvane
