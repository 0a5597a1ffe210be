#include "Host/OVToolClient.h"

#include "Tests/Fakes/FakeAuthorizationServices.h"
#include "Tests/Fakes/FakeProcessTable.h"
#include "Tests/Fakes/FakeSystemCalls.h"
#include "Tests/ShellCommandTestSupport.h"
#include "Tests/TaskRunnerTestSupport.h"

#include <csignal>
#include <numeric>
#include <sstream>
#include <sys/wait.h>

namespace orvane {
namespace {

using test::FakeProcessTable;
using test::Folder;
using State = OVToolClient::State;
using Strings = std::vector<std::string>;

class FakeExecutable final : public Executable {
  public:
    std::optional<std::string> executablePath() override { return path; }
    int openExecutable() override { return -1; }

    std::optional<std::string> path = "/Applications/Some App.app/Contents/MacOS/Some App";
};

class FakeVolumes final : public Volumes {
  public:
    std::optional<std::uint32_t> mountFlagsAtPath(const char* /*path*/) override { return flags; }
    std::optional<std::vector<MountedFileSystem>> mountedFileSystems() override { return std::nullopt; }

    std::uint32_t flags = 0;
};

/// The files' state as it is told, by path; what is in them is real.
class FileCalls final : public PosixSystemCalls {
  public:
    int stat(const char* path, struct stat* status) override {
        const auto file = modes.find(path);
        if (file == modes.end()) {
            errno = ENOENT;
            return -1;
        }
        *status = {};
        status->st_mode = file->second;
        status->st_uid = owner;
        return 0;
    }
    int access(const char* /*path*/, int /*mode*/) override {
        errno = EACCES;
        return accessResult;
    }
    int open(const char* path, int flags, mode_t mode) override {
        const auto file = contents.find(path);
        return PosixSystemCalls::open(file != contents.end() ? file->second.c_str() : path, flags, mode);
    }

    std::map<std::string, mode_t> modes;
    std::map<std::string, std::string> contents; ///< the file that has what is read at a path
    uid_t owner = 0;
    int accessResult = 0;
};

class ToolStateTest : public ::testing::Test {
  protected:
    [[nodiscard]] State state(const char* newest = nullptr) { return OVToolClient(kTool, services).state(newest); }
    static constexpr mode_t kReady = S_IFREG | 04555;
    static constexpr const char* kTool = "/somewhere/OrvaneTool";

