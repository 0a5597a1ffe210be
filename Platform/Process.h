#pragma once

#include <cstdint>
#include <ctime>
#include <optional>

namespace orvane {

/// What the platform alone can tell or do about the running process.
class Process {
  public:
    /// The running process. Lives for ever; may be used from any thread.
    static Process& current();

    /// The calling thread's number, as the log shows it.
    virtual std::uint64_t threadID() = 0;

    /// When the kernel made the process (`PROC_PIDTBSDINFO`, `/proc/self/stat`), by the clock that dates files and
    /// never later than it was: before the program was executed, and whatever held the process up since. Nothing when
    /// the kernel does not tell.
    virtual std::optional<timespec> startTime() = 0;

    /// Closes every descriptor from `first` on that an exec would pass on, those above the limits included; false when
    /// they cannot be found or some of them stay open.
    virtual bool closeDescriptorsFrom(int first) = 0;

  protected:
    ~Process() = default;
};

} // namespace orvane
