#pragma once

#include <cstdint>
#include <sys/stat.h>

namespace orvane {

/// What protects a file beside its folder's permissions (`st_flags`: `chflags`).
class FileProtection {
  public:
    /// The system's. Lives for ever; may be used from any thread.
    static FileProtection& platform();

    /// The error number with which `rm` fails on the file because of its flags; 0 when they do not protect it. From
    /// root a user's flags do not protect, since `rm` takes them away. Where flags are no part of a status: 0.
    virtual std::int32_t errorOfRemoval(const struct stat& status, bool byRoot) = 0;

  protected:
    ~FileProtection() = default;
};

} // namespace orvane
