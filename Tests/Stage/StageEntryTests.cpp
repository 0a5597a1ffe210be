// The tool's modes, end to end: as root, as a setuid run by an ordinary user, and as one without the bit.

#include "Tests/Stage/StageTest.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace orvane::stage {
namespace {

const Strings kNames = {
    "repairPermissions",
    "crondailyleo",
    "cronweeklyleo",
    "cronmonthlyleo",
    "cronallleo",
    "csc",
    "cauc",
    "vpf",
    "rpf",
    "repairVolume",
    "ejectVolume",
    "rebuildSpotlightIndex",
    "cleanArchivedLogs",
    "cleanAllLogs",
    "flushDNS",
    "whatisDatabase",
    "locateDatabase",
    "removeTemporary",
    "cleanFontCaches",
    "secureEraseFreeSpace",
    "killProcess",
    "feat",
    "secureEmptyTrash",
};

std::string ids(uid_t effective, uid_t real) {
    return "effective user id: " + std::to_string(effective) + ", actual user id: " + std::to_string(real) + "\n";
}

void removeBit() {
    ASSERT_EQ(::chmod(kTool, 0755), 0);
}

TEST(StageEntryTest, TheStageStartsWithTheToolInstalledByItself) {
    EXPECT_EQ(status(kTool).st_uid, kRoot);
    EXPECT_EQ(modeOf(kTool), 04555U);
}

TEST(StageEntryTest, WithoutAWordItLogsTheUserIDsWhateverItsPrivileges) {
    ORVANE_NEEDS("suid");
    const Result setuid = runTool(kAnn, {});
    EXPECT_EQ(setuid.exitCode(), 0);
    EXPECT_EQ(setuid.output, "");
    EXPECT_TRUE(setuid.errors.ends_with("] " + ids(0, kAnn))) << setuid.errors;

    const Result root = runTool(kRoot, {});
    EXPECT_EQ(root.exitCode(), 0);
    EXPECT_TRUE(root.errors.ends_with("] " + ids(0, 0))) << root.errors;

    removeBit();
    const Result plain = runTool(kAnn, {});
    EXPECT_EQ(plain.exitCode(), 0);
    EXPECT_EQ(plain.output, "");
    EXPECT_TRUE(plain.errors.ends_with("] " + ids(kAnn, kAnn))) << plain.errors;
}

TEST(StageEntryTest, ItLogsOneLineUnderItsOwnNameWhateverTheCallerCallsIt) {
    ORVANE_NEEDS("suid");
    Start start;
    start.argumentVector = Strings{"su\nfake"};
    const Result result = run(start);
    EXPECT_EQ(result.exitCode(), 0);
    EXPECT_EQ(lines(result.errors).size(), 1U);
    EXPECT_NE(result.errors.find(" OrvaneTool["), std::string::npos) << result.errors;
    EXPECT_EQ(result.errors.find("fake"), std::string::npos) << result.errors;
}

TEST(StageEntryTest, ItLogsOneLineWhateverTheExecutedFileAndItsFolderAreCalled) {
    ORVANE_NEEDS("suid");
    ORVANE_NEEDS("proc"); // which tells the path
    makeFolder("/Users/ann/a\nb", kAnn);
    Start start;
    start.path = "/Users/ann/a\nb/x\ny\x1B[2J";
    ASSERT_EQ(::link(kTool, start.path.c_str()), 0);
    for (const char* word : {"", "repairPriviliges"}) {
        start.words = *word != '\0' ? Strings{word} : Strings{};
        const Result result = run(start);
        EXPECT_EQ(result.exitCode(), 0);
        EXPECT_EQ(lines(result.errors).size(), 1U) << result.errors;
        EXPECT_NE(result.errors.find(R"( x\012y\033[2J[)"), std::string::npos) << result.errors;
    }
}

TEST(StageEntryTest, AnEmptyArgumentVectorDoesNoHarm) {
    ORVANE_NEEDS("suid");
    Start start;
    start.argumentVector = Strings{};
    const Result result = run(start);
    EXPECT_EQ(result.exitCode(), 0);
    EXPECT_NE(result.errors.find(ids(0, kAnn)), std::string::npos) << result.errors;
}

TEST(StageEntryTest, AnUnknownTaskRunsPrintsAndLogsNothing) {
    ORVANE_NEEDS("suid");
    recordShell();
    for (const char* name : {"nothing", "flushdns", "", " csc", "RepairPriviliges", "repairPriviligesNow",
                             "repairPrivilige", "surrenderPriviligesNow", "surrenderPrivilige"}) {
        for (const uid_t user : {kRoot, kAnn}) {
            const Result result = runTool(user, {name});
            EXPECT_EQ(result.exitCode(), 255) << name;
            EXPECT_EQ(result.output + result.errors, "") << name;
        }
    }
    EXPECT_TRUE(recorded().empty());
}

TEST(StageEntryTest, WithoutTheBitEveryTaskOfAnOrdinaryUserFailsBeforeAnyOutput) {
    ORVANE_NEEDS("users");
    removeBit();
    recordShell();
    ASSERT_EQ(kNames.size(), 23U);
    for (const std::string& name : kNames) {
        const Result result = runTool(kAnn, {name, "/Volumes/Data"});
        EXPECT_EQ(result.exitCode(), 1) << name;
        EXPECT_EQ(result.output, "") << name;
        EXPECT_TRUE(
            result.errors.ends_with("] Command-line tool: setuid failed (user id: 501, effective user id: 501)\n"))
            << result.errors;
    }
    EXPECT_TRUE(recorded().empty());
}

TEST(StageEntryTest, BecomesRootInAllThreeUserIDsForItsTask) {
    ORVANE_NEEDS("suid");
    recordShell();
    EXPECT_EQ(runTool(kAnn, {"csc"}).exitCode(), 0);
    ASSERT_EQ(recorded().size(), 1U);
    EXPECT_EQ(recorded()[0].userIDs, (Strings{"0", "0", "0"}));
}

TEST(StageEntryTest, ASpoiltWordEndsItWithAMessageAndNothingIsRun) {
    ORVANE_NEEDS("suid");
    recordShell();
    const std::vector<Strings> vectors = {{"c\xFFsc"}, {"csc", "\xC3"}, {"csc", "good", "\xED\xA0\x80"}};
    for (const Strings& words : vectors) {
        for (const uid_t user : {kRoot, kAnn}) {
            const Result result = runTool(user, words);
            EXPECT_EQ(result.exitCode(), 1);
            EXPECT_EQ(result.output, "");
            EXPECT_NE(result.errors.find("] Command-line tool: word " + std::to_string(words.size()) +
                                         " of the command line is not valid UTF-8, nothing was run\n"),
                      std::string::npos)
                << result.errors;
        }
    }
    EXPECT_TRUE(recorded().empty());
}

TEST(StageEntryTest, MessagesReachTheSystemLogToo) {
    ::unlink("/dev/log");
    const int log = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::string("/dev/log").copy(address.sun_path, sizeof address.sun_path);
    ASSERT_EQ(::bind(log, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(runTool(kRoot, {}).exitCode(), 0);
    std::string message(4096, '\0');
    const ssize_t length = ::recv(log, message.data(), message.size(), MSG_DONTWAIT);
    ASSERT_GT(length, 0);
    message.resize(static_cast<std::size_t>(length));
    EXPECT_NE(message.find("OrvaneTool["), std::string::npos) << message;
    EXPECT_NE(message.find("]: effective user id: 0, actual user id: 0"), std::string::npos) << message;
    ::close(log);
}

TEST(StageRepairTest, InstallMakesTheRunningExecutableSetuidRoot) {
    ASSERT_EQ(::chown(kTool, kAnn, kStaff), 0);
    ASSERT_EQ(::chmod(kTool, 0500), 0);
    const Result result = runTool(kRoot, {"repairPriviliges"});
    EXPECT_EQ(result.exitCode(), 0);
    EXPECT_EQ(result.output, "");
    EXPECT_TRUE(result.errors.ends_with(
        "] Command-line tool: runMain: repairing priviliges for /usr/local/libexec/OrvaneTool\n"))
        << result.errors;
    EXPECT_EQ(status(kTool).st_uid, kRoot);
    EXPECT_EQ(status(kTool).st_gid, kStaff) << "the group is left as it is";
    EXPECT_EQ(modeOf(kTool), 04555U);
}

TEST(StageRepairTest, InstallOnAnInstalledToolLeavesItUnchanged) {
    ORVANE_NEEDS("suid");
    ORVANE_NEEDS("proc"); // where the kernel tells which file is executed
    for (const uid_t user : {kRoot, kAnn}) {
        EXPECT_EQ(runTool(user, {"repairPriviliges"}).exitCode(), 0);
        EXPECT_EQ(status(kTool).st_uid, kRoot);
        EXPECT_EQ(modeOf(kTool), 04555U);
    }
}

TEST(StageRepairTest, InstallByAUserWhoCannotBecomeRootLeavesTheFileUntouched) {
    ORVANE_NEEDS("users");
    removeBit();
    const Result result = runTool(kAnn, {"repairPriviliges"});
    EXPECT_EQ(result.exitCode(), EPERM);
    const Strings errors = lines(result.errors);
    ASSERT_EQ(errors.size(), 3U) << result.errors;
    EXPECT_TRUE(errors[1].ends_with("] OrvaneTool: error 1 switching to priviliged uid")) << errors[1];
    EXPECT_TRUE(errors[2].ends_with("] Command-line tool: runMain: error 1 repairing priviliges")) << errors[2];
    EXPECT_EQ(modeOf(kTool), 0755U);
    EXPECT_EQ(status(kTool).st_uid, kRoot);
}

TEST(StageRepairTest, SurrenderTakesTheBitAndEveryRightOfOthersAndHandsTheFileToTheUser) {
    ORVANE_NEEDS("suid");
    ORVANE_NEEDS("proc"); // where the kernel tells which file is executed
    const gid_t group = status(kTool).st_gid;
    const Result result = runTool(kAnn, {"surrenderPriviliges"});
    EXPECT_EQ(result.exitCode(), 0);
    EXPECT_EQ(result.output, "");
    EXPECT_TRUE(
        result.errors.ends_with("] Command-line tool: surrendering priviliges for /usr/local/libexec/OrvaneTool\n"))
        << result.errors;
    EXPECT_EQ(status(kTool).st_uid, kAnn) << "the user who ran the tool, not root";
    EXPECT_EQ(status(kTool).st_gid, group);
    EXPECT_EQ(modeOf(kTool), 0500U);
    EXPECT_EQ(runTool(kBob, {"csc"}).exitCode(), 126) << "others may not even start it";
    EXPECT_EQ(runTool(kAnn, {"csc"}).exitCode(), 1);
    EXPECT_EQ(runTool(kRoot, {"repairPriviliges"}).exitCode(), 0);
    EXPECT_EQ(modeOf(kTool), 04555U);
}

TEST(StageRepairTest, SurrenderByAUserWhoCannotBecomeRootLeavesTheFileUntouched) {
    ORVANE_NEEDS("users");
    removeBit();
    const Result result = runTool(kAnn, {"surrenderPriviliges"});
    EXPECT_EQ(result.exitCode(), EPERM);
    const Strings errors = lines(result.errors);
    ASSERT_EQ(errors.size(), 3U) << result.errors;
    EXPECT_TRUE(errors[1].ends_with("] OrvaneTool: error switching to euid 0")) << errors[1];
    EXPECT_TRUE(errors[2].ends_with("] Command-line tool: error 1 surrendering priviliges")) << errors[2];
    EXPECT_EQ(modeOf(kTool), 0755U);
}

TEST(StageRepairTest, FurtherWordsBehindAModeWordAreIgnored) {
    ORVANE_NEEDS("suid");
    ORVANE_NEEDS("proc"); // where the kernel tells which file is executed
    recordShell();
    EXPECT_EQ(runTool(kAnn, {"repairPriviliges", "csc", "\xFF"}).exitCode(), 0);
    EXPECT_EQ(modeOf(kTool), 04555U);
    EXPECT_EQ(runTool(kAnn, {"surrenderPriviliges", "repairPriviliges"}).exitCode(), 0);
    EXPECT_EQ(modeOf(kTool), 0500U);
    EXPECT_TRUE(recorded().empty());
}

TEST(StageRepairTest, TheFirstWordOfTheCommandLineNeverNamesTheFileThatIsChanged) {
    ORVANE_NEEDS("suid");
    ORVANE_NEEDS("proc"); // where the kernel tells which file is executed
    write("/Users/ann/mine", "#!/bin/sh\n", kAnn, 0755);
    Start start;
    for (const char* mode : {"repairPriviliges", "surrenderPriviliges"}) {
        start.argumentVector = Strings{"/Users/ann/mine", mode};
        EXPECT_EQ(run(start).exitCode(), 0);
        EXPECT_EQ(modeOf("/Users/ann/mine"), 0755U);
        EXPECT_EQ(status("/Users/ann/mine").st_uid, kAnn);
    }
    EXPECT_EQ(modeOf(kTool), 0500U);
}

TEST(StageRepairTest, WhereTheExecutedFileCannotBeToldAPrivilegedStartChangesNothing) {
    ORVANE_NEEDS("suid");
    Start start;
    if (capability("proc") == "yes") {
        ORVANE_NEEDS("mount");
        start.asRoot = [] { // for the tool alone
            if (::unshare(CLONE_NEWNS) != 0 || ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
                ::umount2("/proc", MNT_DETACH) != 0) {
                ::_exit(99);
            }
        };
    }
    for (const char* mode : {"repairPriviliges", "surrenderPriviliges"}) {
        start.words = {mode};
        const Result result = run(start);
        EXPECT_EQ(result.signal(), SIGABRT);
        EXPECT_NE(result.errors.find("Assertion failed: (aPath != NULL)"), std::string::npos) << result.errors;
        EXPECT_EQ(modeOf(kTool), 04555U);
        EXPECT_EQ(status(kTool).st_uid, kRoot);
    }
    start.user = kRoot; // whom no name can mislead
    EXPECT_EQ(run(start).exitCode(), 0);
    EXPECT_EQ(modeOf(kTool), 0500U);
}

TEST(StageRepairTest, AFileSwappedIntoTheExecutablesPlaceIsNotMadeSetuidRoot) {
    ORVANE_NEEDS("suid");
    ORVANE_NEEDS("proc"); // where the kernel tells which file is executed
    // A hard link gives the tool a name in a folder of the caller's, who keeps exchanging it with a file of
    // his own.
    makeFolder("/Users/ann/trap", kAnn);
    ASSERT_EQ(::link(kTool, "/Users/ann/trap/tool"), 0);
    write("/Users/ann/trap/mine", read("/bin/echo"), kAnn, 0755);
    std::atomic<bool> done = false;
    std::thread swapper([&] {
        while (!done) {
            ::syscall(SYS_renameat2, AT_FDCWD, "/Users/ann/trap/tool", AT_FDCWD, "/Users/ann/trap/mine", 2U);
        }
    });
    int toolRuns = 0;
    Start start;
    start.path = "/Users/ann/trap/tool";
    start.words = {"repairPriviliges"};
    // On a slow machine fewer tries than on a quick one, but never too few.
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    for (int round = 0; round < 200 && (toolRuns <= 20 || std::chrono::steady_clock::now() < end); ++round) {
        toolRuns += run(start).errors.find("repairing priviliges") != std::string::npos ? 1 : 0;
    }
    done = true;
    swapper.join();
    EXPECT_GT(toolRuns, 20) << "else nothing was tried";
    const std::string trap = "/Users/ann/trap/";
    const ino_t toolFile = status(kTool).st_ino;
    const std::string mine = trap + (status(trap + "mine").st_ino == toolFile ? "tool" : "mine");
    EXPECT_EQ(status(mine).st_uid, kAnn);
    EXPECT_EQ(modeOf(mine), 0755U);
    EXPECT_EQ(modeOf(kTool), 04555U);
}

/// The tool, started by ann and held up in the middle by a standard error that nobody reads.
class Parked {
  public:
    explicit Parked(const char* mode) {
        EXPECT_EQ(::pipe2(ends_.data(), O_CLOEXEC), 0);
        ::fcntl(ends_[1], F_SETFL, O_NONBLOCK);
        const std::string filling(4096, 'x');
        while (::write(ends_[1], filling.data(), filling.size()) > 0) {
        }
        ::fcntl(ends_[1], F_SETFL, 0);
        Start start;
        start.words = {mode};
        start.beforeExec = [this] { ::dup2(ends_[1], STDERR_FILENO); };
        pid_ = launch(start);
        ::close(ends_[1]);
        const std::string process = "/proc/" + std::to_string(pid_);
        int waiting = 0;
        for (int tries = 0; tries < 1000 && waiting < 5; ++tries) {
            ::usleep(10000);
            const bool isTool = read(process + "/comm") == "OrvaneTool\n";
            waiting = isTool && read(process + "/wchan").find("pipe_w") != std::string::npos ? waiting + 1 : 0;
        }
        EXPECT_EQ(waiting, 5) << "it does not stand at the pipe: " << read(process + "/wchan");
    }

    Parked(const Parked&) = delete;
    Parked& operator=(const Parked&) = delete;
    ~Parked() { ::close(ends_[0]); }

    /// Lets it go; what it then wrote is in `errors`.
    int release() {
        std::array<char, 4096> buffer = {};
        ssize_t length = 0;
        while ((length = ::read(ends_[0], buffer.data(), buffer.size())) > 0) {
            errors.append(buffer.data(), static_cast<std::size_t>(length));
        }
        int waitStatus = 0;
        ::waitpid(pid_, &waitStatus, 0);
        return WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus) : -1;
    }

    std::string errors;

  private:
    std::array<int, 2> ends_ = {-1, -1};
    pid_t pid_ = -1;
};

class StageParkedTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ORVANE_NEEDS("suid");
        ORVANE_NEEDS("proc"); // where the kernel tells which file is executed, and since when
    }

