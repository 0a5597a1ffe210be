#include "Tasks/OVShellCommand.h"

#include "Platform/Posix/PosixSystemCalls.h"
#include "Tests/Fakes/RecordingLog.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <dirent.h>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <regex>
#include <set>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace orvane {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using testing::RecordingLog;
using Events = std::vector<std::string>;
using Chunks = std::vector<std::optional<std::string>>;

constexpr const char* kShell = "/bin/sh";
const std::string kMethod = "-\\[OVShellCommand runCommandAtPath:arguments:delegate:\\] \\[Line [0-9]+\\] ";

/// The system's calls, each noted down and some made to fail. What the child calls is noted in a pipe, since it
/// may have the parent's memory or a copy of it.
class TracedCalls final : public PosixSystemCalls {
  public:
    explicit TracedCalls(Events& events) : events_(events) {
        if (::pipe2(childTrace_.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
            ::abort();
        }
    }
    TracedCalls(const TracedCalls&) = delete;
    TracedCalls& operator=(const TracedCalls&) = delete;
    ~TracedCalls() {
        ::close(childTrace_[0]);
        ::close(childTrace_[1]);
    }

    /// The next `count` calls of that name in the parent fail.
    void fail(const std::string& name, int error, int count = 1) { failures_[name] = {error, count}; }

    /// What reads bring, in order: bytes, "" for end of file, or nothing for `EAGAIN`; afterwards the real pipe.
    std::deque<std::optional<std::string>> scriptedReads;
    std::optional<pid_t> groupOfChild; ///< what `getpgid` answers in place of the truth
    std::optional<int> signalResult;   ///< what `kill` and `killpg` answer without signalling
    int setsidError = 0;               ///< in the child
    int execvError = 0;                ///< in the child
    int signalBeforeExec = 0;          ///< what the child sends itself just before it executes

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
    pid_t fork() override { return failing("start") ? -1 : PosixSystemCalls::fork(); }
    pid_t vfork(int (*child)(void*), void* context, void* stack, std::size_t stackSize) override {
        return failing("start") ? -1 : PosixSystemCalls::vfork(child, context, stack, stackSize);
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
        if (failing("read")) {
            return -1;
        }
        if (scriptedReads.empty()) {
            return PosixSystemCalls::read(descriptor, buffer, size);
        }
        const auto bytes = scriptedReads.front();
        scriptedReads.pop_front();
        if (!bytes) {
            errno = EAGAIN;
            return -1;
        }
        std::memcpy(buffer, bytes->data(), bytes->size());
        return static_cast<ssize_t>(bytes->size());
    }
    int close(int descriptor) override {
        if (isChild()) {
            traced("close ");
        } else {
            events_.emplace_back(descriptor == readEnd ? "close read end" : "close write end");
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
        if (signalBeforeExec != 0) {
            ::kill(::getpid(), signalBeforeExec);
        }
        if (execvError != 0) {
            errno = execvError;
            return -1;
        }
        return PosixSystemCalls::execv(path, arguments);
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
        events_.emplace_back("kill");
        return signalResult ? *signalResult : PosixSystemCalls::kill(processID, signal);
    }
    int killpg(pid_t group, int signal) override {
        signalled.emplace_back(group, signal);
        events_.emplace_back("killpg");
        return signalResult ? *signalResult : PosixSystemCalls::killpg(group, signal);
    }

    std::vector<std::pair<pid_t, int>> signalled;
    int readEnd = -1;

  private:
    struct Failure {
        int error = 0;
        int count = 0;
    };

    [[nodiscard]] bool isChild() const { return ::getpid() != parent_; }

    void traced(const char* name) const { (void)!::write(childTrace_[1], name, std::strlen(name)); }

    bool failing(const char* name) {
        events_.emplace_back(name);
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

std::set<int> openDescriptors() {
    std::set<int> numbers;
    DIR* const folder = ::opendir("/proc/self/fd");
    while (const dirent* const entry = ::readdir(folder)) {
        const int number = std::atoi(entry->d_name);
        if (entry->d_name[0] != '.' && number != ::dirfd(folder)) {
            numbers.insert(number);
        }
    }
    ::closedir(folder);
    return numbers;
}

bool isGone(pid_t processID) {
    return ::kill(processID, 0) == -1 && errno == ESRCH;
}

/// A process that is not our child has to be reaped by its own parent first.
bool isGoneSoon(pid_t processID) {
    for (int tries = 0; tries < 500; ++tries) {
        if (isGone(processID)) {
            return true;
        }
        std::this_thread::sleep_for(10ms);
    }
    return false;
}

void waitUntilEnded(pid_t processID) {
    siginfo_t information = {};
    ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(processID), &information, WEXITED | WNOWAIT), 0);
}

enum class Way { kPlatform, kPlainFork };

class ShellCommandTest : public ::testing::TestWithParam<Way> {
  protected:
    static ChildProcess& child() {
        return GetParam() == Way::kPlatform ? ChildProcess::platform() : ChildProcess::plainFork();
    }

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
    TracedCalls calls{events};
    Owner owner{events};
    OVShellCommand command{calls, child()};
};

INSTANTIATE_TEST_SUITE_P(Starts, ShellCommandTest, ::testing::Values(Way::kPlatform, Way::kPlainFork),
                         [](const auto& information) {
                             return information.param == Way::kPlatform ? "Platform" : "PlainFork";
                         });

TEST(ShellCommandConstantsTest, HaveTheirValues) {
    EXPECT_EQ(OVShellCommandSuccess, 0);
    EXPECT_EQ(OVShellCommandCancelled, -9998);
    EXPECT_EQ(OVShellCommandCancelFailed, -9999);
    EXPECT_EQ(sizeof(NSInteger), sizeof(void*));
    EXPECT_EQ(OVShellCommand().processID(), 0);
}

// ---- Results and output -------------------------------------------------------------------------------------

TEST_P(ShellCommandTest, SilentChildYieldsItsExitCodeAndNoOutput) {
    EXPECT_EQ(runScript("exit 3"), 3);
    EXPECT_TRUE(owner.chunks.empty());
    EXPECT_GT(command.processID(), 0);
    EXPECT_TRUE(isGone(command.processID())) << "reaped";
    EXPECT_TRUE(log.messages.empty());
}

TEST_P(ShellCommandTest, YieldsEveryExitCode) {
    for (const int code : {0, 1, 2, 127, 128, 255}) {
        OVShellCommand each(calls, child());
        EXPECT_EQ(each.runCommandAtPath(kShell, {"-c", "exit " + std::to_string(code)}, &owner), code);
    }
}

TEST_P(ShellCommandTest, JoinsStandardOutputAndErrorInOrder) {
    EXPECT_EQ(runScript("echo one; echo two >&2; echo three"), OVShellCommandSuccess);
    EXPECT_EQ(owner.text(), "one\ntwo\nthree\n");
}

TEST_P(ShellCommandTest, CutsOutputIntoChunksOfAtMost2048Bytes) {
    listenAfterTheEnd();
    std::string expected;
    while (expected.size() < 5000) {
        expected += std::to_string(expected.size()) + ",";
    }
    expected.resize(5000);
    EXPECT_EQ(command.runCommandAtPath("/usr/bin/printf", {"%s", expected}, &owner), 0);
    ASSERT_EQ(owner.chunks.size(), 3U);
    EXPECT_EQ(owner.chunks[0]->size(), 2048U);
    EXPECT_EQ(owner.chunks[1]->size(), 2048U);
    EXPECT_EQ(owner.chunks[2]->size(), 904U);
    EXPECT_EQ(owner.text(), expected);
}

TEST_P(ShellCommandTest, HandsOverLinesAsTheyWereRead) {
    EXPECT_EQ(runScript("printf 'half a '; sleep 0.2; printf 'line\\nand more'"), 0);
    EXPECT_EQ(owner.chunks, (Chunks{"half a ", "line\nand more"}));
}

TEST_P(ShellCommandTest, ChunksThatAreNotTextArriveAsNothing) {
    listenAfterTheEnd();
    // The character's two bytes fall into two chunks, neither of which is text then.
    EXPECT_EQ(command.runCommandAtPath("/usr/bin/printf", {"%s", std::string(2047, 'a') + "\xC3\xA9 end"}, &owner), 0);
    EXPECT_EQ(owner.chunks, (Chunks{std::nullopt, std::nullopt}));
}

TEST_P(ShellCommandTest, OverlongFormsSurrogatesAndTooGreatValuesAreNoText) {
    for (const char* bytes : {"\\300\\200", "\\355\\240\\200", "\\364\\220\\200\\200", "\\377"}) {
        OVShellCommand each(calls, child());
        Owner own(events);
        EXPECT_EQ(each.runCommandAtPath("/usr/bin/printf", {bytes}, &own), 0);
        EXPECT_EQ(own.chunks, (Chunks{std::nullopt})) << bytes;
    }
}

TEST_P(ShellCommandTest, TextOfSeveralBytesAndNullBytesPassUnchanged) {
    EXPECT_EQ(runScript("printf 'gr\\303\\274n \\342\\202\\254 \\360\\237\\230\\200 a\\000b'"), 0);
    EXPECT_EQ(owner.text(), std::string("grün € \xF0\x9F\x98\x80 a\0b", 18));
}

TEST_P(ShellCommandTest, LosesNoTailWhenThePipeHangsUp) {
    for (int round = 0; round < 30; ++round) {
        OVShellCommand each(calls, child());
        Owner own(events);
        EXPECT_EQ(each.runCommandAtPath(kShell, {"-c", "head -c 150001 /dev/zero | tr '\\0' x; exit 4"}, &own), 4);
        EXPECT_EQ(own.text(), std::string(150001, 'x'));
    }
}

TEST_P(ShellCommandTest, CrashCountsAsCancelled) {
    EXPECT_EQ(runScript("ulimit -c 0; kill -SEGV $$"), OVShellCommandCancelled);
}

TEST_P(ShellCommandTest, NoDelegateDropsTheOutputAndNeverCancels) {
    EXPECT_EQ(command.runCommandAtPath(kShell, {"-c", "echo lost; exit 6"}, nullptr), 6);
}

TEST_P(ShellCommandTest, LeavesNoDescriptorBehind) {
    const auto before = openDescriptors();
    EXPECT_EQ(runScript("echo x"), 0);
    EXPECT_EQ(openDescriptors(), before);
}

// ---- The child ----------------------------------------------------------------------------------------------

TEST_P(ShellCommandTest, ChildTakesItsStepsInOrder) {
    EXPECT_EQ(runScript("exit 0"), 0);
    EXPECT_EQ(calls.childCalls(), "sigprocmask setsid close dup2:1 dup2:2 fcntl execv ");
}

TEST_P(ShellCommandTest, ChildLeadsASessionAndAGroup) {
    EXPECT_EQ(command.runCommandAtPath("/bin/cat", {"/proc/self/stat"}, &owner), 0);
    const std::string id = std::to_string(command.processID());
    std::smatch match;
    const std::string text = owner.text();
    ASSERT_TRUE(std::regex_search(text, match, std::regex("^([0-9]+) \\(cat\\) . ([0-9]+) ([0-9]+) ([0-9]+) ")));
    EXPECT_EQ(match[1], id);
    EXPECT_EQ(match[2], std::to_string(::getpid()));
    EXPECT_EQ(match[3], id) << "process group";
    EXPECT_EQ(match[4], id) << "session";
}

TEST_P(ShellCommandTest, PassesArgumentsAndEnvironmentUnchanged) {
    ::setenv("ORVANE_TEST_VALUE", "from outside", 1);
    EXPECT_EQ(command.runCommandAtPath(
                  kShell, {"-c", "printf '<%s>' \"$0\" \"$@\" \"$ORVANE_TEST_VALUE\"", "a b", "", "*", "ü\n"}, &owner),
              0);
    ::unsetenv("ORVANE_TEST_VALUE");
    EXPECT_EQ(owner.text(), "<a b><><*><ü\n><from outside>");
}

TEST_P(ShellCommandTest, PathIsTheProgramsNameAndIsNotSearchedFor) {
    EXPECT_EQ(command.runCommandAtPath(kShell, {"-c", "echo $0"}, &owner), 0);
    EXPECT_EQ(owner.text(), "/bin/sh\n");
    OVShellCommand bare(calls, child());
    Owner own(events);
    EXPECT_EQ(bare.runCommandAtPath("true", {}, &own), 1);
    EXPECT_EQ(own.text(), "execl: No such file or directory\n");
}

TEST_P(ShellCommandTest, PathThatIsNotExecutableIsReportedThroughThePipe) {
    EXPECT_EQ(command.runCommandAtPath("/etc/passwd", {}, &owner), 1);
    EXPECT_EQ(owner.chunks, (Chunks{"execl: Permission denied\n"}));
}

TEST_P(ShellCommandTest, ExecFailureIsReportedThroughThePipe) {
    calls.execvError = E2BIG;
    EXPECT_EQ(runScript("exit 0"), 1);
    EXPECT_EQ(owner.text(), "execl: Argument list too long\n");
}

TEST_P(ShellCommandTest, SetsidFailureIsReportedBeforeTheRedirectionAndTheChildGoesOn) {
    calls.setsidError = EPERM;
    ::testing::internal::CaptureStderr();
    const NSInteger result = runScript("echo on; exit 5");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "setsid: Operation not permitted\n");
    EXPECT_EQ(result, 5);
    EXPECT_EQ(owner.text(), "on\n");
}

TEST_P(ShellCommandTest, StandardInputIsInherited) {
    std::array<int, 2> input = {};
    ASSERT_EQ(::pipe2(input.data(), O_CLOEXEC), 0);
    const int saved = ::fcntl(0, F_DUPFD_CLOEXEC, 3);
    ::dup2(input[0], 0);
    ASSERT_EQ(::write(input[1], "typed\n", 6), 6);
    EXPECT_EQ(runScript("read line; echo got $line"), 0);
    EXPECT_EQ(owner.text(), "got typed\n");
    if (saved >= 0) {
        ::dup2(saved, 0);
        ::close(saved);
    } else {
        ::close(0);
    }
    ::close(input[0]);
    ::close(input[1]);
}

TEST_P(ShellCommandTest, ChildHasTheWriteEndUnderItsOwnNumberToo) {
    EXPECT_EQ(runScript("readlink /proc/self/fd/1; for f in /proc/self/fd/*; do readlink $f; done | sort | uniq -c"),
              0);
    // The name of the pipe itself, then how often it is open in readlink: on 2 and under its own number.
    const std::string text = owner.text();
    const std::string name = text.substr(0, text.find('\n'));
    ASSERT_EQ(name.rfind("pipe:[", 0), 0U) << text;
    const std::size_t second = text.find(" " + name);
    ASSERT_NE(second, std::string::npos) << text;
    EXPECT_EQ(text[second - 1], '2') << text;
}

TEST_P(ShellCommandTest, DescendantWithRedirectedOutputStillHoldsTheRun) {
    const auto start = Clock::now();
    EXPECT_EQ(runScript("sleep 0.5 >/dev/null 2>&1 & exit 4"), 4);
    EXPECT_GE(Clock::now() - start, 450ms);
}

TEST_P(ShellCommandTest, ChildStartsWithNoSignalBlockedAndTheCallersMaskStays) {
    sigset_t blocked;
    sigset_t before;
    sigset_t after;
    sigfillset(&blocked);
    sigdelset(&blocked, SIGALRM);
    ::pthread_sigmask(SIG_SETMASK, &blocked, &before);
    ::pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    EXPECT_EQ(command.runCommandAtPath("/bin/grep", {"-E", "SigBlk", "/proc/self/status"}, &owner), 0);
    ::pthread_sigmask(SIG_SETMASK, &before, &after);
    EXPECT_EQ(owner.text(), "SigBlk:\t0000000000000000\n");
    for (int signal = 1; signal < NSIG; ++signal) {
        EXPECT_EQ(sigismember(&after, signal), sigismember(&blocked, signal)) << signal;
    }
}

TEST_P(ShellCommandTest, IgnoredSignalsStayIgnored) {
    struct sigaction ignore = {};
    struct sigaction before = {};
    ignore.sa_handler = SIG_IGN;
    ::sigaction(SIGUSR1, &ignore, &before);
    EXPECT_EQ(runScript("kill -USR1 $$; exit 9"), 9);
    ::sigaction(SIGUSR1, &before, nullptr);
}

std::atomic<int>* handlerRuns = nullptr;

TEST_P(ShellCommandTest, TheHostsSignalHandlersNeverRunInTheChild) {
    // In memory that both have, whichever way the child was started.
    void* const shared = ::mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(shared, MAP_FAILED);
    handlerRuns = new (shared) std::atomic<int>(0);
    struct sigaction handler = {};
    struct sigaction before = {};
    handler.sa_handler = [](int) { ++*handlerRuns; };
    ::sigaction(SIGTERM, &handler, &before);
    calls.signalBeforeExec = SIGTERM;
    EXPECT_EQ(runScript("exit 0"), OVShellCommandCancelled);
    EXPECT_EQ(handlerRuns->load(), 0);
    struct sigaction after = {};
    ::sigaction(SIGTERM, &before, &after);
    EXPECT_EQ(after.sa_handler, handler.sa_handler) << "the host keeps its handler";
    ::munmap(shared, 4096);
}

TEST(ChildProcessTest, DescribesErrorsAsTheSystemDoes) {
    for (const int error : {EPERM, ENOENT, EACCES, ENOEXEC, E2BIG, ENOMEM, ETXTBSY, ELOOP}) {
        EXPECT_STREQ(ChildProcess::errorDescription(error), std::strerror(error));
    }
    EXPECT_STREQ(ChildProcess::errorDescription(99999), "Unknown error");
}

// ---- Cancelling ---------------------------------------------------------------------------------------------

TEST_P(ShellCommandTest, CancelBeforeTheStartStartsNothing) {
    owner.cancels = [](int) { return true; };
    EXPECT_EQ(runScript("exit 0"), OVShellCommandCancelled);
    EXPECT_EQ(events, (Events{"ask"}));
    EXPECT_EQ(command.processID(), 0);
}

TEST_P(ShellCommandTest, CancelSignalsTheChildsGroup) {
    owner.cancels = [](int question) { return question > 2; };
    EXPECT_EQ(command.runCommandAtPath("/bin/sleep", {"100"}, &owner), OVShellCommandCancelled);
    EXPECT_EQ(calls.signalled, (std::vector<std::pair<pid_t, int>>{{command.processID(), SIGTERM}}));
    EXPECT_EQ(calls.count("killpg"), 1);
    EXPECT_TRUE(isGone(command.processID()));
    EXPECT_TRUE(log.messages.empty());
}

TEST_P(ShellCommandTest, AnswerTakenBackAfterTheLoopSignalsNothing) {
    owner.cancels = [](int question) { return question == 2; };
    EXPECT_EQ(runScript("sleep 0.3; exit 8"), 8) << "the last question decides";
    EXPECT_TRUE(calls.signalled.empty());
}

TEST_P(ShellCommandTest, CancelOnlyAtTheLastQuestionStillSignals) {
    listenAfterTheEnd();
    const auto listening = owner.cancels;
    owner.cancels = [&](int question) {
        listening(question);
        return question == 3; // 1 before the start, 2 before end of file, 3 afterwards
    };
    EXPECT_EQ(runScript("exit 2"), 2) << "too late for the child, whose exit code stands";
    EXPECT_EQ(calls.count("killpg"), 1);
}

TEST_P(ShellCommandTest, ChildThatCatchesTheSignalYieldsItsOwnExitCode) {
    owner.onChunk = [this] { owner.cancels = [](int) { return true; }; };
    EXPECT_EQ(runScript("trap 'exit 7' TERM; echo ready; while :; do :; done"), 7);
}

TEST_P(ShellCommandTest, WaitsForAChildThatIgnoresTheSignal) {
    owner.onChunk = [this] { owner.cancels = [](int) { return true; }; };
    const auto start = Clock::now();
    EXPECT_EQ(runScript("trap '' TERM; echo ready; sleep 1; exit 5"), 5);
    EXPECT_GE(Clock::now() - start, 900ms);
    EXPECT_EQ(calls.count("killpg"), 1) << "asked to end once, not again";
}

TEST_P(ShellCommandTest, GrandchildrenThatHoldThePipeKeepTheRunGoing) {
    EXPECT_EQ(runScript("(sleep 0.3; echo late) & exit 4"), 4);
    EXPECT_EQ(owner.text(), "late\n");
}

TEST_P(ShellCommandTest, CancelReachesGrandchildrenAfterTheChildHasEnded) {
    owner.cancels = [this](int question) {
        if (question == 2 || owner.chunks.empty()) {
            return false;
        }
        waitUntilEnded(command.processID());
        return true;
    };
    EXPECT_EQ(runScript("sleep 100 & echo $!; exit 4"), 4);
    const pid_t grandchild = std::atoi(owner.text().c_str());
    ASSERT_GT(grandchild, 1);
    EXPECT_TRUE(isGoneSoon(grandchild));
}

TEST_P(ShellCommandTest, GrandchildInAnotherGroupIsOutOfReach) {
    owner.onChunk = [this] { owner.cancels = [](int) { return true; }; };
    EXPECT_EQ(runScript("setsid sh -c 'echo $$; exec sleep 100' & wait"), OVShellCommandCancelled);
    const pid_t grandchild = std::atoi(owner.text().c_str());
    ASSERT_GT(grandchild, 1);
    EXPECT_FALSE(isGone(grandchild));
    ::kill(grandchild, SIGKILL);
    EXPECT_TRUE(isGoneSoon(grandchild));
}

TEST_P(ShellCommandTest, ChildMovedToAnotherGroupIsSignalledThere) {
    calls.groupOfChild = 54321;
    calls.signalResult = 0;
    owner.cancels = [](int question) { return question > 1; };
    EXPECT_EQ(runScript("exit 3"), 3);
    EXPECT_EQ(calls.signalled, (std::vector<std::pair<pid_t, int>>{{54321, SIGTERM}}));
}

TEST_P(ShellCommandTest, ChildStillInTheHostsGroupIsSignalledAlone) {
    calls.setsidError = EPERM;
    owner.cancels = [](int question) { return question > 2; };
    ::testing::internal::CaptureStderr();
    const NSInteger result = command.runCommandAtPath("/bin/sleep", {"100"}, &owner);
    ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(result, OVShellCommandCancelled);
    EXPECT_EQ(calls.signalled, (std::vector<std::pair<pid_t, int>>{{command.processID(), SIGTERM}}));
    EXPECT_EQ(calls.count("kill"), 1);
    EXPECT_EQ(calls.count("killpg"), 0);
    expectOneMessage("WARNING: child process " + std::to_string(command.processID()) + " still in our process group");
}

class CancelFailureTest : public ShellCommandTest {
  protected:
    /// What the contract leaves behind: an open pipe and a child.
    void cleanUp() {
        EXPECT_EQ(calls.count("close read end"), 0);
        EXPECT_EQ(calls.count("waitpid"), 0);
        EXPECT_GE(::fcntl(calls.readEnd, F_GETFD), 0) << "still open";
        EXPECT_FALSE(isGone(command.processID()));
        ::close(calls.readEnd);
        ::kill(command.processID(), SIGKILL);
        ::waitpid(command.processID(), nullptr, 0);
    }
};

INSTANTIATE_TEST_SUITE_P(Starts, CancelFailureTest, ::testing::Values(Way::kPlatform, Way::kPlainFork),
                         [](const auto& information) {
                             return information.param == Way::kPlatform ? "Platform" : "PlainFork";
                         });

TEST_P(CancelFailureTest, KillpgFailureReturnsAtOnce) {
    calls.signalResult = -1;
    owner.cancels = [](int question) { return question > 1; };
    EXPECT_EQ(command.runCommandAtPath("/bin/sleep", {"100"}, &owner), OVShellCommandCancelFailed);
    EXPECT_EQ(calls.signalled.size(), 1U);
    cleanUp();
}

TEST_P(CancelFailureTest, KillFailureReturnsAtOnce) {
    calls.signalResult = -1;
    calls.groupOfChild = ::getpgrp();
    owner.cancels = [](int question) { return question > 1; };
    EXPECT_EQ(command.runCommandAtPath("/bin/sleep", {"100"}, &owner), OVShellCommandCancelFailed);
    EXPECT_EQ(calls.count("kill"), 1);
    cleanUp();
}

TEST_P(CancelFailureTest, UnknownGroupSignalsNobody) {
    calls.fail("getpgid", ESRCH);
    owner.cancels = [](int question) { return question > 1; };
    EXPECT_EQ(command.runCommandAtPath("/bin/sleep", {"100"}, &owner), OVShellCommandCancelFailed);
    cleanUp();
}

TEST_P(ShellCommandTest, FloodingChildCannotStarveTheQuestion) {
    owner.cancels = [](int question) { return question > 10; };
    EXPECT_EQ(command.runCommandAtPath("/usr/bin/yes", {}, &owner), OVShellCommandCancelled);
    EXPECT_LE(owner.chunks.size(), 9U);
    EXPECT_EQ(owner.questions, 12);
}

TEST_P(ShellCommandTest, CancelsRightAfterTheStartLeaveNoChild) {
    for (int round = 0; round < 300; ++round) {
        OVShellCommand each(calls, child());
        Owner own(events);
        own.cancels = [](int question) { return question > 1; };
        ASSERT_EQ(each.runCommandAtPath("/bin/sleep", {"100"}, &own), OVShellCommandCancelled) << round;
        ASSERT_TRUE(isGone(each.processID())) << round;
    }
}

// ---- The order of things ------------------------------------------------------------------------------------

TEST_P(ShellCommandTest, AsksBeforeEveryWaitAndEveryChunk) {
    EXPECT_EQ(runScript("for i in 1 2 3; do sleep 0.1; echo $i; done; head -c 30000 /dev/zero"), 0);
    int waits = 0;
    int chunks = 0;
    int ends = 0;
    for (const std::string& event : events) {
        if (event == "ask") {
            waits = 0;
            chunks = 0;
        } else if (event == "poll") {
            EXPECT_EQ(chunks, 0) << "no wait behind a chunk without a question";
            EXPECT_EQ(++waits, 1);
        } else if (event == "chunk") {
            EXPECT_EQ(++chunks, 1);
        } else if (event == "waitpid") {
            ++ends;
        }
    }
    EXPECT_EQ(ends, 1);
    EXPECT_GE(calls.count("poll"), 3);
}

TEST_P(ShellCommandTest, RunsThroughItsStepsInOrder) {
    calls.scriptedReads = {std::nullopt, "first", std::nullopt, std::nullopt, "second", ""};
    EXPECT_EQ(runScript("exit 0"), 0);
    const Events expected = {"ask",   "pipe",           "start",  "close write end", //
                             "getfl", "setfl",                                       //
                             "ask",   "read",           "poll",   "read",
                             "chunk",                                     // nothing yet, then output
                             "ask",   "read",           "poll",   "read", // the time was up
                             "ask",   "read",           "chunk",          // there already
                             "ask",   "read",                             // end of file
                             "ask",   "close read end", "waitpid"};
    EXPECT_EQ(events, expected);
    EXPECT_EQ(owner.chunks, (Chunks{"first", "second"}));
}

TEST_P(ShellCommandTest, AsksBeforeEachChunkOfOneRead) {
    calls.scriptedReads = {std::string(2048, 'a') + std::string(2048, 'b') + std::string(2048, 'c'), ""};
    owner.cancels = [](int question) { return question > 3; };
    calls.signalResult = 0;
    EXPECT_EQ(runScript("exit 0"), 0);
    EXPECT_EQ(owner.chunks, (Chunks{std::string(2048, 'a'), std::string(2048, 'b')}))
        << "what was read but not asked for is not handed over";
}

TEST_P(ShellCommandTest, ChunkTakesInWhatHasArrivedSince) {
    calls.scriptedReads = {std::string(3000, 'a'), std::string(2000, 'b'), std::nullopt, std::nullopt, ""};
    EXPECT_EQ(runScript("exit 0"), 0);
    EXPECT_EQ(owner.chunks,
              (Chunks{std::string(2048, 'a'), std::string(952, 'a') + std::string(1096, 'b'), std::string(904, 'b')}));
}

TEST_P(ShellCommandTest, HandsOverTheRestBeforeAnErrorOrTheEnd) {
    calls.scriptedReads = {std::string(2050, 'a'), "", ""};
    EXPECT_EQ(runScript("exit 0"), 0);
    EXPECT_EQ(owner.chunks, (Chunks{std::string(2048, 'a'), "aa"}));
    EXPECT_EQ(owner.questions, 5);
}

TEST_P(ShellCommandTest, MarksTheReadEndNonBlockingAndKeepsItFromOtherPrograms) {
    std::int32_t descriptor = -1;
    const std::int32_t processID = command.forkAndExecCommandAtPath("/bin/echo", {"hello"}, &descriptor);
    ASSERT_GT(processID, 0);
    EXPECT_EQ(::fcntl(descriptor, F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(::fcntl(descriptor, F_GETFL) & O_NONBLOCK, 0) << "that is the run's part";
    std::array<char, 32> text = {};
    EXPECT_EQ(::read(descriptor, text.data(), text.size()), 6);
    EXPECT_STREQ(text.data(), "hello\n");
    ::close(descriptor);
    ::waitpid(processID, nullptr, 0);
}

TEST_P(ShellCommandTest, ProgramsStartedAtTheSameTimeDoNotGetEachOthersPipes) {
    std::string inner;
    owner.onChunk = [&] {
        Events own;
        TracedCalls ownCalls(own);
        Owner ownOwner(own);
        OVShellCommand second(ownCalls, child());
        EXPECT_EQ(
            second.runCommandAtPath(kShell, {"-c", "for f in /proc/$$/fd/*; do readlink $f; done; true"}, &ownOwner),
            0);
        inner = ownOwner.text();
    };
    EXPECT_EQ(runScript("readlink /proc/$$/fd/1; sleep 0.2"), 0);
    const std::string outer = owner.text();
    ASSERT_EQ(outer.rfind("pipe:[", 0), 0U);
    EXPECT_NE(inner.find("pipe:["), std::string::npos);
    EXPECT_EQ(inner.find(outer), std::string::npos) << inner;
}

// ---- Failures -----------------------------------------------------------------------------------------------

TEST_P(ShellCommandTest, PipeFailureFailsTheRunAtOnce) {
    const auto before = openDescriptors();
    calls.fail("pipe", EMFILE);
    EXPECT_EQ(runScript("exit 0"), -1);
    EXPECT_EQ(command.processID(), -1);
    EXPECT_EQ(events, (Events{"ask", "pipe"}));
    EXPECT_EQ(openDescriptors(), before);
}

TEST_P(ShellCommandTest, ForkFailureFailsTheRunAtOnce) {
    const auto before = openDescriptors();
    calls.fail("start", EAGAIN);
    EXPECT_EQ(runScript("exit 0"), -1);
    EXPECT_EQ(command.processID(), -1);
    EXPECT_EQ(events, (Events{"ask", "pipe", "start", "close read end", "close write end"}));
    EXPECT_EQ(openDescriptors(), before);
}

TEST_P(ShellCommandTest, FailedStartLeavesTheDescriptorUntouched) {
    for (const char* call : {"pipe", "start"}) {
        std::int32_t descriptor = 4711;
        calls.fail(call, ENOMEM);
        EXPECT_EQ(command.forkAndExecCommandAtPath("/bin/true", {}, &descriptor), -1);
        EXPECT_EQ(descriptor, 4711);
    }
}

TEST(ChildProcessTest, SharedMemoryThatIsRefusedFallsBackToFork) {
    for (const int error : {ENOSYS, EINVAL, EPERM}) {
        Events events;
        TracedCalls calls(events);
        Owner owner(events);
        calls.fail("start", error);
        OVShellCommand command(calls, ChildProcess::platform());
        EXPECT_EQ(command.runCommandAtPath("/bin/echo", {"started"}, &owner), 0);
        EXPECT_EQ(owner.text(), "started\n");
        EXPECT_EQ(calls.count("start"), 2);
    }
}

TEST_P(ShellCommandTest, FlagsThatCannotBeReadDoNotHinderTheRun) {
    calls.fail("getfl", EIO);
    EXPECT_EQ(runScript("echo a; sleep 0.2; echo b; exit 3"), 3);
    EXPECT_EQ(owner.text(), "a\nb\n");
}

TEST_P(ShellCommandTest, CancelStaysOnTimeWhenTheReadEndBlocks) {
    calls.fail("setfl", EIO);
    owner.cancels = [this](int question) { return question > 2 && (owner.text() == "a\nb\n" || owner.questions > 20); };
    EXPECT_EQ(runScript("echo a; sleep 0.2; echo b; sleep 100"), OVShellCommandCancelled);
    EXPECT_EQ(owner.text(), "a\nb\n");
}

TEST_P(ShellCommandTest, BlockingReadEndStillDeliversEverything) {
    calls.fail("setfl", EIO);
    EXPECT_EQ(runScript("head -c 100000 /dev/zero | tr '\\0' x; exit 2"), 2);
    EXPECT_EQ(owner.text(), std::string(100000, 'x'));
}

TEST_P(ShellCommandTest, PollFailuresDoNotEndTheRun) {
    for (const int error : {EINTR, ENOMEM}) {
        OVShellCommand each(calls, child());
        Owner own(events);
        calls.fail("poll", error, 5);
        EXPECT_EQ(each.runCommandAtPath(kShell, {"-c", "sleep 0.3; echo x; exit 2"}, &own), 2);
        EXPECT_EQ(own.text(), "x\n");
    }
    EXPECT_TRUE(log.messages.empty());
}

TEST_P(ShellCommandTest, PollThatAlwaysFailsDoesNotSpin) {
    calls.fail("poll", ENOMEM, 1000000);
    EXPECT_EQ(runScript("sleep 1; exit 2"), 2);
    EXPECT_LE(calls.count("poll"), 60) << "20 ms apart";
}

TEST_P(ShellCommandTest, InterruptedReadsAreNoFailure) {
    for (const int error : {EINTR, EAGAIN}) {
        OVShellCommand each(calls, child());
        Owner own(events);
        calls.fail("read", error, 5);
        EXPECT_EQ(each.runCommandAtPath(kShell, {"-c", "echo x; sleep 0.2; exit 2"}, &own), 2);
        EXPECT_EQ(own.text(), "x\n");
    }
    EXPECT_TRUE(log.messages.empty());
}

TEST_P(ShellCommandTest, ReadErrorIsLoggedAndTheLoopGoesOn) {
    calls.fail("read", EIO);
    EXPECT_EQ(runScript("echo still here; exit 2"), 2);
    EXPECT_EQ(owner.text(), "still here\n");
    expectOneMessage("error -1");
}

TEST_P(ShellCommandTest, LastingReadErrorAsksEachTimeAndKeepsAPace) {
    calls.fail("read", EBADF, 1000000);
    owner.cancels = [](int question) { return question > 4; };
    const auto start = Clock::now();
    EXPECT_EQ(command.runCommandAtPath("/bin/sleep", {"100"}, &owner), OVShellCommandCancelled);
    EXPECT_GE(Clock::now() - start, 1000ms) << "half a second after each but the last";
    EXPECT_EQ(log.messages.size(), 3U);
    EXPECT_EQ(owner.questions, 6);
}

TEST_P(ShellCommandTest, InterruptedWaitIsRepeated) {
    calls.fail("waitpid", EINTR, 3);
    EXPECT_EQ(runScript("exit 6"), 6);
    EXPECT_EQ(calls.count("waitpid"), 4);
    EXPECT_TRUE(log.messages.empty());
}

TEST_P(ShellCommandTest, WaitFailureIsLoggedAndFailsTheRun) {
    calls.fail("waitpid", ECHILD);
    EXPECT_EQ(runScript("exit 0"), -1);
    expectOneMessage("error waiting for task to complete");
    EXPECT_EQ(calls.count("close read end"), 1);
    ::waitpid(command.processID(), nullptr, 0);
}

// ---- Hosts --------------------------------------------------------------------------------------------------

TEST_P(ShellCommandTest, WorksWithAnyStandardDescriptorsClosed) {
    for (unsigned closed = 0; closed < 8; ++closed) {
        const pid_t host = ::fork();
        ASSERT_GE(host, 0);
        if (host == 0) {
            for (int number = 0; number < 3; ++number) {
                if ((closed >> number & 1U) != 0) {
                    ::close(number);
                }
            }
            Events own;
            Owner ownOwner(own);
            OVShellCommand each(SystemCalls::platform(), child());
            bool intact = true;
            const NSInteger result = each.runCommandAtPath(kShell, {"-c", "echo out; echo err >&2; exit 3"}, &ownOwner);
            for (int number = 0; number < 3; ++number) {
                const bool open = ::fcntl(number, F_GETFD) != -1;
                intact = intact && open == ((closed >> number & 1U) == 0);
            }
            ::_exit(result == 3 && ownOwner.text() == "out\nerr\n" && intact ? 0 : 1);
        }
        int status = -1;
        ASSERT_EQ(::waitpid(host, &status, 0), host);
        EXPECT_EQ(status, 0) << "closed: " << closed;
    }
}

TEST(PosixPipeTest, LeavesNothingOpenWhenTheEndsCannotBeMovedUp) {
    const pid_t host = ::fork();
    ASSERT_GE(host, 0);
    if (host == 0) {
        ::close(0);
        ::close(1);
        rlimit limit = {3, 3};
        ::setrlimit(RLIMIT_NOFILE, &limit);
        std::array<int, 2> ends = {-1, -1};
        const bool failed = SystemCalls::platform().pipe(ends.data()) == -1 && (errno == EMFILE || errno == EINVAL);
        ::_exit(failed && ::fcntl(0, F_GETFD) == -1 && ::fcntl(1, F_GETFD) == -1 ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(host, &status, 0), host);
    EXPECT_EQ(status, 0);
}

TEST_P(ShellCommandTest, WorksWithDescriptorsAbove1024) {
    rlimit before = {};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit raised = before;
    raised.rlim_cur = std::min<rlim_t>(before.rlim_max, 4096);
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &raised), 0);
    std::vector<int> filler;
    while (filler.empty() || filler.back() < 1100) {
        filler.push_back(::open("/dev/null", O_RDONLY | O_CLOEXEC));
        ASSERT_GE(filler.back(), 0);
    }
    EXPECT_EQ(runScript("echo high; exit 2"), 2);
    EXPECT_GT(calls.readEnd, 1024);
    EXPECT_EQ(owner.text(), "high\n");
    for (const int number : filler) {
        ::close(number);
    }
    ::setrlimit(RLIMIT_NOFILE, &before);
}

TEST_P(ShellCommandTest, SurvivesAStormOfSignals) {
    static std::atomic<int> signals;
    signals = 0;
    struct sigaction handler = {};
    struct sigaction before = {};
    handler.sa_handler = [](int) { ++signals; }; // no SA_RESTART
    ::sigaction(SIGALRM, &handler, &before);
    const itimerval storm = {{0, 200}, {0, 200}};
    const itimerval calm = {};
    ::setitimer(ITIMER_REAL, &storm, nullptr);
    for (int round = 0; round < 20; ++round) {
        OVShellCommand each(calls, child());
        Owner own(events);
        EXPECT_EQ(
            each.runCommandAtPath(kShell, {"-c", "head -c 300000 /dev/zero | tr '\\0' x; sleep 0.05; exit 2"}, &own),
            2);
        EXPECT_EQ(own.text(), std::string(300000, 'x'));
    }
    ::setitimer(ITIMER_REAL, &calm, nullptr);
    ::sigaction(SIGALRM, &before, nullptr);
    EXPECT_GT(signals.load(), 100);
    EXPECT_TRUE(log.messages.empty());
}

TEST_P(ShellCommandTest, IsSafeInAHostWithManyBusyThreads) {
    std::atomic<bool> done = false;
    std::vector<std::thread> threads;
    for (int index = 0; index < 6; ++index) {
        threads.emplace_back([&done] {
            // Holds the heap's and the streams' locks most of the time.
            while (!done) {
                const std::unique_ptr<char[]> block(new char[100000]);
                block[0] = 'x';
                std::fflush(nullptr);
            }
        });
    }
    std::atomic<int> good = 0;
    std::vector<std::thread> runners;
    for (int index = 0; index < 3; ++index) {
        runners.emplace_back([&good] {
            for (int round = 0; round < 40; ++round) {
                Events own;
                Owner ownOwner(own);
                OVShellCommand each(SystemCalls::platform(), child());
                // One that is executed, one that reports that it cannot be.
                good += each.runCommandAtPath("/bin/echo", {"x"}, &ownOwner) == 0 && ownOwner.text() == "x\n" ? 1 : 0;
                OVShellCommand missing(SystemCalls::platform(), child());
                good += missing.runCommandAtPath("/no/such/program", {}, &ownOwner) == 1 ? 1 : 0;
            }
        });
    }
    for (std::thread& runner : runners) {
        runner.join();
    }
    done = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(good.load(), 3 * 40 * 2);
}

} // namespace
} // namespace orvane
