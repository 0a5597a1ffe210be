#pragma once

#include <optional>
#include <string>

namespace orvane {

/// What the Finder keeps about files (`NSFileManager`).
class FileManager {
  public:
    /// The system's. Lives for ever; may be used from any thread.
    static FileManager& platform();

    /// `displayNameAtPath:`: the name that the Finder shows for the file, which may differ from the last path
    /// component; the last path component where there is nothing that shows another.
    virtual std::string displayNameAtPath(const std::string& path) = 0;

    /// `setAttributes:ofItemAtPath:error:` with `NSFileExtensionHidden` and true: the file's extension is not shown.
    /// Nothing on success, also for a file on a system that never hides one; else the error's description.
    virtual std::optional<std::string> hideExtensionOfItemAtPath(const std::string& path) = 0;

  protected:
    ~FileManager() = default;
};

} // namespace orvane
