#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvane {

/// Stands for a task in the first two messages of `OVTaskDelegate`. The runner sends neither; an owner that
/// does decides what the object is.
class OVTask;

/// The owner of an `OVTaskRunner`: receives output, answers cancel questions and supplies the user's choices.
/// All messages arrive on the thread that called the runner.
class OVTaskDelegate {
  public:
    virtual ~OVTaskDelegate() = default;

    /// `taskWillBegin:`, `task:completedWithStatus:`: not sent by the runner; for owners that report start and end of a
    /// task.
    virtual void taskWillBegin(OVTask* task) = 0;
    virtual void task(OVTask* task, std::int32_t completedWithStatus) = 0;

    /// `hasOutputAvailable:`: one chunk of command output, or a progress line of a task; nothing (nil) for a chunk that
    /// is not UTF-8. The text is valid for the call only.
    virtual void hasOutputAvailable(std::optional<std::string_view> output) = 0;

    /// `shouldCancel`: whether the running task should end.
    virtual bool shouldCancel() = 0;

    /// `archiveDesktopPath`: the folder in which a dated archive of the desktop is made, a leading tilde allowed;
    /// nothing when there is none. An empty path counts as none: it would mean the working folder.
    virtual std::optional<std::string> archiveDesktopPath() = 0;

    /// `largeFilesSize`: the size from which a file counts as large, in megabytes of 1,000,000 bytes.
    virtual std::uint64_t largeFilesSize() = 0;

    /// `inputPathsWithDirectoriesOnly:allowsMultipleSelection:`: paths chosen by the user, at least one; nothing when
    /// the user chose none.
    virtual std::optional<std::vector<std::string>> inputPathsWithDirectoriesOnly(bool directoriesOnly,
                                                                                  bool allowsMultipleSelection) = 0;
};

} // namespace orvane
