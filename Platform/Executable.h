#pragma once

#include <optional>
#include <string>

namespace orvane {

/// The file that is being executed.
class Executable {
  public:
    /// That of the running process. Lives for ever; may be used from any thread.
    static Executable& current();

    /// `executablePath`: the absolute path of the running executable, from the kernel, never from `argv[0]`;
    /// nothing when the kernel cannot tell.
    virtual std::optional<std::string> executablePath() = 0;

    /// A path that keeps naming the file that is being executed, whatever is renamed or linked at
    /// `executablePath` meanwhile (`/proc/self/exe`, `/.vol/<device>/<inode>`); nothing where the system has
    /// no such name. Changes to owner and mode of the running executable go through this one, or a caller who
    /// owns the folder could swap the file between the question and the change.
    virtual std::optional<std::string> executableReference() = 0;

  protected:
    Executable() = default;
    Executable(const Executable&) = default;
    Executable& operator=(const Executable&) = default;
    ~Executable() = default;
};

} // namespace orvane