    static void expectRefused(Parked& parked) {
        EXPECT_EQ(parked.release(), EAGAIN);
        EXPECT_NE(parked.errors.find("] OrvaneTool: the file has just been changed"), std::string::npos)
            << parked.errors.substr(parked.errors.find_first_not_of('x'));
    }
};

TEST_F(StageParkedTest, ARepairHeldUpWhileNothingChangedIsDone) {
    Parked parked("repairPriviliges");
    EXPECT_EQ(parked.release(), 0);
    EXPECT_EQ(modeOf(kTool), 04555U);
}

TEST_F(StageParkedTest, ABitThatAnAdministratorTookAwayMeanwhileStaysAway) {
    Parked parked("repairPriviliges");
    ASSERT_EQ(::chmod(kTool, 0755), 0);
    expectRefused(parked);
    EXPECT_EQ(modeOf(kTool), 0755U);
    EXPECT_EQ(status(kTool).st_uid, kRoot);
}

TEST_F(StageParkedTest, AGroupAloneMeanwhileStaysAlone) {
    Parked parked("repairPriviliges");
    ASSERT_EQ(::chmod(kTool, 04550), 0);
    expectRefused(parked);
    EXPECT_EQ(modeOf(kTool), 04550U);
}

TEST_F(StageParkedTest, WhatRootSurrenderedMeanwhileStaysSurrendered) {
    Parked parked("repairPriviliges");
    EXPECT_EQ(runTool(kRoot, {"surrenderPriviliges"}).exitCode(), 0);
    expectRefused(parked);
    EXPECT_EQ(modeOf(kTool), 0500U);
    EXPECT_EQ(status(kTool).st_uid, kRoot);
}

