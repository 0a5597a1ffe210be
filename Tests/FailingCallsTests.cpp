// Every system call of a task, of the tool's entry and of its set-up made to fail, one after the other: the first one
// of a run, the second one, until a run has none left, each with every error that it may end with. After each: a status
// that the contract knows, no child, no open descriptor, no list, and never anything removed that was not to be.

#include "Backends/Posix/PosixSystemCalls.h"
#include "Helper Tool/OrvaneTool.h"
#include "Helper Tool/OwnExecutable.h"
#include "Helpers/NSFileManager+SUIDRoot.h"
#include "Host/OVToolClient.h"
#include "Privileges/OVAuthorization.h"
#include "Support/OVFile.h"
#include "Support/OVText.h"
#include "Tests/Fakes/FakeAuthorizationServices.h"
#include "Tests/Fakes/FakeHome.h"
#include "Tests/OpenDescriptors.h"
#include "Tests/TaskRunnerTestSupport.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <iterator>
#include <new>
#include <sys/mman.h>
#include <sys/wait.h>

namespace orvane::test {
namespace {

/// Not an error: the call does a part of its work.
constexpr int kShort = -1;

/// The errors that are tried with a call: all that a system under strain gives, but for calls that know fewer, or whose
/// failure costs the run half a second.
std::vector<int> plausibleErrors(std::string_view call) {
    if (call == "read" || call == "write") {
        return {EINTR, EAGAIN, EIO, ENOSPC, kShort};
    }
    if (call == "poll") {
        return {EINTR, ENOMEM};
    }
    if (call == "waitpid" || call == "dup2") {
        return {EINTR};
    }
    if (call == "kill" || call == "killpg" || call == "getpgid") {
        return {EPERM, ESRCH};
    }
    return {EINTR, EAGAIN, EIO, ENOSPC, EMFILE, EPERM, ENOMEM};
}

/// What a run and its forked children tell the test.
struct Told {
    std::atomic<bool> reached = false;   ///< there is such a call
    std::atomic<bool> exhausted = false; ///< and every error of its was tried
    std::atomic<int> error = 0;
    char call[16] = {};
};

/// The real calls, but for one of them; changes of users and owners are only noted.
class FailingCalls final : public PosixSystemCalls {
  public:
    /// The call of that number fails, in the test's process or in each child that it forks.
    FailingCalls(Told& told, bool inChildren, std::size_t number, std::size_t variant)
        : told_(told), inChildren_(inChildren), number_(number), variant_(variant) {}

    bool spawns = true; ///< whether `posix_spawn` can do it at all
    uid_t user = 501;
    std::vector<int> systemResults;

