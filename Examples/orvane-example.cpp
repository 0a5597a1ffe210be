// orvane-example: a host of the class library. It runs one operation of OVTaskRunner by its name, shows what it prints
// or answers, and ends with its status; Ctrl-C cancels it. It acts on the machine it runs on.
//
// What OrvaneTool runs as root is left to the tool, the clipboard history to programs that live long enough to have
// one.

#include "Support/OVVisit.h"
#include "Support/ZRBytesValueTransformer.h"
#include "Support/ZRSystemVersion.h"
#include "Tasks/OVMemoryStatistics.h"
#include "Tasks/OVTaskRunner.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <getopt.h>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <unistd.h>
#include <vector>

namespace {

using namespace orvane;
using Words = std::vector<std::string>;

constexpr int kWrongUse = 64;

volatile std::sig_atomic_t interrupted = 0;

/// The owner of the runner, which answers with what stood on the command line.
class Host final : public OVTaskDelegate {
  public:
    std::optional<std::string> archive;
    std::uint64_t megabytes = 0;
    Words paths;

    // Not sent by the runner.
    void taskWillBegin(OVTask* /*task*/) override {}
    void task(OVTask* /*task*/, std::int32_t /*completedWithStatus*/) override {}

    void hasOutputAvailable(std::optional<std::string_view> output) override {
        if (output && !output->empty()) {
            std::fwrite(output->data(), 1, output->size(), stdout);
            std::fflush(stdout);
            lastCharacter_ = output->back();
        }
    }
    bool shouldCancel() override { return interrupted != 0; }
    std::optional<std::string> archiveDesktopPath() override { return archive; }
    std::uint64_t largeFilesSize() override { return megabytes; }
    std::optional<Words> inputPathsWithDirectoriesOnly(bool /*directoriesOnly*/,
                                                       bool /*allowsMultipleSelection*/) override {
        return paths.empty() ? std::nullopt : std::optional(paths);
    }

    /// Some texts come as they are, without a newline.
    void endLine() const {
        if (lastCharacter_ != '\n') {
            std::putchar('\n');
        }
    }