TEST_F(StageParkedTest, TheBitComesOnNothingThatTheCallerSurrenderedToHimselfMeanwhile) {
    Parked parked("repairPriviliges");
    EXPECT_EQ(runTool(kAnn, {"surrenderPriviliges"}).exitCode(), 0);
    EXPECT_EQ(status(kTool).st_uid, kAnn);
    expectRefused(parked);
    EXPECT_EQ(modeOf(kTool), 0500U);
    EXPECT_EQ(status(kTool).st_uid, kAnn);
}

TEST_F(StageParkedTest, ASurrenderHandsNothingOverThatRootTookBackMeanwhile) {
    Parked parked("surrenderPriviliges");
    ASSERT_EQ(::chmod(kTool, 0755), 0);
    expectRefused(parked);
    EXPECT_EQ(modeOf(kTool), 0755U);
    EXPECT_EQ(status(kTool).st_uid, kRoot);
}

/// ann is of the group.
void letTheGroupAlone() {
    ASSERT_EQ(::chown(kTool, kRoot, kStaff), 0);
    ASSERT_EQ(::chmod(kTool, 04550), 0);
}

TEST_F(StageParkedTest, AProcessStoppedBeforeItRanAnythingIsNoYoungerForIt) {
    Start start;
    start.words = {"repairPriviliges"};
    start.beforeExec = [] { ::raise(SIGSTOP); };
    const pid_t pid = launch(start);
    int waitStatus = 0;
    ASSERT_EQ(::waitpid(pid, &waitStatus, WUNTRACED), pid);
    ASSERT_TRUE(WIFSTOPPED(waitStatus));
    letTheGroupAlone();
    ::kill(pid, SIGCONT);
    ASSERT_EQ(::waitpid(pid, &waitStatus, 0), pid);
    EXPECT_EQ(WEXITSTATUS(waitStatus), EAGAIN);
    EXPECT_EQ(modeOf(kTool), 04550U);
}