    uid_t getuid() override { return user; }
    uid_t geteuid() override { return 0; }
    int setuid(uid_t /*userID*/) override { return pretend("setuid"); }
    int seteuid(uid_t userID) override {
        const int result = pretend("seteuid");
        // The way back from root is one that the system does not refuse, and that the tool does not go without.
        return userID == user && result != 0 ? (forgive(), 0) : result;
    }
    int setreuid(uid_t realUserID, uid_t /*effectiveUserID*/) override {
        const int result = pretend("setreuid");
        return realUserID == user && result != 0 ? (forgive(), 0) : result;
    }
    int chown(const char*, uid_t, gid_t) override { return pretend("chown"); }
    int chmod(const char*, mode_t) override { return pretend("chmod"); }
    int fchown(int, uid_t, gid_t) override { return pretend("fchown"); }
    int fchmod(int, mode_t) override { return pretend("fchmod"); }
    int stat(const char* path, struct stat* status) override {
        return due("stat") ? -1 : PosixSystemCalls::stat(path, status);
    }
    int lstat(const char* path, struct stat* status) override {
        return due("lstat") ? -1 : PosixSystemCalls::lstat(path, status);
    }
    int fstat(int descriptor, struct stat* status) override {
        return due("fstat") ? -1 : PosixSystemCalls::fstat(descriptor, status);
    }
    int pipe(int* ends) override { return due("pipe") ? -1 : PosixSystemCalls::pipe(ends); }
    int fcntl(int descriptor, int command, int argument) override {
        return due("fcntl") ? -1 : PosixSystemCalls::fcntl(descriptor, command, argument);
    }
    int poll(pollfd* descriptors, nfds_t count, int milliseconds) override {
        return due("poll") ? -1 : PosixSystemCalls::poll(descriptors, count, milliseconds);
    }
    ssize_t read(int descriptor, void* buffer, std::size_t size) override {
        if (due("read")) {
            return told_.error == kShort ? PosixSystemCalls::read(descriptor, buffer, 1) : -1;
        }
        return PosixSystemCalls::read(descriptor, buffer, size);
    }
    ssize_t write(int descriptor, const void* buffer, std::size_t size) override {
        if (due("write")) {
            return told_.error == kShort ? PosixSystemCalls::write(descriptor, buffer, (size + 1) / 2) : -1;
        }
        return PosixSystemCalls::write(descriptor, buffer, size);
    }
    int dup2(int descriptor, int number) override {
        return due("dup2") ? -1 : PosixSystemCalls::dup2(descriptor, number);
    }
    int close(int descriptor) override {
        const bool fails = due("close");
        const int result = PosixSystemCalls::close(descriptor); // a failing one closes all the same
        errno = fails ? told_.error.load() : errno;
        return fails ? -1 : result;
    }
    pid_t fork() override {
        if (due("fork")) {
            return -1;
        }
        const pid_t child = PosixSystemCalls::fork();
        if (child == 0) {
            isChild_ = true;
            count_ = 0;
        }
        return child;
    }
    int posix_spawn(pid_t* processID, const char* path, const posix_spawn_file_actions_t* actions,
                    const posix_spawnattr_t* attributes, char* const* arguments) override {
        if (!spawns || due("posix_spawn")) {
            return spawns ? told_.error.load() : ENOSYS;
        }
        return PosixSystemCalls::posix_spawn(processID, path, actions, attributes, arguments);
    }
    pid_t setsid() override { return due("setsid") ? -1 : PosixSystemCalls::setsid(); }
    int execv(const char* path, char* const* arguments) override {
        return due("execv") ? -1 : PosixSystemCalls::execv(path, arguments);
    }
    pid_t waitpid(pid_t processID, int* status, int options) override {
        return due("waitpid") ? -1 : PosixSystemCalls::waitpid(processID, status, options);
    }
    pid_t getpgid(pid_t processID) override { return due("getpgid") ? -1 : PosixSystemCalls::getpgid(processID); }
    int kill(pid_t processID, int signal) override {
        return due("kill") ? -1 : PosixSystemCalls::kill(processID, signal);
    }
    int killpg(pid_t group, int signal) override {
        return due("killpg") ? -1 : PosixSystemCalls::killpg(group, signal);
    }
    int system(const char* /*line*/) override { return due("system") ? -1 : 0; }
    int access(const char* path, int mode) override {
        return due("access") ? -1 : PosixSystemCalls::access(path, mode);
    }
    int open(const char* path, int flags, mode_t mode) override {
        return due("open") ? -1 : PosixSystemCalls::open(path, flags, mode);
    }
    int fsync(int descriptor) override { return due("fsync") ? -1 : PosixSystemCalls::fsync(descriptor); }
    int rename(const char* from, const char* to) override {
        return due("rename") ? -1 : PosixSystemCalls::rename(from, to);
    }
    int unlink(const char* path) override { return due("unlink") ? -1 : PosixSystemCalls::unlink(path); }
    int mkdir(const char* path, mode_t mode) override {
        return due("mkdir") ? -1 : PosixSystemCalls::mkdir(path, mode);
    }

