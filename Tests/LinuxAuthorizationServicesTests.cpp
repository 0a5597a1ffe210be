// Programs really run as root here, so most tests need to be root.

#include "Backends/Posix/PosixAuthorizationServices.h"

#include "Privileges/OVAuthorization.h"
#include "Tests/OpenDescriptors.h"
#include "Tests/TaskRunnerTestSupport.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace orvane {
namespace {

using test::contentsOf;
using test::exists;
using test::Folder;
using test::openDescriptors;
using Statuses = std::vector<std::int32_t>;

constexpr uid_t kNobody = 65534;

/// An argument vector of its own copies.
class Arguments {
  public:
    Arguments(std::initializer_list<const char*> texts) : texts_(texts.begin(), texts.end()) {
        for (std::string& text : texts_) {
            vector_.push_back(text.data());
        }
        vector_.push_back(nullptr);
    }
    char* const* get() { return vector_.data(); }

  private:
    std::vector<std::string> texts_;
    std::vector<char*> vector_;
};

/// Does the steps in a child and returns what they return; for what changes a whole process.
Statuses inChild(const std::function<Statuses()>& steps) {
    std::array<int, 2> ends = {};
    EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        const Statuses statuses = steps();
        const std::size_t size = statuses.size() * sizeof(std::int32_t);
        ::_exit(::write(ends[1], statuses.data(), size) == static_cast<ssize_t>(size) ? 0 : 1);
    }
    ::close(ends[1]);
    Statuses statuses;
    std::int32_t status = 0;
    while (::read(ends[0], &status, sizeof status) == static_cast<ssize_t>(sizeof status)) {
        statuses.push_back(status);
    }
    ::close(ends[0]);
    int end = 0;
    EXPECT_EQ(::waitpid(child, &end, 0), child);
    EXPECT_EQ(end, 0);
    return statuses;
}

bool becomeNobody() {
    return ::geteuid() != 0 ||
           (::setresgid(kNobody, kNobody, kNobody) == 0 && ::setresuid(kNobody, kNobody, kNobody) == 0);
}

bool hasChildren() {
    return ::waitpid(-1, nullptr, WNOHANG) >= 0 || errno != ECHILD;
}

class LinuxAuthorizationTest : public ::testing::Test {
  protected:
    Folder folder;

    /// A shell script; "$0.out" beside it is where it writes.
    std::string makeScript(const std::string& lines) {
        const std::string path = folder.makeFile("a tool", "#!/bin/sh\n" + lines + "\n");
        EXPECT_EQ(::chmod(path.c_str(), 0755), 0);
        return path;
    }
    [[nodiscard]] std::string output() const { return contentsOf(folder.at("a tool.out")); }
};

class RootAuthorizationTest : public LinuxAuthorizationTest {
  protected:
    void SetUp() override {
        if (::geteuid() != 0) {
            GTEST_SKIP() << "only root can run a program as root here";
        }
    }
};

TEST_F(RootAuthorizationTest, TheToolRunsAsRootAndHasEndedWhenTheRunReturns) {
    OVAuthorization authorization(makeScript("id -u >\"$0.out\""));
    Arguments none = {};
    EXPECT_EQ(authorization.runWithPriviliges(none.get()), 0);
    EXPECT_EQ(output(), "0\n");
    EXPECT_FALSE(hasChildren());
    EXPECT_EQ(authorization.deauthenticate(), 0);
}

TEST_F(RootAuthorizationTest, ItsArgumentsArriveOneByOneWithItsPathInFront) {
    const std::string tool = makeScript(R"(printf '<%s>' "$0" "$@" >"$0.out")");
    OVAuthorization authorization(tool);
    Arguments arguments = {"", "a b", "-rf", "\"q'$HOME`", "two\nlines", "\xC3\xA9"};
    EXPECT_EQ(authorization.runWithPriviliges(arguments.get()), 0);
    EXPECT_EQ(output(), "<" + tool + "><><a b><-rf><\"q'$HOME`><two\nlines><\xC3\xA9>");
}

TEST_F(RootAuthorizationTest, NoArgumentVectorIsAnEmptyOne) {
    OVAuthorization authorization(makeScript("echo $# >\"$0.out\""));
    EXPECT_EQ(authorization.runWithPriviliges(nullptr), 0);
    EXPECT_EQ(output(), "0\n");
}

