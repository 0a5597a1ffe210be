#pragma once

#include <string>

namespace orvane {

/// What the platform gives a process for files of its own (`NSProcessInfo`, `NSTemporaryDirectory()`).
class ProcessInfo {
  public:
    /// The running process. Lives for ever; may be used from any thread.
    static ProcessInfo& platform();

    /// The same for a process that is root on behalf of somebody else: it does not ask the environment, even where
    /// the system's way to the temporary directory is a variable. Lives for ever; may be used from any thread.
    static ProcessInfo& privileged();

    /// `globallyUniqueString`: a text that no other call gives, in this process or another; letters, digits
    /// and dashes alone.
    virtual std::string globallyUniqueString() = 0;

    /// `NSTemporaryDirectory()`: the absolute path of the user's folder for temporary files. For a root
    /// process a folder in which nobody else can rename or replace what root makes there.
    virtual std::string temporaryDirectory() = 0;

  protected:
    ~ProcessInfo() = default;
};

} // namespace orvane