/// As ann, who may or may not.
bool stops(pid_t pid) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(::setuid(kAnn) == 0 && ::kill(pid, SIGSTOP) == 0 ? 0 : 1);
    }
    int waitStatus = 0;
    ::waitpid(child, &waitStatus, 0);
    return WIFEXITED(waitStatus) && WEXITSTATUS(waitStatus) == 0;
}

TEST_F(StageParkedTest, StoppedAtAnyMomentItUndoesNothing) {
    int stopped = 0;
    for (int round = 0; round < 150; ++round) {
        ASSERT_EQ(::chmod(kTool, 04555), 0);
        Start start;
        start.words = {"repairPriviliges"};
        const pid_t pid = launch(start);
        ::usleep(static_cast<useconds_t>(round * 20));
        const bool isStopped = stops(pid);
        if (isStopped) {
            ASSERT_EQ(::chmod(kTool, 0755), 0);
            ++stopped;
        }
        ::kill(pid, SIGCONT);
        int waitStatus = 0;
        ASSERT_EQ(::waitpid(pid, &waitStatus, 0), pid);
        if (isStopped) {
            EXPECT_EQ(modeOf(kTool), 0755U) << round;
        }
    }
    EXPECT_GT(stopped, 20) << "else nothing was tried";
}

TEST_F(StageParkedTest, AnOlderGroupAloneIsUndoneByAMemberWhichIsWhyItIsNoRemedy) {
    letTheGroupAlone();
    ::usleep(50000);
    EXPECT_EQ(runTool(kAnn, {"repairPriviliges"}).exitCode(), 0);
    EXPECT_EQ(modeOf(kTool), 04555U);
}