  private:
    bool due(std::string_view name) {
        if (isChild_ != inChildren_ || ++count_ != number_) {
            return false;
        }
        const std::vector<int> errors = plausibleErrors(name);
        told_.reached = true;
        name.copy(told_.call, sizeof told_.call - 1);
        if (variant_ >= errors.size()) {
            told_.exhausted = true;
            return false;
        }
        told_.error = errors[variant_];
        errno = told_.error;
        return true;
    }
    int pretend(std::string_view name) { return due(name) ? -1 : 0; }
    /// The call did its work after all.
    void forgive() { told_.error = 0; }

    Told& told_;
    bool inChildren_;
    bool isChild_ = false;
    std::size_t number_;
    std::size_t variant_;
    std::size_t count_ = 0;
};

/// Runs commands by the failing calls.
class FailingCommands final : public CommandRunner {
  public:
    explicit FailingCommands(SystemCalls& calls) : calls_(calls) {}
    bool standsIn = false; ///< a program that does nothing runs in place of each

    Outcome runCommandAtPath(const std::string& path, const std::vector<std::string>& arguments,
                             OVShellCommandDelegate* delegate) override {
        OVShellCommand command(calls_);
        const NSInteger result = command.runCommandAtPath(
            standsIn ? "/bin/sh" : path, standsIn ? std::vector<std::string>{"-c", "echo done"} : arguments, delegate);
        return {.result = result, .processID = command.processID()};
    }

  private:
    SystemCalls& calls_;
};

/// One run: what it works on, and what became of it.
struct Attempt {
    FailingCalls& calls;
    Folder& folder; ///< the run's own
    const Told& told;
    testing::RecordingLog& log;

    RecordingDelegate owner = {};
    Events events = {};
    FakeBundle bundle = {};
    FakeLocale locale = {};
    FakeFileManager fileManager{events};
    FakeWorkspace workspace{events};
    FakeAppleScript appleScript{events};
    FakeVolumes volumes = {};
    FakeClock clock{events};
    FakeProcessInfo processInfo{folder.path};
    FailingCommands commands{calls};

    OVTaskRunnerServices services() {
        OVTaskRunnerServices all{.calls = calls,
                                 .volumes = volumes,
                                 .appleScript = appleScript,
                                 .processInfo = processInfo,
                                 .commands = commands};
        all.bundle = &bundle;
        all.clock = &clock;
        all.locale = &locale;
        all.fileManager = &fileManager;
        all.workspace = &workspace;
        return all;
    }

    [[nodiscard]] bool failed(std::string_view call) const {
        return told.reached && !told.exhausted && told.error != 0 && call == told.call;
    }
    [[nodiscard]] bool failed() const { return told.reached && !told.exhausted && told.error != 0; }

