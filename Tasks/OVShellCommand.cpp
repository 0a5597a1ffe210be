#include "Tasks/OVShellCommand.h"

#include "Platform/ChildProcess.h"
#include "Support/OVLog.h"
#include "Support/OVText.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace orvane {

const NSInteger OVShellCommandSuccess = 0;
const NSInteger OVShellCommandCancelled = -9998;
const NSInteger OVShellCommandCancelFailed = -9999;

namespace {

/// The result of a run that could not be started, or whose end could not be learnt.
constexpr NSInteger kRunFailed = -1;

constexpr const char* kRunMethod = "-[OVShellCommand runCommandAtPath:arguments:delegate:]";

constexpr std::size_t kChunkSize = 2048;
constexpr int kPollMilliseconds = 500;

// ---- In a forked child ----------------------------------------------------------------------------------------
//
// Everything it needs is prepared by the parent, because other threads of the parent may have held the heap's lock or
// that of a stream.

struct ChildPlan {
    SystemCalls& calls;
    ChildProgram program;
    int readEnd;
};

/// `perror`, written by hand because that one allocates and locks.
void reportError(const ChildPlan& plan, const char* label) {
    std::array<char, 256> line = {};
    std::size_t length = 0;
    const char* const description = childErrorDescription(errno);
    for (const char* text : {label, ": ", description}) {
        while (*text != '\0' && length < line.size() - 1) {
            line[length++] = *text++;
        }
    }
    line[length++] = '\n';
    std::string_view rest(line.data(), length);
    while (!rest.empty()) {
        const ssize_t count = plan.calls.write(plan.program.standardError, rest.data(), rest.size());
        if (count < 0 && errno != EINTR) {
            return;
        }
        rest.remove_prefix(count > 0 ? static_cast<std::size_t>(count) : 0);
    }
}

void runChild(void* context) {
    const ChildPlan& plan = *static_cast<const ChildPlan*>(context);
    const ChildProgram& program = plan.program;
    SystemCalls& calls = plan.calls;
    sigset_t all;
    sigfillset(&all);
    calls.sigprocmask(SIG_UNBLOCK, &all, nullptr);
    if (calls.setsid() == -1) {
        reportError(plan, "setsid");
    }
    calls.close(plan.readEnd);
    for (const int number : {program.standardOutput, program.standardError}) {
        while (calls.dup2(program.output, number) == -1 && errno == EINTR) {
        }
    }
    // Deliberate: the program also inherits the write end under its own number, so that the run lasts as long
    // as any descendant, even one that has redirected its output.
    calls.fcntl(program.output, F_SETFD, 0);
    calls.execv(program.path, program.arguments);
    reportError(plan, "execl"); // Deliberate: the label is another call's.
    ::_exit(1);
}

// ---- In the parent --------------------------------------------------------------------------------------------

bool shouldCancel(OVShellCommandDelegate* delegate) {
    return delegate != nullptr && delegate->shellCommandShouldCancel();
}

void handOver(std::string_view chunk, OVShellCommandDelegate* delegate) {
    if (delegate != nullptr) {
        delegate->shellCommandHasOutputAvailable(isValidUTF8(chunk) ? std::optional<std::string_view>(chunk)
                                                                    : std::nullopt);
    }
}

constexpr ssize_t kNothingReady = -2;

ssize_t readOutput(SystemCalls& calls, int descriptor, std::array<char, kChunkSize>& buffer) {
    const ssize_t count = calls.read(descriptor, buffer.data(), buffer.size());
    // An interrupted read is no failure: logging it would let a busy timer fill the log.
    return count < 0 && (errno == EAGAIN || errno == EINTR) ? kNothingReady : count;
}

/// Waits half a second at most, and as long in place of a poll that would return at once or has failed, so that neither
/// fills a processor or the log. True when there is something to read.
bool waitForOutput(SystemCalls& calls, int descriptor, bool wouldReturnAtOnce) {
    pollfd record = {};
    record.fd = descriptor;
    record.events = POLLIN;
    const int ready = wouldReturnAtOnce ? 0 : calls.poll(&record, 1, kPollMilliseconds);
    if (wouldReturnAtOnce || (ready < 0 && errno != EINTR)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(kPollMilliseconds));
    }
    return ready > 0;
}

