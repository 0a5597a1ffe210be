#pragma once

#include <string>

namespace orvane {

/// What the platform gives a process for files of its own (`NSProcessInfo`, `NSTemporaryDirectory()`).
class ProcessInfo {
  public:
    /// The running process. Lives for ever; may be used from any thread.
    static ProcessInfo& platform();

    /// `globallyUniqueString`: a text that no other call gives, in this process or another; letters, digits
    /// and dashes alone.
    virtual std::string globallyUniqueString() = 0;

    /// `NSTemporaryDirectory()`: the absolute path of the user's folder for temporary files. For a root
    /// process a folder in which nobody else can rename or replace what root makes there.
    virtual std::string temporaryDirectory() = 0;

  protected:
    ProcessInfo() = default;
    ProcessInfo(const ProcessInfo&) = default;
    ProcessInfo& operator=(const ProcessInfo&) = default;
    ~ProcessInfo() = default;
};

} // namespace orvane