    std::int32_t by(std::int32_t (*task)(Attempt& run, OVTaskRunner& runner)) {
        OVTaskRunner runner(services());
        runner.setDelegate(unowned<OVTaskDelegate>(owner));
        return task(*this, runner);
    }
};

void expectTaskStatus(const Attempt& run, std::int32_t status) {
    EXPECT_TRUE(status == kTaskSuccess || status == kTaskFailure || status == kTaskCancelled) << status;
    EXPECT_TRUE(run.failed() || status == kTaskSuccess) << status << ": nothing failed";
}

void runCommand(Attempt& run) {
    const std::int32_t status = run.by([](Attempt&, OVTaskRunner& runner) {
        return runner.runBashCommand("echo out; echo err >&2; exec 3>&-; exit 0");
    });
    expectTaskStatus(run, status);
    if (status == kTaskSuccess) {
        EXPECT_EQ(run.owner.output, "out\nerr\n");
    }
}

void runForkedCommand(Attempt& run) {
    run.calls.spawns = false;
    runCommand(run);
}

void runFailingCommand(Attempt& run) {
    const std::int32_t status = run.by([](Attempt&, OVTaskRunner& runner) { return runner.runBashCommand("exit 3"); });
    EXPECT_EQ(status, kTaskFailure);
}

void cancelCommand(Attempt& run) {
    run.owner.cancelsAfter = 3;
    const std::int32_t status =
        run.by([](Attempt&, OVTaskRunner& runner) { return runner.runBashCommand("echo here; exec sleep 60"); });
    EXPECT_TRUE(status == kTaskCancelled || (run.failed() && status == kTaskFailure)) << status;
    if (run.failed("killpg") || run.failed("getpgid")) {
        // Deliberately the child is left alone then: it is the owner's to see to.
        for (const std::string& message : run.log.messages) {
            const std::size_t mark = message.find("(pid: ");
            if (mark != std::string::npos) {
                const pid_t child = intValue(message.substr(mark + 6));
                ::kill(child, SIGKILL);
                EXPECT_EQ(::waitpid(child, nullptr, 0), child);
            }
        }
        EXPECT_FALSE(run.log.messages.empty());
    }
}

/// Each name begins with the ones of files that stay: a list that is cut anywhere names one of these.
void deleteList(Attempt& run) {
    const std::string inner = run.folder.makeFolder("items");
    const std::string name = "doomed file";
    std::vector<std::string> stays;
    for (std::size_t length = 1; length < name.size(); ++length) {
        if (name[length - 1] != ' ') {
            stays.push_back(run.folder.makeFile("items/" + name.substr(0, length)));
        }
    }
    std::vector<std::string> goes;
    for (const char* end : {"", " 1", " 2"}) {
        goes.push_back(run.folder.makeFile("items/" + name + end, "contents"));
    }
    static std::vector<std::string>* paths = nullptr;
    paths = &goes;
    const std::int32_t status =
        run.by([](Attempt&, OVTaskRunner& runner) { return runner.forceDeleteItemsAtPaths(*paths); });
    expectTaskStatus(run, status);
    for (const std::string& path : stays) {
        EXPECT_TRUE(exists(path)) << path;
    }
    const auto left = static_cast<std::size_t>(std::count_if(goes.begin(), goes.end(), exists));
    EXPECT_TRUE(left == 0 || left == goes.size()) << left << " are left";
    EXPECT_TRUE(left == 0 || status != kTaskSuccess);
    // The folder of the list stays deliberately; the list does not, unless that is what failed.
    for (const std::string& entry : namesIn(run.folder.path)) {
        if (entry != "items" && !run.failed("unlink")) {
            EXPECT_EQ(namesIn(run.folder.at(entry)), std::vector<std::string>()) << entry;
        }
    }
    if (status == kTaskFailure && run.failed() && !run.failed("pipe") && !run.failed("fork")) {
        EXPECT_FALSE(run.log.messages.empty() && run.owner.output.empty()) << "nobody says why";
    }
    if (run.failed("open") || run.failed("write") || run.failed("fsync") || run.failed("rename")) {
        // (Those of the list: a command has none of them but a forked child's report.)
        if (status == kTaskFailure) {
            ASSERT_EQ(run.log.messages.size(), 1U);
            EXPECT_NE(run.log.messages[0].find(errorDescription(run.told.error)), std::string::npos)
                << run.log.messages[0];
            EXPECT_EQ(left, goes.size()) << "rm was started without the whole list";
        }
    }
}

void cleanDesktop(Attempt& run) {
    const FakeHome home(run.folder.path);
    run.calls.user = FakeHome::kUser;
    run.folder.makeFolder("Desktop");
    run.folder.makeFile("Desktop/picture", "1");
    run.folder.makeFile("Desktop/.hidden", "2");
    run.owner.archive = run.folder.makeFolder("archive");
    const std::int32_t status = run.by([](Attempt&, OVTaskRunner& runner) { return runner.cleanDesktop(); });
    expectTaskStatus(run, status);
    // Moved or not moved, but there.
    const auto folders = namesIn(run.folder.at("archive"));
    const bool isMoved = !folders.empty() && exists(run.folder.at("archive/" + folders[0] + "/picture"));
    EXPECT_NE(isMoved, exists(run.folder.at("Desktop/picture")));
    EXPECT_TRUE(isMoved || status != kTaskSuccess);
    EXPECT_TRUE(exists(run.folder.at("Desktop/.hidden")));
    if (run.failed("mkdir") && status == kTaskFailure) {
        ASSERT_EQ(run.log.messages.size(), 1U);
        EXPECT_NE(run.log.messages[0].find(errorDescription(run.told.error)), std::string::npos);
    }
}

void findLargeFiles(Attempt& run) {
    run.bundle.resources["LargeFilesTemplate.savedSearch"] =
        run.folder.makeFile("template", "__SIZE_IN_BYTES__ in __PATH__ __SIZE_IN_MEGABYTES__");
    run.owner.size = 7;
    const std::int32_t status =
        run.by([](Attempt& here, OVTaskRunner& runner) { return runner.findLargeFilesInPath(here.folder.path); });
    expectTaskStatus(run, status);
    const auto names = namesIn(run.folder.path);
    if (status == kTaskSuccess) {
        ASSERT_EQ(names.size(), 2U);
        const std::string& saved = names[0] == "template" ? names[1] : names[0];
        EXPECT_EQ(contentsOf(run.folder.at(saved)), "7000000 in " + run.folder.path + " 7");
    } else {
        EXPECT_NE(run.owner.output.find(errorDescription(run.told.error)), std::string::npos) << run.owner.output;
        EXPECT_EQ(names, std::vector<std::string>{"template"}) << "a part of a search was left";
    }
}

void replaceFile(Attempt& run) {
    const std::string path = run.folder.makeFile("list", "old");
    const std::string whole(200000, 'n');
    std::int32_t error = 0;
    {
        OVAtomicFile file(path, 0600, run.calls);
        file.append(whole.substr(0, 100000));
        file.append(whole.substr(100000));
        error = file.commit();
    }
    const std::string now = contentsOf(path);
    EXPECT_EQ(now, error == 0 ? whole : "old") << error;
    EXPECT_TRUE(error == 0 || error == run.told.error) << error;
    EXPECT_EQ(namesIn(run.folder.path), std::vector<std::string>{"list"});
}

void readFile(Attempt& run) {
    const std::string text(10000, 'x');
    const OVTextFile file = OVTextFile::read(run.folder.makeFile("text", text), run.calls);
    EXPECT_TRUE(file.text ? *file.text == text : file.error == errorDescription(run.told.error)) << file.error;
}

void expectPrivilegeStatus(const Attempt& run, std::int32_t error) {
    EXPECT_EQ(error, run.failed() ? run.told.error.load() : 0);
    EXPECT_EQ(run.log.messages.empty(), error == 0) << run.told.call;
}

void installByPath(Attempt& run) {
    expectPrivilegeStatus(run, SUIDRoot::setSUIDRoot("/nowhere/tool", run.calls));
}

void surrenderByPath(Attempt& run) {
    expectPrivilegeStatus(run, SUIDRoot::surrenderSUIDRoot("/nowhere/tool", run.calls));
}

/// The running executable is a file of the test's, and old enough.
class OldExecutable final : public Executable, public Process {
  public:
    explicit OldExecutable(std::string path) : path_(std::move(path)) {}
    std::optional<std::string> executablePath() override { return path_; }
    int openExecutable() override { return openCloseOnExec(path_.c_str(), O_RDONLY); }
    std::uint64_t threadID() override { return 1; }
    std::optional<timespec> startTime() override { return timespec{std::time(nullptr) + 60, 0}; }
    bool closeDescriptorsFrom(int /*first*/) override { return true; }

