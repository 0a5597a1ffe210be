#pragma once

#include "Host/OVToolClient.h"
#include "Tasks/OVTaskCatalogue.h"
#include "Terminal/Console.h"
#include "Terminal/Json.h"

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace orvane::terminal {

/// How `orvane` ends, as its manual page says.
enum ExitStatus : int {
    kDone = 0,
    kFailed = 1,        ///< or done in part
    kCancelled = 2,     ///< by the answer to a question
    kUsage = 64,        ///< also where a question could not be asked
    kNotPermitted = 77, ///< or the tool is not set up
    kTimedOut = 124,
    kInterrupted = 130, ///< by Ctrl-C
};

/// Ends the command with a sentence on standard error.
class CommandError : public std::runtime_error {
  public:
    CommandError(ExitStatus status, const std::string& sentence) : std::runtime_error(sentence), status_(status) {}
    [[nodiscard]] ExitStatus status() const { return status_; }

  private:
    ExitStatus status_;
};

/// What every command has.
struct Session {
    Console console;
    bool json = false;
    bool verbose = false;
    std::string command;             ///< the word for it, "" without one
    std::optional<std::string> tool; ///< the path given for it

    /// The tool that is used.
    [[nodiscard]] OVToolClient client() const { return OVToolClient::find(tool); }
    /// Its state, with an eye on the tool that came with this program.
    static OVToolClient::State stateOf(const OVToolClient& client);

    /// Prints what a command answers with `--json`: one line, with the version and the command's name before it.
    void answer(const Json& members) { event(members); }
    /// The same for one of many, printed at once.
    void event(const Json& members) {
        Json whole = {{"schemaVersion", kSchemaVersion}, {"command", command}};
        whole.update(members);
        console.print(lineOf(whole));
        console.flush();
    }
};

/// A task with the words behind it on the command line.
struct Job {
    const OVTaskDescription* task;
    std::vector<std::string> arguments;
};

/// Takes "TASK [ARG]" one after the other off the words. Throws a `CommandError` for a word that is no task, or an
/// argument that is missing or cannot be one.
std::vector<Job> jobsOf(const std::vector<std::string>& words);

/// The task and its arguments as they were typed.
std::string nameOf(const Job& job);

/// "reads", "rebuilds", "removes", "for good".
std::string_view tierName(OVTaskTier tier);

/// Browsers for a person to type, each with the runner's name for it.
struct BrowserName {
    std::string_view word;
    const char* identifier;
};
std::vector<BrowserName> browserNames();

/// The words for the tool's state in JSON.
std::string_view stateName(OVToolClient::State state);
/// The state in a sentence.
std::string stateSentence(const OVToolClient& client, OVToolClient::State state);

} // namespace orvane::terminal