/// As an application starts the tool with an administrator's authorization: root in effect, its user in truth.
Result runAuthorized(const char* mode) {
    Start start;
    start.user = kRoot;
    start.words = {mode};
    start.beforeExec = [] {
        if (::setresuid(kAnn, kRoot, kRoot) != 0) {
            ::_exit(125);
        }
    };
    return run(start);
}

TEST_F(StageParkedTest, AnAuthorizedFirstInstallOfAFileOfTheUsersIsDone) {
    ASSERT_EQ(::chown(kTool, kAnn, kStaff), 0);
    ASSERT_EQ(::chmod(kTool, 0700), 0);
    ::usleep(50000);
    const Result result = runAuthorized("repairPriviliges");
    EXPECT_EQ(result.exitCode(), 0) << result.errors;
    EXPECT_EQ(lines(result.errors).size(), 1U) << result.errors;
    EXPECT_EQ(status(kTool).st_uid, kRoot);
    EXPECT_EQ(status(kTool).st_gid, kStaff);
    EXPECT_EQ(modeOf(kTool), 04555U);
    EXPECT_EQ(runAuthorized("surrenderPriviliges").exitCode(), 0);
    EXPECT_EQ(status(kTool).st_uid, kAnn);
    EXPECT_EQ(modeOf(kTool), 0500U);
}

