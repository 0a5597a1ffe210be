// What there is to run, and what each task is: `orvane`, `orvane tasks`, `orvane explain`.

#include "Tasks/OVMemoryStatistics.h"
#include "Tasks/OVTaskPlan.h"
#include "Terminal/Commands.h"
#include "Terminal/FreeSpace.h"
#include "Terminal/Table.h"
#include "Terminal/Text.h"
#include "Terminal/Translation.h"

#include <algorithm>
#include <array>
#include <unistd.h>

namespace orvane::terminal {

namespace {

std::string calledAs(const OVTaskDescription& task) {
    return std::string(task.name) + (task.argument.empty() ? "" : " ") + std::string(task.argument);
}

Json jsonOf(const OVTaskDescription& task) {
    return {{"name", task.name},
            {"argument", task.argument.empty() ? Json() : Json(task.argument)},
            {"group", task.group},
            {"tier", tierName(task.tier)},
            {"needsRoot", task.isToolTask},
            {"does", task.does}};
}

Json jsonOfTasks() {
    Json tasks = Json::array();
    for (const OVTaskDescription& task : OVTaskCatalogue()) {
        tasks.push_back(jsonOf(task));
    }
    return tasks;
}

/// The groups in the order in which they first come.
std::vector<std::string_view> groups() {
    std::vector<std::string_view> groups;
    for (const OVTaskDescription& task : OVTaskCatalogue()) {
        if (std::find(groups.begin(), groups.end(), task.group) == groups.end()) {
            groups.push_back(task.group);
        }
    }
    return groups;
}

void printAll(Console& console, const std::vector<std::string>& lines) {
    for (const std::string& line : lines) {
        console.print(line);
    }
}

void printParagraph(Console& console, std::string_view heading, std::string_view text) {
    if (!text.empty()) {
        console.print("");
        console.print(console.styled(Console::Style::bold, heading));
        for (const std::string& line : wrapped(text, std::min<std::size_t>(Console::columns(), 100) - 2)) {
            console.print("  " + line);
        }
    }
}

/// Where the system's programs stand that a task names without a folder.
bool isHere(std::string_view program) {
    if (program.starts_with("/")) {
        return ::access(std::string(program).c_str(), X_OK) == 0;
    }
    constexpr std::array<std::string_view, 5> folders = {"/usr/bin/", "/bin/", "/usr/sbin/", "/sbin/", "/usr/libexec/"};
    return std::any_of(folders.begin(), folders.end(), [program](std::string_view folder) {
        return ::access(std::string(folder).append(program).c_str(), X_OK) == 0;
    });
}

} // namespace

int showOverview(Session& session) {
    const OVToolClient client = session.client();
    const OVToolClient::State state = Session::stateOf(client);
    const std::optional<std::uint64_t> disk = freeBytesAt("/");
    const std::int64_t memory = OVMemoryStatistics::freeMemoryCount();
    if (session.json) {
        Json tool = {{"state", stateName(state)}};
        setBytes(tool, "path", client.path());
        session.answer({{"tool", tool},
                        {"freeDiskBytes", disk ? Json(*disk) : Json()},
                        {"freeMemoryBytes", memory >= 0 ? Json(memory) : Json()},
                        {"tasks", jsonOfTasks()}});
        return kDone;
    }
    Console& console = session.console;
    console.print(stateSentence(client, state));
    if (state == OVToolClient::State::older) {
        console.print(translated("`orvane setup` replaces it."));
    } else if (state != OVToolClient::State::ready) {
        console.print(translated("`orvane setup` says more."));
    }
    console.print(translated("Free: {} of disk, {} of memory.", disk ? bytesText(*disk) : "?",
                             memory >= 0 ? bytesText(static_cast<std::uint64_t>(memory)) : "?"));
    for (const std::string_view group : groups()) {
        console.print("");
        console.print(console.styled(Console::Style::bold, translated(group)));
        Table table({{""}, {""}});
        for (const OVTaskDescription& task : OVTaskCatalogue()) {
            if (task.group == group) {
                table.add({"  " + calledAs(task), translated(task.why)});
            }
        }
        printAll(console, table.lines(Console::columns()));
    }
    console.print("");
    console.print(translated("`orvane explain TASK` tells all of one, `orvane plan TASK` what it would do now."));
    return kDone;
}

int showTasks(Session& session) {
    if (session.json) {
        session.answer({{"tasks", jsonOfTasks()}});
        return kDone;
    }
    Table table({{translated("Task")}, {translated("Root")}, {translated("Tier")}, {translated("What it does")}});
    for (const OVTaskDescription& task : OVTaskCatalogue()) {
        table.add({calledAs(task), task.isToolTask ? translated("yes") : translated("no"),
                   translated(tierName(task.tier)), translated(task.does)});
    }
    printAll(session.console, table.lines(Console::columns()));
    return kDone;
}

int explainTask(Session& session, const std::string& name) {
    const OVTaskDescription* const task = OVTaskNamed(name);
    if (task == nullptr) {
        throw CommandError(kUsage, translated("There is no task {} (`orvane tasks` lists them).", shown(name)));
    }
    std::vector<std::string> arguments;
    if (!task->argument.empty()) {
        arguments.emplace_back(task->argument);
    }
    const std::vector<std::string> commands = OVTaskPlan::make(*task, arguments).commands;
    Json programs = Json::array();
    std::string absent;
    for (const OVTaskNeed& need : task->needs) {
        const bool here = !need.isProgram || isHere(need.name);
        programs.push_back({{"program", need.name},
                            {"here", need.isProgram ? Json(here) : Json()},
                            {"goneSince", need.goneSince.empty() ? Json() : Json(need.goneSince)},
                            {"sure", need.isSure}});
        if (!need.goneSince.empty()) {
            absent +=
                (need.isSure ? translated("{} is not part of macOS {} and later.", need.name, need.goneSince)
                             : translated("{} may not be part of macOS {} and later.", need.name, need.goneSince)) +
                " ";
        }
        if (!here) {
            absent += translated("There is no {} on this machine.", need.name) + " ";
        }
    }
    if (session.json) {
        Json answer = jsonOf(*task);
        answer.update({{"why", task->why},
                       {"kept", task->kept},
                       {"undo", task->undo},
                       {"duration", task->duration},
                       {"commands", Json::array()},
                       {"programs", programs}});
        for (const std::string& command : commands) {
            Json entry = Json::object();
            setBytes(entry, "line", command);
            answer["commands"].push_back(entry);
        }
        session.answer({{"task", answer}});
        return kDone;
    }
    Console& console = session.console;
    console.print(console.styled(Console::Style::bold, calledAs(*task)) + "  (" + translated(tierName(task->tier)) +
                  (task->isToolTask ? ", " + translated("as root") : "") + ")");
    printParagraph(console, translated("What it does"), translated(task->does));
    printParagraph(console, translated("Why"), translated(task->why));
    printParagraph(console, translated("What is kept"), task->kept.empty() ? "" : translated(task->kept));
    printParagraph(console, translated("What cannot be undone"), task->undo.empty() ? "" : translated(task->undo));
    printParagraph(console, translated("How long it takes"), translated(task->duration));
    printParagraph(console, translated("What is missing"), absent);
    console.print("");
    console.print(console.styled(Console::Style::bold, translated("What is run")));
    for (const std::string& command : commands) {
        console.print("  " + shownOutput(command));
    }
    return kDone;
}

} // namespace orvane::terminal
