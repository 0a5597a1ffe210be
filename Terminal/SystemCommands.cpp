// What the library answers about the system: `orvane volumes`, `memory`, `settings`, `apps`.

#include "Support/OVText.h"
#include "Tasks/OVMemoryStatistics.h"
#include "Tasks/OVTaskRunner.h"
#include "Terminal/Commands.h"
#include "Terminal/Interrupts.h"
#include "Terminal/Question.h"
#include "Terminal/Table.h"
#include "Terminal/Text.h"
#include "Terminal/Translation.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace orvane::terminal {

namespace {

void printTable(Session& session, const Table& table) {
    for (const std::string& line : table.lines(Console::columns())) {
        session.console.print(line);
    }
}

/// The services of an application are those of a desktop, or answer that there is none.
bool hasDesktop() {
    return !std::isinf(Workspace::platform().appKitVersionNumber());
}

void needDefaults() {
    if (!hasDesktop()) {
        throw CommandError(kFailed, translated("This build has no user defaults: it was made without the system's "
                                               "frameworks."));
    }
}

void needApplications() {
    if (!hasDesktop()) {
        throw CommandError(kFailed, translated("This build knows no applications: it was made without the system's "
                                               "frameworks."));
    }
}

std::string yesOrNo(bool value) {
    return value ? translated("on") : translated("off");
}

/// One that is on or off.
struct Toggle {
    std::string_view name;
    std::string text;
    bool (OVTaskRunner::*isOn)();
    std::int32_t (OVTaskRunner::*toggle)();
};

constexpr std::string_view kScreenshotFormat = "screenshot-format";

std::vector<Toggle> toggles() {
    using Runner = OVTaskRunner;
    return {{"dashboard", translated("The Dashboard"), &Runner::isDashboardOn, &Runner::toggleDashboard},
            {"invisible-files", translated("The Finder shows invisible files"), &Runner::showInvisibleFiles,
             &Runner::toggleInvisibleFiles},
            {"download-warning", translated("A warning before a downloaded file is opened"),
             &Runner::showDownloadWarning, &Runner::toggleDownloadWarning},
            {"screenshot-shadow", translated("Pictures of windows have a shadow"), &Runner::screenshotHasShadow,
             &Runner::toggleScreenshotShadow}};
}

std::string screenshotFormat(OVTaskRunner& runner) {
    const std::optional<PropertyListValue> value = runner.screenshotFormat();
    const auto* const text = value ? std::get_if<std::string>(&*value) : nullptr;
    return text != nullptr ? *text : "png"; // what the system takes when nothing is stored
}

/// How a command ends that does one thing; with the sentence where that failed.
int result(bool succeeded, const std::string& sentence) {
    if (!succeeded) {
        throw CommandError(kFailed, sentence);
    }
    return kDone;
}

/// The same for what has nothing else to answer.
int answer(Session& session, bool succeeded, const std::string& sentence) {
    if (session.json) {
        session.answer({{"done", succeeded}});
    }
    return result(succeeded, sentence);
}

std::shared_ptr<RunningApplication> applicationNamed(OVTaskRunner& runner, const std::string& name) {
    for (const auto& application : runner.runningForegroundApplications()) {
        if (application->localizedName() == name || application->bundleIdentifier() == name) {
            return application;
        }
    }
    throw CommandError(kFailed, translated("No application {} runs in the foreground.", shown(name)));
}

void showSettings(Session& session, OVTaskRunner& runner) {
    if (session.json) {
        Json settings = Json::array();
        for (const Toggle& toggle : toggles()) {
            settings.push_back({{"name", toggle.name}, {"value", (runner.*toggle.isOn)()}});
        }
        settings.push_back({{"name", kScreenshotFormat}, {"value", screenshotFormat(runner)}});
        session.answer({{"settings", settings}});
        return;
    }
    Table table({{translated("Setting")}, {translated("Value")}, {translated("What it is")}});
    for (const Toggle& toggle : toggles()) {
        table.add({std::string(toggle.name), yesOrNo((runner.*toggle.isOn)()), toggle.text});
    }
    table.add({std::string(kScreenshotFormat), shown(screenshotFormat(runner)),
               translated("The kind of file that a picture of the screen becomes")});
    printTable(session, table);
}

std::int32_t setScreenshotFormat(OVTaskRunner& runner, const std::string& value) {
    const std::vector<std::string> formats = runner.screenshotFormats();
    std::string list;
    for (const std::string& format : formats) {
        if (lowercaseString(format) == lowercaseString(value)) {
            return runner.setScreenshotFormat(format);
        }
        list += (list.empty() ? "" : ", ") + format;
    }
    throw CommandError(kUsage, translated("The format is one of {}.", list));
}

/// How starting what reads it again ended.
std::int32_t changeSetting(OVTaskRunner& runner, const std::string& name, const std::string& value) {
    if (name == kScreenshotFormat) {
        return setScreenshotFormat(runner, value);
    }
    const std::vector<Toggle> all = toggles();
    const auto toggle =
        std::find_if(all.begin(), all.end(), [&name](const Toggle& entry) { return entry.name == name; });
    if (toggle == all.end() || (!value.empty() && value != "on" && value != "off")) {
        throw CommandError(
            kUsage, translated("There is no setting {} {} (`orvane settings` lists them).", shown(name), shown(value)));
    }
    const bool isOn = (runner.*toggle->isOn)();
    const bool wanted = value.empty() ? !isOn : value == "on";
    return wanted == isOn ? kTaskSuccess : (runner.*toggle->toggle)();
}

} // namespace

