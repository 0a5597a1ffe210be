#pragma once

#include "Tasks/OVShellCommand.h"

#include <cstdint>
#include <string>
#include <vector>

namespace orvane {

/// How an `OVTaskRunner` has its commands run; another one stands in for it in tests.
class CommandRunner {
  public:
    /// What a run leaves behind.
    struct Outcome {
        NSInteger result = 0;       ///< an exit code or one of the constants of `OVShellCommand`
        std::int32_t processID = 0; ///< `processID` of the command
    };

    /// Runs each command by an `OVShellCommand` of its own. Lives for ever; may be used from any thread.
    static CommandRunner& shellCommands();

    /// `runCommandAtPath:arguments:delegate:`, on a new command.
    virtual Outcome runCommandAtPath(const std::string& path, const std::vector<std::string>& arguments,
                                     OVShellCommandDelegate* delegate) = 0;

  protected:
    CommandRunner() = default;
    CommandRunner(const CommandRunner&) = default;
    CommandRunner& operator=(const CommandRunner&) = default;
    ~CommandRunner() = default;
};

} // namespace orvane
