#pragma once

#include "Platform/SystemCalls.h"
#include "Tasks/OVTaskDelegate.h"
#include "Tasks/OVTaskRunner.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvane {

/// What of a user's reaches a task's commands, and so what must be done before it runs.
enum class TaskInput {
    plain,     ///< nothing, or the argument as one word to a program
    shellText, ///< the argument, between double quotes, and those between single ones, in a line for a root shell
    names,     ///< names of files that users chose, which can come to `rm` in pieces that are no absolute paths
};

/// The heart of the command-line tool: runs the one task that its name selects. It keeps nothing between calls. It is
/// the owner of the task runner that it makes for each task: prints its output, never cancels, chooses nothing.
class OrvaneTool : public OVTaskDelegate {
  public:
    explicit OrvaneTool(SystemCalls& calls = SystemCalls::platform())
        : OrvaneTool(OVTaskRunnerServices{.calls = calls, .processInfo = ProcessInfo::privileged()}) {}
    /// With what its task runners have from outside; everything must outlive the tool.
    explicit OrvaneTool(const OVTaskRunnerServices& services) : services_(services) {}

    /// `runTask:arguments:`: compares the name with the task table, every row in turn, and runs the row that matches
    /// with the first argument ("" when there is none; further ones are ignored).
    ///
    /// Returns the task status (0 success, 1 failure, 2 cancelled), for tasks that are a shell line the raw wait status
    /// of `runCommand`, -1 when no row matched.
    std::int32_t runTask(std::string_view taskName, const std::vector<std::string>& arguments);

    /// `runCommand:`: runs one shell line between two date lines, its output going to the inherited standard output.
    /// Returns `system()`'s raw wait status, that of the closing date: the line's own outcome is deliberately not
    /// reported.
    std::int32_t runCommand(std::string_view line);

    /// `maintenanceCommandForPeriod:`: the shell line that runs the periodic maintenance ("daily", "weekly" or
    /// "monthly") and shows what it added to the period's log.
    std::string maintenanceCommandForPeriod(std::string_view period);

    /// What reaches the commands of the task; nothing for a name that no row of the table matches.
    static std::optional<TaskInput> inputOfTask(std::string_view taskName);

    /// The names of the task table in the order of its rows; a prefix stands for itself.
    static std::vector<std::string_view> taskNames();

    // The tool's answers as the runner's owner.

    /// `hasOutputAvailable:`: the chunk's bytes to standard output by `printf("%s")`, so up to a null character; no
    /// newline, no flush; nothing for nil.
    void hasOutputAvailable(std::optional<std::string_view> output) override;
    void taskWillBegin(OVTask* /*task*/) override {}
    void task(OVTask* /*task*/, std::int32_t /*completedWithStatus*/) override {}
    bool shouldCancel() override { return false; }
    std::optional<std::string> archiveDesktopPath() override { return std::nullopt; }
    std::uint64_t largeFilesSize() override { return 0; }
    std::optional<std::vector<std::string>> inputPathsWithDirectoriesOnly(bool /*directoriesOnly*/,
                                                                          bool /*multiple*/) override {
        return std::nullopt;
    }

  private:
    OVTaskRunnerServices services_;
};

} // namespace orvane