  private:
    std::string path_;
};

template <std::int32_t (*change)(SUIDRoot::File&, SystemCalls&)> void changeItself(Attempt& run) {
    OldExecutable executable(run.folder.makeFile("tool"));
    OwnExecutable file(run.calls, executable, executable);
    const std::int32_t error = change(file, run.calls);
    EXPECT_TRUE(error == 0 || error == run.told.error || (run.failed("fstat") && error == EAGAIN)) << error;
    EXPECT_EQ(error == 0, !run.failed() || run.failed("close")) << "a file that was only read is closed all the same";
    EXPECT_EQ(run.log.messages.empty(), error == 0);
}

void runWithRights(Attempt& run) {
    FakeAuthorizationServices rights(run.events);
    char word[] = "repairPriviliges";
    char* const words[] = {word, nullptr};
    EXPECT_EQ(OVAuthorization::runToolWithPriviliges("/nowhere/tool", words, rights, run.calls), 0);
    EXPECT_EQ(rights.live, 0);
    EXPECT_TRUE(run.log.messages.empty());
}

/// All rows of the tool, one after the other.
void runRows(Attempt& run) {
    run.owner.cancels = true; // the tool has no owner who would; the rows with commands are runs of their own above
    OrvaneTool tool(run.services());
    for (const std::string_view name : OrvaneTool::taskNames()) {
        const auto input = OrvaneTool::inputOfTask(name);
        if (input == TaskInput::plain && name != "killProcess" && name != "repairPermissions" &&
            name != "repairVolume" && name != "ejectVolume") {
            const std::int32_t status = tool.runTask(name, {});
            EXPECT_TRUE(status == 0 || status == -1) << name << ": " << status;
        }
    }
}

void interruptGroup(Attempt& run) {
    // A process of the test's own, that leads a group.
    const pid_t child = ::fork();
    if (child == 0) {
        ::setpgid(0, 0);
        ::signal(SIGINT, SIG_DFL);
        ::pause();
        ::_exit(0);
    }
    ::setpgid(child, child);
    const std::int32_t status = OrvaneTool(run.services()).runTask("killProcess " + std::to_string(child), {});
    EXPECT_EQ(status, run.failed() ? -1 : 0);
    if (run.failed()) {
        ::kill(child, SIGKILL);
    }
    int waitStatus = 0;
    EXPECT_EQ(::waitpid(child, &waitStatus, 0), child);
    EXPECT_EQ(WTERMSIG(waitStatus), run.failed() ? SIGKILL : SIGINT);
}

/// A program that runs the tool, by the failing calls: the tool is a script, which can interrupt a group, too.
class Host final : public OVToolClientDelegate {
  public:
    Host(Attempt& run, const char* line)
        : client_(run.folder.makeFile("tool", std::string("#!/bin/bash\n[[ $1 != 'killProcess '* ]] || exec /bin/kill "
                                                          "-INT -- -$(($(ps -o pgid= -p ${1#* })))\n") +
                                                  line),
                  {.calls = run.calls, .volumes = run.volumes}) {
        ::chmod(client_.path().c_str(), 0755);
    }

