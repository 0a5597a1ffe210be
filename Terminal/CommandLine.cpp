#include "Terminal/CommandLine.h"

#include "Terminal/Arguments.h"
#include "Terminal/Text.h"
#include "Terminal/Translation.h"

#include <CLI/Error.hpp>
#include <CLI/Validators.hpp>
#include <array>
#include <exception>
#include <iostream>
#include <limits>
#include <unistd.h>

namespace orvane::terminal {

namespace {

Colour colourOf(const std::string& word) {
    if (word == "always") {
        return Colour::always;
    }
    return word == "never" ? Colour::never : Colour::automatic;
}

std::string fromHere(const std::string& path) {
    std::array<char, 4096> folder = {};
    const bool isWhole = path.starts_with("/") || path.starts_with("~");
    return isWhole || ::getcwd(folder.data(), folder.size()) == nullptr ? path
                                                                        : std::string(folder.data()) + "/" + path;
}

} // namespace

CLI::App& Arguments::command(CLI::App& parent, const std::string& name, const std::string& text,
                             std::function<int()> run) {
    CLI::App& command = *parent.add_subcommand(name, text);
    command.fallthrough();
    command.callback([this, &command, &parent, name, run = std::move(run)] {
        if (command.get_subcommands().empty()) {
            session.command = parent.get_parent() == nullptr ? name : parent.get_name() + " " + name;
            chosen = run;
        }
    });
    return command;
}

void Arguments::addPlanOptions(CLI::App& command) {
    command.add_option("task", words_, translated("The tasks, each followed by its argument"))
        ->required()
        ->type_name("TASK [ARG]");
    command
        .add_option_function<std::string>(
            "--archive", [this](const std::string& path) { run_.plan.archive = fromHere(path); },
            translated("Where cleanDesktop makes its folder"))
        ->type_name("FOLDER");
    command
        .add_option("--size", run_.plan.megabytes,
                    translated("From how many megabytes findLargeFilesInPath finds files"))
        ->type_name("MEGABYTES");
}

void Arguments::addTaskCommands() {
    command(app, "tasks", translated("Lists the tasks"), [this] { return showTasks(session); });
    command(app, "explain", translated("Tells all of a task"), [this] { return explainTask(session, name_); })
        .add_option("task", name_)
        ->required()
        ->type_name("TASK");

    CLI::App& plan = command(app, "plan", translated("Says what tasks would do now; changes nothing"),
                             [this] { return planCommand(session, words_, run_.plan); });
    addPlanOptions(plan);
    plan.add_flag("--all", run_.plan.all, translated("Show every item, however many there are"));

    CLI::App& run = command(app, "run", translated("Plans, asks, runs tasks and says what came of it"), [this] {
        return dryRun_ ? planCommand(session, words_, run_.plan) : runCommand(session, words_, run_);
    });
    addPlanOptions(run);
    run.add_flag("--yes{*}", run_.yes,
                 translated("Do not ask about what reads and rebuilds; with =TASK, not about that task"));
    run.add_flag("--dry-run", dryRun_, translated("Only plan"));
    run.add_option_function<std::uint64_t>(
           "--timeout", [this](std::uint64_t seconds) { run_.timeout = std::chrono::seconds(seconds); },
           translated("Stop after so many seconds"))
        ->check(CLI::Range(std::uint64_t{1}, std::uint64_t{31536000}))
        ->type_name("SECONDS");

    CLI::App& history = command(app, "history", translated("Lists what was run"),
                                [this] { return showHistory(session, number_, items_); });
    history.add_option("count", number_, translated("How many runs, 10 at first"))->type_name("N");
    history.add_flag("--items", items_, translated("With the items of each run"));
}

void Arguments::addSystemCommands() {
    command(app, "volumes", translated("Lists the mounted volumes"), [this] { return showVolumes(session); });
    command(app, "memory", translated("Says how much memory is free"), [this] { return showMemory(session); });
    CLI::App& settings = command(app, "settings", translated("Lists settings of the system, or changes one"),
                                 [this] { return settingsCommand(session, name_, value_); });
    settings.add_option("setting", name_)->type_name("SETTING");
    settings.add_option("value", value_, translated("on or off; without it, the other one"))->type_name("VALUE");

    CLI::App& apps = command(app, "apps", translated("Lists the applications that run"),
                             [this] { return listApplications(session); });
    command(apps, "list", translated("Lists the applications that run"), [this] { return listApplications(session); });
    CLI::App& quit = command(apps, "quit", translated("Asks an application to quit, or all of them"),
                             [this] { return quitApplications(session, name_, force_, yes_); });
    quit.add_option("application", name_)->type_name("APPLICATION");
    quit.add_flag("--force", force_, translated("End its process at once"));
    quit.add_flag("--yes", yes_, translated("Do not ask"));
    command(apps, "relaunch", translated("Ends an application and launches it again"),
            [this] { return relaunchApplication(session, name_); })
        .add_option("application", name_)
        ->required()
        ->type_name("APPLICATION");

    CLI::App& setUp = command(app, "setup", translated("Sets the tool up that runs tasks as root"),
                              [this] { return setUpCommand(session, undo_, yes_); });
    setUp.add_flag("--undo", undo_, translated("Take its right to become root back"));
    setUp.add_flag("--yes", yes_, translated("Do not ask"));
}

void Arguments::addClipboardCommands() {
    CLI::App& clipboard =
        command(app, "clipboard", translated("The clipboard's history"), [this] { return listClipboard(session); });
    command(clipboard, "watch", translated("Keeps the clipboard's history, in memory, until Ctrl-C"),
            [this] { return watchClipboard(session); });
    command(clipboard, "list", translated("Lists the history, the newest first"),
            [this] { return listClipboard(session); });
    command(clipboard, "restore", translated("Puts an entry back on the clipboard"),
            [this] { return restoreClipboard(session, number_); })
        .add_option("number", number_)
        ->required()
        ->type_name("N");
    command(clipboard, "clear", translated("Empties the history"), [this] { return clearClipboard(session); });
}

Arguments::Arguments() : app(translated("Maintenance of this machine"), "orvane") {
    app.set_version_flag("--version", ORVANE_VERSION, translated("Print the version"));
    app.set_help_flag("-h,--help", translated("Print this help"));
    app.add_flag("--json", session.json, translated("Answer in JSON"));
    app.add_flag("-v,--verbose", session.verbose, translated("Show what the task's programs print"));
    app.add_option("--color", colour_, translated("auto, always or never"))
        ->check(CLI::IsMember({"auto", "always", "never"}))
        ->type_name("WHEN")
        ->each([this](const std::string& word) { session.console.setColour(colourOf(word)); });
    app.add_option_function<std::string>(
           "--tool", [this](const std::string& path) { session.tool = fromHere(path); },
           translated("The tool that runs tasks as root"))
        ->type_name("FILE");
    app.require_subcommand(0, 1);
    app.fallthrough();
    addTaskCommands();
    addSystemCommands();
    addClipboardCommands();
    command(app, "completions", translated("Prints the completion script for a shell"),
            [this] { return printCompletions(session, name_); })
        .add_option("shell", name_)
        ->required()
        ->check(CLI::IsMember({"bash", "zsh", "fish"}))
        ->type_name("bash|zsh|fish");
    CLI::App& complete = command(app, "complete", "", [this] {
        for (const auto& [word, text] : completionsOf(words_)) {
            std::string line = word;
            line.append("\t").append(text);
            session.console.print(line);
        }
        return kDone;
    });
    complete.group("");
    complete.add_option("words", words_);
    chosen = [this] { return showOverview(session); };
}

int runCommandLine(int count, char* const* words) {
    Arguments arguments;
    Console& console = arguments.session.console;
    try {
        arguments.app.parse(count, words);
        const int status = arguments.chosen();
        return console.flush() ? status : kFailed;
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {
            arguments.app.exit(error); // prints the help or the version
            return kDone;
        }
        console.complain(shown(error.what()) + "\n" + translated("`orvane --help` lists what there is."));
        return kUsage;
    } catch (const CommandError& error) {
        console.complain(error.what());
        return error.status();
    } catch (const std::exception& error) {
        console.complain(error.what());
        return kFailed;
    }
}

} // namespace orvane::terminal