    test::Events events;
    FileCalls calls;
    FakeVolumes volumes;
    FakeProcessTable table{{std::nullopt}};
    test::FakeAuthorizationServices authorization{events};
    FakeExecutable executable;
    OVToolClient::Services services = {calls, volumes, table, authorization, executable};
};

TEST_F(ToolStateTest, SaysWhatKeepsAUserFromRunningTasks) {
    EXPECT_EQ(state(), State::missing);
    calls.modes[kTool] = S_IFDIR | 04555;
    EXPECT_EQ(state(), State::missing);
    calls.modes[kTool] = S_IFREG | 0555;
    EXPECT_EQ(state(), State::notSetUp);
    calls.modes[kTool] = kReady;
    EXPECT_EQ(state(), State::ready);
    calls.owner = 501;
    EXPECT_EQ(state(), State::notSetUp);
    calls.owner = 0;
    calls.accessResult = -1;
    EXPECT_EQ(state(), State::notSetUp);
    calls.accessResult = 0;
    volumes.flags = kMountNoSetUserID;
    EXPECT_EQ(state(), State::ignoredSetUID);
    volumes.flags = kMountLocal;
    EXPECT_EQ(state(), State::ready);
}

TEST_F(ToolStateTest, IsOlderWhereItsBytesAreOthersThanTheNewest) {
    const Folder folder;
    const std::string bytes(40000, 'x');
    const std::string tool = folder.makeFile("tool", bytes);
    calls.modes[tool] = kReady;
    const OVToolClient client(tool, services);
    EXPECT_EQ(client.state(folder.makeFile("same", bytes).c_str()), State::ready);
    EXPECT_EQ(client.state(tool.c_str()), State::ready);
    EXPECT_EQ(client.state(folder.makeFile("longer", bytes + "x").c_str()), State::older);
    EXPECT_EQ(client.state(folder.makeFile("shorter", bytes.substr(1)).c_str()), State::older);
    EXPECT_EQ(client.state(folder.makeFile("other", bytes.substr(1) + "y").c_str()), State::older);
    EXPECT_EQ(client.state(folder.makeFile("empty", "").c_str()), State::older);
    EXPECT_EQ(client.state(folder.at("missing").c_str()), State::ready) << "nothing is said against it";
    calls.modes[tool] = S_IFREG | 0555;
    EXPECT_EQ(client.state(folder.at("other").c_str()), State::notSetUp) << "the worse state counts";
}

TEST_F(ToolStateTest, IsLookedForBesideTheExecutableAndInTheSystemsPlaces) {
    EXPECT_EQ(OVToolClient::places(std::nullopt, executable),
              (Strings{"/Applications/Some App.app/Contents/MacOS/OrvaneTool",
                       "/Library/PrivilegedHelperTools/OrvaneTool", "/usr/local/libexec/OrvaneTool"}));
    EXPECT_EQ(OVToolClient::places("./given", executable), (Strings{"./given"}));
    executable.path = "/host";
    EXPECT_EQ(OVToolClient::places(std::nullopt, executable).front(), "/OrvaneTool");
    executable.path.reset();
    EXPECT_EQ(OVToolClient::places(std::nullopt, executable),
              (Strings{"/Library/PrivilegedHelperTools/OrvaneTool", "/usr/local/libexec/OrvaneTool"}));
}

TEST_F(ToolStateTest, FindsTheFirstThatIsReadyElseTheFirstElseTheLastPlace) {
    const auto found = [&] { return OVToolClient::find(std::nullopt, services).path(); };
    const Strings places = OVToolClient::places(std::nullopt, executable);
    EXPECT_EQ(found(), places[2]);
    calls.modes[places[1]] = S_IFREG | 0755;
    EXPECT_EQ(found(), places[1]);
    calls.modes[places[0]] = S_IFREG | 0755;
    EXPECT_EQ(found(), places[0]);
    calls.modes[places[2]] = kReady;
    EXPECT_EQ(found(), places[2]);
    calls.modes[places[1]] = kReady;
    EXPECT_EQ(found(), places[1]);
    EXPECT_EQ(OVToolClient::find("/given", services).path(), "/given");
}

TEST_F(ToolStateTest, WhatCameAlongLiesBesideTheExecutableOrInLibexec) {
    const auto along = [&] { return OVToolClient::broughtAlong(services); };
    executable.path = "/opt/own/bin/host";
    EXPECT_EQ(along(), std::nullopt);
    calls.modes["/opt/own/libexec/OrvaneTool"] = S_IFREG | 0755;
    EXPECT_EQ(along(), "/opt/own/libexec/OrvaneTool");
    calls.modes["/opt/own/bin/OrvaneTool"] = S_IFDIR | 0755;
    EXPECT_EQ(along(), "/opt/own/libexec/OrvaneTool");
    calls.modes["/opt/own/bin/OrvaneTool"] = S_IFREG | 0755;
    EXPECT_EQ(along(), "/opt/own/bin/OrvaneTool");
    executable.path = "/host";
    calls.modes["/OrvaneTool"] = S_IFREG | 0755;
    EXPECT_EQ(along(), "/OrvaneTool");
    executable.path.reset();
    EXPECT_EQ(along(), std::nullopt);
}

TEST_F(ToolStateTest, FindsAnOlderOneOnlyWhereNoneIsReady) {
    const Folder folder;
    const Strings places = OVToolClient::places(std::nullopt, executable);
    calls.contents = {{places[0], folder.makeFile("new", "new")},
                      {places[1], folder.makeFile("old", "old")},
                      {places[2], folder.at("new")}};
    calls.modes = {{places[0], S_IFREG | 0755}, {places[1], kReady}};
    const auto found = [&] { return OVToolClient::find(std::nullopt, services).path(); };
    EXPECT_EQ(found(), places[1]) << "older is better than not set up";
    calls.modes[places[2]] = kReady;
    EXPECT_EQ(found(), places[2]);
    calls.contents[places[2]] = folder.at("old");
    EXPECT_EQ(found(), places[1]) << "the first of two";
}

TEST_F(ToolStateTest, TellsCommandsForAShell) {
    const auto commands = [&](const char* path) {
        const OVToolClient client(path, services);
        return Strings{client.setUpCommand(), client.surrenderCommand()};
    };
    EXPECT_EQ(commands("/usr/local/libexec/OrvaneTool"),
              (Strings{"sudo /usr/local/libexec/OrvaneTool repairPriviliges",
                       "sudo /usr/local/libexec/OrvaneTool surrenderPriviliges"}));
    EXPECT_EQ(commands("/It's a \"$HOME\"/OrvaneTool")[0], R"(sudo '/It'\''s a "$HOME"/OrvaneTool' repairPriviliges)");
    EXPECT_EQ(OVToolClient(kTool, services).replaceCommand("/My Apps/OrvaneTool"),
              "sudo /somewhere/OrvaneTool surrenderPriviliges && "
              "sudo /usr/bin/install -o root -m 4555 '/My Apps/OrvaneTool' /somewhere/OrvaneTool");
    EXPECT_EQ(commands("OrvaneTool")[0], "sudo ./OrvaneTool repairPriviliges");
    EXPECT_EQ(commands("-n/OrvaneTool")[0], "sudo ./-n/OrvaneTool repairPriviliges");
}

TEST_F(ToolStateTest, IsSetUpAndSurrenderedByAnAuthorizationForItsPath) {
    OVToolClient client(kTool, services);
    EXPECT_EQ(client.setUp(), 0);
    EXPECT_EQ(client.surrender(), 0);
    const std::string all = std::accumulate(events.begin(), events.end(), std::string());
    EXPECT_NE(all.find(", /somewhere/OrvaneTool, 0, [repairPriviliges])"), std::string::npos) << all;
    EXPECT_NE(all.find(", /somewhere/OrvaneTool, 0, [surrenderPriviliges])"), std::string::npos) << all;
    EXPECT_NE(all.find("system.privilege.admin=/somewhere/OrvaneTool"), std::string::npos) << all;
    events.clear();
    EXPECT_EQ(client.replace("-new/tool"), 0);
    Strings runs;
    std::copy_if(events.begin(), events.end(), std::back_inserter(runs),
                 [](const std::string& event) { return event.starts_with("execute"); });
    ASSERT_EQ(runs.size(), 2U);
    EXPECT_TRUE(runs[0].ends_with(", /somewhere/OrvaneTool, 0, [surrenderPriviliges])")) << runs[0];
    EXPECT_TRUE(
        runs[1].ends_with(", /usr/bin/install, 0, [-o], [root], [-m], [4555], [./-new/tool], [/somewhere/OrvaneTool])"))
        << runs[1];
    authorization.copyRightsStatus = kAuthorizationCanceled;
    const RecordingLog log;
    events.clear();
    EXPECT_EQ(client.replace("/new"), kAuthorizationCanceled);
    EXPECT_EQ(std::count_if(events.begin(), events.end(),
                            [](const std::string& event) { return event.starts_with("copyRights"); }),
              1)
        << "asked on after a no";
    EXPECT_EQ(client.setUp(), kAuthorizationCanceled);
    EXPECT_EQ(client.surrender(), kAuthorizationCanceled);
}

// ---- Runs -----------------------------------------------------------------------------------------------------

/// The system's calls, some of which fail; signals are the caller's to send only where it may.
class ClientCalls final : public StartingCalls {
  public:
    ClientCalls() : StartingCalls(Way::kSpawn) {}

