#include "Tasks/OVTaskCommands.h"

#include "Support/OVText.h"
#include "Support/OVVisit.h"
#include "Tasks/OVTaskLines.h"

#include <algorithm>
#include <type_traits>

namespace orvane {

namespace {

/// Stands in for whatever would change something, and notes it.
class Recorder final : public CommandRunner, public AppleScript, public Clock, public UserDefaultsFactory {
  public:
    Recorder(std::vector<std::string>& lines, OrPlatform<UserDefaultsFactory> userDefaults)
        : lines_(lines), userDefaults_(userDefaults) {}

    Outcome runCommandAtPath(const std::string& path, const std::vector<std::string>& arguments,
                             OVShellCommandDelegate* /*delegate*/) override {
        const bool isLine = path == "/bin/sh" && arguments.size() == 2;
        lines_.push_back(isLine ? arguments[1] : OVCommandLine(path, arguments));
        return {.result = result, .processID = 0};
    }
    bool execute(const std::string& source) override {
        lines_.push_back(OVCommandLine("osascript", {"-e", source}));
        return true;
    }
    void sleep(double /*seconds*/) override {}

    std::unique_ptr<UserDefaults> create() override {
        return std::make_unique<Defaults>(lines_, userDefaults_().create());
    }

    NSInteger result = OVShellCommandSuccess;

  private:
    class Defaults final : public UserDefaults {
      public:
        Defaults(std::vector<std::string>& lines, std::unique_ptr<UserDefaults> stored)
            : lines_(lines), stored_(std::move(stored)) {}
        std::optional<PropertyListValue> objectForKey(const std::string& key, const std::string& domain) override {
            return stored_->objectForKey(key, domain);
        }
        void setObject(const PropertyListValue& object, const std::string& forKey, const std::string& domain) override {
            std::vector<std::string> words = {"write", domain, forKey};
            if (const auto* const isOn = std::get_if<bool>(&object)) {
                words.insert(words.end(), {"-bool", *isOn ? "YES" : "NO"});
            } else if (const auto* const text = std::get_if<std::string>(&object)) {
                words.push_back(*text);
            }
            lines_.push_back(OVCommandLine("defaults", words));
        }
        bool synchronize() override { return true; }

      private:
        std::vector<std::string>& lines_;
        std::unique_ptr<UserDefaults> stored_;
    };

