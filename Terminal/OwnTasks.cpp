#include "Terminal/OwnTasks.h"

#include "Terminal/Text.h"
#include "Terminal/Translation.h"

#include <algorithm>
#include <array>
#include <memory>
#include <type_traits>

namespace orvane::terminal {

namespace {

using Runner = OVTaskRunner;

/// One that needs no argument, or one text.
template <auto operation> std::int32_t task(Runner& runner, const Job& job) {
    if constexpr (std::is_invocable_v<decltype(operation), Runner&>) {
        return (runner.*operation)();
    } else {
        return (runner.*operation)(job.arguments.front());
    }
}

template <auto operation> std::int32_t taskOnApplication(Runner& runner, const Job& job) {
    const std::string& name = job.arguments.front();
    for (const auto& application : runner.runningForegroundApplications()) {
        if (application->localizedName() == name || application->bundleIdentifier() == name) {
            return (runner.*operation)(application);
        }
    }
    throw CommandError(kFailed, translated("No application {} runs in the foreground.", shown(name)));
}

struct Operation {
    std::string_view name;
    std::int32_t (*run)(Runner& runner, const Job& job);
};

constexpr auto kOperations = std::to_array<Operation>({
    {"cleanUserCache", task<&Runner::cleanUserCache>},
    {"cleanDashboardCache", task<&Runner::cleanDashboardCache>},
    {"cleanBrowserCache", task<&Runner::cleanBrowserCache>},
    {"cleanBrowserHistory", task<&Runner::cleanBrowserHistory>},
    {"cleanDesktop", task<&Runner::cleanDesktop>},
    {"vacuumAppleMailIndex", task<&Runner::vacuumAppleMailIndex>},
    {"rebuildLaunchServices", task<&Runner::rebuildLaunchServices>},
    {"findLargeFilesInPath", task<&Runner::findLargeFilesInPath>},
    {"freeMemory", task<&Runner::freeMemory>},
    {"forceDeleteFiles", task<&Runner::forceDeleteFiles>},
    {"secureDeleteFiles", task<&Runner::secureDeleteFiles>},
    {"removeDSStoreFilesInPath", task<&Runner::removeDSStoreFilesInPath>},
    {"removeDSStoreFilesInHomeFolder", task<&Runner::removeDSStoreFilesInHomeFolder>},
    {"removeCorruptUserPreferences", task<&Runner::removeCorruptUserPreferences>},
    {"cleanStaleTemporaryFiles", task<&Runner::cleanStaleTemporaryFiles>},
    {"ejectAllVolumes", task<&Runner::ejectAllVolumes>},
    {"quitAllApplications", task<&Runner::quitAllApplications>},
    {"forceQuitApplication", taskOnApplication<&Runner::forceQuitApplication>},
    {"relaunchApplication", taskOnApplication<&Runner::relaunchApplication>},
    {"relaunchFinder", task<&Runner::relaunchFinder>},
    {"relaunchDock", task<&Runner::relaunchDock>},
    {"relaunchSystemMenu", task<&Runner::relaunchSystemMenu>},
    {"restartAirport", task<&Runner::restartAirport>},
    {"turnOnScreensaver", task<&Runner::turnOnScreensaver>},
    {"restartOrShutdown", task<&Runner::restartOrShutdown>},
    {"restart", task<&Runner::restart>},
    {"shutdown", task<&Runner::shutdown>},
    {"toggleDashboard", task<&Runner::toggleDashboard>},
    {"toggleInvisibleFiles", task<&Runner::toggleInvisibleFiles>},
    {"toggleDownloadWarning", task<&Runner::toggleDownloadWarning>},
    {"setScreenshotFormat", task<&Runner::setScreenshotFormat>},
    {"toggleScreenshotShadow", task<&Runner::toggleScreenshotShadow>},
});

const Operation* operationNamed(std::string_view name) {
    const auto* const found = std::find_if(kOperations.begin(), kOperations.end(),
                                           [name](const Operation& operation) { return operation.name == name; });
    return found == kOperations.end() ? nullptr : found;
}

} // namespace

std::int32_t runOwnTask(OVTaskRunner& runner, const Job& job) {
    const Operation* const operation = operationNamed(job.task->name);
    return operation != nullptr ? operation->run(runner, job) : kTaskFailure;
}

bool isOwnTask(std::string_view name) {
    return operationNamed(name) != nullptr;
}

} // namespace orvane::terminal
