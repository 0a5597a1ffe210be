#include "Tasks/OVShellCommand.h"

#include "Platform/ChildProcess.h"
#include "Support/OVText.h"
#include "Tests/ShellCommandTestSupport.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <set>
#include <sstream>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <thread>
#include <unistd.h>

namespace orvane {
namespace {

using Clock = std::chrono::steady_clock;

using Lines = std::vector<std::string>;

const std::string kProbe = ORVANE_CHILD_PROBE; // see Programs/ChildProbe.cpp

Lines linesOf(const std::string& text) {
    Lines lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

INSTANTIATE_TEST_SUITE_P(Starts, ShellCommandTest, ::testing::Values(Way::kSpawn, Way::kFork), nameOfWay);

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
        OVShellCommand each(calls);
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
    EXPECT_EQ(runScript("printf 'half a '; sleep 0.2; /usr/bin/printf 'line\\nand more'"), 0);
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
        OVShellCommand each(calls);
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
        OVShellCommand each(calls);
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
    EXPECT_EQ(calls.childCalls(),
              GetParam() == Way::kFork ? "sigprocmask setsid close dup2:1 dup2:2 fcntl execv " : "");
}

TEST_P(ShellCommandTest, ChildLeadsASessionAndAGroup) {
    EXPECT_EQ(command.runCommandAtPath(kProbe, {"ids"}, &owner), 0);
    const std::string id = std::to_string(command.processID());
    EXPECT_EQ(owner.text(),
              "process " + id + ", parent " + std::to_string(::getpid()) + ", group " + id + ", session " + id + "\n");
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
    OVShellCommand bare(calls);
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

TEST_P(ShellCommandTest, ChildsMessageIsWholeHoweverItIsWritten) {
    calls.execvError = E2BIG;
    calls.writesInPieces = true;
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

TEST_P(ShellCommandTest, ProgramThatCannotBeExecutedIsAChildLikeAnyOther) {
    for (const char* path : {"/no/such/program", "/etc/passwd", "/", ""}) {
        OVShellCommand each(calls);
        Owner own(events);
        EXPECT_EQ(each.runCommandAtPath(path, {}, &own), 1) << path;
        EXPECT_EQ(own.text().rfind("execl: ", 0), 0U) << own.text();
        EXPECT_GT(each.processID(), 0);
        EXPECT_EQ(each.processID(), calls.forked) << "which was forked, whoever tried first";
        EXPECT_EQ(calls.childCalls(), "sigprocmask setsid close dup2:1 dup2:2 fcntl execv ");
        EXPECT_TRUE(isGone(each.processID()));
    }
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "no other child is left";
    EXPECT_EQ(errno, ECHILD);
}

TEST_P(ShellCommandTest, StreamThatTheHostHasClosedHasNoDescriptor) {
    const pid_t host = ::fork();
    ASSERT_GE(host, 0);
    if (host == 0) {
        std::fclose(stdout);
        OVShellCommand each(untracedCalls);
        const NSInteger result = each.runCommandAtPath(kShell, {"-c", "echo out; echo err >&2; exit 3"}, &owner);
        ::_exit(result == 3 && owner.text().find("err\n") != std::string::npos ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(host, &status, 0), host);
    EXPECT_EQ(status, 0);
}

TEST_P(ShellCommandTest, TheCallersErrorNumberStays) {
    for (const char* path : {"/usr/bin/true", "/no/such/program"}) {
        std::int32_t descriptor = -1;
        errno = 4711;
        const std::int32_t processID = command.forkAndExecCommandAtPath(path, {}, &descriptor);
        EXPECT_EQ(errno, 4711) << path;
        ASSERT_GT(processID, 0);
        ::close(descriptor);
        ::waitpid(processID, nullptr, 0);
    }
}

TEST_P(ShellCommandTest, StandardInputIsInherited) {
    const std::array<int, 2> input = ownPipe();
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
    EXPECT_EQ(command.runCommandAtPath(kProbe, {"pipes"}, &owner), 0);
    const Lines pipes = linesOf(owner.text());
    ASSERT_FALSE(pipes.empty());
    EXPECT_EQ(std::count(pipes.begin(), pipes.end(), pipes[0]), 3) << owner.text(); // 1, 2 and its own
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
    EXPECT_EQ(command.runCommandAtPath(kProbe, {"blocked"}, &owner), 0);
    ::pthread_sigmask(SIG_SETMASK, &before, &after);
    EXPECT_EQ(owner.text(), "blocked:\n");
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

/// A handler of `signal` in this process that counts its runs, here and in any child.
class CountingHandler {
  public:
    explicit CountingHandler(int signal) : signal_(signal) {
        void* const shared = ::mmap(nullptr, sizeof(Counts), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (shared == MAP_FAILED) {
            ::abort();
        }
        counts = new (shared) Counts{::getpid(), {0}, {0}};
        struct sigaction action = {};
        action.sa_handler = count; // no SA_RESTART
        ::sigaction(signal_, &action, &before_);
    }
    CountingHandler(const CountingHandler&) = delete;
    CountingHandler& operator=(const CountingHandler&) = delete;
    ~CountingHandler() {
        struct sigaction after = {};
        ::sigaction(signal_, &before_, &after);
        EXPECT_EQ(after.sa_handler, count) << "the host keeps its handler";
        ::munmap(counts, sizeof(Counts));
    }

    [[nodiscard]] int hosts() const { return counts->hosts; }
    [[nodiscard]] int childrens() const { return counts->childrens; }

  private:
    struct Counts {
        pid_t host;
        std::atomic<int> hosts;
        std::atomic<int> childrens;
    };

    static void count(int /*signal*/) { ++(::getpid() == counts->host ? counts->hosts : counts->childrens); }

    static Counts* counts; // in memory that a forked child has, too
    int signal_;
    struct sigaction before_ = {};
};

CountingHandler::Counts* CountingHandler::counts = nullptr;

TEST_P(ShellCommandTest, SignalAtAnyStepOfTheChildMeetsItsDefaultAction) {
    for (const char* step : {"sigprocmask ", "setsid ", "close ", "dup2:1 ", "dup2:2 ", "fcntl ", "execv "}) {
        const CountingHandler handler(SIGTERM);
        calls.signalledStep = step;
        calls.stepSignal = SIGTERM;
        OVShellCommand each(calls);
        EXPECT_EQ(each.runCommandAtPath("/usr/bin/true", {}, &owner), OVShellCommandCancelled) << step;
        EXPECT_EQ(handler.childrens(), 0) << step;
        EXPECT_EQ(handler.hosts(), 0) << step;
    }
}

TEST_P(ShellCommandTest, SignalAtAnyStepOfTheHostDoesNoHarm) {
    const CountingHandler handler(SIGUSR1);
    std::set<std::string> steps;
    calls.onCall = [&steps](const char* name) {
        steps.insert(name);
        ::raise(SIGUSR1);
    };
    calls.fail("waitpid", EINTR, 1);
    EXPECT_EQ(runScript("echo out; sleep 0.2; exit 3"), 3);
    EXPECT_EQ(owner.text(), "out\n");
    for (const char* step :
         {"pipe", "start", "close write end", "getfl", "setfl", "read", "poll", "close read end", "waitpid"}) {
        EXPECT_EQ(steps.count(step), 1U) << step;
    }
    EXPECT_GE(handler.hosts(), 10);
    EXPECT_EQ(handler.childrens(), 0);
    EXPECT_TRUE(log.messages.empty());
}

TEST_P(ShellCommandTest, StormOfSignalsOnTheGroupRunsNoHandlerInAChild) {
    const pid_t host = ::fork();
    ASSERT_GE(host, 0);
    if (host == 0) {
        if (::setpgid(0, 0) != 0) {
            ::_exit(2); // or the storm would reach the tests' own group
        }
        ::alarm(60); // nothing outside of the group would end it
        bool good = true;
        {
            const CountingHandler handler(SIGUSR1);
            std::atomic<bool> done = false;
            std::thread storm([&done] {
                while (!done) {
                    ::kill(0, SIGUSR1); // children too, until they have a session of their own
                }
            });
            for (int round = 0; round < 150; ++round) {
                OVShellCommand each(untracedCalls);
                const NSInteger result = each.runCommandAtPath("/usr/bin/true", {}, nullptr);
                good = good && (result == 0 || result == OVShellCommandCancelled);
            }
            done = true;
            storm.join();
            good = good && handler.hosts() > 0 && handler.childrens() == 0;
        }
        ::_exit(good ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(host, &status, 0), host);
    EXPECT_EQ(status, 0);
}

TEST(CommandRunnerTest, TellsTheProcessIDThatTheChildHas) {
    Events events;
    Owner owner(events);
    const auto outcome = CommandRunner::shellCommands().runCommandAtPath(kShell, {"-c", "echo $$; exit 7"}, &owner);
    EXPECT_EQ(outcome.result, 7);
    EXPECT_EQ(std::to_string(outcome.processID) + "\n", owner.text());
}

TEST(ChildProcessTest, DescribesErrorsAsTheSystemDoes) {
    for (const int error : {EPERM, ENOENT, EACCES, ENOEXEC, E2BIG, ENOMEM, ETXTBSY, ELOOP}) {
        EXPECT_STREQ(childErrorDescription(error), std::strerror(error));
    }
    EXPECT_STREQ(childErrorDescription(99999), "Unknown error");
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
    EXPECT_EQ(runScript(kProbe + " session /bin/sh -c 'echo $$; exec sleep 100' & wait"), OVShellCommandCancelled);
    const pid_t grandchild = std::atoi(owner.text().c_str());
    ASSERT_GT(grandchild, 1);
    EXPECT_FALSE(isGone(grandchild));
    untracedCalls.kill(grandchild, SIGKILL);
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
        untracedCalls.kill(command.processID(), SIGKILL);
        ::waitpid(command.processID(), nullptr, 0);
    }
};

INSTANTIATE_TEST_SUITE_P(Starts, CancelFailureTest, ::testing::Values(Way::kSpawn, Way::kFork), nameOfWay);

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
        OVShellCommand each(calls);
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

TEST_P(ShellCommandTest, ChunkIsWhatOneReadBrought) {
    calls.scriptedReads = {std::string(3000, 'a'), std::string(2000, 'b'), std::nullopt, std::nullopt, ""};
    EXPECT_EQ(runScript("exit 0"), 0);
    EXPECT_EQ(owner.chunks, (Chunks{std::string(2048, 'a'), std::string(952, 'a'), std::string(2000, 'b')}));
}

TEST_P(ShellCommandTest, NothingIsReadBeyondTheChunkBeforeACancel) {
    calls.scriptedReads = {std::string(5000, 'a'), ""};
    owner.cancels = [](int question) { return question > 2; };
    calls.signalResult = 0;
    EXPECT_EQ(runScript("exit 0"), 0);
    EXPECT_EQ(owner.chunks, (Chunks{std::string(2048, 'a')}));
    EXPECT_EQ(calls.count("read"), 1);
    EXPECT_EQ(calls.scriptedReads.front()->size(), 5000U - 2048U);
}

TEST_P(ShellCommandTest, TheRestOfAReadWaitsForNothing) {
    constexpr int kBytes = 20000;
    owner.cancels = [this](int question) {
        for (int there = 0; question == 2 && there < kBytes;) {
            std::this_thread::sleep_for(1ms);
            ::ioctl(calls.readEnd, FIONREAD, &there);
        }
        return owner.text().size() == kBytes;
    };
    EXPECT_EQ(runScript("head -c 20000 /dev/zero; exec sleep 100"), OVShellCommandCancelled);
    EXPECT_EQ(owner.chunks.size(), 10U);
    EXPECT_EQ(calls.count("poll"), 0);
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
    Lines inner;
    owner.onChunk = [&] {
        Events own;
        TracedCalls ownCalls(own, GetParam());
        Owner ownOwner(own);
        OVShellCommand second(ownCalls);
        EXPECT_EQ(second.runCommandAtPath(kProbe, {"pipes"}, &ownOwner), 0);
        inner = linesOf(ownOwner.text());
    };
    EXPECT_EQ(runScript(kProbe + " pipes; sleep 0.2"), 0);
    const Lines outer = linesOf(owner.text());
    ASSERT_FALSE(outer.empty());
    EXPECT_FALSE(inner.empty());
    EXPECT_EQ(std::count(inner.begin(), inner.end(), outer[0]), 0) << outer[0];
}

// ---- The contract's loop as a model --------------------------------------------------------------------------

/// A child, its pipe and its owner on a clock of their own, which moves only while somebody waits or works, so that two
/// loops can be given the same run to the byte. All that matters is noted in `trace`.
class SimulatedRun final : public PosixSystemCalls, public OVShellCommandDelegate {
  public:
    explicit SimulatedRun(unsigned seed) : random_(seed) {
        capacity_ = pick(3) == 0 ? 4096 : 65536;
        exitCode_ = static_cast<int>(pick(256));
        for (unsigned count = pick(12); count > 0; --count) {
            const bool isLarge = pick(3) == 0;
            writes_.push_back({pick(2) == 0 ? 0 : pick(1500), 1 + pick(isLarge ? 200000 : 3000)});
        }
        for (unsigned count = pick(4); count > 0; --count) {
            interruptions_.insert(pick(4000));
        }
        cancelTime_ = pick(2) == 0 ? pick(3000) : ~0U;
        ownersTime_ = pick(2) == 0 ? 0 : 1 + pick(40);
        startWrite();
    }

    Events trace;

    int pipe(int* ends) override {
        ends[0] = kReadEnd;
        ends[1] = kWriteEnd;
        return 0;
    }
    int posix_spawn(pid_t* processID, const char* /*path*/, const posix_spawn_file_actions_t* /*actions*/,
                    const posix_spawnattr_t* /*attributes*/, char* const* /*arguments*/) override {
        *processID = kChild;
        return 0;
    }
    pid_t fork() override { return kChild; }
    int fcntl(int /*descriptor*/, int /*command*/, int /*argument*/) override { return 0; }
    int close(int /*descriptor*/) override { return 0; }
    int poll(pollfd* descriptors, nfds_t count, int milliseconds) override {
        EXPECT_EQ(descriptors->fd, kReadEnd);
        EXPECT_EQ(count, 1U);
        const unsigned deadline = now_ + static_cast<unsigned>(milliseconds);
        while (true) {
            work();
            if (!data_.empty() || hasEnded_) {
                return 1;
            }
            if (now_ == deadline) {
                return 0;
            }
            const auto interruption = interruptions_.upper_bound(now_);
            const unsigned signal = interruption == interruptions_.end() ? ~0U : *interruption;
            now_ = std::min({deadline, writeTime_, signal});
            if (now_ == signal) {
                errno = EINTR;
                return -1;
            }
        }
    }
    ssize_t read(int descriptor, void* buffer, std::size_t size) override {
        EXPECT_EQ(descriptor, kReadEnd);
        work();
        if (data_.empty() && !hasEnded_) {
            errno = EAGAIN;
            return -1;
        }
        const std::size_t count = std::min(size, data_.size());
        std::memcpy(buffer, data_.data(), count);
        data_.erase(0, count);
        work();
        return static_cast<ssize_t>(count);
    }
    pid_t getpgid(pid_t processID) override { return processID; }
    int killpg(pid_t group, int signal) override {
        trace.push_back("killpg " + std::to_string(group) + " " + std::to_string(signal) + " after " +
                        std::to_string(written_) + " bytes");
        isKilled_ = !hasEnded_;
        return 0;
    }
    pid_t waitpid(pid_t processID, int* status, int /*options*/) override {
        EXPECT_EQ(processID, kChild);
        *status = isKilled_ ? SIGTERM : exitCode_ << 8;
        return processID;
    }

    void shellCommandHasOutputAvailable(std::optional<std::string_view> chunk) override {
        note("chunk " + std::string(chunk.value_or("<nil>")));
    }
    bool shellCommandShouldCancel() override {
        note("ask");
        return now_ >= cancelTime_;
    }

  private:
    static constexpr int kReadEnd = 60;
    static constexpr int kWriteEnd = 61;
    static constexpr pid_t kChild = 54321;

    struct Write {
        unsigned delay;
        std::size_t size;
    };

    unsigned pick(unsigned bound) { return static_cast<unsigned>(random_() % bound); }

    void note(const std::string& event) {
        trace.push_back(std::to_string(now_) + " " + event);
        now_ += ownersTime_;
    }

    void startWrite() {
        hasEnded_ = writes_.empty();
        writeTime_ = hasEnded_ ? ~0U : now_ + writes_.front().delay;
    }

    /// The child, up to now: it stands still only while the pipe is full.
    void work() {
        while (!hasEnded_ && writeTime_ <= now_) {
            std::size_t& left = writes_.front().size;
            while (left > 0 && data_.size() < capacity_) {
                const std::size_t place = written_ % kText.size();
                const std::size_t count = std::min({left, capacity_ - data_.size(), kText.size() - place});
                data_.append(kText, place, count);
                written_ += count;
                left -= count;
            }
            if (left > 0) {
                return;
            }
            writes_.pop_front();
            startWrite();
        }
    }

    const std::string kText = "a line of text, gr\u00FCn \u20AC \U0001F600\n";
    std::minstd_rand random_;
    std::size_t capacity_ = 0;
    std::deque<Write> writes_;
    std::set<unsigned> interruptions_;
    unsigned cancelTime_ = 0;
    unsigned ownersTime_ = 0;
    int exitCode_ = 0;
    unsigned now_ = 0;
    unsigned writeTime_ = 0;
    std::size_t written_ = 0;
    std::string data_;
    bool hasEnded_ = false;
    bool isKilled_ = false;
};

/// A run step by step as the contract has it.
NSInteger runToTheLetter(SystemCalls& calls, OVShellCommandDelegate& delegate) {
    if (delegate.shellCommandShouldCancel()) {
        return OVShellCommandCancelled;
    }
    std::array<int, 2> ends = {};
    calls.pipe(ends.data());
    const pid_t child = calls.fork();
    pollfd record = {ends[0], POLLIN, 0};
    while (!delegate.shellCommandShouldCancel()) {
        calls.poll(&record, 1, 500);
        std::array<char, 2048> buffer = {};
        const ssize_t count = calls.read(ends[0], buffer.data(), buffer.size());
        if (count == 0) {
            break;
        }
        if (count > 0) {
            const std::string_view chunk(buffer.data(), static_cast<std::size_t>(count));
            delegate.shellCommandHasOutputAvailable(isValidUTF8(chunk) ? std::optional(chunk) : std::nullopt);
        }
    }
    if (delegate.shellCommandShouldCancel() && calls.killpg(calls.getpgid(child), SIGTERM) != 0) {
        return OVShellCommandCancelFailed;
    }
    int status = 0;
    calls.waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : OVShellCommandCancelled;
}

TEST(ShellCommandModelTest, EveryQuestionChunkAndCancelIsTheContracts) {
    int cancels = 0;
    int chunks = 0;
    for (unsigned seed = 1; seed <= 3000; ++seed) {
        SimulatedRun expected(seed);
        const NSInteger expectedResult = runToTheLetter(expected, expected);
        SimulatedRun actual(seed);
        const NSInteger result = OVShellCommand(actual).runCommandAtPath("/bin/child", {}, &actual);
        ASSERT_EQ(result, expectedResult) << seed;
        ASSERT_EQ(actual.trace, expected.trace) << seed;
        cancels += result == OVShellCommandCancelled ? 1 : 0;
        chunks += static_cast<int>(actual.trace.size());
    }
    EXPECT_GT(cancels, 300);
    EXPECT_GT(chunks, 30000);
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
    calls.fail("start", EAGAIN, 2);
    EXPECT_EQ(runScript("exit 0"), -1);
    EXPECT_EQ(command.processID(), -1);
    Events expected = {"ask", "pipe", "start", "close read end", "close write end"};
    if (GetParam() == Way::kSpawn) {
        expected.insert(expected.begin() + 2, "start");
    }
    EXPECT_EQ(events, expected);
    EXPECT_EQ(openDescriptors(), before);
}

TEST_P(ShellCommandTest, FailedStartLeavesTheDescriptorUntouched) {
    for (const char* call : {"pipe", "start"}) {
        std::int32_t descriptor = 4711;
        calls.fail(call, ENOMEM, 2);
        EXPECT_EQ(command.forkAndExecCommandAtPath("/usr/bin/true", {}, &descriptor), -1);
        EXPECT_EQ(descriptor, 4711);
    }
}

TEST(ChildProcessTest, SpawnThatFailsBecomesAFork) {
    for (const int error : {ENOSYS, EINVAL, EPERM, EAGAIN, ENOMEM, ENOENT, EBADF}) {
        Events events;
        TracedCalls calls(events, Way::kSpawn);
        Owner owner(events);
        calls.fail("start", error);
        OVShellCommand command(calls);
        EXPECT_EQ(command.runCommandAtPath("/bin/echo", {"started"}, &owner), 0);
        EXPECT_EQ(owner.text(), "started\n");
        EXPECT_EQ(calls.count("start"), 2);
        EXPECT_EQ(command.processID(), calls.forked);
        EXPECT_EQ(calls.childCalls(), "sigprocmask setsid close dup2:1 dup2:2 fcntl execv ");
    }
}

TEST(ChildProcessTest, OutputThatStandsWhereAStandardStreamShouldIsForked) {
    Events events;
    TracedCalls calls(events, Way::kSpawn);
    std::string name = "/usr/bin/true";
    const std::array<char*, 2> words = {name.data(), nullptr};
    EXPECT_EQ(spawnChild(calls, {name.c_str(), words.data(), 1, 1, 2}), -1);
    EXPECT_EQ(spawnChild(calls, {name.c_str(), words.data(), 2, 1, 2}), -1);
    EXPECT_EQ(calls.count("start"), 0);
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
        OVShellCommand each(calls);
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
    EXPECT_LE(calls.count("poll"), 4) << "half a second apart";
}

TEST_P(ShellCommandTest, BlockingReadEndIsAskedAboutTwiceASecondThoughPollFails) {
    calls.fail("setfl", EIO);
    calls.fail("poll", ENOMEM, 1000000);
    owner.cancels = [](int question) { return question > 4; };
    const auto start = Clock::now();
    EXPECT_EQ(runScript("echo x; exec sleep 20"), OVShellCommandCancelled);
    EXPECT_LT(Clock::now() - start, 4s) << "three waits";
    EXPECT_EQ(calls.count("poll"), 3);
    EXPECT_EQ(calls.count("read"), 0) << "which might never come back";
}

TEST_P(ShellCommandTest, BlockingReadEndIsReadOnlyWhenPollSaysSo) {
    calls.fail("setfl", EIO);
    calls.fail("poll", EINTR, 2);
    calls.fail("read", EIO, 2);
    EXPECT_EQ(runScript("echo a; sleep 0.7; echo b; exit 2"), 2);
    EXPECT_EQ(owner.text(), "a\nb\n");
    for (std::size_t index = 1; index < events.size(); ++index) {
        if (events[index] == "read") {
            EXPECT_EQ(events[index - 1], "poll") << index;
        }
    }
    EXPECT_EQ(log.messages.size(), 2U);
}

TEST_P(ShellCommandTest, InterruptedReadsAreNoFailure) {
    for (const int error : {EINTR, EAGAIN}) {
        OVShellCommand each(calls);
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
    owner.cancels = [](int question) { return question > 5; };
    const auto start = Clock::now();
    EXPECT_EQ(command.runCommandAtPath("/bin/sleep", {"100"}, &owner), OVShellCommandCancelled);
    EXPECT_GE(Clock::now() - start, 1500ms) << "half a second after each but the last";
    EXPECT_EQ(calls.count("poll"), 0) << "and nothing besides";
    EXPECT_EQ(log.messages.size(), 4U);
    EXPECT_EQ(owner.questions, 7);
}

TEST_P(ShellCommandTest, PauseAfterAReadErrorIsTheNextRoundsWaitAndNoOthers) {
    calls.fail("read", EIO);
    calls.scriptedReads = {std::nullopt, std::nullopt, "late", std::string(9 * 2048, 'x'), ""};
    const auto start = Clock::now();
    EXPECT_EQ(runScript("exit 0"), 0);
    EXPECT_GE(Clock::now() - start, 500ms);
    const Events expected = {"ask",  "read",                 // fails
                             "ask",  "read",                 // behind the pause: nothing yet
                             "ask",  "read", "poll", "read", // as ever
                             "chunk"};
    const auto first = std::find(events.begin(), events.end(), "setfl") + 1;
    ASSERT_GT(events.end() - first, static_cast<std::ptrdiff_t>(expected.size()));
    EXPECT_EQ(Events(first, first + static_cast<std::ptrdiff_t>(expected.size())), expected);
    EXPECT_EQ(owner.chunks.size(), 10U);
    EXPECT_EQ(log.messages.size(), 1U);
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
            OVShellCommand each(untracedCalls);
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
        OVShellCommand each(calls);
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
        runners.emplace_back([this, &good] {
            for (int round = 0; round < 40; ++round) {
                Events own;
                Owner ownOwner(own);
                OVShellCommand each(untracedCalls);
                // One that is executed, one that reports that it cannot be.
                good += each.runCommandAtPath("/bin/echo", {"x"}, &ownOwner) == 0 && ownOwner.text() == "x\n" ? 1 : 0;
                OVShellCommand missing(untracedCalls);
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
