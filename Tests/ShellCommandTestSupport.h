#pragma once

#include "Backends/Posix/PosixSystemCalls.h"
#include "Tasks/OVShellCommand.h"
#include "Tests/Fakes/RecordingLog.h"
#include "Tests/OpenDescriptors.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <regex>
#include <set>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace orvane {

using namespace std::chrono_literals;
using test::openDescriptors;
using testing::RecordingLog;
using Events = std::vector<std::string>;
using Chunks = std::vector<std::optional<std::string>>;

inline constexpr const char* kShell = "/bin/sh";
inline const std::string kMethod = "-\\[OVShellCommand runCommandAtPath:arguments:delegate:\\] \\[Line [0-9]+\\] ";

/// How children are started: by the C library, or by `fork` where that refuses.
enum class Way { kSpawn, kFork };

class StartingCalls : public PosixSystemCalls {
  public:
    explicit StartingCalls(Way way) : way_(way) {}
    virtual ~StartingCalls() = default;

    int posix_spawn(pid_t* processID, const char* path, const posix_spawn_file_actions_t* actions,
                    const posix_spawnattr_t* attributes, char* const* arguments) override {
        return way_ == Way::kFork ? ENOSYS
                                  : PosixSystemCalls::posix_spawn(processID, path, actions, attributes, arguments);
    }

    /// A start gone wrong leaves -1 for a process ID, and root's tests must not take the machine along.
    int kill(pid_t processID, int signal) override {
        if (processID <= 1) {
            ADD_FAILURE() << "kill of " << processID;
            errno = EPERM;
            return -1;
        }
        return PosixSystemCalls::kill(processID, signal);
    }

  protected:
    const Way way_;
};

/// A pipe that programs do not inherit.
inline std::array<int, 2> ownPipe() {
    std::array<int, 2> ends = {};
    if (::pipe(ends.data()) != 0) {
        ::abort();
    }
    for (const int end : ends) {
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
    }
    return ends;
}

/// The system's calls, each noted down and some made to fail. What a forked child calls is noted in a pipe, since it
/// has a copy of the parent's memory.
class TracedCalls final : public StartingCalls {
  public:
    TracedCalls(Events& events, Way way) : StartingCalls(way), events_(events) {
        childTrace_ = ownPipe();
        ::fcntl(childTrace_[0], F_SETFL, O_NONBLOCK);
    }
    TracedCalls(const TracedCalls&) = delete;
    TracedCalls& operator=(const TracedCalls&) = delete;
    ~TracedCalls() override {
        ::close(childTrace_[0]);
        ::close(childTrace_[1]);
    }

    /// The next `count` calls of that name in the parent fail.
    void fail(const std::string& name, int error, int count = 1) { failures_[name] = {error, count}; }

    /// What reads bring, in order: bytes, "" for end of file, or nothing for `EAGAIN`; afterwards the real pipe.
    std::deque<std::optional<std::string>> scriptedReads;
    std::function<void(const char*)> onCall = [](const char*) {}; ///< in the parent, given the call's name
    std::optional<pid_t> groupOfChild;                            ///< what `getpgid` answers in place of the truth
    std::optional<int> signalResult; ///< what `kill` and `killpg` answer without signalling
    int setsidError = 0;             ///< in the child, whoever starts it
    int execvError = 0;              ///< likewise
    bool writesInPieces = false;     ///< likewise: three bytes at most, and before each piece an interruption
    std::string signalledStep;       ///< at which the child sends itself a signal
    int stepSignal = 0;
    pid_t forked = -1; ///< what the last `fork` yielded

    [[nodiscard]] int count(const std::string& name) const {
        return static_cast<int>(std::count(events_.begin(), events_.end(), name));
    }

    std::string childCalls() {
        std::array<char, 256> text = {};
        const ssize_t size = ::read(childTrace_[0], text.data(), text.size());
        return size > 0 ? std::string(text.data(), static_cast<std::size_t>(size)) : "";
    }

