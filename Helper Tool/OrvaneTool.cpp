#include "Helper Tool/OrvaneTool.h"

#include "Support/OVLog.h"
#include "Support/OVText.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <iterator>
#include <memory>
#include <optional>

namespace orvane {

namespace {

constexpr std::int32_t kNoTaskMatched = -1;

} // namespace

/// The vocabulary of the tool. Rows are tested in this order, each one whatever matched before.
struct TaskTable {
    /// One dispatch on its way through the rows.
    struct Dispatch {
        OrvaneTool& tool;
        OVTaskRunner& runner;
        std::string_view taskName;
        std::string firstArgument;
        std::int32_t status = kNoTaskMatched;
        std::optional<std::string> pendingLine; ///< a maintenance line that a row has left for the runPending row
    };

    enum class Test { equal, prefix, always };

    /// What of a user's reaches the row's commands, and so what must be done before it runs. Every row says it.
    enum class Input {
        none,
        word,      ///< the argument, as one word to a program
        shellText, ///< the argument, between quotes in a line for a root shell
        names,     ///< file names, one a line or cut out of a text, which can come to `rm` in pieces
    };

    struct Row {
        Test test;
        Input input;
        std::string_view name;
        void (*action)(Dispatch& dispatch, const char* text);
        const char* text; ///< the shell line, or what the action makes it from
    };

    static void shellLine(Dispatch& dispatch, const char* text) { dispatch.status = dispatch.tool.runCommand(text); }

    static void maintenance(Dispatch& dispatch, const char* period) {
        dispatch.pendingLine = dispatch.tool.maintenanceCommandForPeriod(period);
    }

    static void allMaintenance(Dispatch& dispatch, const char* /*text*/) {
        OrvaneTool& tool = dispatch.tool;
        dispatch.pendingLine = stringWithFormat("%@; %@; %@", {tool.maintenanceCommandForPeriod("daily"),
                                                               tool.maintenanceCommandForPeriod("weekly"),
                                                               tool.maintenanceCommandForPeriod("monthly")});
    }

    static void runPending(Dispatch& dispatch, const char* /*text*/) {
        if (dispatch.pendingLine) {
            dispatch.status = dispatch.tool.runCommand(*dispatch.pendingLine);
        }
    }

    static void killProcess(Dispatch& dispatch, const char* /*text*/) {
        dispatch.status = dispatch.tool.killProcessGroup(dispatch.taskName);
    }

    static void repairPermissions(Dispatch& dispatch, const char* /*text*/) {
        dispatch.status = dispatch.runner.repairDiskPermissions();
    }

    static void forceDelete(Dispatch& dispatch, const char* glob) {
        dispatch.status = dispatch.runner.forceDeleteItemsAtGlobs({glob});
    }

    static void repairPreferences(Dispatch& dispatch, const char* /*text*/) {
        std::vector<std::string> folders = dispatch.runner.pathsByExpandingGlobs({"/Users/*/Library"});
        folders.emplace_back("/Library");
        dispatch.status = dispatch.runner.removeCorruptPreferencesInPaths(folders);
    }

    static void repairVolume(Dispatch& dispatch, const char* /*text*/) {
        dispatch.status = dispatch.runner.repairVolume(dispatch.firstArgument);
    }

    static void ejectVolume(Dispatch& dispatch, const char* /*text*/) {
        dispatch.status = dispatch.runner.ejectVolume(dispatch.firstArgument);
    }

    /// The runner only makes the line: it runs between date lines, like the tool's own.
    static void secureEraseFreeSpace(Dispatch& dispatch, const char* /*text*/) {
        dispatch.status = dispatch.tool.runCommand(dispatch.runner.secureEraseFreeSpaceCommand(dispatch.firstArgument));
    }

    static std::vector<std::string> trashGlobs() {
        return {"/Volumes/*/.Trash/*", "/Volumes/*/.Trashes/*/*", "/Users/*/.Trash/*"};
    }

    static void emptyTrash(Dispatch& dispatch, const char* /*text*/) {
        dispatch.status = dispatch.runner.forceDeleteItemsAtGlobs(trashGlobs());
    }