TEST_F(RootAuthorizationTest, AOneShotRunOfAToolThatEndsWithAnErrorIsASuccess) {
    const std::string tool = makeScript("echo ran >\"$0.out\"; exit 3");
    EXPECT_EQ(OVAuthorization::runToolWithPriviliges(tool, nullptr), 0);
    EXPECT_EQ(output(), "ran\n");
    EXPECT_EQ(OVAuthorization::runToolWithPriviliges(makeScript("kill -KILL $$"), nullptr), 0);
    EXPECT_FALSE(hasChildren());
}

TEST_F(RootAuthorizationTest, WhatCannotBeExecutedIsReportedAndNoChildIsLeft) {
    testing::RecordingLog log;
    const std::string notExecutable = folder.makeFile("plain");
    for (const std::string& tool : {folder.at("missing"), notExecutable, folder.path, std::string()}) {
        const auto open = openDescriptors();
        EXPECT_EQ(OVAuthorization::runToolWithPriviliges(tool, nullptr), kAuthorizationToolExecuteFailure) << tool;
        EXPECT_FALSE(hasChildren()) << tool;
        EXPECT_EQ(openDescriptors(), open);
    }
    ASSERT_EQ(log.messages.size(), 4U);
    EXPECT_EQ(log.messages[0],
              "Authentication: runToolWithPriviliges: error -60031 running " + folder.at("missing") + ", will abort");
}

TEST_F(RootAuthorizationTest, AToolInAFormatThatTheSystemDoesNotKnowIsNotHandedToAShell) {
    const std::string tool = folder.makeFile("a tool", "echo ran >\"$0.out\"\n");
    EXPECT_EQ(::chmod(tool.c_str(), 0755), 0);
    OVAuthorization authorization(tool);
    EXPECT_EQ(authorization.runWithPriviliges(nullptr), kAuthorizationToolExecuteFailure);
    EXPECT_FALSE(exists(folder.at("a tool.out")));
}

TEST_F(RootAuthorizationTest, WithoutAToolPathThereIsNothingToRun) {
    OVAuthorization authorization(std::nullopt);
    EXPECT_EQ(authorization.runWithPriviliges(nullptr), kAuthorizationInvalidPointer);
    EXPECT_FALSE(hasChildren());
}

TEST_F(RootAuthorizationTest, AFreedObjectRunsNothing) {
    OVAuthorization authorization(makeScript("echo ran >\"$0.out\""));
    EXPECT_EQ(authorization.authenticate(), 0);
    EXPECT_EQ(authorization.deauthenticate(), 0);
    EXPECT_EQ(authorization.runWithPriviliges(nullptr), kAuthorizationInvalidRef);
    EXPECT_FALSE(exists(folder.at("a tool.out")));
}

TEST_F(RootAuthorizationTest, TheFileOperationsMakeCopyAndRemoveWhateverTheNamesHold) {
    OVAuthorization authorization("/nowhere");
    const std::string source = folder.makeFile("-source", "text");
    const std::string made = folder.at("new/a \"folder\"; $x");
    EXPECT_EQ(authorization.createDirectoryAtPath(made.c_str()), 0);
    EXPECT_EQ(authorization.copyWithPriviliges(source.c_str(), made.c_str()), 0);
    EXPECT_EQ(contentsOf(made + "/-source"), "text");
    EXPECT_EQ(authorization.removeWithPriviliges(folder.at("new").c_str()), 0);
    EXPECT_FALSE(exists(folder.at("new")));
    EXPECT_TRUE(exists(source));
    EXPECT_EQ(authorization.toolPath(), "/nowhere");
}

// Deliberate: it is `wait`, not a wait for the tool.
TEST_F(RootAuthorizationTest, TheWaitTakesAnyChildOfTheProcess) {
    OVAuthorization authorization("/bin/true");
    EXPECT_EQ(authorization.authenticate(), 0);
    EXPECT_EQ(authorization.deauthenticate(), 0);
    const pid_t other = ::fork();
    if (other == 0) {
        ::_exit(7);
    }
    EXPECT_EQ(authorization.runWithPriviliges(nullptr), kAuthorizationInvalidRef) << "and nothing started";
    EXPECT_EQ(::waitpid(other, nullptr, 0), -1) << "gone already";
    EXPECT_EQ(errno, ECHILD);
}

TEST_F(RootAuthorizationTest, BlockedSignalsAreNotBlockedInTheTool) {
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    ASSERT_EQ(::pthread_sigmask(SIG_BLOCK, &blocked, &before), 0);
    OVAuthorization authorization(makeScript("kill -TERM $$; echo survived >\"$0.out\""));
    EXPECT_EQ(authorization.runWithPriviliges(nullptr), 0);
    sigset_t after;
    ASSERT_EQ(::pthread_sigmask(SIG_SETMASK, &before, &after), 0);
    EXPECT_FALSE(exists(folder.at("a tool.out")));
    EXPECT_EQ(sigismember(&after, SIGTERM), 1) << "the caller's own mask stays";
}