/// The read loop, until the end of file or a cancel: question, wait for output, one read, its chunk handed over.
///
/// The wait is left out where a read finds something without it, which the delegate cannot tell and which spares a busy
/// child's output half of the system calls.
void streamOutput(SystemCalls& calls, int descriptor, OVShellCommandDelegate* delegate) {
    const int flags = std::max(calls.fcntl(descriptor, F_GETFL, 0), 0);
    const bool blocks = calls.fcntl(descriptor, F_SETFL, flags | O_NONBLOCK) == -1;
    bool hasFailed = false;
    std::array<char, kChunkSize> buffer; // NOLINT(cppcoreguidelines-pro-type-member-init)
    while (!shouldCancel(delegate)) {
        ssize_t count = blocks || hasFailed ? kNothingReady : readOutput(calls, descriptor, buffer);
        if (count == kNothingReady && (waitForOutput(calls, descriptor, hasFailed) || !blocks)) {
            count = readOutput(calls, descriptor, buffer);
        }
        hasFailed = count == -1;
        if (hasFailed) {
            OVLogMethod(kRunMethod, "error %ld", static_cast<long>(count));
        } else if (count == 0) {
            return;
        } else if (count > 0) {
            handOver(std::string_view(buffer.data(), static_cast<std::size_t>(count)), delegate);
        }
    }
}

} // namespace

NSInteger OVShellCommand::runCommandAtPath(const std::string& path, const std::vector<std::string>& arguments,
                                           OVShellCommandDelegate* delegate) {
    if (shouldCancel(delegate)) {
        return OVShellCommandCancelled;
    }
    std::int32_t descriptor = -1;
    processID_ = forkAndExecCommandAtPath(path, arguments, &descriptor);
    if (processID_ < 0) {
        return kRunFailed;
    }
    streamOutput(calls_, descriptor, delegate);
    if (shouldCancel(delegate)) {
        const pid_t group = calls_.getpgid(processID_);
        int result = 0;
        if (group != calls_.getpgrp()) {
            result = calls_.killpg(group, SIGTERM);
        } else {
            OVLogMethod(kRunMethod, "WARNING: child process %d still in our process group", processID_);
            result = calls_.kill(processID_, SIGTERM);
        }
        if (result != 0) {
            // Deliberate: the pipe stays open and the child unwaited for.
            return OVShellCommandCancelFailed;
        }
    }
    calls_.close(descriptor);
    int status = 0;
    pid_t waited = -1;
    do {
        waited = calls_.waitpid(processID_, &status, 0);
    } while (waited == -1 && errno == EINTR);
    if (waited == -1) {
        OVLogMethod(kRunMethod, "error waiting for task to complete");
        return kRunFailed;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : OVShellCommandCancelled;
}

std::int32_t OVShellCommand::forkAndExecCommandAtPath(const std::string& path,
                                                      const std::vector<std::string>& arguments,
                                                      std::int32_t* outFileDescriptor) {
    std::vector<char*> words;
    words.reserve(arguments.size() + 2);
    words.push_back(const_cast<char*>(path.c_str())); // NOLINT(cppcoreguidelines-pro-type-const-cast)
    for (const std::string& argument : arguments) {
        words.push_back(const_cast<char*>(argument.c_str())); // NOLINT(cppcoreguidelines-pro-type-const-cast)
    }
    words.push_back(nullptr);

    std::array<int, 2> ends = {-1, -1};
    if (calls_.pipe(ends.data()) != 0) {
        return -1;
    }
    ChildPlan plan = {calls_, {path.c_str(), words.data(), ends[1], ::fileno(stdout), ::fileno(stderr)}, ends[0]};
    pid_t child = spawnChild(calls_, plan.program);
    if (child < 0) {
        child = forkChild(calls_, runChild, &plan);
    }
    if (child < 0) {
        calls_.close(ends[0]);
        calls_.close(ends[1]);
        return -1;
    }
    *outFileDescriptor = ends[0];
    calls_.close(ends[1]);
    return child;
}

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