    static void secureEmptyTrash(Dispatch& dispatch, const char* /*text*/) {
        OVTaskRunner& runner = dispatch.runner;
        dispatch.status = runner.secureDeleteItemsAtPaths(runner.pathsByExpandingGlobs(trashGlobs()));
    }

    static constexpr Row kRows[] = {
        {Test::equal, Input::none, "repairPermissions", repairPermissions, nullptr},
        {Test::equal, Input::none, "crondailyleo", maintenance, "daily"},
        {Test::equal, Input::none, "cronweeklyleo", maintenance, "weekly"},
        {Test::equal, Input::none, "cronmonthlyleo", maintenance, "monthly"},
        {Test::equal, Input::none, "cronallleo", allMaintenance, nullptr},
        {Test::always, Input::none, "", runPending, nullptr},
        {Test::equal, Input::none, "csc", shellLine,
         R"(mv /Library/Caches/*pictureCache.tiff /tmp/; mv /Library/Caches/com.apple.ATS /tmp/; rm -fvR /Library/Caches/*; mv /tmp/*pictureCache.tiff /Library/Caches/; mv /tmp/com.apple.ATS /Library/Caches/)"},
        {Test::equal, Input::names, "cauc", forceDelete, "/Users/*/Library/Caches/*"},
        {Test::equal, Input::none, "vpf", shellLine,
         R"(/usr/bin/plutil /Library/Preferences/*.plist; /usr/bin/plutil ~/Library/Preferences/*.plist)"},
        {Test::equal, Input::names, "rpf", repairPreferences, nullptr},
        {Test::equal, Input::word, "repairVolume", repairVolume, nullptr},
        {Test::equal, Input::word, "ejectVolume", ejectVolume, nullptr},
        {Test::equal, Input::none, "rebuildSpotlightIndex", shellLine,
         R"(sleep 5; /usr/bin/mdutil -E /; echo; echo Spotlight index has been deleted.; echo; echo In a few moments, the Spotlight menu item, located at the top right hand corner of your display, will automatically start indexing.)"},
        {Test::equal, Input::none, "cleanArchivedLogs", shellLine,
         R"(/bin/rm -fvR /var/log/*.gz; /usr/bin/find /Library/Logs -name *.log.* -exec /bin/rm -vfR {} \;)"},
        {Test::equal, Input::none, "cleanAllLogs", shellLine,
         R"(/usr/bin/find /Library/Logs /Users/*/Library/Logs -name *.log -exec /bin/rm -vfR {} \;)"},
        {Test::equal, Input::none, "flushDNS", shellLine,
         R"(echo Clearing DNS cache...; killall -HUP mDNSResponder; dscacheutil -flushcache)"},
        {Test::equal, Input::none, "whatisDatabase", shellLine, R"(/usr/libexec/makewhatis -v)"},
        {Test::equal, Input::none, "locateDatabase", shellLine,
         R"(echo Starting update...; cd /; sudo /usr/libexec/locate.updatedb; echo; echo Ending update...)"},
        {Test::equal, Input::none, "removeTemporary", shellLine, R"(rm -fv -R /var/tmp/*)"},
        {Test::equal, Input::none, "cleanFontCaches", shellLine,
         R"(echo Clearing font cache...; atsutil databases -remove; sleep 5)"},
        {Test::equal, Input::shellText, "secureEraseFreeSpace", secureEraseFreeSpace, nullptr},
        {Test::prefix, Input::none, "killProcess", killProcess, nullptr},
        {Test::equal, Input::names, "feat", emptyTrash, nullptr},
        {Test::equal, Input::names, "secureEmptyTrash", secureEmptyTrash, nullptr},
    };

    static bool matches(const Row& row, std::string_view taskName) {
        switch (row.test) {
        case Test::equal:
            return taskName == row.name;
        case Test::prefix:
            return taskName.starts_with(row.name);
        case Test::always:
            return true;
        }
        return false;
    }