TEST_F(RootAuthorizationTest, TheToolHasTheProcessesStandardOutput) {
    const std::string file = folder.makeFile("output");
    EXPECT_EQ(inChild([&] {
                  const int output = ::open(file.c_str(), O_WRONLY | O_CLOEXEC);
                  ::dup2(output, STDOUT_FILENO);
                  Arguments arguments = {"to", "standard output"};
                  return Statuses{OVAuthorization::runToolWithPriviliges("/bin/echo", arguments.get())};
              }),
              Statuses{0});
    EXPECT_EQ(contentsOf(file), "to standard output\n");
}

// As a setuid-root program is: the effective user id is what counts, and what the tool gets.
TEST_F(RootAuthorizationTest, AnEffectiveUserIdOfRootIsEnough) {
    const std::string file = folder.makeFile("output");
    EXPECT_EQ(inChild([&] {
                  const int output = ::open(file.c_str(), O_WRONLY | O_CLOEXEC);
                  ::dup2(output, STDOUT_FILENO);
                  Arguments arguments = {"-u"};
                  return Statuses{::setresuid(kNobody, 0, 0),
                                  OVAuthorization::runToolWithPriviliges("/usr/bin/id", arguments.get())};
              }),
              (Statuses{0, 0}));
    EXPECT_EQ(contentsOf(file), "0\n");
}

TEST_F(RootAuthorizationTest, RightsGivenUpAfterTheGrantRunNothing) {
    const std::string tool = makeScript("echo ran >\"$0.out\"");
    ASSERT_EQ(::chmod(folder.path.c_str(), 0777), 0);
    EXPECT_EQ(
        inChild([&] {
            OVAuthorization authorization(tool);
            return Statuses{authorization.authenticate(), ::seteuid(kNobody), authorization.runWithPriviliges(nullptr)};
        }),
        (Statuses{0, 0, kAuthorizationInteractionNotAllowed}));
    EXPECT_FALSE(exists(folder.at("a tool.out")));
}

TEST_F(LinuxAuthorizationTest, AnOrdinaryUserIsRefusedAndNothingIsRun) {
    testing::RecordingLog log;
    const std::string tool = makeScript("echo ran >\"$0.out\"");
    ASSERT_EQ(::chmod(folder.path.c_str(), 0777), 0);
    const std::string messages = folder.makeFile("messages");
    ASSERT_EQ(::chmod(messages.c_str(), 0666), 0);
    EXPECT_EQ(inChild([&] {
                  const bool isNobody = becomeNobody();
                  const std::int32_t status = OVAuthorization::runToolWithPriviliges(tool, nullptr);
                  const int file = ::open(messages.c_str(), O_WRONLY | O_CLOEXEC);
                  const std::string& message = log.messages.at(0);
                  const bool isWritten =
                      ::write(file, message.data(), message.size()) == static_cast<ssize_t>(message.size());
                  return Statuses{isNobody, status, isWritten};
              }),
              (Statuses{1, kAuthorizationInteractionNotAllowed, 1}));
    EXPECT_FALSE(exists(folder.at("a tool.out")));
    EXPECT_EQ(contentsOf(messages), "Authentication: runToolWithPriviliges: error -60007 authenticating, will abort");
}

TEST_F(LinuxAuthorizationTest, AnOrdinaryUserHasAReferenceButNoRightsAndNoRun) {
    const std::string tool = makeScript("echo ran >\"$0.out\"");
    ASSERT_EQ(::chmod(folder.path.c_str(), 0777), 0);
    EXPECT_EQ(inChild([&] {
                  AuthorizationServices& services = AuthorizationServices::platform();
                  AuthorizationReference reference = nullptr;
                  const AuthorizationItem right = {.name = "system.privilege.admin"};
                  Statuses statuses = {becomeNobody()};
                  statuses.push_back(services.create(3, &reference));
                  statuses.push_back(services.copyRights(reference, right, 3));
                  statuses.push_back(services.executeWithPrivileges(reference, tool.c_str(), 0, nullptr));
                  statuses.push_back(services.free(reference, 8));
                  return statuses;
              }),
              (Statuses{1, 0, kAuthorizationInteractionNotAllowed, kAuthorizationInteractionNotAllowed, 0}));
    EXPECT_FALSE(exists(folder.at("a tool.out")));
}

