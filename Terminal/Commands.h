#pragma once

#include "Terminal/Plan.h"
#include "Terminal/Session.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace orvane::terminal {

// One function a command; each returns how the program ends, or throws a `CommandError`.

int showOverview(Session& session);
int showTasks(Session& session);
int explainTask(Session& session, const std::string& name);

int planCommand(Session& session, const std::vector<std::string>& words, const PlanChoices& choices);

struct RunChoices {
    PlanChoices plan;
    std::vector<std::string> yes;                ///< `kYesToAll` and names of tasks
    std::optional<std::chrono::seconds> timeout; ///< after the question
};
inline constexpr const char* kYesToAll = "*";
int runCommand(Session& session, const std::vector<std::string>& words, const RunChoices& choices);

/// `all`: with the items of each run.
int showHistory(Session& session, std::size_t most, bool items);

int showVolumes(Session& session);
int showMemory(Session& session);
/// No name: all of them. With one and no value it is switched.
int settingsCommand(Session& session, const std::string& name, const std::string& value);
int listApplications(Session& session);
int quitApplications(Session& session, const std::string& name, bool force, bool yes);
int relaunchApplication(Session& session, const std::string& name);

int watchClipboard(Session& session);
int listClipboard(Session& session);
int restoreClipboard(Session& session, std::size_t number);
int clearClipboard(Session& session);

int setUpCommand(Session& session, bool undo, bool yes);

/// Prints the completion script for "bash", "zsh" or "fish".
int printCompletions(Session& session, const std::string& shell);

} // namespace orvane::terminal