    void fail(const std::string& name, int error, int count = 1) { failures_[name] = {error, count}; }

    int access(const char* path, int mode) override {
        return failing("access") ? -1 : StartingCalls::access(path, mode);
    }
    int pipe(int* ends) override { return failing("pipe") ? -1 : StartingCalls::pipe(ends); }
    int posix_spawn(pid_t* processID, const char* path, const posix_spawn_file_actions_t* actions,
                    const posix_spawnattr_t* attributes, char* const* arguments) override {
        ++starts;
        return failing("start") ? EAGAIN : StartingCalls::posix_spawn(processID, path, actions, attributes, arguments);
    }
    pid_t fork() override { return failing("fork") ? -1 : StartingCalls::fork(); }
    int poll(pollfd* descriptors, nfds_t count, int milliseconds) override {
        ++polls;
        if (isEndless) {
            return 1;
        }
        return failing("poll") ? -1 : StartingCalls::poll(descriptors, count, milliseconds);
    }
    ssize_t read(int descriptor, void* buffer, std::size_t size) override {
        if (isEndless) {
            return static_cast<ssize_t>(size);
        }
        return failing("read") ? -1 : StartingCalls::read(descriptor, buffer, size);
    }
    pid_t waitpid(pid_t processID, int* status, int options) override {
        return failing("waitpid") ? -1 : StartingCalls::waitpid(processID, status, options);
    }
    int killpg(pid_t group, int signal) override {
        EXPECT_EQ(signal, SIGINT);
        EXPECT_NE(group, ::getpgrp());
        EXPECT_GT(group, 1);
        signalled.push_back(group);
        return failing("killpg") ? -1 : StartingCalls::killpg(group, signal);
    }