TEST_F(LinuxAuthorizationTest, ANullReferenceIsInvalid) {
    AuthorizationServices& services = AuthorizationServices::platform();
    EXPECT_EQ(services.create(3, nullptr), kAuthorizationInvalidPointer);
    EXPECT_EQ(services.copyRights(nullptr, {.name = "system.privilege.admin"}, 3), kAuthorizationInvalidRef);
    EXPECT_EQ(services.executeWithPrivileges(nullptr, "/bin/true", 0, nullptr), kAuthorizationInvalidRef);
    EXPECT_EQ(services.free(nullptr, 8), kAuthorizationInvalidRef);
    EXPECT_FALSE(hasChildren());
}

TEST_F(LinuxAuthorizationTest, EveryReferenceIsItsOwn) {
    AuthorizationServices& services = AuthorizationServices::platform();
    AuthorizationReference first = nullptr;
    AuthorizationReference second = nullptr;
    EXPECT_EQ(services.create(3, &first), 0);
    EXPECT_EQ(services.create(3, &second), 0);
    EXPECT_NE(first, nullptr);
    EXPECT_NE(first, second);
    EXPECT_EQ(services.free(first, 8), 0);
    EXPECT_EQ(services.free(second, 8), 0);
}

// ---- The start itself, which needs no root to be tried

/// The real calls, but for what a test makes fail.
class FailingCalls final : public PosixSystemCalls {
  public:
    int pipe(int* ends) override {
        if (failsPipe) {
            errno = EMFILE;
            return -1;
        }
        return PosixSystemCalls::pipe(ends);
    }
    pid_t fork() override {
        if (failsFork) {
            errno = EAGAIN;
            return -1;
        }
        return PosixSystemCalls::fork();
    }
    ssize_t read(int descriptor, void* buffer, std::size_t size) override {
        if (interruptions > 0) {
            --interruptions;
            errno = EINTR;
            return -1;
        }
        return PosixSystemCalls::read(descriptor, buffer, size);
    }

    bool failsPipe = false;
    bool failsFork = false;
    int interruptions = 0;
};

class StartProgramTest : public LinuxAuthorizationTest {
  protected:
    void TearDown() override { EXPECT_EQ(openDescriptors(), open_); }

    FailingCalls calls;

  private:
    std::set<int> open_ = openDescriptors();
};

TEST_F(StartProgramTest, WithoutAPipeNothingIsStarted) {
    calls.failsPipe = true;
    EXPECT_EQ(startProgram("/bin/true", nullptr, calls), kAuthorizationToolExecuteFailure);
    EXPECT_FALSE(hasChildren());
}

TEST_F(StartProgramTest, WithoutAChildNothingIsStarted) {
    calls.failsFork = true;
    EXPECT_EQ(startProgram("/bin/true", nullptr, calls), kAuthorizationToolExecuteFailure);
    EXPECT_FALSE(hasChildren());
}

TEST_F(StartProgramTest, AnInterruptedReadIsRepeated) {
    calls.interruptions = 2;
    EXPECT_EQ(startProgram("/bin/true", nullptr, calls), 0);
    EXPECT_EQ(calls.interruptions, 0);
    int status = -1;
    EXPECT_GT(::waitpid(-1, &status, 0), 0);
    EXPECT_EQ(status, 0);
    calls.interruptions = 2;
    EXPECT_EQ(startProgram("/nowhere", nullptr, calls), kAuthorizationToolExecuteFailure);
    EXPECT_GT(::waitpid(-1, &status, 0), 0);
}

TEST_F(StartProgramTest, TellsWhetherTheProgramRuns) {
    int status = -1;
    EXPECT_EQ(startProgram("/bin/false", nullptr, calls), 0);
    EXPECT_GT(::waitpid(-1, &status, 0), 0);
    EXPECT_EQ(WEXITSTATUS(status), 1);
    EXPECT_EQ(startProgram("/nowhere", nullptr, calls), kAuthorizationToolExecuteFailure);
    EXPECT_GT(::waitpid(-1, &status, 0), 0) << "the child that could not is left to the caller";
    EXPECT_FALSE(hasChildren());
}

TEST_F(StartProgramTest, TheStartDoesNotWaitForTheEnd) {
    const std::string tool = makeScript("while [ ! -e \"$0.go\" ]; do sleep 0.02; done; exit 5");
    EXPECT_EQ(startProgram(tool.c_str(), nullptr, calls), 0);
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), 0) << "still running";
    folder.makeFile("a tool.go");
    int status = -1;
    EXPECT_GT(::waitpid(-1, &status, 0), 0);
    EXPECT_EQ(WEXITSTATUS(status), 5);
}

} // namespace
} // namespace orvane
