#pragma once

#include <cstdint>

namespace orvane {

/// What the platform alone can tell or do about the running process.
class Process {
  public:
    /// The running process. Lives for ever; may be used from any thread.
    static Process& current();

    /// The calling thread's number, as the log shows it.
    virtual std::uint64_t threadID() = 0;

    /// Closes every open descriptor from `first` on, those above the soft limit included; false when the list
    /// of open descriptors cannot be had.
    virtual bool closeDescriptorsFrom(int first) = 0;

  protected:
    Process() = default;
    Process(const Process&) = default;
    Process& operator=(const Process&) = default;
    ~Process() = default;
};

} // namespace orvane