    std::vector<pid_t> signalled;
    int starts = 0;
    int polls = 0;
    bool isEndless = false; ///< the output

  private:
    struct Failure {
        int error = 0;
        int count = 0;
    };

    bool failing(const char* name) {
        const auto failure = failures_.find(name);
        if (failure == failures_.end() || failure->second.count == 0) {
            return false;
        }
        --failure->second.count;
        errno = failure->second.error;
        return true;
    }

    std::map<std::string, Failure> failures_;
};

constexpr int kAlways = 1'000'000;

class HostOwner final : public OVToolClientDelegate {
  public:
    void toolHasOutputAvailable(std::string_view bytes) override { output.append(bytes); }
    bool toolShouldCancel() override {
        EXPECT_FALSE(hasCancelled) << "asked again after a yes";
        hasCancelled = cancels(++questions);
        return hasCancelled;
    }
    void toolIsRunning(std::string_view program) override { programs.emplace_back(program); }

    std::function<bool(int)> cancels = [](int) { return false; };
    std::string output;
    int questions = 0;
    bool hasCancelled = false;
    Strings programs;
};

/// The tool is a script.
class ToolRunTest : public ::testing::Test {
  protected:
    void SetUp() override {
        // What started the test may ignore it, and so would the tool's commands.
        std::signal(SIGINT, SIG_DFL);
        descriptors_ = openDescriptors();
    }
    void TearDown() override {
        EXPECT_EQ(openDescriptors(), descriptors_);
        EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "a child is left";
        EXPECT_EQ(errno, ECHILD);
    }

    /// The script can be told to interrupt a process's group, as the tool can.
    std::string tool(const std::string& line) {
        const std::string path = folder.makeFile(
            "tool",
            "#!/bin/bash\n[[ $1 != 'killProcess '* ]] || exec /bin/kill -INT -- -$(($(ps -o pgid= -p ${1#* })))\n"
            "export session='" ORVANE_CHILD_PROBE " session /usr/bin/env'\n" +
                line + "\n");
        EXPECT_EQ(::chmod(path.c_str(), 0755), 0);
        return path;
    }

    OVToolClient::Result run(const std::string& line, const std::optional<std::string>& argument = std::nullopt,
                             std::chrono::milliseconds patience = 2s) {
        client = std::make_unique<OVToolClient>(tool(line), services);
        return client->run("task", argument, &owner, patience);
    }

    /// Cancels as soon as the output holds the text.
    void cancelAt(const std::string& text) {
        owner.cancels = [this, text](int) { return owner.output.find(text) != std::string::npos; };
    }

    /// The process whose number the output begins with, or ends with.
    [[nodiscard]] pid_t number() const { return std::stoi(owner.output); }
    [[nodiscard]] static bool lives(pid_t process) { return ::kill(process, 0) == 0; }

    test::Events events;
    Folder folder;
    ClientCalls calls;
    HostOwner owner;
    FakeVolumes volumes;
    test::FakeAuthorizationServices authorization{events};
    FakeExecutable executable;
    OVToolClient::Services services = {calls, volumes, ProcessTable::platform(), authorization, executable};
    std::unique_ptr<OVToolClient> client;

