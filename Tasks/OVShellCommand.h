#pragma once

#include "Platform/MachineWord.h"
#include "Platform/SystemCalls.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvane {

/// What a run returns. Any other result is the child's own exit code (1 to 255), or -1 when the child could not be
/// started or its end could not be learnt.
extern const NSInteger OVShellCommandSuccess;      ///< 0: the child exited normally with exit code 0
extern const NSInteger OVShellCommandCancelled;    ///< -9998: cancelled before the start, or the child died of a signal
extern const NSInteger OVShellCommandCancelFailed; ///< -9999: a cancel was asked, but the signal could not be sent

/// Receives a running command's output and decides whether it goes on. Called on the thread that runs the command.
class OVShellCommandDelegate {
  public:
    virtual ~OVShellCommandDelegate() = default;

    /// `shellCommandHasOutputAvailable:`: one chunk of output as it was read, at most 2048 bytes, neither split into
    /// lines nor joined; nothing (nil) for a chunk that is not UTF-8. The text is valid for the call only.
    virtual void shellCommandHasOutputAvailable(std::optional<std::string_view> chunk) = 0;

    /// `shellCommandShouldCancel`: asked before the start, before every wait for output and once after the last.
    virtual bool shellCommandShouldCancel() = 0;
};

/// Runs one external program as a child in a session and process group of its own, with its output streamed to a
/// delegate. One object serves one run.
class OVShellCommand {
  public:
    /// `init`. The system calls must outlive the object.
    explicit OVShellCommand(SystemCalls& calls = SystemCalls::platform()) : calls_(calls) {}

    /// `processID`: the child of the current or last run; 0 before a run has forked, -1 when the start failed.
    [[nodiscard]] std::int32_t processID() const { return processID_; }

    /// `runCommandAtPath:arguments:delegate:`: runs the program at the absolute path with the arguments (without its
    /// name) and blocks until it has ended, or until a cancel could not be sent. A null delegate drops the output and
    /// never cancels. A read error is logged and tried again after the next question, half a second later.
    NSInteger runCommandAtPath(const std::string& path, const std::vector<std::string>& arguments,
                               OVShellCommandDelegate* delegate);

    /// `forkAndExecCommandAtPath:arguments:outFileDescriptor:`: starts the program with standard output and standard
    /// error joined into one pipe. Returns the child's process ID and stores the pipe's read end, which is the caller's
    /// to close; -1 when there is no child, with the descriptor left untouched.
    std::int32_t forkAndExecCommandAtPath(const std::string& path, const std::vector<std::string>& arguments,
                                          std::int32_t* outFileDescriptor);

  private:
    SystemCalls& calls_;
    std::int32_t processID_ = 0;
};

/// How an `OVTaskRunner` has its commands run; another one stands in for it in tests.
class CommandRunner {
  public:
    /// What a run leaves behind.
    struct Outcome {
        NSInteger result = 0;
        std::int32_t processID = 0;
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