    void toolHasOutputAvailable(std::string_view bytes) override { output.append(bytes); }
    bool toolShouldCancel() override { return cancels && !output.empty(); }

    OVToolClient::Result perform() { return client_.run("task", std::nullopt, this); }
    [[nodiscard]] OVToolClient::State state(const char* newest) const { return client_.state(newest); }
    [[nodiscard]] const std::string& path() const { return client_.path(); }

    bool cancels = false;
    std::string output;

  private:
    OVToolClient client_;
};

void runTool(Attempt& run) {
    Host host(run, "echo out; echo err >&2; exit 3");
    const OVToolClient::Result result = host.perform();
    EXPECT_FALSE(result.cancelled);
    EXPECT_TRUE(result.leftRunning.empty());
    if (result.error != 0) {
        EXPECT_EQ(result.error, run.told.error) << "it was not started";
        EXPECT_EQ(result.status, -1);
        EXPECT_EQ(host.output, "");
    } else if (result.status == 3) {
        EXPECT_EQ(host.output, "out\nerr\n");
    } else {
        EXPECT_TRUE(run.failed());
        EXPECT_NE(result.status, 0) << "what was not executed has not succeeded";
    }
}

void runForkedTool(Attempt& run) {
    run.calls.spawns = false;
    runTool(run);
}

void cancelTool(Attempt& run) {
    Host host(run, "echo here; exec sleep 60");
    host.cancels = true;
    const OVToolClient::Result result = host.perform();
    EXPECT_TRUE(result.leftRunning.empty());
    if (result.error == 0) {
        EXPECT_TRUE(result.cancelled);
        EXPECT_EQ(result.status, 128 + SIGINT) << "a signal that could not be sent was not repeated";
    } else {
        EXPECT_EQ(result.error, run.told.error) << "it was not started";
    }
}

void askForTheToolsState(Attempt& run) {
    using State = OVToolClient::State;
    const Host host(run, "");
    const std::string newest = run.folder.makeFile("newest", "another");
    ::chmod(host.path().c_str(), 04755);
    const State state = host.state(newest.c_str());
    if (::geteuid() != 0) {
        EXPECT_TRUE(state == State::notSetUp || (run.failed("stat") && state == State::missing));
    } else if (!run.failed()) {
        EXPECT_EQ(state, State::older);
    } else {
        EXPECT_TRUE(state != State::ignoredSetUID);
        EXPECT_TRUE(state == State::older || state != State::ready || run.failed("open") || run.failed("read"))
            << "nothing is said against a file that cannot be read, and for none else";
    }
}

/// A task of the catalogue, with a program that does nothing in place of its own.
template <auto task, auto... words> void runTask(Attempt& run) {
    const FakeHome home(run.folder.path);
    run.calls.user = FakeHome::kUser;
    run.commands.standsIn = true;
    run.volumes.mounted = {{.mountPoint = "/Volumes/Data", .owner = FakeHome::kUser}};
    run.owner.input = std::vector<std::string>{run.folder.makeFile("chosen")};
    const std::int32_t status = run.by([](Attempt&, OVTaskRunner& runner) { return (runner.*task)(*words...); });
    expectTaskStatus(run, status);
    if (status != kTaskSuccess && !run.failed("pipe") && !run.failed("fork")) {
        EXPECT_FALSE(run.log.messages.empty() && run.owner.output.empty()) << "nobody says why";
    }
}

using Runner = OVTaskRunner;
const std::string kVolume = "/Volumes/Data";
constexpr std::string_view kEveryBrowser = "ALL_BROWSERS";
constexpr std::string_view kPath = "/Volumes/Data";
const std::vector<std::string> kPaths = {"/Volumes/Data"};

struct Scenario {
    const char* name;
    void (*run)(Attempt& run);
};

void PrintTo(const Scenario& scenario, std::ostream* stream) {
    *stream << scenario.name;
}

class FailingCallsTest : public ::testing::TestWithParam<Scenario> {
  protected:
    FailingCallsTest()
        : told_(static_cast<Told*>(
              ::mmap(nullptr, sizeof(Told), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {}
    ~FailingCallsTest() override { ::munmap(told_, sizeof(Told)); }

    /// One run with the call of that number failing in that way.
    void runOnce(bool inChildren, std::size_t number, std::size_t variant) {
        new (told_) Told;
        Folder folder;
        const auto before = openDescriptors();
        testing::RecordingLog log;
        FailingCalls calls(*told_, inChildren, number, variant);
        Attempt run{calls, folder, *told_, log};
        GetParam().run(run);
        if (!run.failed("killpg") && !run.failed("getpgid")) { // a cancel that fails deliberately leaves the pipe
            EXPECT_EQ(openDescriptors(), before);
        } else {
            for (const int descriptor : openDescriptors()) {
                if (!before.contains(descriptor)) {
                    ::close(descriptor);
                }
            }
        }
        EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "a child was left";
        EXPECT_EQ(errno, ECHILD);
    }

    Told* told_;
};

TEST_P(FailingCallsTest, EndsInOrderWhicheverFails) {
    std::size_t injected = 0;
    std::size_t calls = 0;
    for (const bool inChildren : {false, true}) {
        for (std::size_t number = 1; number == 1 || told_->reached; ++number) {
            for (std::size_t variant = 0; variant == 0 || (told_->reached && !told_->exhausted); ++variant) {
                runOnce(inChildren, number, variant);
                if (HasFailure()) {
                    FAIL() << "call " << number << (inChildren ? " of a child, " : ", ") << told_->call << ", with "
                           << (told_->error > 0 ? std::strerror(told_->error) : "a part of the work");
                }
                injected += told_->reached && !told_->exhausted ? 1U : 0U;
            }
            calls += told_->reached ? 1U : 0U;
            ASSERT_LT(number, 1000U);
        }
    }
    std::printf("%zu calls, %zu failures\n", calls, injected);
    RecordProperty("failures", static_cast<int>(injected));
    EXPECT_GT(injected, 0U);
}

constexpr Scenario kScenarios[] = {
    {"Command", runCommand},
    {"ForkedCommand", runForkedCommand},
    {"CommandThatFails", runFailingCommand},
    {"CommandThatIsCancelled", cancelCommand},
    {"DeletionOfAList", deleteList},
    {"CleaningTheDesktop", cleanDesktop},
    {"SearchForLargeFiles", findLargeFiles},
    {"FileThatIsReplaced", replaceFile},
    {"FileThatIsRead", readFile},
    {"InstallByPath", installByPath},
    {"SurrenderByPath", surrenderByPath},
    {"InstallItself", changeItself<SUIDRoot::setSUIDRoot>},
    {"SurrenderItself", changeItself<SUIDRoot::surrenderSUIDRoot>},
    {"RunWithRights", runWithRights},
    {"RowsOfTheTool", runRows},
    {"InterruptOfAGroup", interruptGroup},
    {"ToolOfAHost", runTool},
    {"ForkedToolOfAHost", runForkedTool},
    {"ToolOfAHostThatIsCancelled", cancelTool},
    {"StateOfTheTool", askForTheToolsState},
    {"repairDiskPermissions", runTask<&Runner::repairDiskPermissions>},
    {"repairVolume", runTask<&Runner::repairVolume, &kVolume>},
    {"ejectVolume", runTask<&Runner::ejectVolume, &kVolume>},
    {"ejectAllVolumes", runTask<&Runner::ejectAllVolumes>},
    {"secureEraseFreeSpace", runTask<&Runner::secureEraseFreeSpace, &kPath>},
    {"secureDeleteItemsAtPaths", runTask<&Runner::secureDeleteItemsAtPaths, &kPaths>},
    {"secureDeleteFiles", runTask<&Runner::secureDeleteFiles>},
    {"forceDeleteFiles", runTask<&Runner::forceDeleteFiles>},
    {"secureEmptyTrash", runTask<&Runner::secureEmptyTrash>},
    {"forceEmptyTrash", runTask<&Runner::forceEmptyTrash>},
    {"removeDSStoreFilesInPath", runTask<&Runner::removeDSStoreFilesInPath, &kPath>},
    {"removeDSStoreFilesInHomeFolder", runTask<&Runner::removeDSStoreFilesInHomeFolder>},
    {"removeDSStoreFilesInFolder", runTask<&Runner::removeDSStoreFilesInFolder>},
    {"removeCorruptUserPreferences", runTask<&Runner::removeCorruptUserPreferences>},
    {"cleanStaleTemporaryFiles", runTask<&Runner::cleanStaleTemporaryFiles>},
    {"cleanUserCache", runTask<&Runner::cleanUserCache>},
    {"cleanDashboardCache", runTask<&Runner::cleanDashboardCache>},
    {"cleanBrowserCache", runTask<&Runner::cleanBrowserCache, &kEveryBrowser>},
    {"cleanBrowserHistory", runTask<&Runner::cleanBrowserHistory, &kEveryBrowser>},
    {"vacuumAppleMailIndex", runTask<&Runner::vacuumAppleMailIndex>},
    {"rebuildLaunchServices", runTask<&Runner::rebuildLaunchServices>},
    {"relaunchSystemMenu", runTask<&Runner::relaunchSystemMenu>},
    {"restartAirport", runTask<&Runner::restartAirport>},
};

INSTANTIATE_TEST_SUITE_P(Of, FailingCallsTest, ::testing::ValuesIn(kScenarios),
                         [](const auto& scenario) { return std::string(scenario.param.name); });

} // namespace
} // namespace orvane::test
