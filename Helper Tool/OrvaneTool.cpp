#include "Helper Tool/OrvaneTool.h"

#include "Support/OVLog.h"
#include "Support/OVText.h"
#include "Tasks/OVTaskLines.h"

#include <csignal>
#include <cstdio>
#include <iterator>
#include <memory>

namespace orvane {

namespace {

/// What a row's action has at hand.
struct Dispatch {
    OrvaneTool& tool;
    OVTaskRunner& runner;
    SystemCalls& calls;
    std::string_view taskName;
    std::string argument; ///< the first, or ""
};

std::int32_t runMaintenance(const Dispatch& task, std::string_view period) {
    return task.tool.runCommand(task.tool.maintenanceCommandForPeriod(period));
}

std::int32_t runAllMaintenance(const Dispatch& task) {
    OrvaneTool& tool = task.tool;
    return tool.runCommand(stringWithFormat(lines::kAllMaintenance, {tool.maintenanceCommandForPeriod("daily"),
                                                                     tool.maintenanceCommandForPeriod("weekly"),
                                                                     tool.maintenanceCommandForPeriod("monthly")}));
}

std::int32_t repairPreferences(const Dispatch& task) {
    std::vector<std::string> folders = task.runner.pathsByExpandingGlobs({std::string(lines::kLibraries[0])});
    folders.emplace_back(lines::kLibraries[1]);
    return task.runner.removeCorruptPreferencesInPaths(folders);
}

/// The runner only makes the line: it runs between date lines, like the tool's own.
std::int32_t secureEraseFreeSpace(const Dispatch& task) {
    return task.tool.runCommand(task.runner.secureEraseFreeSpaceCommand(task.argument));
}

std::int32_t killProcessGroup(const Dispatch& task) {
    const std::int32_t processID = intValue(stringByReplacing("killProcess ", "", task.taskName));
    const pid_t group = task.calls.getpgid(processID);
    // The group is compared with 3, the number of ESRCH, deliberately; a failed getpgid's -1 goes on to killpg.
    if (group == 3) {
        OVLogMethod("-[OrvaneTool runTask:arguments:]", "ERROR: no process group for process %d", processID);
        return 1;
    }
    return task.calls.killpg(group, SIGINT);
}

std::vector<std::string> trashGlobs() {
    return {std::begin(lines::kTrash), std::end(lines::kTrash)};
}

std::int32_t secureEmptyTrash(const Dispatch& task) {
    return task.runner.secureDeleteItemsAtPaths(task.runner.pathsByExpandingGlobs(trashGlobs()));
}

/// One task of the vocabulary: a line for the shell or an action.
struct Row {
    std::string_view name;
    std::string_view line = {};
    std::int32_t (*action)(const Dispatch& task) = nullptr;
    TaskInput input = TaskInput::plain;
    bool isPrefix = false; ///< the name is only what the task's name begins with

    [[nodiscard]] constexpr bool matches(std::string_view taskName) const {
        return isPrefix ? taskName.starts_with(name) : taskName == name;
    }
};

/// The vocabulary of the tool, in the order in which names are compared.
constexpr Row kRows[] = {
    {.name = "repairPermissions", .action = [](const Dispatch& task) { return task.runner.repairDiskPermissions(); }},
    {.name = "crondailyleo", .action = [](const Dispatch& task) { return runMaintenance(task, "daily"); }},
    {.name = "cronweeklyleo", .action = [](const Dispatch& task) { return runMaintenance(task, "weekly"); }},
    {.name = "cronmonthlyleo", .action = [](const Dispatch& task) { return runMaintenance(task, "monthly"); }},
    {.name = "cronallleo", .action = runAllMaintenance},
    {.name = "csc", .line = lines::kCleanSystemCaches},
    {.name = "cauc",
     .action =
         [](const Dispatch& task) {
             return task.runner.forceDeleteItemsAtGlobs({std::string(lines::kUserCachesOfAll[0])});
         },
     .input = TaskInput::names},
    {.name = "vpf", .line = lines::kVerifyPreferences},
    {.name = "rpf", .action = repairPreferences, .input = TaskInput::names},
    {.name = "repairVolume", .action = [](const Dispatch& task) { return task.runner.repairVolume(task.argument); }},
    {.name = "ejectVolume", .action = [](const Dispatch& task) { return task.runner.ejectVolume(task.argument); }},
    {.name = "rebuildSpotlightIndex", .line = lines::kRebuildSpotlightIndex},
    {.name = "cleanArchivedLogs", .line = lines::kCleanArchivedLogs},
    {.name = "cleanAllLogs", .line = lines::kCleanAllLogs},
    {.name = "flushDNS", .line = lines::kFlushDNS},
    {.name = "whatisDatabase", .line = lines::kWhatisDatabase},
    {.name = "locateDatabase", .line = lines::kLocateDatabase},
    {.name = "removeTemporary", .line = lines::kRemoveTemporary},
    {.name = "cleanFontCaches", .line = lines::kCleanFontCaches},
    {.name = "secureEraseFreeSpace", .action = secureEraseFreeSpace, .input = TaskInput::shellText},
    {.name = "killProcess", .action = killProcessGroup, .isPrefix = true},
    {.name = "feat",
     .action = [](const Dispatch& task) { return task.runner.forceDeleteItemsAtGlobs(trashGlobs()); },
     .input = TaskInput::names},
    {.name = "secureEmptyTrash", .action = secureEmptyTrash, .input = TaskInput::names},
};

} // namespace

std::int32_t OrvaneTool::runTask(std::string_view taskName, const std::vector<std::string>& arguments) {
    OVTaskRunner runner(services_);
    // The runner never releases its delegate, and this one is not the runner's to keep.
    runner.setDelegate(std::shared_ptr<OVTaskDelegate>(std::shared_ptr<void>(), this));
    const Dispatch task = {*this, runner, services_.calls, taskName, arguments.empty() ? "" : arguments.front()};
    std::int32_t status = -1; // no row matched
    for (const Row& row : kRows) {
        if (row.matches(taskName)) {
            status = row.action != nullptr ? row.action(task) : runCommand(row.line);
        }
    }
    return status;
}

std::optional<TaskInput> OrvaneTool::inputOfTask(std::string_view taskName) {
    for (const Row& row : kRows) {
        if (row.matches(taskName)) {
            return row.input;
        }
    }
    return std::nullopt;
}

std::vector<std::string_view> OrvaneTool::taskNames() {
    std::vector<std::string_view> names;
    for (const Row& row : kRows) {
        names.push_back(row.name);
    }
    return names;
}

std::int32_t OrvaneTool::runCommand(std::string_view line) {
    const std::string framed = stringWithFormat(lines::kFrame, {line});
    return services_.calls.system(framed.c_str());
}

std::string OrvaneTool::maintenanceCommandForPeriod(std::string_view period) {
    return stringWithFormat(lines::kMaintenance, {period, period, period, period});
}

void OrvaneTool::hasOutputAvailable(std::optional<std::string_view> output) {
    if (output) {
        std::printf("%.*s", static_cast<int>(output->size()), output->data());
    }
}

} // namespace orvane
