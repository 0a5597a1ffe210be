#include "Helper Tool/OrvaneTool.h"

#include "Support/OVLog.h"
#include "Support/OVText.h"

#include <csignal>
#include <cstdio>
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
    return tool.runCommand(stringWithFormat("%@; %@; %@", {tool.maintenanceCommandForPeriod("daily"),
                                                           tool.maintenanceCommandForPeriod("weekly"),
                                                           tool.maintenanceCommandForPeriod("monthly")}));
}

std::int32_t repairPreferences(const Dispatch& task) {
    std::vector<std::string> folders = task.runner.pathsByExpandingGlobs({"/Users/*/Library"});
    folders.emplace_back("/Library");
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
    return {"/Volumes/*/.Trash/*", "/Volumes/*/.Trashes/*/*", "/Users/*/.Trash/*"};
}

std::int32_t secureEmptyTrash(const Dispatch& task) {
    return task.runner.secureDeleteItemsAtPaths(task.runner.pathsByExpandingGlobs(trashGlobs()));
}

/// One task of the vocabulary: a line for the shell or an action.
struct Row {
    std::string_view name;
    const char* line = nullptr;
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
    {.name = "csc",
     .line =
         R"(mv /Library/Caches/*pictureCache.tiff /tmp/; mv /Library/Caches/com.apple.ATS /tmp/; rm -fvR /Library/Caches/*; mv /tmp/*pictureCache.tiff /Library/Caches/; mv /tmp/com.apple.ATS /Library/Caches/)"},
    {.name = "cauc",
     .action = [](const Dispatch& task) { return task.runner.forceDeleteItemsAtGlobs({"/Users/*/Library/Caches/*"}); },
     .input = TaskInput::names},
    {.name = "vpf",
     .line = R"(/usr/bin/plutil /Library/Preferences/*.plist; /usr/bin/plutil ~/Library/Preferences/*.plist)"},
    {.name = "rpf", .action = repairPreferences, .input = TaskInput::names},
    {.name = "repairVolume", .action = [](const Dispatch& task) { return task.runner.repairVolume(task.argument); }},
    {.name = "ejectVolume", .action = [](const Dispatch& task) { return task.runner.ejectVolume(task.argument); }},
    {.name = "rebuildSpotlightIndex",
     .line =
         R"(sleep 5; /usr/bin/mdutil -E /; echo; echo Spotlight index has been deleted.; echo; echo In a few moments, the Spotlight menu item, located at the top right hand corner of your display, will automatically start indexing.)"},
    {.name = "cleanArchivedLogs",
     .line = R"(/bin/rm -fvR /var/log/*.gz; /usr/bin/find /Library/Logs -name *.log.* -exec /bin/rm -vfR {} \;)"},
    {.name = "cleanAllLogs",
     .line = R"(/usr/bin/find /Library/Logs /Users/*/Library/Logs -name *.log -exec /bin/rm -vfR {} \;)"},
    {.name = "flushDNS", .line = R"(echo Clearing DNS cache...; killall -HUP mDNSResponder; dscacheutil -flushcache)"},
    {.name = "whatisDatabase", .line = R"(/usr/libexec/makewhatis -v)"},
    {.name = "locateDatabase",
     .line = R"(echo Starting update...; cd /; sudo /usr/libexec/locate.updatedb; echo; echo Ending update...)"},
    {.name = "removeTemporary", .line = R"(rm -fv -R /var/tmp/*)"},
    {.name = "cleanFontCaches", .line = R"(echo Clearing font cache...; atsutil databases -remove; sleep 5)"},
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
    const std::string framed = stringWithFormat("/bin/date; %@; /bin/echo; sleep 1; /bin/date;", {line});
    return services_.calls.system(framed.c_str());
}

std::string OrvaneTool::maintenanceCommandForPeriod(std::string_view period) {
    // The backslash keeps $p from the shell: it is sed's last line.
    return stringWithFormat(
        R"(line_count=0; if [ -a /var/log/%@.out ]; then line_count=`wc -l /var/log/%@.out | awk '{ print $1 }'`; fi; line_count=`expr $line_count + 1`; periodic %@; sed -n -e ${line_count},\$p /var/log/%@.out)",
        {period, period, period, period});
}

void OrvaneTool::hasOutputAvailable(std::optional<std::string_view> output) {
    if (output) {
        std::printf("%.*s", static_cast<int>(output->size()), output->data());
    }
}

} // namespace orvane
