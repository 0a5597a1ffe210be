// What a shell completes: `orvane completions` prints its script, which asks the hidden `orvane complete`.

#include "Tasks/OVTaskRunner.h"
#include "Terminal/Arguments.h"
#include "Terminal/CommandLine.h"
#include "Terminal/Completions.h"
#include "Terminal/Text.h"
#include "Terminal/Translation.h"

#include <algorithm>

namespace orvane::terminal {

namespace {

using Words = std::vector<std::string>;

std::vector<Candidate> startingWith(const std::string& beginning, std::vector<Candidate> all) {
    all.erase(std::remove_if(all.begin(), all.end(),
                             [&](const Candidate& candidate) { return !candidate.first.starts_with(beginning); }),
              all.end());
    return all;
}

std::vector<Candidate> tasks() {
    std::vector<Candidate> all;
    for (const OVTaskDescription& task : OVTaskCatalogue()) {
        all.emplace_back(task.name, translated(task.does));
    }
    return all;
}

std::vector<Candidate> argumentsFor(const OVTaskDescription& task) {
    std::vector<Candidate> all;
    OVTaskRunner runner;
    if (task.argument == "VOLUME") {
        for (const OVVolumeDictionary& volume :
             runner.mountedBrowsableVolumes().value_or(std::vector<OVVolumeDictionary>())) {
            all.emplace_back(volume.path, bytesText(volume.totalSpace));
        }
    } else if (task.argument == "BROWSER") {
        for (const BrowserName& name : browserNames()) {
            all.emplace_back(name.word, name.identifier);
        }
    } else if (task.argument == "FORMAT") {
        for (const std::string& format : runner.screenshotFormats()) {
            all.emplace_back(format, "");
        }
    } else if (task.argument == "APPLICATION") {
        for (const auto& application : runner.runningForegroundApplications()) {
            all.emplace_back(shown(application->localizedName().value_or("")),
                             shown(application->bundleIdentifier().value_or("")));
        }
    }
    return all;
}

/// What may come behind these words of a plan: a task's argument, or one more task.
std::vector<Candidate> nextOfPlan(const Words& words) {
    for (std::size_t i = 0; i < words.size(); ++i) {
        const OVTaskDescription* const task = OVTaskNamed(words[i]);
        const bool takesArgument = task != nullptr && !task->argument.empty();
        if (takesArgument && (i + 1 == words.size() || task->argument.ends_with("..."))) {
            return argumentsFor(*task);
        }
        i += takesArgument ? 1 : 0;
    }
    return tasks();
}

std::vector<Candidate> nextOf(const CLI::App& command, const Words& words) {
    const std::string& name = command.get_name();
    if (name == "plan" || name == "run") {
        return nextOfPlan(words);
    }
    if (name == "explain" && words.empty()) {
        return tasks();
    }
    if (name == "settings") {
        return words.empty() ? std::vector<Candidate>{{"dashboard", ""},
                                                      {"invisible-files", ""},
                                                      {"download-warning", ""},
                                                      {"screenshot-shadow", ""},
                                                      {"screenshot-format", ""}}
                             : std::vector<Candidate>{{"on", ""}, {"off", ""}};
    }
    if (name == "completions") {
        return {{"bash", ""}, {"zsh", ""}, {"fish", ""}};
    }
    return {};
}

void addOptions(const CLI::App& command, std::vector<Candidate>& all) {
    for (const CLI::Option* const option : command.get_options()) {
        for (const std::string& name : option->get_lnames()) {
            all.emplace_back("--" + name, option->get_description());
        }
    }
}

std::vector<const CLI::App*> commandsIn(const CLI::App& parent) {
    std::vector<const CLI::App*> all;
    for (const CLI::App* const command : parent.get_subcommands([](const CLI::App*) { return true; })) {
        if (!command->get_group().empty()) {
            all.push_back(command);
        }
    }
    return all;
}

} // namespace

std::vector<Candidate> completionsOf(const std::vector<std::string>& words) {
    const Arguments arguments;
    const CLI::App* command = &arguments.app;
    const std::string current = words.empty() ? "" : words.back();
    Words before;
    for (std::size_t i = 0; i + 1 < words.size(); ++i) {
        const auto inside = commandsIn(*command);
        const auto found = std::find_if(inside.begin(), inside.end(),
                                        [&](const CLI::App* entry) { return entry->get_name() == words[i]; });
        if (found != inside.end()) {
            command = *found;
        } else if (!words[i].starts_with("-")) {
            before.push_back(words[i]);
        }
    }
    std::vector<Candidate> all;
    if (current.starts_with("--yes=")) {
        for (const Candidate& task : tasks()) {
            all.emplace_back("--yes=" + task.first, task.second);
        }
    } else if (current.starts_with("-")) {
        addOptions(*command, all);
        if (command != &arguments.app) {
            addOptions(arguments.app, all);
        }
    } else {
        for (const CLI::App* const entry : commandsIn(*command)) {
            all.emplace_back(entry->get_name(), entry->get_description());
        }
        const std::vector<Candidate> more = nextOf(*command, before);
        all.insert(all.end(), more.begin(), more.end());
    }
    return startingWith(current, std::move(all));
}

std::vector<std::pair<std::string, std::vector<std::string>>> commandsAndOptions() {
    const Arguments arguments;
    std::vector<std::pair<std::string, std::vector<std::string>>> all;
    const auto add = [&all](const CLI::App& command, const std::string& name) {
        std::vector<Candidate> options;
        addOptions(command, options);
        std::vector<std::string> names;
        std::transform(options.begin(), options.end(), std::back_inserter(names),
                       [](const Candidate& option) { return option.first; });
        all.emplace_back(name, names);
    };
    add(arguments.app, "");
    for (const CLI::App* const command : commandsIn(arguments.app)) {
        add(*command, command->get_name());
        for (const CLI::App* const inner : commandsIn(*command)) {
            add(*inner, command->get_name() + " " + inner->get_name());
        }
    }
    return all;
}

int printCompletions(Session& session, const std::string& shell) {
    const char* const script = shell == "bash" ? kBashCompletion : shell == "zsh" ? kZshCompletion : kFishCompletion;
    session.console.print(std::string_view(script).substr(0, std::string_view(script).size() - 1));
    return kDone;
}

} // namespace orvane::terminal