/// A process that leads a group of its own, root's, and waits.
class RootGroup {
  public:
    RootGroup() {
        Start start;
        start.user = kRoot;
        start.path = "/bin/sleep";
        start.words = {"600"};
        start.beforeExec = [] { ::setpgid(0, 0); };
        pid_ = launch(start);
        ::setpgid(pid_, pid_);
    }

    ~RootGroup() {
        if (pid_ > 0) {
            ::kill(pid_, SIGKILL);
            ::waitpid(pid_, nullptr, 0);
        }
    }

    RootGroup(const RootGroup&) = delete;
    RootGroup& operator=(const RootGroup&) = delete;

    [[nodiscard]] pid_t pid() const { return pid_; }

    /// The signal that has ended it, waited for a while; 0 when it still lives.
    int end() {
        for (int tries = 0; tries < 100; ++tries) {
            int waitStatus = 0;
            if (::waitpid(pid_, &waitStatus, WNOHANG) == pid_) {
                pid_ = -1;
                return WIFSIGNALED(waitStatus) ? WTERMSIG(waitStatus) : -1;
            }
            ::usleep(10000);
        }
        return 0;
    }

    [[nodiscard]] bool isAlive() const { return ::waitpid(pid_, nullptr, WNOHANG) == 0; }

  private:
    pid_t pid_ = -1;
};

