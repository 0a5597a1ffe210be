#include "Terminal/Session.h"

#include "Tasks/OVTaskRunner.h"
#include "Terminal/Text.h"
#include "Terminal/Translation.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <unistd.h>

namespace orvane::terminal {

namespace {

std::string absolutePath(const std::string& path) {
    std::array<char, 4096> folder = {};
    return path.starts_with("/") || ::getcwd(folder.data(), folder.size()) == nullptr
               ? path
               : std::string(folder.data()) + "/" + path;
}

std::string processNumber(const std::string& word) {
    std::int32_t number = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    if (error != std::errc() || end != word.data() + word.size() || number <= 0) {
        throw CommandError(kUsage, translated("{} is not the number of a process.", shown(word)));
    }
    return word;
}

std::string browser(const std::string& word) {
    std::string words;
    for (const BrowserName& name : browserNames()) {
        if (word == name.word || word == name.identifier) {
            return name.identifier;
        }
        words.append(words.empty() ? "" : ", ").append(name.word);
    }
    throw CommandError(kUsage, translated("{} is no browser that is known here: {}.", shown(word), words));
}

/// A volume may be named as the Finder names it, or by its device.
std::string volume(const std::string& word) {
    const std::string named = "/Volumes/" + word;
    if (word.find('/') != std::string::npos) {
        return absolutePath(word);
    }
    return ::access(named.c_str(), F_OK) == 0 ? named : word;
}

std::string argumentOf(const OVTaskDescription& task, const std::string& word) {
    if (word.empty()) {
        throw CommandError(kUsage, translated("{} cannot be run on an empty word.", task.name));
    }
    if (task.argument == "PID") {
        return processNumber(word);
    }
    if (task.argument == "BROWSER") {
        return browser(word);
    }
    if (task.argument == "VOLUME") {
        return volume(word);
    }
    const bool isPath = task.argument == "FOLDER" || task.argument.starts_with("PATH");
    return isPath ? absolutePath(word) : word;
}

} // namespace

OVToolClient::State Session::stateOf(const OVToolClient& client) {
    const std::optional<std::string> newest = OVToolClient::broughtAlong();
    return client.state(newest ? newest->c_str() : nullptr);
}

std::vector<Job> jobsOf(const std::vector<std::string>& words) {
    std::vector<Job> jobs;
    for (std::size_t next = 0; next < words.size();) {
        const OVTaskDescription* const task = OVTaskNamed(words[next]);
        if (task == nullptr) {
            throw CommandError(kUsage,
                               translated("There is no task {} (`orvane tasks` lists them).", shown(words[next])));
        }
        ++next;
        const bool takesAll = task->argument.ends_with("...");
        const std::size_t most = takesAll ? words.size() : task->argument.empty() ? 0 : 1;
        Job job = {task, {}};
        for (; next < words.size() && job.arguments.size() < most; ++next) {
            job.arguments.push_back(argumentOf(*task, words[next]));
        }
        if (job.arguments.empty() && most > 0) {
            throw CommandError(kUsage, translated("{} needs an argument: {}.", task->name, task->argument));
        }
        jobs.push_back(std::move(job));
    }
    return jobs;
}

std::string nameOf(const Job& job) {
    std::string name(job.task->name);
    for (const std::string& argument : job.arguments) {
        name.append(" ").append(shown(argument));
    }
    return name;
}

std::string_view tierName(OVTaskTier tier) {
    constexpr std::array<std::string_view, 4> names = {"reads", "rebuilds", "removes", "for good"};
    return names.at(static_cast<std::size_t>(tier));
}

std::vector<BrowserName> browserNames() {
    return {{"safari", kOVBrowserSafari},
            {"firefox", kOVBrowserFirefox},
            {"chrome", kOVBrowserChrome},
            {"all", kOVBrowsersAll}};
}

std::string_view stateName(OVToolClient::State state) {
    constexpr std::array<std::string_view, 5> names = {"missing", "notSetUp", "ignoredSetUID", "older", "ready"};
    return names.at(static_cast<std::size_t>(state));
}

std::string stateSentence(const OVToolClient& client, OVToolClient::State state) {
    const std::string path = shown(client.path());
    switch (state) {
    case OVToolClient::State::missing:
        return translated("The tool is not installed: there is no {}.", path);
    case OVToolClient::State::notSetUp:
        return translated("The tool {} is not set up: it cannot become root.", path);
    case OVToolClient::State::ignoredSetUID:
        return translated("The tool {} is set up, but its volume does not let programs become root.", path);
    case OVToolClient::State::older:
        return translated("The tool {} is ready, but another version than {}, which came with this program.", path,
                          shown(OVToolClient::broughtAlong().value_or("")));
    case OVToolClient::State::ready:
        return translated("The tool {} is ready.", path);
    }
    return {};
}

} // namespace orvane::terminal