    int pipe(int* ends) override {
        const int result = failing("pipe") ? -1 : PosixSystemCalls::pipe(ends);
        if (result == 0) {
            readEnd = ends[0];
        }
        return result;
    }
    int posix_spawn(pid_t* processID, const char* path, const posix_spawn_file_actions_t* actions,
                    const posix_spawnattr_t* attributes, char* const* arguments) override {
        if (way_ == Way::kSpawn && failing("start")) {
            return errno;
        }
        for (const int error : {setsidError, execvError, signalledStep.empty() ? 0 : ENOSYS}) {
            if (error != 0) {
                return error; // the C library's child cannot be made to, but would have reported it
            }
        }
        return StartingCalls::posix_spawn(processID, path, actions, attributes, arguments);
    }
    pid_t fork() override {
        if (failing("start")) {
            return -1;
        }
        const pid_t child = PosixSystemCalls::fork();
        if (child != 0) {
            forked = child;
        }
        return child;
    }
    int fcntl(int descriptor, int command, int argument) override {
        if (isChild()) {
            return traced("fcntl "), PosixSystemCalls::fcntl(descriptor, command, argument);
        }
        const char* const name = command == F_GETFL ? "getfl" : command == F_SETFL ? "setfl" : "fcntl";
        return failing(name) ? -1 : PosixSystemCalls::fcntl(descriptor, command, argument);
    }
    int poll(pollfd* descriptors, nfds_t number, int milliseconds) override {
        EXPECT_EQ(number, 1U);
        EXPECT_EQ(descriptors->events, POLLIN);
        EXPECT_EQ(milliseconds, 500);
        if (failing("poll")) {
            return -1;
        }
        return scriptedReads.empty() ? PosixSystemCalls::poll(descriptors, number, milliseconds) : 1;
    }
    ssize_t read(int descriptor, void* buffer, std::size_t size) override {
        EXPECT_EQ(size, 2048U);
        if (failing("read")) {
            return -1;
        }
        if (scriptedReads.empty()) {
            return PosixSystemCalls::read(descriptor, buffer, size);
        }
        auto bytes = scriptedReads.front();
        scriptedReads.pop_front();
        if (!bytes) {
            errno = EAGAIN;
            return -1;
        }
        const std::size_t count = std::min(size, bytes->size());
        std::memcpy(buffer, bytes->data(), count);
        if (count < bytes->size()) {
            scriptedReads.emplace_front(bytes->substr(count));
        }
        return static_cast<ssize_t>(count);
    }
    int close(int descriptor) override {
        if (isChild()) {
            traced("close ");
        } else {
            note(descriptor == readEnd ? "close read end" : "close write end");
        }
        return PosixSystemCalls::close(descriptor);
    }
    int dup2(int descriptor, int number) override {
        traced(number == 1 ? "dup2:1 " : number == 2 ? "dup2:2 " : "dup2 ");
        return PosixSystemCalls::dup2(descriptor, number);
    }
    int sigprocmask(int how, const sigset_t* signals, sigset_t* previous) override {
        traced("sigprocmask ");
        return PosixSystemCalls::sigprocmask(how, signals, previous);
    }
    pid_t setsid() override {
        traced("setsid ");
        if (setsidError != 0) {
            errno = setsidError;
            return -1;
        }
        return PosixSystemCalls::setsid();
    }
    int execv(const char* path, char* const* arguments) override {
        traced("execv ");
        if (execvError != 0) {
            errno = execvError;
            return -1;
        }
        return PosixSystemCalls::execv(path, arguments);
    }
    ssize_t write(int descriptor, const void* buffer, std::size_t size) override {
        if (!writesInPieces) {
            return PosixSystemCalls::write(descriptor, buffer, size);
        }
        isInterrupted_ = !isInterrupted_;
        if (isInterrupted_) {
            errno = EINTR;
            return -1;
        }
        return PosixSystemCalls::write(descriptor, buffer, std::min<std::size_t>(size, 3));
    }
    pid_t waitpid(pid_t processID, int* status, int options) override {
        EXPECT_EQ(options, 0);
        return failing("waitpid") ? -1 : PosixSystemCalls::waitpid(processID, status, options);
    }
    pid_t getpgid(pid_t processID) override {
        if (failing("getpgid")) {
            return -1;
        }
        return groupOfChild ? *groupOfChild : PosixSystemCalls::getpgid(processID);
    }
    int kill(pid_t processID, int signal) override {
        signalled.emplace_back(processID, signal);
        note("kill");
        return signalResult ? *signalResult : StartingCalls::kill(processID, signal);
    }
    int killpg(pid_t group, int signal) override {
        signalled.emplace_back(group, signal);
        note("killpg");
        return signalResult ? *signalResult : PosixSystemCalls::killpg(group, signal);
    }

