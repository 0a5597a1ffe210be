#include "Tasks/CommandRunner.h"

namespace orvane {

CommandRunner& CommandRunner::shellCommands() {
    class ShellCommands final : public CommandRunner {
      public:
        Outcome runCommandAtPath(const std::string& path, const std::vector<std::string>& arguments,
                                 OVShellCommandDelegate* delegate) override {
            OVShellCommand command;
            const NSInteger result = command.runCommandAtPath(path, arguments, delegate);
            return {.result = result, .processID = command.processID()};
        }
    };
    static constinit ShellCommands commands;
    return commands;
}

} // namespace orvane
