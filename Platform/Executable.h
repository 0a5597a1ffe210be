#pragma once

#include <optional>
#include <string>

namespace orvane {

/// When owner, permissions, names or content of a file last changed: the field of `stat` that POSIX and Darwin name
/// differently.
template <typename Status> auto& statusChangeTime(Status& status) {
    if constexpr (requires { status.st_ctim; }) {
        return status.st_ctim;
    } else {
        return status.st_ctimespec;
    }
}

/// The file that is being executed.
class Executable {
  public:
    /// That of the running process. Lives for ever; may be used from any thread.
    static Executable& current();

    /// `executablePath`: the absolute path of the running executable, from the kernel, never from `argv[0]`;
    /// nothing when the kernel cannot tell.
    virtual std::optional<std::string> executablePath() = 0;

    /// Opens the file that is being executed for reading (close-on-exec), whatever is renamed or linked at
    /// `executablePath` meanwhile: a caller who owns the folder could swap the file between the question and a change
    /// by name. -1 with `errno` set when it cannot be had, `ESTALE` for another file at that path.
    virtual int openExecutable() = 0;

  protected:
    ~Executable() = default;
};

} // namespace orvane