    std::vector<std::pair<pid_t, int>> signalled;
    int readEnd = -1;

  private:
    bool isInterrupted_ = false;
    struct Failure {
        int error = 0;
        int count = 0;
    };

    [[nodiscard]] bool isChild() const { return ::getpid() != parent_; }

    void traced(const char* name) const {
        if (signalledStep == name) {
            ::kill(::getpid(), stepSignal);
        }
        (void)!::write(childTrace_[1], name, std::strlen(name));
    }

    void note(const char* name) {
        events_.emplace_back(name);
        onCall(name);
    }

    bool failing(const char* name) {
        note(name);
        const auto failure = failures_.find(name);
        if (failure == failures_.end() || failure->second.count == 0) {
            return false;
        }
        --failure->second.count;
        errno = failure->second.error;
        return true;
    }

    Events& events_;
    pid_t parent_ = ::getpid();
    std::array<int, 2> childTrace_ = {};
    std::map<std::string, Failure> failures_;
};

/// Notes questions and chunks, and cancels when told.
class Owner final : public OVShellCommandDelegate {
  public:
    explicit Owner(Events& events) : events_(events) {}

    /// Given the question's number, from 1.
    std::function<bool(int)> cancels = [](int) { return false; };
    std::function<void()> onChunk = [] {};

    void shellCommandHasOutputAvailable(std::optional<std::string_view> chunk) override {
        events_.emplace_back("chunk");
        chunks.push_back(chunk ? std::optional<std::string>(*chunk) : std::nullopt);
        onChunk();
    }
    bool shellCommandShouldCancel() override {
        events_.emplace_back("ask");
        return cancels(++questions);
    }

    [[nodiscard]] std::string text() const {
        std::string all;
        for (const auto& chunk : chunks) {
            all += chunk.value_or("<nil>");
        }
        return all;
    }

    Chunks chunks;
    int questions = 0;

  private:
    Events& events_;
};

inline bool isGone(pid_t processID) {
    return ::kill(processID, 0) == -1 && errno == ESRCH;
}

/// A process that is not our child has to be reaped by its own parent first.
inline bool isGoneSoon(pid_t processID) {
    for (int tries = 0; tries < 500; ++tries) {
        if (isGone(processID)) {
            return true;
        }
        std::this_thread::sleep_for(10ms);
    }
    return false;
}

inline void waitUntilEnded(pid_t processID) {
    siginfo_t information = {};
    ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(processID), &information, WEXITED | WNOWAIT), 0);
}

inline std::string nameOfWay(const ::testing::TestParamInfo<Way>& information) {
    return information.param == Way::kSpawn ? "Spawn" : "Fork";
}

class ShellCommandTest : public ::testing::TestWithParam<Way> {
  protected:
    NSInteger runScript(const std::string& script) { return command.runCommandAtPath(kShell, {"-c", script}, &owner); }

    /// From the second question on, answers only when the child has ended, so that all its output is there.
    void listenAfterTheEnd() {
        owner.cancels = [this](int question) {
            if (question == 2) {
                waitUntilEnded(command.processID());
            }
            return false;
        };
    }

    void expectOneMessage(const std::string& pattern) {
        ASSERT_EQ(log.messages.size(), 1U);
        EXPECT_TRUE(std::regex_match(log.messages[0], std::regex(kMethod + pattern))) << log.messages[0];
    }

    RecordingLog log;
    Events events;
    TracedCalls calls{events, GetParam()};
    StartingCalls untracedCalls{GetParam()};
    Owner owner{events};
    OVShellCommand command{calls};
};

} // namespace orvane