  private:
    std::set<int> descriptors_;
};

TEST_F(ToolRunTest, GivesTheOutputAsItIsAndTheStatus) {
    const auto result = run("printf 'out\\377\\0'; printf err >&2; exit 3");
    EXPECT_EQ(owner.output, std::string("out\377\0err", 8));
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(WEXITSTATUS(result.waitStatus), 3);
    EXPECT_EQ(result.error, 0);
    EXPECT_FALSE(result.cancelled);
    EXPECT_TRUE(result.leftRunning.empty());
}

TEST_F(ToolRunTest, ALotOfOutputIsAllThereAndAsksAfterEachPiece) {
    run("head -c 1000000 /dev/zero");
    EXPECT_EQ(owner.output.size(), 1000000U);
    EXPECT_GT(owner.questions, 1000000 / 16384);
}

TEST_F(ToolRunTest, ASignalThatEndedTheToolIs128AndItsNumber) {
    const auto result = run("kill -KILL $$");
    EXPECT_EQ(result.status, 128 + SIGKILL);
    EXPECT_EQ(WTERMSIG(result.waitStatus), SIGKILL);
    EXPECT_FALSE(result.cancelled);
}

TEST_F(ToolRunTest, TheArgumentIsAWordOfItsOwnButTheNumberOfKillProcess) {
    run("printf '[%s]' \"$@\"", "a  b");
    EXPECT_EQ(owner.output, "[task][a  b]");
    owner.output.clear();
    const std::string path = folder.makeFile("words", "#!/bin/bash\nprintf '[%s]' \"$@\"\n");
    ::chmod(path.c_str(), 0755);
    OVToolClient(path, services).run("killProcess", "4711", &owner);
    EXPECT_EQ(owner.output, "[killProcess 4711]");
    owner.output.clear();
    OVToolClient(path, services).run("killProcess", std::nullopt, &owner);
    EXPECT_EQ(owner.output, "[killProcess]");
}

TEST_F(ToolRunTest, WithoutADelegateItRunsToItsEnd) {
    EXPECT_EQ(OVToolClient(tool("echo nobody listens; exit 4"), services).run("task", std::nullopt, nullptr).status, 4);
}

TEST_F(ToolRunTest, LeadsASessionOfItsOwn) {
    run("exec " ORVANE_CHILD_PROBE " ids");
    int process = 0;
    int group = 0;
    int session = 0;
    ASSERT_EQ(
        std::sscanf(owner.output.c_str(), "process %d, parent %*d, group %d, session %d", &process, &group, &session),
        3)
        << owner.output;
    EXPECT_EQ(group, process);
    EXPECT_EQ(session, process);
}

TEST_F(ToolRunTest, WhatCannotBeStartedSaysWhy) {
    const auto missing = OVToolClient(folder.at("missing"), services).run("task", std::nullopt, &owner);
    EXPECT_EQ(missing.status, -1);
    EXPECT_EQ(missing.error, ENOENT);
    EXPECT_EQ(calls.starts, 0);
    calls.fail("pipe", EMFILE);
    EXPECT_EQ(run("exit 0").error, EMFILE);
    calls.fail("start", EAGAIN);
    calls.fail("fork", EAGAIN);
    const auto failed = run("exit 0");
    EXPECT_EQ(failed.error, EAGAIN);
    EXPECT_EQ(failed.status, -1);
    calls.fail("start", EAGAIN);
    EXPECT_EQ(run("exit 5").status, 5) << "forked instead";
    EXPECT_EQ(owner.output, "");
}

TEST_F(ToolRunTest, InterruptedCallsAreMadeAgain) {
    calls.fail("waitpid", EINTR, 3);
    calls.fail("poll", EINTR, 3);
    calls.fail("read", EINTR);
    const auto result = run("echo text; exit 6");
    EXPECT_EQ(result.status, 6);
    EXPECT_EQ(owner.output, "text\n");
}

TEST_F(ToolRunTest, AnOutputThatCannotBeReadIsTriedAgainInTheNextRound) {
    for (const char* name : {"read", "poll"}) {
        owner.output.clear();
        calls.fail(name, EIO, 2);
        const auto result = run("echo text; exit 6");
        EXPECT_EQ(result.status, 6) << name;
        EXPECT_EQ(owner.output, "text\n") << name;
    }
}

TEST_F(ToolRunTest, AnOutputThatCanNeverBeReadKeepsNoProcessorBusy) {
    calls.fail("poll", EIO, kAlways);
    const auto result = run("sleep 0.5; exit 6");
    EXPECT_EQ(result.status, 6);
    EXPECT_LT(calls.polls, 60);
}

TEST_F(ToolRunTest, AStatusThatSomebodyElseTookIsSaidToBeUnknown) {
    calls.fail("waitpid", ECHILD);
    const auto result = run("exit 0");
    EXPECT_EQ(result.status, -1);
    EXPECT_EQ(result.error, ECHILD);
    ::waitpid(-1, nullptr, 0);
}

TEST_F(ToolRunTest, AToolThatClosesItsOutputIsWaitedForWithoutABusyLoop) {
    int questions = 0;
    owner.cancels = [&](int number) {
        questions = number;
        return false;
    };
    // The program has the pipe under a third number, too.
    const auto result =
        run("for number in {3..63}; do eval \"exec $number>&-\"; done; exec >&- 2>&-; sleep 0.7; exit 7");
    EXPECT_EQ(result.status, 7);
    EXPECT_GE(result.duration, 700ms);
    EXPECT_LT(questions, 60);
}

TEST_F(ToolRunTest, WhatOutlivesTheToolIsListenedToForHalfASecond) {
    const auto result = run("(sleep 0.2; echo late; exec sleep 30) & exit 8");
    EXPECT_EQ(result.status, 8);
    EXPECT_EQ(owner.output, "late\n");
    EXPECT_GE(result.duration, 500ms);
    EXPECT_LT(result.duration, 20s) << "it was waited for";
    EXPECT_FALSE(result.cancelled);
}

TEST_F(ToolRunTest, WhatOutlivesTheToolAndWritesForEverIsListenedToNoLonger) {
    calls.isEndless = true;
    const auto result = OVToolClient(tool("exit 8"), services).run("task", std::nullopt, nullptr);
    EXPECT_EQ(result.status, 8);
    EXPECT_GE(result.duration, 500ms);
}

TEST_F(ToolRunTest, TellsWhatRunsWhenThereIsNoOutput) {
    // On a busy machine the script itself may be seen before its program is there, or behind it.
    const auto result = run("exec 2>/dev/null; sleep 1");
    const auto isSleep = [](const std::string& program) { return program == "sleep"; };
    EXPECT_GE(std::count_if(owner.programs.begin(), owner.programs.end(), isSleep), 3);
    EXPECT_TRUE(std::all_of(owner.programs.begin(), owner.programs.end(), [&](const std::string& program) {
        return isSleep(program) || program == "tool" || program == "bash";
    })) << ::testing::PrintToString(owner.programs);
    EXPECT_LE(owner.programs.size(), static_cast<std::size_t>(result.duration / 100ms));
    FakeProcessTable silent({std::nullopt});
    OVToolClient::Services without = {calls, volumes, silent, authorization, executable};
    owner.programs.clear();
    EXPECT_EQ(OVToolClient(tool("sleep 0.3"), without).run("task", std::nullopt, &owner).status, 0);
    EXPECT_EQ(std::count(owner.programs.begin(), owner.programs.end(), ""),
              static_cast<std::ptrdiff_t>(owner.programs.size()));
    EXPECT_GE(owner.programs.size(), 1U);
}

// ---- Cancels -------------------------------------------------------------------------------------------------

class ToolCancelTest : public ToolRunTest {
  protected:
    /// So many children of the test's own are left. They end, and nobody has asked for their status yet.
    static void endChildren(std::size_t count) {
        std::vector<pid_t> children;
        const auto processes = ProcessTable::platform().processes();
        for (const ProcessRecord& process : processes.value()) {
            if (process.parent == ::getpid()) {
                children.push_back(process.processID);
            }
        }
        EXPECT_EQ(children.size(), count);
        for (const pid_t child : children) {
            ::kill(child, SIGKILL);
            siginfo_t info = {};
            EXPECT_EQ(::waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT), 0);
        }
    }
};

TEST_F(ToolCancelTest, ACancelBeforeTheStartStartsNothing) {
    owner.cancels = [](int) { return true; };
    const auto result = run("touch " + folder.at("started"));
    EXPECT_TRUE(result.cancelled);
    EXPECT_EQ(result.status, -1);
    EXPECT_EQ(result.error, ECANCELED);
    EXPECT_FALSE(test::exists(folder.at("started")));
}

TEST_F(ToolCancelTest, ACancelEndsCommandsInSessionsOfTheirOwnAndThenTheTool) {
    cancelAt("\n");
    const auto result = run("trap 'echo tidied' EXIT\n$session bash -c 'echo $$; sleep 60; echo late'\nexit 2");
    EXPECT_TRUE(result.cancelled);
    EXPECT_EQ(result.status, 2) << "the tool's own";
    EXPECT_FALSE(lives(number()));
    EXPECT_NE(owner.output.find("tidied"), std::string::npos) << owner.output;
    EXPECT_EQ(owner.output.find("late"), std::string::npos) << owner.output;
    EXPECT_TRUE(result.leftRunning.empty());
    EXPECT_EQ(std::count(calls.signalled.begin(), calls.signalled.end(), number()), 1);
    EXPECT_EQ(calls.signalled.size(), 1U) << "the tool was left to itself";
}

TEST_F(ToolCancelTest, AToolWithoutACommandIsInterruptedAfterTwoRounds) {
    cancelAt("\n");
    const auto result = run("echo; while :; do :; done");
    EXPECT_EQ(result.status, 128 + SIGINT);
    EXPECT_EQ(calls.signalled.size(), 1U);
    EXPECT_GE(result.duration, 200ms);
}

TEST_F(ToolCancelTest, DeeperGroupsAreInterruptedFirst) {
    cancelAt("deep\n");
    run("$session bash -c 'trap \"exit 2\" INT; echo $$; $session bash -c \"echo \\$\\$; echo deep; sleep "
        "60\"; "
        "sleep 60'");
    std::istringstream numbers(owner.output);
    pid_t outer = 0;
    pid_t inner = 0;
    numbers >> outer >> inner;
    ASSERT_GE(calls.signalled.size(), 2U);
    EXPECT_EQ(calls.signalled[0], inner);
    EXPECT_EQ(calls.signalled[1], outer);
    EXPECT_FALSE(lives(inner));
    EXPECT_FALSE(lives(outer));
}

TEST_F(ToolCancelTest, WhatOutlivesTheToolIsInterruptedAgainUntilItEnds) {
    cancelAt("\n");
    const auto result = run("env --default-signal=INT $session bash -c 'trap \"((++count > 2)) && exit\" INT; echo $$; "
                            "while :; do sleep 0.01; "
                            "done' &\nsleep 60");
    EXPECT_TRUE(result.leftRunning.empty());
    EXPECT_GE(std::count(calls.signalled.begin(), calls.signalled.end(), number()), 2);
    EXPECT_EQ(result.status, 128 + SIGINT);
}

TEST_F(ToolCancelTest, WhereTheCallerMayNotTheToolInterrupts) {
    cancelAt("\n");
    calls.fail("killpg", EPERM, kAlways);
    const auto result = run("$session bash -c 'echo $$; sleep 60'\nexit 2");
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(calls.starts, 2) << "the task and one killProcess";
    EXPECT_FALSE(lives(number()));
}

TEST_F(ToolCancelTest, AToolThatCouldNotBeStartedToInterruptIsStartedInTheNextRound) {
    cancelAt("\n");
    calls.fail("killpg", EPERM, kAlways);
    owner.cancels = [this](int) {
        if (owner.output.empty()) {
            return false;
        }
        calls.fail("pipe", EMFILE);
        return true;
    };
    const auto result = run("$session bash -c 'echo $$; sleep 60'\nexit 2");
    EXPECT_EQ(result.status, 2);
    EXPECT_TRUE(result.leftRunning.empty());
}

TEST_F(ToolCancelTest, ASignalThatReachedOnlyAPartIsFollowedByTheTools) {
    cancelAt("\n");
    // Said to be sent, but nothing came of it.
    struct Deaf final : PosixSystemCalls {
        int killpg(pid_t /*group*/, int /*signal*/) override { return 0; }
    } deaf;
    OVToolClient::Services partly = {deaf, volumes, ProcessTable::platform(), authorization, executable};
    const auto result =
        OVToolClient(tool("$session bash -c 'echo $$; sleep 60'\nexit 2"), partly).run("task", std::nullopt, &owner);
    EXPECT_EQ(result.status, 2);
    EXPECT_FALSE(lives(number()));
}

TEST_F(ToolCancelTest, WhatCannotBeReachedIsNamedWhenPatienceIsOver) {
    cancelAt("\n");
    calls.fail("killpg", EPERM, kAlways);
    // The tool cannot be started a second time.
    owner.cancels = [this](int) {
        if (owner.output.empty()) {
            return false;
        }
        calls.fail("pipe", EMFILE, kAlways);
        return true;
    };
    const auto result = run("$session bash -c 'echo $$; sleep 60'\nexit 2", std::nullopt, 400ms);
    EXPECT_TRUE(result.cancelled);
    EXPECT_EQ(result.status, -1);
    EXPECT_EQ(result.error, ETIMEDOUT);
    EXPECT_GE(result.duration, 400ms);
    EXPECT_LT(result.duration, 20s) << "it was waited for";
    Strings names;
    for (const ProcessRecord& process : result.leftRunning) {
        names.emplace_back(process.name);
    }
    EXPECT_NE(std::find(names.begin(), names.end(), "sleep"), names.end());
    calls.fail("killpg", 0, 0);
    calls.fail("pipe", 0, 0);
    for (const ProcessRecord& process : result.leftRunning) {
        ::kill(process.processID, SIGKILL);
    }
    endChildren(1);
    // The next run takes what has ended meanwhile.
    client->run("killProcess", "0", nullptr);
}

TEST_F(ToolCancelTest, AProgramThatIgnoresTheInterruptIsNamed) {
    cancelAt("\n");
    const auto result = run("$session bash -c 'trap \"\" INT; echo $$; exec sleep 60'\nexit 2", std::nullopt, 300ms);
    ASSERT_FALSE(result.leftRunning.empty());
    EXPECT_EQ(result.leftRunning.size(), 2U) << "the sleeper, and the tool that waits for it";
    EXPECT_GE(calls.signalled.size(), 2U) << "again each tenth of a second";
    for (const ProcessRecord& process : result.leftRunning) {
        ::kill(process.processID, SIGKILL);
    }
    while (::waitpid(-1, nullptr, 0) > 0) { // the tool, and one that was to interrupt when patience was over
    }
}

TEST_F(ToolCancelTest, AToolThatHangsWhenItShallInterruptIsNotWaitedForBeyondPatience) {
    cancelAt("\n");
    calls.fail("killpg", EPERM, kAlways);
    const std::string path =
        folder.makeFile("tool", "#!/bin/bash\n[[ $1 != end ]] || exit 0\necho $$; exec sleep 60\n");
    ::chmod(path.c_str(), 0755);
    OVToolClient hanging(path, services);
    const auto result = hanging.run("task", std::nullopt, &owner, 300ms);
    EXPECT_LT(result.duration, 20s) << "it was waited for";
    EXPECT_EQ(result.leftRunning.size(), 1U);
    endChildren(2);
    hanging.run("end", std::nullopt, nullptr); // takes the two that have ended
}

/// The tool as the table has it: a script that runs nothing else.
TEST_F(ToolCancelTest, AnIDThatIsAnothersNowIsNotInterrupted) {
    // A process of the test's that a foreign table shows as the task's, then as another's.
    const pid_t stranger = ::fork();
    if (stranger == 0) {
        ::setsid();
        ::sleep(60);
        ::_exit(0);
    }
    while (::getpgid(stranger) != stranger) {
        ::usleep(1000);
    }
    struct Table final : ProcessTable {
        std::optional<std::vector<ProcessRecord>> processes() override {
            const pid_t parent = ++looks == 1 ? tool() : 1;
            return std::vector{test::process(tool(), ::getpid(), tool()),
                               test::process(stranger, parent, stranger, looks == 1 ? 5 : 6)};
        }
        std::function<pid_t()> tool;
        pid_t stranger = 0;
        int looks = 0;
    } table;
    table.stranger = stranger;
    table.tool = [this] { return number(); };
    cancelAt("\n");
    OVToolClient::Services scripted = {calls, volumes, table, authorization, executable};
    const auto result = OVToolClient(tool("echo $$; exec sleep 60"), scripted).run("task", std::nullopt, &owner);
    EXPECT_EQ(result.status, 128 + SIGINT);
    EXPECT_EQ(calls.signalled, (std::vector<pid_t>{number()}));
    EXPECT_TRUE(lives(stranger));
    ::kill(stranger, SIGKILL);
    ::waitpid(stranger, nullptr, 0);
}

TEST_F(ToolCancelTest, AChildInTheCallersOwnGroupIsNeverSignalled) {
    // As if the kernel had refused it a session.
    struct Table final : ProcessTable {
        std::optional<std::vector<ProcessRecord>> processes() override {
            return std::vector{test::process(::getpid(), ::getppid(), ::getpgrp()),
                               test::process(tool(), ::getpid(), ::getpgrp())};
        }
        std::function<pid_t()> tool;
    } table;
    table.tool = [this] { return number(); };
    cancelAt("\n");
    OVToolClient::Services scripted = {calls, volumes, table, authorization, executable};
    const auto result = OVToolClient(tool("echo $$; exec sleep 1"), scripted).run("task", std::nullopt, &owner, 300ms);
    EXPECT_TRUE(calls.signalled.empty());
    EXPECT_EQ(calls.starts, 1);
    ASSERT_EQ(result.leftRunning.size(), 1U);
    EXPECT_EQ(result.leftRunning[0].processID, number());
    ::waitpid(number(), nullptr, 0);
}

TEST_F(ToolCancelTest, WithoutAProcessTableTheToolsOwnGroupIsInterrupted) {
    FakeProcessTable silent({std::nullopt});
    OVToolClient::Services without = {calls, volumes, silent, authorization, executable};
    cancelAt("\n");
    const auto result = OVToolClient(tool("echo $$; sleep 60; echo late"), without).run("task", std::nullopt, &owner);
    EXPECT_EQ(result.status, 128 + SIGINT);
    EXPECT_EQ(calls.signalled, (std::vector<pid_t>{number()}));
    EXPECT_EQ(owner.output.find("late"), std::string::npos);
}

} // namespace
} // namespace orvane