    std::vector<std::string>& lines_;
    OrPlatform<UserDefaultsFactory> userDefaults_;
};

/// An operation that does nothing but through the recorder.
struct Operation {
    std::string_view name;
    void (*run)(OVTaskRunner& runner, const std::string& argument);
};

constexpr Operation kOperations[] = {
    {"repairPermissions", [](OVTaskRunner& runner, const std::string&) { runner.repairDiskPermissions(); }},
    {"rpf",
     [](OVTaskRunner& runner, const std::string&) {
         std::vector<std::string> folders = runner.pathsByExpandingGlobs({std::string(lines::kLibraries[0])});
         folders.emplace_back(lines::kLibraries[1]);
         runner.removeCorruptPreferencesInPaths(folders);
     }},
    {"repairVolume", [](OVTaskRunner& runner, const std::string& volume) { runner.repairVolume(volume); }},
    {"ejectVolume", [](OVTaskRunner& runner, const std::string& volume) { runner.ejectVolume(volume); }},
    {"cleanDashboardCache", [](OVTaskRunner& runner, const std::string&) { runner.relaunchDock(); }},
    {"vacuumAppleMailIndex", [](OVTaskRunner& runner, const std::string&) { runner.vacuumAppleMailIndex(); }},
    {"rebuildLaunchServices", [](OVTaskRunner& runner, const std::string&) { runner.rebuildLaunchServices(); }},
    {"freeMemory", [](OVTaskRunner& runner, const std::string&) { runner.freeMemory(); }},
    {"removeDSStoreFilesInPath",
     [](OVTaskRunner& runner, const std::string& folder) { runner.removeDSStoreFilesInPath(folder); }},
    {"removeDSStoreFilesInHomeFolder",
     [](OVTaskRunner& runner, const std::string&) { runner.removeDSStoreFilesInHomeFolder(); }},
    {"removeCorruptUserPreferences",
     [](OVTaskRunner& runner, const std::string&) { runner.removeCorruptUserPreferences(); }},
    {"cleanStaleTemporaryFiles", [](OVTaskRunner& runner, const std::string&) { runner.cleanStaleTemporaryFiles(); }},
    {"ejectAllVolumes", [](OVTaskRunner& runner, const std::string&) { runner.ejectAllVolumes(); }},
    {"relaunchFinder", [](OVTaskRunner& runner, const std::string&) { runner.relaunchFinder(); }},
    {"relaunchDock", [](OVTaskRunner& runner, const std::string&) { runner.relaunchDock(); }},
    {"relaunchSystemMenu", [](OVTaskRunner& runner, const std::string&) { runner.relaunchSystemMenu(); }},
    {"restartAirport", [](OVTaskRunner& runner, const std::string&) { runner.restartAirport(); }},
    {"restart", [](OVTaskRunner& runner, const std::string&) { runner.restart(); }},
    {"shutdown", [](OVTaskRunner& runner, const std::string&) { runner.shutdown(); }},
    {"toggleDashboard", [](OVTaskRunner& runner, const std::string&) { runner.toggleDashboard(); }},
    {"toggleInvisibleFiles", [](OVTaskRunner& runner, const std::string&) { runner.toggleInvisibleFiles(); }},
    {"toggleDownloadWarning", [](OVTaskRunner& runner, const std::string&) { runner.toggleDownloadWarning(); }},
    {"setScreenshotFormat",
     [](OVTaskRunner& runner, const std::string& format) { runner.setScreenshotFormat(format); }},
    {"toggleScreenshotShadow", [](OVTaskRunner& runner, const std::string&) { runner.toggleScreenshotShadow(); }},
};

std::string maintenance(std::string_view period) {
    return stringWithFormat(lines::kMaintenance, {period, period, period, period});
}

/// The line that the tool puts between its dates; "" for a task of another kind.
std::string lineOf(const OVTaskDescription& task, OVTaskRunner& runner, const std::string& argument) {
    if (!task.line.empty()) {
        return std::string(task.line);
    }
    if (task.name == "cronallleo") {
        return stringWithFormat(lines::kAllMaintenance,
                                {maintenance("daily"), maintenance("weekly"), maintenance("monthly")});
    }
    for (const std::string_view period : {"daily", "weekly", "monthly"}) {
        if (task.name == "cron" + std::string(period) + "leo") {
            return maintenance(period);
        }
    }
    return task.name == "secureEraseFreeSpace" ? runner.secureEraseFreeSpaceCommand(argument) : "";
}

std::optional<std::string_view> removerOf(const OVTaskDescription& task) {
    for (const OVTaskRemoval& removal : task.removals) {
        if (removal.way == OVTaskRemoval::Way::list) {
            return lines::kForceDelete;
        }
        if (removal.way == OVTaskRemoval::Way::overwrite) {
            return lines::kSecureDelete;
        }
    }
    return std::nullopt;
}

} // namespace

std::string OVCommandLine(const std::string& program, const std::vector<std::string>& arguments) {
    constexpr std::string_view kPlain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789._-+@/:,=%";
    std::string line = program;
    for (const std::string& word : arguments) {
        const bool isPlain = !word.empty() && word.find_first_not_of(kPlain) == std::string::npos;
        line += isPlain ? " " + word : " '" + stringByReplacing("'", R"('\'')", word) + "'";
    }
    return line;
}

std::vector<std::string> OVTaskCommands(const OVTaskDescription& task, const std::vector<std::string>& arguments,
                                        const OVTaskRunnerServices& services) {
    std::vector<std::string> commands;
    const std::string argument = arguments.empty() ? "" : arguments.front();
    Recorder recorder(commands, services.userDefaults);
    if (task.name == "freeMemory") {
        recorder.result = 1; // what it says at the end is not known yet
    }
    OVTaskRunner runner({.calls = services.calls,
                         .volumes = services.volumes,
                         .appleScript = recorder,
                         .processInfo = services.processInfo,
                         .commands = recorder,
                         .alertPanel = services.alertPanel,
                         .bundle = services.bundle,
                         .clock = &recorder,
                         .fileManager = services.fileManager,
                         .gestalt = services.gestalt,
                         .hostMemory = services.hostMemory,
                         .locale = services.locale,
                         .userDefaults = &recorder,
                         .workspace = services.workspace});
    if (task.name == "killProcess") {
        const pid_t group = services.calls.getpgid(intValue(argument));
        commands.push_back(OVCommandLine("kill", {"-INT", "--", std::to_string(-group)}));
    }
    if (const std::string line = lineOf(task, runner, argument); !line.empty()) {
        commands.push_back(stringWithFormat(lines::kFrame, {line}));
    }
    if (const auto remover = removerOf(task)) {
        commands.push_back(stringWithFormat(lines::kOnEachPath, {"files-to-remove.txt", *remover}));
    }
    const auto* const operation = std::find_if(std::begin(kOperations), std::end(kOperations),
                                               [&](const Operation& some) { return some.name == task.name; });
    if (operation != std::end(kOperations)) {
        operation->run(runner, argument);
    }
    return commands;
}

} // namespace orvane