    static bool takes(Input input, std::string_view taskName) {
        return std::any_of(std::begin(kRows), std::end(kRows),
                           [&](const Row& row) { return row.input == input && matches(row, taskName); });
    }
};

std::int32_t OrvaneTool::runTask(std::string_view taskName, const std::vector<std::string>& arguments) {
    OVTaskRunner runner(services_);
    // The runner never releases its delegate, and this one is not the runner's to keep.
    runner.setDelegate(std::shared_ptr<OVTaskDelegate>(std::shared_ptr<void>(), this));
    TaskTable::Dispatch dispatch{
        .tool = *this,
        .runner = runner,
        .taskName = taskName,
        .firstArgument = arguments.empty() ? std::string() : arguments.front(),
        .pendingLine = std::nullopt,
    };
    for (const TaskTable::Row& row : TaskTable::kRows) {
        if (TaskTable::matches(row, taskName)) {
            row.action(dispatch, row.text);
        }
    }
    return dispatch.status;
}

bool OrvaneTool::knowsTask(std::string_view taskName) {
    return std::any_of(std::begin(TaskTable::kRows), std::end(TaskTable::kRows), [&](const TaskTable::Row& row) {
        return row.test != TaskTable::Test::always && TaskTable::matches(row, taskName);
    });
}

bool OrvaneTool::putsArgumentIntoShellLine(std::string_view taskName) {
    return TaskTable::takes(TaskTable::Input::shellText, taskName);
}

bool OrvaneTool::deletesByNames(std::string_view taskName) {
    return TaskTable::takes(TaskTable::Input::names, taskName);
}

std::vector<std::string_view> OrvaneTool::taskNames() {
    std::vector<std::string_view> names;
    for (const TaskTable::Row& row : TaskTable::kRows) {
        if (row.test != TaskTable::Test::always) {
            names.push_back(row.name);
        }
    }
    return names;
}

std::int32_t OrvaneTool::killProcessGroup(std::string_view taskName) {
    const std::int32_t processID = intValue(stringByRemoving("killProcess ", taskName));
    const pid_t group = calls_.getpgid(processID);
    // The group is compared with 3, the number of ESRCH, deliberately; a failed getpgid's -1 goes on to
    // killpg.
    if (group == 3) {
        OVLogMethod("-[OrvaneTool runTask:arguments:]", "ERROR: no process group for process %d", processID);
        return 1;
    }
    return calls_.killpg(group, SIGINT);
}

std::int32_t OrvaneTool::runCommand(std::string_view line) {
    const std::string framed = stringWithFormat("/bin/date; %@; /bin/echo; sleep 1; /bin/date;", {line});
    return calls_.system(framed.c_str());
}

std::string OrvaneTool::maintenanceCommandForPeriod(std::string_view period) {
    // The backslash keeps $p from the shell: it is sed's last line.
    return stringWithFormat(
        R"(line_count=0; if [ -a /var/log/%@.out ]; then line_count=`wc -l /var/log/%@.out | awk '{ print $1 }'`; fi; line_count=`expr $line_count + 1`; periodic %@; sed -n -e ${line_count},\$p /var/log/%@.out)",
        {period, period, period, period});
}

void OrvaneTool::taskWillBegin(OVTask* /*task*/) {}

void OrvaneTool::task(OVTask* /*task*/, std::int32_t /*completedWithStatus*/) {}

void OrvaneTool::hasOutputAvailable(std::optional<std::string_view> output) {
    if (output) {
        std::printf("%.*s", static_cast<int>(output->size()), output->data());
    }
}

bool OrvaneTool::shouldCancel() {
    return false;
}

std::optional<std::string> OrvaneTool::archiveDesktopPath() {
    return std::nullopt;
}

std::uint64_t OrvaneTool::largeFilesSize() {
    return 0;
}

std::optional<std::vector<std::string>> OrvaneTool::inputPathsWithDirectoriesOnly(bool /*directoriesOnly*/,
                                                                                  bool /*allowsMultipleSelection*/) {
    return std::nullopt;
}

} // namespace orvane