  private:
    char lastCharacter_ = '\n';
};

/// Paths are absolute for the runner. Links in them are kept: what is deleted is the link.
std::string absolutePath(const std::string& path) {
    std::array<char, 4096> folder = {};
    if (path.starts_with("/") || ::getcwd(folder.data(), folder.size()) == nullptr) {
        return path;
    }
    return std::string(folder.data()) + "/" + path;
}

std::optional<std::uint64_t> number(std::string_view text) {
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(value) : std::nullopt;
}

// --- answers as text

std::string text(const PropertyListValue& value);

struct Text {
    std::string operator()(bool value) const { return value ? "yes" : "no"; }
    std::string operator()(std::int64_t value) const { return std::to_string(value); }
    std::string operator()(std::uint64_t value) const { return std::to_string(value); }
    std::string operator()(double value) const { return std::to_string(value); }
    std::string operator()(const std::string& value) const { return value; }
    std::string operator()(const PropertyListData& value) const { return std::to_string(value.size()) + " bytes"; }
    std::string operator()(PropertyListDate value) const {
        return std::to_string(value.secondsSinceReferenceDate) + " s since 2001";
    }
    std::string operator()(const PropertyListArray& values) const {
        std::string all;
        for (const PropertyListValue& value : values) {
            all += (all.empty() ? "" : ", ") + text(value);
        }
        return "(" + all + ")";
    }
    std::string operator()(const PropertyListDictionary& values) const {
        std::string all;
        for (const auto& [key, value] : values) {
            all += (all.empty() ? "" : ", ") + key + " = " + text(value);
        }
        return "{" + all + "}";
    }
};

std::string text(const PropertyListValue& value) {
    return visitHeld(Text(), value);
}

void print(const std::string& line) {
    std::printf("%s\n", line.c_str());
}
void print(bool answer) {
    print(Text()(answer));
}
void print(const Words& lines) {
    std::for_each(lines.begin(), lines.end(), [](const std::string& line) { print(line); });
}
void print(const std::optional<PropertyListValue>& value) {
    print(value ? text(*value) : "(null)");
}
void print(const std::vector<std::shared_ptr<RunningApplication>>& applications) {
    for (const auto& application : applications) {
        print(application->localizedName().value_or("(null)") + " (" +
              application->bundleIdentifier().value_or("(null)") + "), process " +
              std::to_string(application->processIdentifier()));
    }
}
void print(const OVVolumeDictionary& volume) {
    volume.forEachObject([](const char* key, const auto& object) { print(key + (": " + Text()(object))); });
}

// --- operations

/// One that returns its status, on no or one argument.
template <auto operation> std::int32_t task(OVTaskRunner& runner, const Words& words) {
    if constexpr (std::is_invocable_v<decltype(operation), OVTaskRunner&>) {
        return (runner.*operation)();
    } else {
        return (runner.*operation)(words[0]);
    }
}

template <auto operation> std::int32_t taskOnPath(OVTaskRunner& runner, const Words& words) {
    return (runner.*operation)(absolutePath(words[0]));
}

template <auto operation> std::int32_t taskOnApplication(OVTaskRunner& runner, const Words& words) {
    for (const auto& application : runner.runningForegroundApplications()) {
        if (application->localizedName() == words[0] || application->bundleIdentifier() == words[0]) {
            return (runner.*operation)(application);
        }
    }
    std::fprintf(stderr, "orvane-example: no application %s runs in the foreground\n", words[0].c_str());
    return kTaskFailure;
}

/// One that answers a question.
template <auto operation> std::int32_t query(OVTaskRunner& runner, const Words& /*words*/) {
    print((runner.*operation)());
    return kTaskSuccess;
}

std::int32_t mountedBrowsableVolumes(OVTaskRunner& runner, const Words& /*words*/) {
    const auto volumes = runner.mountedBrowsableVolumes();
    for (const OVVolumeDictionary& volume : volumes.value_or(std::vector<OVVolumeDictionary>())) {
        print(volume);
    }
    return volumes ? kTaskSuccess : kTaskFailure;
}

std::int32_t runBashCommand(OVTaskRunner& runner, const Words& words) {
    return runner.runBashCommand(words[0]);
}

std::int32_t objectForKey(OVTaskRunner& runner, const Words& words) {
    print(runner.objectForKey(words[0], words[1]));
    return kTaskSuccess;
}

std::int32_t setObject(OVTaskRunner& runner, const Words& words) {
    runner.setObject(words[0], words[1], words[2]);
    return kTaskSuccess;
}

std::int32_t freeMemoryCount(OVTaskRunner& /*runner*/, const Words& /*words*/) {
    print(std::to_string(OVMemoryStatistics::freeMemoryCount()));
    return kTaskSuccess;
}

std::int32_t formatBytes(OVTaskRunner& /*runner*/, const Words& words) {
    const auto bytes = number(words[0]);
    if (!bytes) {
        std::fprintf(stderr, "orvane-example: not a number of bytes: %s\n", words[0].c_str());
        return kWrongUse;
    }
    print(ZRBytesValueTransformer::formatBytes(*bytes));
    return kTaskSuccess;
}

std::int32_t systemVersion(OVTaskRunner& /*runner*/, const Words& /*words*/) {
    print(SystemVersionString());
    return kTaskSuccess;
}

std::int32_t systemIsSnowLeopardOrLater(OVTaskRunner& /*runner*/, const Words& /*words*/) {
    print(SystemIsSnowLeopardOrLater());
    return kTaskSuccess;
}

struct Operation {
    std::string_view name;
    std::string_view arguments; ///< each is needed
    std::int32_t (*run)(OVTaskRunner& runner, const Words& words);
};

using Runner = OVTaskRunner;

constexpr auto kOperations = std::to_array<Operation>({
    {"cleanUserCache", "", task<&Runner::cleanUserCache>},
    {"cleanDashboardCache", "", task<&Runner::cleanDashboardCache>},
    {"cleanBrowserCache", "BROWSER", task<&Runner::cleanBrowserCache>},
    {"cleanBrowserHistory", "BROWSER", task<&Runner::cleanBrowserHistory>},
    {"cleanDesktop", "", task<&Runner::cleanDesktop>},
    {"vacuumAppleMailIndex", "", task<&Runner::vacuumAppleMailIndex>},
    {"rebuildLaunchServices", "", task<&Runner::rebuildLaunchServices>},
    {"findLargeFilesInPath", "FOLDER", taskOnPath<&Runner::findLargeFilesInPath>},
    {"freeMemory", "", task<&Runner::freeMemory>},
    {"freeMemoryCount", "", freeMemoryCount},

    {"forceDeleteFiles", "", task<&Runner::forceDeleteFiles>},
    {"secureDeleteFiles", "", task<&Runner::secureDeleteFiles>},
    {"forceEmptyTrash", "", task<&Runner::forceEmptyTrash>},
    {"removeDSStoreFilesInPath", "FOLDER", taskOnPath<&Runner::removeDSStoreFilesInPath>},
    {"removeDSStoreFilesInFolder", "", task<&Runner::removeDSStoreFilesInFolder>},
    {"removeDSStoreFilesInHomeFolder", "", task<&Runner::removeDSStoreFilesInHomeFolder>},
    {"removeCorruptUserPreferences", "", task<&Runner::removeCorruptUserPreferences>},
    {"cleanStaleTemporaryFiles", "", task<&Runner::cleanStaleTemporaryFiles>},
    {"homeDirectory", "", query<&Runner::homeDirectory>},
    {"mountedBrowsableVolumes", "", mountedBrowsableVolumes},
    {"ejectAllVolumes", "", task<&Runner::ejectAllVolumes>},

    {"runningForegroundApplications", "", query<&Runner::runningForegroundApplications>},
    {"quitAllApplications", "", task<&Runner::quitAllApplications>},
    {"forceQuitApplication", "APPLICATION", taskOnApplication<&Runner::forceQuitApplication>},
    {"relaunchApplication", "APPLICATION", taskOnApplication<&Runner::relaunchApplication>},
    {"relaunchFinder", "", task<&Runner::relaunchFinder>},
    {"relaunchDock", "", task<&Runner::relaunchDock>},
    {"relaunchSystemMenu", "", task<&Runner::relaunchSystemMenu>},
    {"restartAirport", "", task<&Runner::restartAirport>},
    {"turnOnScreensaver", "", task<&Runner::turnOnScreensaver>},
    {"restartOrShutdown", "", task<&Runner::restartOrShutdown>},
    {"restart", "", task<&Runner::restart>},
    {"shutdown", "", task<&Runner::shutdown>},

    {"isDashboardOn", "", query<&Runner::isDashboardOn>},
    {"toggleDashboard", "", task<&Runner::toggleDashboard>},
    {"showInvisibleFiles", "", query<&Runner::showInvisibleFiles>},
    {"toggleInvisibleFiles", "", task<&Runner::toggleInvisibleFiles>},
    {"showDownloadWarning", "", query<&Runner::showDownloadWarning>},
    {"toggleDownloadWarning", "", task<&Runner::toggleDownloadWarning>},
    {"screenshotFormats", "", query<&Runner::screenshotFormats>},
    {"screenshotFormat", "", query<&Runner::screenshotFormat>},
    {"setScreenshotFormat", "FORMAT", task<&Runner::setScreenshotFormat>},
    {"screenshotHasShadow", "", query<&Runner::screenshotHasShadow>},
    {"toggleScreenshotShadow", "", task<&Runner::toggleScreenshotShadow>},
    {"objectForKey", "KEY DOMAIN", objectForKey},
    {"setObject", "TEXT KEY DOMAIN", setObject},

    {"runBashCommand", "LINE", runBashCommand},
    {"runAppleScript", "SCRIPT", task<&Runner::runAppleScript>},
    {"systemVersion", "", systemVersion},
    {"systemIsSnowLeopardOrLater", "", systemIsSnowLeopardOrLater},
    {"formatBytes", "NUMBER", formatBytes},
});

std::string wayToCall(const Operation& operation) {
    return std::string(operation.name) + (operation.arguments.empty() ? "" : " ") + std::string(operation.arguments);
}

std::size_t argumentCount(const Operation& operation) {
    const auto blanks = std::count(operation.arguments.begin(), operation.arguments.end(), ' ');
    return operation.arguments.empty() ? 0 : static_cast<std::size_t>(blanks) + 1;
}

int refuse(const std::string& complaint) {
    std::fprintf(stderr,
                 "orvane-example: %s\n"
                 "usage: orvane-example [OPTIONS] OPERATION [ARGUMENT...]\n"
                 "  --archive FOLDER   where cleanDesktop makes its dated folder\n"
                 "  --size MEGABYTES   from which size findLargeFilesInPath finds files\n"
                 "  --path PATH        chosen by the user, for the operations that ask (repeatable)\n"
                 "Without an operation it lists them.\n",
                 complaint.c_str());
    return kWrongUse;
}

/// Reads the options; returns what is wrong with them. Leaves the index of the first word behind them in `optind`.
std::optional<std::string> readOptions(int count, char* words[], Host& host) {
    const std::array<option, 4> options = {{{"archive", required_argument, nullptr, 'a'},
                                            {"size", required_argument, nullptr, 's'},
                                            {"path", required_argument, nullptr, 'p'},
                                            {nullptr, 0, nullptr, 0}}};
    int letter = 0;
    while ((letter = ::getopt_long(count, words, "+:", options.data(), nullptr)) != -1) {
        switch (letter) {
        case 'a':
            host.archive = optarg;
            break;
        case 'p':
            host.paths.push_back(absolutePath(optarg));
            break;
        case 's':
            if (const auto size = number(optarg)) {
                host.megabytes = *size;
                break;
            }
            return std::string("--size wants a number: ") + optarg;
        case ':':
            return std::string(words[optind - 1]) + " wants an argument";
        default:
            return std::string("there is no option ") + words[optind - 1];
        }
    }
    return std::nullopt;
}

/// The operation's next question about a cancel is answered with yes. A reader of the output that has gone away
/// cancels, too: the commands run in sessions of their own and would go on.
void catchSignals() {
    struct sigaction action = {};
    action.sa_handler = [](int) { interrupted = 1; };
    action.sa_flags = SA_RESTART;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
        ::sigaction(signal, &action, nullptr);
    }
}

std::int32_t run(const Operation& operation, const Words& arguments, const std::shared_ptr<Host>& host) {
    catchSignals();
    OVTaskRunner runner;
    runner.setDelegate(host);
    const std::int32_t status = operation.run(runner, arguments);
    host->endLine();
    runner.setDelegate(nullptr); // the runner's end releases nothing
    return status;
}

} // namespace

int main(int count, char* words[]) {
    const auto host = std::make_shared<Host>();
    if (const auto complaint = readOptions(count, words, *host)) {
        return refuse(*complaint);
    }
    if (optind == count) {
        for (const Operation& operation : kOperations) {
            print(wayToCall(operation));
        }
        return 0;
    }
    const std::string name = words[optind];
    const Words arguments(words + optind + 1, words + count);
    for (const Operation& operation : kOperations) {
        if (operation.name == name) {
            return arguments.size() == argumentCount(operation) ? run(operation, arguments, host)
                                                                : refuse("it is called " + wayToCall(operation));
        }
    }
    return refuse("there is no operation " + name);
}
