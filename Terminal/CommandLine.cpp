#include "Terminal/CommandLine.h"

#include "Terminal/Arguments.h"
#include "Terminal/Text.h"
#include "Terminal/Translation.h"

#include <CLI/Error.hpp>
#include <CLI/Validators.hpp>
#include <algorithm>
#include <array>
#include <charconv>
#include <exception>
#include <iostream>
#include <limits>
#include <unistd.h>

namespace orvane::terminal {

namespace {

constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint64_t kYear = 31536000; // seconds

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

void addHelp(CLI::App& command) {
    command.set_help_flag("-h,--help", translated("Print this help"));
}

std::string joined(const std::vector<std::string>& words, const char* separator) {
    std::string text;
    for (const std::string& word : words) {
        text.append(text.empty() ? "" : separator).append(word);
    }
    return text;
}

// The library's own validators complain in English, and take a number that is too large or below zero for another.

CLI::Validator oneOf(const std::vector<std::string>& words) {
    const auto complaint = [words](const std::string& word) {
        const bool isKnown = std::find(words.begin(), words.end(), word) != words.end();
        return isKnown ? std::string() : translated("{} is none of {}", word, joined(words, ", "));
    };
    return {complaint, "{" + joined(words, ",") + "}"};
}

CLI::Validator wholeNumber(std::uint64_t least, std::uint64_t most, const std::string& description = "") {
    const auto complaint = [least, most](const std::string& word) {
        std::uint64_t number = 0;
        const char* const behind = word.data() + word.size();
        const auto [end, error] = std::from_chars(word.data(), behind, number);
        const bool isOne = error == std::errc() && end == behind && number >= least && number <= most;
        return isOne ? std::string() : translated("{} is no number from {} to {}", word, least, most);
    };
    return {complaint, description};
}

/// What is wrong with the words, in the user's language.
std::string sentenceFor(const CLI::ParseError& error, const CLI::App& app) {
    std::string text = error.what();
    const std::size_t colon = text.find(": ");
    if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr) {
        return translated("Nothing takes this: {}", joined(app.remaining(true), " "));
    }
    if (dynamic_cast<const CLI::RequiredError*>(&error) != nullptr) {
        const CLI::App* command = &app;
        while (!command->get_subcommands().empty()) {
            command = command->get_subcommands().front();
        }
        std::vector<std::string> names;
        for (const CLI::Option* const option : command->get_options()) {
            if (option->get_required() && option->count() == 0) {
                names.push_back(option->get_name());
            }
        }
        return translated("This is missing: {}", joined(names, ", "));
    }
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr && colon != std::string::npos) {
        return translated("{} takes one value", text.substr(0, colon));
    }
    if (dynamic_cast<const CLI::ConversionError*>(&error) != nullptr && colon != std::string::npos) {
        return translated("This cannot be: {}", text.substr(colon + 2));
    }
    return text; // of a validator above
}

} // namespace

CLI::App& Arguments::command(CLI::App& parent, const std::string& name, const std::string& text,
                             std::function<int()> run) {
    CLI::App& command = *parent.add_subcommand(name, text);
    command.fallthrough();
    addHelp(command); // the one that it inherits stands in a group of the library's
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
        ->check(wholeNumber(0, kMost))
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
        ->check(wholeNumber(1, kYear, fmt::format("1-{}", kYear)))
        ->type_name("SECONDS");

    CLI::App& history = command(app, "history", translated("Lists what was run"),
                                [this] { return showHistory(session, number_, items_); });
    history.add_option("count", number_, translated("How many runs, 10 at first"))
        ->check(wholeNumber(0, kMost))
        ->type_name("N");
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
        ->check(wholeNumber(0, kMost))
        ->type_name("N");
    command(clipboard, "clear", translated("Empties the history"), [this] { return clearClipboard(session); });
}

Arguments::Arguments() : app(translated("Maintenance of this machine"), "orvane") {
    CLI::FormatterBase& formatter = *app.get_formatter();
    formatter.label("Usage", translated("Usage"));
    formatter.label("OPTIONS", translated("OPTIONS"));
    formatter.label("SUBCOMMAND", translated("SUBCOMMAND"));
    formatter.label("Positionals", translated("Positionals"));
    formatter.label("REQUIRED", translated("REQUIRED"));
    app.option_defaults()->group(translated("Options"));
    app.group(translated("Subcommands"));
    app.set_version_flag("--version", ORVANE_VERSION, translated("Print the version"));
    addHelp(app);
    app.add_flag("--json", session.json, translated("Answer in JSON"));
    app.add_flag("-v,--verbose", session.verbose, translated("Show what the task's programs print"));
    app.add_option("--color", colour_, translated("auto, always or never"))
        ->check(oneOf({"auto", "always", "never"}))
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
        ->check(oneOf({"bash", "zsh", "fish"}));
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
        console.complain(shown(sentenceFor(error, arguments.app)) + "\n" +
                         translated("`orvane --help` lists what there is."));
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
