#include "Tasks/OVShellCommand.h"

#include "Support/OVLog.h"
#include "Support/OVText.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace orvane {

const NSInteger OVShellCommandSuccess = 0;
const NSInteger OVShellCommandCancelled = -9998;
const NSInteger OVShellCommandCancelFailed = -9999;

namespace {

/// The result of a run that could not be started, or whose end could not be learnt: neither an exit code nor
/// one of the constants.
constexpr NSInteger kRunFailed = -1;

constexpr const char* kRunMethod = "-[OVShellCommand runCommandAtPath:arguments:delegate:]";

constexpr std::size_t kChunkSize = 2048;
/// How much is taken from the pipe at once. Chunks are cut from it as though each had been read by itself.
constexpr std::size_t kReadAhead = 8 * kChunkSize;

constexpr int kPollMilliseconds = 500;
/// Waits in place of a poll that would return at once, so that a broken descriptor fills neither a processor
/// nor the log.
constexpr std::chrono::milliseconds kPauseAfterReadError{kPollMilliseconds};
constexpr std::chrono::milliseconds kPauseAfterPollError{20};

// ---- In the child
// -------------------------------------------------------------------------------------------
//
// Everything the child needs is prepared by the parent, because other threads of the parent may hold the
// heap's lock or that of a stream, and because the child may share the parent's memory. The frames that an
// exec leaves behind are not instrumented: they would stay poisoned in that memory.

struct ChildPlan {
    SystemCalls& calls;
    const char* path;
    char* const* arguments;
    int readEnd;
    int writeEnd;
    int outDescriptor;
    int errorDescriptor;
};

/// `perror`, written by hand because that one allocates and locks.
void reportError(const ChildPlan& plan, const char* label) {
    std::array<char, 256> line = {};
    std::size_t length = 0;
    const auto append = [&](const char* text) {
        while (*text != '\0' && length < line.size() - 1) {
            line[length++] = *text++;
        }
    };
    const char* const description = ChildProcess::errorDescription(errno);
    append(label);
    append(": ");
    append(description);
    line[length++] = '\n';
    std::size_t written = 0;
    while (written < length) {
        const ssize_t count = plan.calls.write(plan.errorDescriptor, line.data() + written, length - written);
        if (count < 0 && errno != EINTR) {
            return;
        }
        written += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
}

__attribute__((no_sanitize("address"))) void runChild(void* context) {
    const ChildPlan& plan = *static_cast<const ChildPlan*>(context);
    SystemCalls& calls = plan.calls;
    sigset_t all;
    sigfillset(&all);
    calls.sigprocmask(SIG_UNBLOCK, &all, nullptr);
    if (calls.setsid() == -1) {
        reportError(plan, "setsid");
    }
    calls.close(plan.readEnd);
    calls.dup2(plan.writeEnd, plan.outDescriptor);
    calls.dup2(plan.writeEnd, plan.errorDescriptor);
    // Deliberate: the program also inherits the write end under its own number, so that the run lasts as long
    // as any descendant, even one that has redirected its output.
    calls.fcntl(plan.writeEnd, F_SETFD, 0);
    calls.execv(plan.path, plan.arguments);
    reportError(plan, "execl"); // Deliberate: the label is another call's.
    ::_exit(1);
}

// ---- In the parent
// ------------------------------------------------------------------------------------------

bool shouldCancel(OVShellCommandDelegate* delegate) {
    return delegate != nullptr && delegate->shellCommandShouldCancel();
}

void handOver(std::string_view chunk, OVShellCommandDelegate* delegate) {
    if (delegate != nullptr) {
        delegate->shellCommandHasOutputAvailable(isValidUTF8(chunk) ? std::optional<std::string_view>(chunk)
                                                                    : std::nullopt);
    }
}

bool isNothingReady(int error) {
    // An interrupted read is no failure: logging it would let a busy timer fill the log.
    return error == EAGAIN || error == EINTR;
}

/// The pipe's read end: what has been read of it and not been handed over.
class Output {
  public:
    Output(SystemCalls& calls, int descriptor) : calls_(calls), descriptor_(descriptor) {
        const int flags = std::max(calls_.fcntl(descriptor_, F_GETFL, 0), 0);
        blocks_ = calls_.fcntl(descriptor_, F_SETFL, flags | O_NONBLOCK) == -1;
    }

    /// The whole read loop: from one question to the delegate to the next, each round hands over the one
    /// chunk that a poll and a read of 2048 bytes would have brought, until the end of file or a cancel.
    ///
    /// Reading comes first and polling only when there is nothing to read, which spares a busy child's output
    /// most of the system calls. The delegate cannot tell: its question still precedes every wait and every
    /// chunk, and a chunk takes in everything there is to read at its time, up to its size.
    void stream(OVShellCommandDelegate* delegate) {
        while (!shouldCancel(delegate)) {
            pauseAfterError();
            // A chunk is topped up before it goes out short; whatever else that read says comes next round.
            const ssize_t count = available() < kChunkSize ? readMore() : 0;
            if (available() > 0) {
                const std::size_t size = std::min(available(), kChunkSize);
                handOver(std::string_view(buffer_.data() + begin_, size), delegate);
                begin_ += size;
            } else if (count == 0) {
                return;
            } else if (!isNothingReady(errno)) {
                OVLogMethod(kRunMethod, "error %ld", static_cast<long>(count));
                pause_ = kPauseAfterReadError;
            }
        }
    }

  private:
    [[nodiscard]] std::size_t available() const { return end_ - begin_; }

    /// Reads behind what is there; waits only if there is nothing at all.
    ssize_t readMore() {
        std::memmove(buffer_.data(), buffer_.data() + begin_, available());
        end_ = available();
        begin_ = 0;
        if (blocks_) {
            return readBlocking();
        }
        ssize_t count = readOnce();
        if (count < 0 && end_ == 0 && isNothingReady(errno)) {
            wait();
            count = readOnce();
        }
        return count;
    }

    /// For a descriptor that could not be made non-blocking, where only a poll keeps the cancel question on
    /// time.
    ssize_t readBlocking() {
        if (end_ > 0 || !wait()) {
            errno = EAGAIN;
            return -1;
        }
        return readOnce();
    }

    ssize_t readOnce() {
        const ssize_t count = calls_.read(descriptor_, buffer_.data() + end_, buffer_.size() - end_);
        end_ += count > 0 ? static_cast<std::size_t>(count) : 0;
        return count;
    }

    /// A bounded wait for output. False when the time was up or a signal came first.
    bool wait() {
        pollfd record = {};
        record.fd = descriptor_;
        record.events = POLLIN;
        const int result = calls_.poll(&record, 1, kPollMilliseconds);
        if (result < 0 && errno != EINTR) {
            pause_ = kPauseAfterPollError;
            return true; // nothing is known, so a read has to tell
        }
        return result > 0;
    }

    /// Behind the question, like any other wait.
    void pauseAfterError() {
        if (pause_ > std::chrono::milliseconds::zero()) {
            std::this_thread::sleep_for(pause_);
            pause_ = {};
        }
    }

    SystemCalls& calls_;
    int descriptor_;
    bool blocks_ = false;
    std::chrono::milliseconds pause_{};
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
    alignas(64) std::array<char, kReadAhead> buffer_; // NOLINT(cppcoreguidelines-pro-type-member-init)
};

} // namespace

OVShellCommand::OVShellCommand(SystemCalls& calls, ChildProcess& child) : calls_(calls), child_(child) {}

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
    Output(calls_, descriptor).stream(delegate);
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
    std::vector<char*> vector;
    vector.reserve(arguments.size() + 2);
    vector.push_back(const_cast<char*>(path.c_str())); // NOLINT(cppcoreguidelines-pro-type-const-cast)
    for (const std::string& argument : arguments) {
        vector.push_back(const_cast<char*>(argument.c_str())); // NOLINT(cppcoreguidelines-pro-type-const-cast)
    }
    vector.push_back(nullptr);

    std::array<int, 2> ends = {-1, -1};
    if (calls_.pipe(ends.data()) != 0) {
        return -1;
    }
    ChildPlan plan = {calls_, path.c_str(), vector.data(), ends[0], ends[1], ::fileno(stdout), ::fileno(stderr)};
    const pid_t child = child_.start(calls_, runChild, &plan);
    if (child < 0) {
        calls_.close(ends[0]);
        calls_.close(ends[1]);
        return -1;
    }
    *outFileDescriptor = ends[0];
    calls_.close(ends[1]);
    return child;
}

} // namespace orvane
