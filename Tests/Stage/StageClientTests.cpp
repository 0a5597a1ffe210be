// A host's client of the tool, as an ordinary user: what state the tool is in, and every task cancelled in its middle.

#include "Tests/Stage/StageTest.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <regex>
#include <sys/wait.h>
#include <unistd.h>

namespace orvane::stage {
namespace {

constexpr const char* kProbe = "/stage/bin/client_probe";
/// There when the slow program runs.
constexpr const char* kMark = "/tmp/slow-program-runs";
/// The system's, under a name that stays when "sleep" itself is made slow.
constexpr const char* kSleep = "/stage/bin/slow-sleep";

Result probe(const Strings& words, uid_t user = kAnn) {
    Start start;
    start.user = user;
    start.path = kProbe;
    start.words = words;
    return run(start);
}

Result runTask(const Strings& words, const std::string& tool = kTool) {
    Strings all = {"run", tool};
    all.insert(all.end(), words.begin(), words.end());
    return probe(all);
}

void script(const std::string& path, const std::string& text) {
    ::unlink(path.c_str());
    write(path, "#!/bin/bash\n" + text, kRoot, 0755);
}

/// The program makes a mark and takes a minute, in a child of its own.
void makeSlow(const std::string& path) {
    write(kSleep, read("/bin/sleep"), kRoot, 0755);
    script(path, std::string(": > ") + kMark + "\n" + kSleep + " 60\necho too late\n");
}

/// Every process that lives.
Strings processes() {
    Strings numbers;
    for (const std::string& path : glob("/proc/[0-9]*/stat")) {
        const std::string text = read(path);
        if (!text.empty() && text.find(") Z ") == std::string::npos) {
            numbers.push_back(text.substr(0, text.rfind(')') + 1));
        }
    }
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

struct Ending {
    int status = 0;
    int waitStatus = 0;
    int error = 0;
    bool cancelled = false;
    int milliseconds = 0; ///< since the cancel
    int duration = 0;
    std::string left;
    std::string programs;
};

Ending endingOf(const Result& result) {
    static const std::regex format("status (-?[0-9]+), wait ([0-9]+), error ([0-9]+), cancelled ([01]), "
                                   "after (-?[0-9]+) ms of ([0-9]+), left:(.*), ran:(.*)\n");
    std::smatch parts;
    if (!std::regex_search(result.errors, parts, format)) {
        ADD_FAILURE() << "no ending: " << result.errors;
        return {};
    }
    return {std::stoi(parts[1]),
            std::stoi(parts[2]),
            std::stoi(parts[3]),
            parts[4] == "1",
            std::stoi(parts[5]),
            std::stoi(parts[6]),
            parts[7],
            parts[8]};
}

class StageClientTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ORVANE_NEEDS("suid");
        ORVANE_NEEDS("proc");
        ORVANE_NEEDS("pidns");
    }
};

// --- cancelled in the middle

struct Cancelled {
    const char* task;
    const char* argument;
    Strings slow; ///< the programs that are made slow
    int status;
};

/// 2 for both: a runner's task was cancelled, a shell was ended by signal 2.
constexpr int kInterrupted = 2;

const std::vector<Cancelled> kRows = {
    {"repairPermissions", nullptr, {"/usr/sbin/diskutil"}, kInterrupted},
    {"crondailyleo", nullptr, {"/etc/periodic/daily/000.slow"}, kInterrupted},
    {"cronweeklyleo", nullptr, {"/etc/periodic/weekly/000.slow"}, kInterrupted},
    {"cronmonthlyleo", nullptr, {"/etc/periodic/monthly/000.slow"}, kInterrupted},
    {"cronallleo", nullptr, {"/etc/periodic/weekly/000.slow"}, kInterrupted},
    {"csc", nullptr, {"/bin/rm"}, kInterrupted},
    {"cauc", nullptr, {"/bin/rm"}, kInterrupted},
    {"vpf", nullptr, {"/usr/bin/plutil"}, kInterrupted},
    {"rpf", nullptr, {"/usr/bin/plutil"}, kInterrupted},
    {"repairVolume", "/Volumes/Data", {"/usr/sbin/diskutil"}, kInterrupted},
    {"ejectVolume", "/Volumes/Data", {"/usr/sbin/diskutil"}, kInterrupted},
    {"rebuildSpotlightIndex", nullptr, {"/bin/sleep"}, kInterrupted},
    {"cleanArchivedLogs", nullptr, {"/usr/bin/find"}, kInterrupted},
    {"cleanAllLogs", nullptr, {"/bin/rm"}, kInterrupted},
    {"flushDNS", nullptr, {"/usr/bin/killall"}, kInterrupted},
    {"whatisDatabase", nullptr, {"/usr/libexec/makewhatis"}, kInterrupted},
    {"locateDatabase", nullptr, {"/usr/libexec/locate.updatedb"}, kInterrupted},
    {"removeTemporary", nullptr, {"/bin/rm"}, kInterrupted},
    {"cleanFontCaches", nullptr, {"/usr/bin/atsutil"}, kInterrupted},
    {"secureEraseFreeSpace", "/Volumes/Data", {"/bin/dd"}, kInterrupted},
    {"feat", nullptr, {"/bin/rm"}, kInterrupted},
    {"secureEmptyTrash", nullptr, {"/usr/bin/srm"}, kInterrupted},
};

class StageCancelTest : public StageClientTest, public ::testing::WithParamInterface<Cancelled> {};

TEST_P(StageCancelTest, NothingOfTheTaskIsLeft) {
    const Cancelled& row = GetParam();
    makeFolder("/Users/ann/.Trash", kAnn, 0700);
    write("/Users/ann/.Trash/thrown away", "x", kAnn);
    makeFolder("/Users/ann/Library/Caches/some.app", kAnn);
    makeFolder("/Users/ann/Library/Preferences", kAnn);
    write("/Users/ann/Library/Preferences/some.plist", "damaged", kAnn);
    write("/Library/Logs/some.log", "x");
    for (const std::string& program : row.slow) {
        makeSlow(program);
    }
    const Strings before = processes();
    Strings words = {"--cancel-when", kMark, row.task};
    if (row.argument != nullptr) {
        words.emplace_back(row.argument);
    }
    const Result result = runTask(words);
    EXPECT_EQ(processes(), before) << "started by the task and left behind";
    const Ending ending = endingOf(result);
    EXPECT_TRUE(ending.cancelled);
    EXPECT_EQ(ending.left, "");
    EXPECT_EQ(ending.error, 0);
    EXPECT_EQ(ending.status, row.status) << result.output;
    EXPECT_LT(ending.milliseconds, 2000);
    EXPECT_EQ(result.output.find("too late"), std::string::npos) << result.output;
    EXPECT_EQ(glob("/tmp/*/files-to-remove.txt"), Strings()) << "the tool had time to tidy up";
    EXPECT_TRUE(exists("/Users/ann/.Trash/thrown away"));
    RecordProperty("milliseconds", ending.milliseconds);
}

INSTANTIATE_TEST_SUITE_P(EachTask, StageCancelTest, ::testing::ValuesIn(kRows),
                         [](const auto& row) { return std::string(row.param.task); });

TEST_F(StageClientTest, KillProcessIsOverBeforeItCanBeCancelled) {
    Start start;
    start.user = kRoot;
    start.path = "/bin/sleep";
    start.words = {"60"};
    start.beforeExec = [] { ::setsid(); };
    const pid_t sleeper = launch(start);
    while (::getpgid(sleeper) != sleeper) {
        ::usleep(1000);
    }
    const Strings before = processes();
    const Ending ending = endingOf(runTask({"--cancel-started", "killProcess", std::to_string(sleeper)}));
    int status = 0;
    ::waitpid(sleeper, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGINT) << status;
    EXPECT_EQ(ending.status, 0);
    EXPECT_EQ(ending.left, "");
    Strings after = processes();
    EXPECT_TRUE(std::includes(before.begin(), before.end(), after.begin(), after.end()));
}

TEST_F(StageClientTest, ATaskOfWhichAPieceHasLeftItsParentAndItsGroupIsWhollyEnded) {
    makeSlow("/usr/libexec/makewhatis");
    // Seen by a look before the cancel, then nobody's child.
    script("/usr/libexec/makewhatis", std::string("(/stage/bin/setsid ") + kSleep +
                                          " 60; true) &\n/stage/bin/slow-sleep 1; kill -9 $!\n: > " + kMark + "\n" +
                                          kSleep + " 60\n");
    const Strings before = processes();
    const Result result = runTask({"--cancel-when", kMark, "whatisDatabase"});
    EXPECT_EQ(processes(), before);
    const Ending ending = endingOf(result);
    EXPECT_EQ(ending.status, kInterrupted);
    EXPECT_EQ(ending.left, "");
    EXPECT_LT(ending.milliseconds, 2000);
}

TEST_F(StageClientTest, AProgramThatDoesNotMindIsNamedWhenPatienceIsOver) {
    makeSlow("/usr/libexec/makewhatis");
    script("/usr/libexec/makewhatis", std::string("trap '' INT\n: > ") + kMark + "\nexec " + kSleep + " 60\n");
    const Result result = runTask({"--cancel-when", kMark, "--patience", "500", "whatisDatabase"});
    const Ending ending = endingOf(result);
    EXPECT_TRUE(ending.cancelled);
    EXPECT_NE(ending.left.find("slow-sleep"), std::string::npos) << ending.left;
    EXPECT_GE(ending.milliseconds, 500);
    EXPECT_LT(ending.milliseconds, 1000);
}

TEST_F(StageClientTest, ARunnersProgramThatDoesNotMindIsNamedWithTheToolThatWaitsForIt) {
    makeSlow("/usr/sbin/diskutil");
    script("/usr/sbin/diskutil", std::string("trap '' INT\n: > ") + kMark + "\nexec " + kSleep + " 60\n");
    const Ending ending = endingOf(runTask({"--cancel-when", kMark, "--patience", "500", "repairPermissions"}));
    EXPECT_NE(ending.left.find("slow-sleep"), std::string::npos) << ending.left;
    EXPECT_NE(ending.left.find("OrvaneTool"), std::string::npos) << ending.left;
    EXPECT_EQ(ending.status, -1);
    EXPECT_EQ(ending.error, ETIMEDOUT);
}

TEST_F(StageClientTest, TheFillerOfAnErasureGoesWithTheCancel) {
    makeSlow("/bin/true");
    script("/bin/dd", std::string(": > /Volumes/Data/secure-erase.temp\n: > ") + kMark + "\n" + kSleep + " 60\n");
    runTask({"--cancel-when", kMark, "secureEraseFreeSpace", "/Volumes/Data"});
    EXPECT_TRUE(exists(kMark));
    EXPECT_FALSE(exists("/Volumes/Data/secure-erase.temp"));
}

// --- not cancelled

TEST_F(StageClientTest, OutputComesWhileTheTaskRuns) {
    makeSlow("/usr/libexec/makewhatis");
    script("/usr/libexec/makewhatis", std::string("echo early\n") + kSleep + " 60\n");
    const Result result = runTask({"--cancel-at", "early\n", "whatisDatabase"});
    const Ending ending = endingOf(result);
    EXPECT_TRUE(ending.cancelled);
    EXPECT_LT(ending.duration, 5000);
}

TEST_F(StageClientTest, ATaskThatIsLeftAloneEndsAsItDoesWithoutAClient) {
    const Result result = runTask({"flushDNS"});
    EXPECT_NE(withoutFrame(result.output).find("Clearing DNS cache..."), std::string::npos) << result.output;
    const Ending ending = endingOf(result);
    EXPECT_EQ(ending.status, 0);
    EXPECT_EQ(ending.waitStatus, 0);
    EXPECT_FALSE(ending.cancelled);
    EXPECT_GE(ending.duration, 1000) << "the line's own pause";
    EXPECT_NE(ending.programs.find("sleep"), std::string::npos) << ending.programs;
}

TEST_F(StageClientTest, TheKeyboardsInterruptDoesNotReachTheTask) {
    makeSlow("/usr/libexec/makewhatis");
    script("/usr/libexec/makewhatis", std::string(": > ") + kMark + "\n" + kSleep + " 1 && echo not interrupted\n");
    Start start;
    start.path = kProbe;
    start.words = {"run", kTool, "whatisDatabase"};
    start.beforeExec = [] {
        ::setsid();
        if (::fork() == 0) { // the keyboard
            while (::access(kMark, F_OK) != 0) {
                ::usleep(10000);
            }
            ::signal(SIGINT, SIG_IGN);
            ::kill(0, SIGINT);
            ::_exit(0);
        }
    };
    const Result result = run(start);
    EXPECT_NE(result.errors.find("interrupted\n"), std::string::npos) << "the host itself was";
    EXPECT_NE(result.output.find("not interrupted\n"), std::string::npos) << result.output;
    EXPECT_EQ(endingOf(result).status, 0);
}

// --- the tool's state

TEST_F(StageClientTest, ASetUpToolIsReadyAndFound) {
    EXPECT_EQ(probe({"state"}).output, "ready\n");
    EXPECT_EQ(probe({"find"}).output, std::string(kTool) + "\n");
}

TEST_F(StageClientTest, OneThatIsReadyWinsOverOneBesideTheHost) {
    write("/stage/bin/OrvaneTool", read(kTool), kRoot, 0755);
    EXPECT_EQ(probe({"find"}).output, std::string(kTool) + "\n");
    ::chmod(kTool, 0755);
    EXPECT_EQ(probe({"find"}).output, "/stage/bin/OrvaneTool\n");
}

TEST_F(StageClientTest, AToolThatIsNotSetUpSaysSoAndEndsWithItsOwnMessage) {
    ::chmod(kTool, 0755);
    EXPECT_EQ(probe({"state"}).output, "notSetUp\n");
    const Result result = runTask({"flushDNS"});
    EXPECT_EQ(endingOf(result).status, 1);
    EXPECT_NE(result.output.find("setuid failed (user id: 501, effective user id: 501)"), std::string::npos)
        << result.output;
}

TEST_F(StageClientTest, TheCommandThatIsToldSetsTheToolUp) {
    const std::string folder = "/usr/local/it's a folder";
    makeFolder(folder);
    write(folder + "/OrvaneTool", read(kTool), kRoot, 0755);
    EXPECT_EQ(probe({"state", folder + "/OrvaneTool"}).output, "notSetUp\n");
    const Strings commands = lines(probe({"command", folder + "/OrvaneTool"}).output);
    Start shell;
    shell.user = kRoot;
    shell.path = "/bin/sh";
    shell.words = {"-c", commands.at(0)};
    const Result result = run(shell);
    EXPECT_EQ(result.exitCode(), 0) << commands.at(0) << "\n" << result.errors;
    EXPECT_EQ(probe({"state", folder + "/OrvaneTool"}).output, "ready\n");
    shell.words = {"-c", commands.at(1)};
    EXPECT_EQ(run(shell).exitCode(), 0) << commands.at(1);
    EXPECT_EQ(modeOf(folder + "/OrvaneTool"), 0500U);
    EXPECT_EQ(probe({"state", folder + "/OrvaneTool"}).output, "notSetUp\n");
}

TEST_F(StageClientTest, AToolThatMayNotBeStartedIsNotStarted) {
    ::chmod(kTool, 0500);
    const Ending closed = endingOf(runTask({"flushDNS"}));
    EXPECT_EQ(closed.status, -1);
    EXPECT_EQ(closed.error, EACCES);
    const Ending missing = endingOf(runTask({"flushDNS"}, "/usr/local/libexec/NoSuchTool"));
    EXPECT_EQ(missing.status, -1);
    EXPECT_EQ(missing.error, ENOENT);
    EXPECT_EQ(probe({"state", "/usr/local/libexec/NoSuchTool"}).output, "missing\n");
}

} // namespace
} // namespace orvane::stage
