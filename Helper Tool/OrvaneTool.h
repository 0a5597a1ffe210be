#pragma once

#include "Platform/SystemCalls.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace orvane {

/// The heart of the command-line tool: runs the one task that its name selects. It keeps nothing between
/// calls.
class OrvaneTool {
  public:
    explicit OrvaneTool(SystemCalls& calls = SystemCalls::platform()) : calls_(calls) {}

    /// `runTask:arguments:`: compares the name with the task table, every row in turn, and runs the row that
    /// matches with the first argument ("" when there is none; further ones are ignored).
    ///
    /// Returns the task status (0 success, 1 failure, 2 cancelled), for tasks that are a shell line the raw
    /// wait status of `runCommand`, -1 when no row matched.
    std::int32_t runTask(std::string_view taskName, const std::vector<std::string>& arguments);

    /// `runCommand:`: runs one shell line between two date lines, its output going to the inherited standard
    /// output. Returns `system()`'s raw wait status, that of the closing date: the line's own outcome is
    /// deliberately not reported.
    std::int32_t runCommand(std::string_view line);

    /// `maintenanceCommandForPeriod:`: the shell line that runs the periodic maintenance ("daily", "weekly"
    /// or "monthly") and shows what it added to the period's log.
    std::string maintenanceCommandForPeriod(std::string_view period);

    /// Whether a row of the table tests true for the name.
    static bool knowsTask(std::string_view taskName);

    /// The names of the task table in the order of its rows, for those who list them; a prefix stands for
    /// itself.
    static std::vector<std::string_view> taskNames();

  private:
    friend struct TaskTable;

    std::int32_t killProcessGroup(std::string_view taskName);

    SystemCalls& calls_;
};

} // namespace orvane