int showVolumes(Session& session) {
    OVTaskRunner runner;
    const auto volumes = runner.mountedBrowsableVolumes();
    if (!volumes) {
        throw CommandError(kFailed, translated("The system lists no volume."));
    }
    if (session.json) {
        Json list = Json::array();
        for (const OVVolumeDictionary& volume : *volumes) {
            Json entry = Json::object();
            setBytes(entry, "path", volume.path);
            entry.update({{"owner", volume.owner},
                          {"local", volume.isLocal},
                          {"freeBytes", volume.freeSpace},
                          {"totalBytes", volume.totalSpace}});
            list.push_back(entry);
        }
        session.answer({{"volumes", list}});
        return kDone;
    }
    if (volumes->empty()) {
        session.console.print(translated("No volume is mounted but the startup volume."));
        return kDone;
    }
    Table table({{translated("Free"), true}, {translated("Size"), true}, {translated("Kind")}, {translated("Volume")}});
    for (const OVVolumeDictionary& volume : *volumes) {
        table.add({bytesText(volume.freeSpace), bytesText(volume.totalSpace),
                   volume.isLocal ? translated("local") : translated("network"), shown(volume.path)});
    }
    printTable(session, table);
    return kDone;
}

int showMemory(Session& session) {
    const std::int64_t free = OVMemoryStatistics::freeMemoryCount();
    if (free < 0) {
        throw CommandError(kFailed, translated("The system does not tell how much memory is free."));
    }
    if (session.json) {
        session.answer({{"freeBytes", free}});
    } else {
        session.console.print(translated("Free memory: {}", bytesText(static_cast<std::uint64_t>(free))));
    }
    return kDone;
}

int settingsCommand(Session& session, const std::string& name, const std::string& value) {
    needDefaults();
    OVTaskRunner runner;
    if (name.empty()) {
        showSettings(session, runner);
        return kDone;
    }
    const bool succeeded = changeSetting(runner, name, value) == kTaskSuccess;
    showSettings(session, runner);
    return result(succeeded, translated("The setting is stored, but what reads it could not be started again."));
}

int listApplications(Session& session) {
    needApplications();
    OVTaskRunner runner;
    Json list = Json::array();
    Table table({{translated("Process"), true}, {translated("Identifier")}, {translated("Application")}});
    for (const auto& application : runner.runningForegroundApplications()) {
        const std::string name = application->localizedName().value_or("");
        const std::string identifier = application->bundleIdentifier().value_or("");
        Json entry = {{"pid", application->processIdentifier()}};
        setBytes(entry, "name", name);
        setBytes(entry, "identifier", identifier);
        list.push_back(entry);
        table.add({std::to_string(application->processIdentifier()), shown(identifier), shown(name)});
    }
    if (session.json) {
        session.answer({{"applications", list}});
    } else {
        printTable(session, table);
    }
    return kDone;
}

int quitApplications(Session& session, const std::string& name, bool force, bool yes) {
    needApplications();
    OVTaskRunner runner;
    if (!name.empty()) {
        const auto application = applicationNamed(runner, name);
        return force ? answer(session, runner.forceQuitApplication(application) == kTaskSuccess,
                              translated("{} could not be ended.", shown(name)))
                     : answer(session, application->terminate(),
                              translated("{} could not be asked to quit.", shown(name)));
    }
    if (!yes) {
        Interrupts::take();
        session.console.flush();
        if (!Console::canAsk()) {
            throw CommandError(kUsage, translated("Nothing was done: there is no terminal to ask on, and no --yes."));
        }
        if (askYesOrNo(translated("Ask all applications to quit?")) != Answer::yes) {
            throw CommandError(kCancelled, translated("Nothing was done."));
        }
    }
    return answer(session, runner.quitAllApplications() == kTaskSuccess,
                  translated("Not all applications could be asked."));
}

int relaunchApplication(Session& session, const std::string& name) {
    needApplications();
    OVTaskRunner runner;
    return answer(session, runner.relaunchApplication(applicationNamed(runner, name)) == kTaskSuccess,
                  translated("{} could not be launched again.", shown(name)));
}

} // namespace orvane::terminal