TEST(StageKillProcessTest, AnOrdinaryUserInterruptsAGroupOfRoots) {
    ORVANE_NEEDS("suid");
    RootGroup group;
    const Result result = runTool(kAnn, {"killProcess " + std::to_string(group.pid())});
    EXPECT_EQ(result.exitCode(), 0);
    EXPECT_EQ(result.output + result.errors, "");
    EXPECT_EQ(group.end(), SIGINT);
}

TEST(StageKillProcessTest, ProcessZeroIsTheToolItself) {
    ORVANE_NEEDS("suid");
    RootGroup bystander;
    for (const char* name : {"killProcess 0", "killProcess", "killProcess4711", "killProcess x"}) {
        Start start;
        start.words = {name};
        start.beforeExec = [] { ::setpgid(0, 0); };
        EXPECT_EQ(run(start).signal(), SIGINT) << name;
    }
    EXPECT_TRUE(bystander.isAlive());
}

TEST(StageKillProcessTest, AProcessThatIsNotThereFails) {
    ORVANE_NEEDS("suid");
    pid_t gone = 0;
    {
        RootGroup group;
        gone = group.pid();
    }
    const Result result = runTool(kAnn, {"killProcess " + std::to_string(gone)});
    EXPECT_EQ(result.exitCode(), 255);
    EXPECT_EQ(result.output + result.errors, "");
}

/// Runs the body as process 1, leader of group 1, of a process namespace of its own; returns the body's exit code.
int asProcessOne(const std::function<int()>& body) {
    const pid_t outer = ::fork();
    if (outer == 0) {
        if (::unshare(CLONE_NEWPID) != 0) {
            ::_exit(99);
        }
        const pid_t first = ::fork();
        if (first == 0) {
            ::setsid();
            ::_exit(body());
        }
        int waitStatus = 0;
        ::waitpid(first, &waitStatus, 0);
        ::_exit(WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus) : 98);
    }
    int waitStatus = 0;
    ::waitpid(outer, &waitStatus, 0);
    return WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus) : -1;
}

TEST(StageKillProcessTest, ProcessGroupOneIsNotEverybody) {
    ORVANE_NEEDS("suid");
    ORVANE_NEEDS("mount"); // and with it namespaces: process 1 must not be the machine's
    const int outcome = asProcessOne([] {
        if (::getpid() != 1 || ::getpgid(1) != 1) {
            return 97;
        }
        RootGroup bystander;
        const int exitCode = runTool(kAnn, {"killProcess 1"}).exitCode();
        return bystander.isAlive() ? exitCode : 96;
    });
    EXPECT_EQ(outcome, 255);
}

} // namespace
} // namespace orvane::stage
