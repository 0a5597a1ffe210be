// The rows of the table that the task runner carries out, on the stage's files and volumes.

#include "Tests/Stage/StageTest.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <fcntl.h>
#include <iterator>
#include <linux/capability.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orvane::stage {
namespace {

constexpr const char* kDiskUtility = "/usr/sbin/diskutil";

/// Each as root and as an ordinary user by the set-user-ID bit: the outcome is the same.
class StageRunnerTaskTest : public ::testing::TestWithParam<uid_t> {
  protected:
    void SetUp() override {
        if (GetParam() != kRoot) {
            ORVANE_NEEDS("suid");
        }
    }

    static Result runAs(const Strings& words) { return runTool(GetParam(), words); }

    static void replaceDiskUtility(const std::string& script) {
        write(kDiskUtility, "#!/bin/sh\n" + script, kRoot, 0755);
    }
};

unsigned long long freeBlocks(const char* volume) {
    struct statvfs status = {};
    EXPECT_EQ(::statvfs(volume, &status), 0);
    return status.f_bfree;
}

/// Paths sorted and one a line, as a recursive, verbose removal may print them in any order.
Strings sortedLines(const std::string& text) {
    Strings all = lines(text);
    std::sort(all.begin(), all.end());
    return all;
}

TEST_P(StageRunnerTaskTest, CachesOfEveryUserAreRemovedAndPrintedWithNothingAdded) {
    for (const char* user : {"ann", "bob"}) {
        for (const std::string& old : glob(std::string("/Users/") + user + "/Library/Caches/*")) {
            Start clear;
            clear.user = kRoot;
            clear.path = "/bin/rm";
            clear.words = {"-rf", old};
            run(clear);
        }
    }
    makeFolder("/Users/ann/Library/Caches/com.app one", kAnn);
    write("/Users/ann/Library/Caches/com.app one/entry", "x", kAnn);
    write("/Users/bob/Library/Caches/single", "x", kBob);
    write("/Users/bob/Library/Caches/.hidden", "x", kBob);
    const Result result = runAs({"cauc"});
    EXPECT_EQ(result.exitCode(), 0);
    EXPECT_EQ(result.output, "removed '/Users/ann/Library/Caches/com.app one/entry'\n"
                             "removed directory '/Users/ann/Library/Caches/com.app one'\n"
                             "removed '/Users/bob/Library/Caches/single'\n");
    EXPECT_EQ(result.errors, "");
    EXPECT_EQ(namesIn("/Users/bob/Library/Caches"), (Strings{".hidden"}));
    EXPECT_TRUE(namesIn("/Users/ann/Library/Caches").empty());
}

TEST_P(StageRunnerTaskTest, TheListsFolderStaysEmptyWhereTheCallerCannotSwapIt) {
    const Strings before = namesIn("/tmp");
    Start start;
    start.user = GetParam();
    start.words = {"cauc"};
    start.environment = Strings{"PATH=/usr/bin:/bin", "TMPDIR=/Users/ann/Desktop"};
    EXPECT_EQ(run(start).exitCode(), 0);
    Strings added;
    for (const std::string& name : namesIn("/tmp")) {
        if (std::find(before.begin(), before.end(), name) == before.end()) {
            added.push_back("/tmp/" + name);
        }
    }
    ASSERT_EQ(added.size(), 1U);
    EXPECT_EQ(status(added[0]).st_uid, kRoot);
    EXPECT_EQ(modeOf(added[0]) & 022U, 0U) << "nobody else may write there";
    EXPECT_TRUE(namesIn(added[0]).empty());
}

constexpr const char* kGoodList = R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict><key>size</key><integer>3</integer></dict></plist>
)";

TEST_P(StageRunnerTaskTest, ExactlyTheDamagedPreferencesAreRemoved) {
    const Strings folders = {"/Users/ann/Library/Preferences", "/Users/bob/Library/Preferences/ByHost",
                             "/Library/Preferences"};
    runTool(kRoot, {"rpf"}); // what the stage came with
    for (const std::string& folder : folders) {
        makeFolder(folder);
        write(folder + "/com.test.good.plist", kGoodList);
        write(folder + "/com.test.bad.plist", "<plist");
        write(folder + "/com.test.bad one.plist", "<plist");
        write(folder + "/com.test.bad.txt", "<plist");
    }
    makeFolder("/Users/ann/Library/Application Support/Some App");
    write("/Users/ann/Library/Application Support/Some App/state.plist", "<plist");
    const Result result = runAs({"rpf"});
    EXPECT_EQ(result.exitCode(), 0) << result.output;
    Strings removed;
    for (const std::string& folder : folders) {
        EXPECT_FALSE(exists(folder + "/com.test.bad.plist"));
        EXPECT_TRUE(exists(folder + "/com.test.good.plist"));
        EXPECT_TRUE(exists(folder + "/com.test.bad one.plist")) << "a path with a blank is deliberately left";
        EXPECT_TRUE(exists(folder + "/com.test.bad.txt"));
        removed.push_back("removed '" + folder + "/com.test.bad.plist'");
    }
    EXPECT_TRUE(exists("/Users/ann/Library/Application Support/Some App/state.plist"));
    std::sort(removed.begin(), removed.end());
    EXPECT_EQ(sortedLines(result.output), removed);
}

TEST_P(StageRunnerTaskTest, PreferencesOfTheSystemAreRepairedWithoutAnyUser) {
    ASSERT_EQ(::rename("/Users", "/Users.away"), 0);
    write("/Library/Preferences/com.test.bad.plist", "<plist");
    const Result result = runAs({"rpf"});
    EXPECT_EQ(result.exitCode(), 0);
    EXPECT_NE(result.output.find("removed '/Library/Preferences/com.test.bad.plist'\n"), std::string::npos)
        << result.output;
    EXPECT_FALSE(exists("/Library/Preferences/com.test.bad.plist"));
}

void fillTrash() {
    makeFolder("/Users/ann/.Trash/a folder", kAnn, 0700);
    write("/Users/ann/.Trash/a folder/letter", "dear", kAnn, 0400);
    write("/Users/bob/.Trash/B\xC3\xBC"
          "cher",
          "x", kBob);
    makeFolder("/Volumes/Data/.Trashes/501", kAnn);
    write("/Volumes/Data/.Trashes/501/old", "x", kAnn);
    makeFolder("/Volumes/Time Capsule/.Trash");
    write("/Volumes/Time Capsule/.Trash/older one", "x");
    write("/Users/ann/Documents/kept", "x", kAnn);
}

void expectTrashEmpty() {
    for (const char* pattern : {"/Users/*/.Trash/*", "/Volumes/*/.Trash/*", "/Volumes/*/.Trashes/*/*"}) {
        EXPECT_TRUE(glob(pattern).empty()) << pattern;
    }
    EXPECT_TRUE(exists("/Users/ann/.Trash"));
    EXPECT_TRUE(exists("/Users/ann/Documents/kept"));
}

TEST_P(StageRunnerTaskTest, TheTrashIsEmptiedEverywhere) {
    fillTrash();
    const Result result = runAs({"feat"});
    EXPECT_EQ(result.exitCode(), 0) << result.output;
    EXPECT_NE(result.output.find("removed '/Users/bob/.Trash/B\xC3\xBC"
                                 "cher'\n"),
              std::string::npos)
        << result.output;
    EXPECT_NE(result.output.find("removed '/Users/ann/.Trash/a folder/letter'\n"), std::string::npos) << result.output;
    expectTrashEmpty();
}

TEST_P(StageRunnerTaskTest, AnEmptyTrashIsASuccessThatPrintsNothing) {
    runTool(kRoot, {"feat"});
    for (const char* task : {"feat", "secureEmptyTrash"}) {
        const Result result = runAs({task});
        EXPECT_EQ(result.exitCode(), 0) << task;
        EXPECT_EQ(result.output + result.errors, "") << task;
    }
}

TEST_P(StageRunnerTaskTest, TheTrashIsOverwrittenAndRemoved) {
    fillTrash();
    // A second name keeps the file's blocks in sight.
    ASSERT_EQ(::link("/Users/ann/.Trash/a folder/letter", "/Users/ann/Documents/second name"), 0);
    const Result result = runAs({"secureEmptyTrash"});
    EXPECT_EQ(result.exitCode(), 0) << result.output;
    expectTrashEmpty();
    EXPECT_EQ(read("/Users/ann/Documents/second name").find("dear"), std::string::npos);
}

TEST_P(StageRunnerTaskTest, AFailingRemovalIsAFailure) {
    fillTrash();
    write("/usr/bin/srm", "#!/bin/sh\necho \"srm: $*\"\nexit 3\n", kRoot, 0755);
    const Result result = runAs({"secureEmptyTrash"});
    EXPECT_EQ(result.exitCode(), 1);
    EXPECT_NE(result.output.find("srm: -v -f -r -m -- /Users/ann/.Trash/a folder\n"), std::string::npos)
        << result.output;
}

TEST_P(StageRunnerTaskTest, WithoutAWholeListNothingIsRemoved) {
    ORVANE_NEEDS("mount");
    fillTrash();
    // Room for the folder and the file's name, none for what is in it.
    ASSERT_EQ(::mount("small", "/private/tmp", "tmpfs", 0, "size=4k,mode=1777"), 0);
    write("/tmp/filler", std::string(4096, 'x'));
    const Result result = runAs({"feat"});
    EXPECT_EQ(result.exitCode(), 1);
    EXPECT_EQ(result.output, "");
    EXPECT_NE(result.errors.find("-[OVTaskRunner runBashCommand:onItemsAtPaths:] [Line "), std::string::npos);
    EXPECT_NE(result.errors.find("] Error writing paths to file: No space left on device\n"), std::string::npos)
        << result.errors;
    EXPECT_TRUE(exists("/Users/ann/.Trash/a folder/letter"));
}

TEST_P(StageRunnerTaskTest, AFileSizeLimitThatCannotBeRaisedRemovesNothing) {
    fillTrash();
    Start start;
    start.user = GetParam();
    start.words = {"feat"};
    start.asRoot = [] {
        const rlimit tiny = {10, 10};
        if (::setrlimit(RLIMIT_FSIZE, &tiny) != 0 || ::prctl(PR_CAPBSET_DROP, CAP_SYS_RESOURCE) != 0) {
            ::_exit(125);
        }
    };
    const Result result = run(start);
    EXPECT_EQ(result.exitCode(), 1) << "signal " << result.signal();
    EXPECT_EQ(result.output, "");
    const std::string text = GetParam() == kRoot
                                 ? "] Error writing paths to file: File too large\n"
                                 : "limit of file size is too low and cannot be raised, nothing was run\n";
    EXPECT_NE(result.errors.find(text), std::string::npos) << result.errors;
    EXPECT_TRUE(exists("/Users/ann/.Trash/a folder/letter"));
}

TEST_P(StageRunnerTaskTest, DiskPermissionsAreRepaired) {
    ASSERT_EQ(::chmod("/Library/Preferences", 0777), 0);
    const Result result = runAs({"repairPermissions"});
    EXPECT_EQ(result.exitCode(), 0) << result.output;
    EXPECT_EQ(modeOf("/Library/Preferences") & 022U, 0U);
    EXPECT_NE(result.output.find("Permissions differ on"), std::string::npos) << result.output;
    EXPECT_EQ(result.errors, "") << "both streams of the program are the task's output";
}

TEST_P(StageRunnerTaskTest, AVolumeIsRepairedAndOneThatIsNotThereFails) {
    ORVANE_NEEDS("volumes");
    EXPECT_EQ(runAs({"repairVolume", "/Volumes/Data"}).exitCode(), 0);
    EXPECT_EQ(runAs({"repairVolume", "/Volumes/Time Capsule"}).exitCode(), 0);
    for (const Strings& words : {Strings{"repairVolume", "/Volumes/Nowhere"}, Strings{"repairVolume"}}) {
        const Result result = runAs(words);
        EXPECT_EQ(result.exitCode(), 1);
        EXPECT_NE(result.output, "") << "the program says why";
    }
}

TEST_P(StageRunnerTaskTest, AVolumeIsUnmountedAndOneThatIsNotThereFails) {
    ORVANE_NEEDS("volumes");
    for (const char* volume : {"/Volumes/Backup", "/Volumes/Time Capsule"}) {
        const Result result = runAs({"ejectVolume", volume});
        EXPECT_EQ(result.exitCode(), 0) << result.output;
        EXPECT_EQ(read("/proc/mounts").find(std::string(volume).substr(0, 13)), std::string::npos);
        EXPECT_EQ(runAs({"ejectVolume", volume}).exitCode(), 1) << "it is gone";
    }
    EXPECT_EQ(runAs({"ejectVolume"}).exitCode(), 1);
    EXPECT_NE(read("/proc/mounts").find("/Volumes/Data"), std::string::npos);
}

TEST_P(StageRunnerTaskTest, TheArgumentReachesTheProgramAsOneWord) {
    replaceDiskUtility("for word; do echo \"<$word>\"; done\n");
    EXPECT_EQ(runAs({"ejectVolume", "/Volumes/a b\"$(id)`id`", "ignored"}).output,
              "<unmount>\n</Volumes/a b\"$(id)`id`>\n");
    EXPECT_EQ(runAs({"repairVolume"}).output, "<repairVolume>\n<>\n");
    EXPECT_EQ(runAs({"repairPermissions", "ignored"}).output, "<repairPermissions>\n</>\n");
}

TEST_P(StageRunnerTaskTest, TheStatusIsMappedFromTheProgramsEnd) {
    const std::array<std::pair<const char*, int>, 6> ends = {
        {{"exit 0", 0}, {"exit 1", 1}, {"exit 2", 1}, {"exit 255", 1}, {"kill -TERM $$", 2}, {"kill -SEGV $$", 2}}};
    for (const auto& [script, expected] : ends) {
        replaceDiskUtility(std::string(script) + "\n");
        EXPECT_EQ(runAs({"repairPermissions"}).exitCode(), expected) << script;
    }
    ASSERT_EQ(::unlink(kDiskUtility), 0);
    const Result missing = runAs({"repairPermissions"});
    EXPECT_EQ(missing.exitCode(), 1);
    EXPECT_EQ(missing.output, "execl: No such file or directory\n");
}

TEST_P(StageRunnerTaskTest, OutputIsPassedOnByteForByteButForWhatIsNoText) {
    replaceDiskUtility("printf 'no newline at the end \\303\\274'\n");
    EXPECT_EQ(runAs({"repairPermissions"}).output, "no newline at the end \xC3\xBC");
    replaceDiskUtility("printf 'spoilt \\377'; sleep 0.3; printf 'good'\n");
    EXPECT_EQ(runAs({"repairPermissions"}).output, "good");
}

TEST_P(StageRunnerTaskTest, FreeSpaceIsFilledOverwrittenAndLeftFreeAgain) {
    ORVANE_NEEDS("volumes");
    for (const char* volume : {"/Volumes/Data", "/Volumes/Time Capsule"}) {
        const std::string filler = std::string(volume) + "/secure-erase.temp";
        ::unlink(filler.c_str());
        const auto before = freeBlocks(volume);
        const Result result = runAs({"secureEraseFreeSpace", volume});
        EXPECT_EQ(result.exitCode(), 0);
        withoutFrame(result.output);
        EXPECT_NE(result.output.find(filler), std::string::npos) << result.output;
        EXPECT_NE(result.errors.find("No space left on device"), std::string::npos) << result.errors;
        EXPECT_FALSE(exists(filler));
        EXPECT_EQ(freeBlocks(volume), before);
    }
}

TEST_P(StageRunnerTaskTest, AnErasureThatIsInterruptedLeavesTheVolumeFree) {
    ORVANE_NEEDS("volumes");
    write("/usr/bin/srm", "#!/bin/sh\necho here > /var/run/erasing\nexec sleep 60\n", kRoot, 0755);
    ::unlink("/Volumes/Data/secure-erase.temp");
    const auto before = freeBlocks("/Volumes/Data");
    Start start;
    start.user = GetParam();
    start.words = {"secureEraseFreeSpace", "/Volumes/Data"};
    start.beforeExec = [] { ::setsid(); };
    const pid_t tool = launch(start);
    for (int tries = 0; tries < 500 && read("/var/run/erasing") != "here\n"; ++tries) {
        ::usleep(20000);
    }
    ASSERT_LT(freeBlocks("/Volumes/Data"), before);
    EXPECT_EQ(runAs({"killProcess " + std::to_string(tool)}).exitCode(), 0);
    int waitStatus = 0;
    ASSERT_EQ(::waitpid(tool, &waitStatus, 0), tool);
    for (int tries = 0; tries < 100 && exists("/Volumes/Data/secure-erase.temp"); ++tries) {
        ::usleep(20000);
    }
    EXPECT_EQ(freeBlocks("/Volumes/Data"), before);
}

TEST_P(StageRunnerTaskTest, OneToolInterruptsTheCommandOfAnother) {
    replaceDiskUtility("echo $$ > /var/run/command\nexec sleep 60\n");
    Start start;
    start.user = GetParam();
    start.words = {"repairPermissions"};
    const pid_t tool = launch(start);
    for (int tries = 0; tries < 500 && !read("/var/run/command").ends_with("\n"); ++tries) {
        ::usleep(20000);
    }
    const pid_t command = std::stoi(read("/var/run/command"));
    EXPECT_NE(::getpgid(command), ::getpgid(tool)) << "the command has a group of its own";
    EXPECT_EQ(runAs({"killProcess " + std::to_string(command)}).exitCode(), 0);
    int waitStatus = 0;
    ASSERT_EQ(::waitpid(tool, &waitStatus, 0), tool);
    EXPECT_TRUE(WIFEXITED(waitStatus));
    EXPECT_EQ(WEXITSTATUS(waitStatus), 2) << "a command ended by a signal counts as cancelled";
}

std::string userName(const ::testing::TestParamInfo<uid_t>& user) {
    return user.param == kRoot ? "Root" : "Ann";
}

INSTANTIATE_TEST_SUITE_P(As, StageRunnerTaskTest, ::testing::Values(kRoot, kAnn), userName);

// What xargs makes of names. The lines are a contract; macOS' xargs takes more names apart than GNU's does.

constexpr const char* kTrash = "/Users/ann/.Trash/";

/// They start with an empty trash.
class StageNamesTest : public StageRunnerTaskTest {
  protected:
    void SetUp() override {
        StageRunnerTaskTest::SetUp();
        if (!IsSkipped()) {
            runTool(kRoot, {"feat"});
        }
    }

    static void useGNUXargs() {
        Start copy;
        copy.user = kRoot;
        copy.path = "/bin/cp";
        copy.words = {"/stage/bin/gnu-xargs", "/usr/bin/xargs"};
        ASSERT_EQ(run(copy).exitCode(), 0);
    }
};

void addToTrash(const Strings& names) {
    for (const std::string& name : names) {
        write(kTrash + name, "x", kAnn);
    }
}

const Strings kNamesOfBlanks = {"a  b", "a\tb", "at the end "};
const Strings kNamesOfQuotes = {"back\\slash", "new\nline", "pair of 'quotes'", "two \"words\""};
const Strings kNamesAsTheyAre = {"$HOME `id` $(id)", "-rf", "B\xC3\xBC cher", "spoilt \xFF", "*"};

/// Of the names, those that are there still.
Strings leftInTrash(const Strings& names) {
    Strings left;
    std::copy_if(names.begin(), names.end(), std::back_inserter(left),
                 [](const std::string& name) { return exists(kTrash + name); });
    return left;
}

TEST_P(StageNamesTest, NamesWithSingleBlanksAndWithoutQuotesAreRemoved) {
    for (const char* task : {"feat", "secureEmptyTrash"}) {
        addToTrash(kNamesAsTheyAre);
        EXPECT_EQ(runAs({task}).exitCode(), 0) << task;
        EXPECT_EQ(leftInTrash(kNamesAsTheyAre), Strings{}) << task;
    }
}

TEST_P(StageNamesTest, NamesWithTwoBlanksATabOrABlankAtTheEndStay) {
    for (const std::string& name : kNamesOfBlanks) {
        addToTrash({name});
        const Result result = runAs({"feat"});
        EXPECT_EQ(result.exitCode(), 0) << name;
        EXPECT_EQ(result.output, "") << name;
        EXPECT_EQ(leftInTrash({name}), Strings{name});
        ::unlink((kTrash + name).c_str());
    }
}

TEST_P(StageNamesTest, NamesWithQuotesBackslashesOrNewlinesStay) {
    addToTrash(kNamesOfQuotes);
    const Result result = runAs({"feat"});
    EXPECT_EQ(result.exitCode(), 0);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(leftInTrash(kNamesOfQuotes), kNamesOfQuotes);
}

TEST_P(StageNamesTest, ByGNUsXargsBlanksAreKeptAndQuotesAreNot) {
    useGNUXargs();
    for (const Strings& names : {kNamesOfBlanks, kNamesAsTheyAre, kNamesOfQuotes}) {
        addToTrash(names);
    }
    EXPECT_EQ(runAs({"feat"}).exitCode(), 0);
    EXPECT_EQ(leftInTrash(kNamesOfBlanks), Strings{});
    EXPECT_EQ(leftInTrash(kNamesAsTheyAre), Strings{});
    EXPECT_EQ(leftInTrash(kNamesOfQuotes), kNamesOfQuotes);
}

TEST_P(StageNamesTest, WhatTheTakenApartNameSpellsIsRemovedInItsPlace) {
    // Hidden ones, which the task's pattern leaves out.
    const Strings hidden = {".a b", ".c"};
    addToTrash({"\\.a  b", "\\.c"});
    addToTrash(hidden);
    EXPECT_EQ(runAs({"feat"}).output, "removed '/Users/ann/.Trash/.a b'\nremoved '/Users/ann/.Trash/.c'\n");
    EXPECT_EQ(leftInTrash(hidden), Strings{});
    addToTrash(hidden);
    useGNUXargs();
    EXPECT_EQ(runAs({"feat"}).output, "removed '/Users/ann/.Trash/.c'\n");
    EXPECT_EQ(leftInTrash(hidden), Strings{".a b"});
}

TEST_P(StageNamesTest, ABlankAtTheEndKeepsTheNextNameToo) {
    addToTrash({"a", "b ", "c", "d"});
    const Result result = runAs({"feat"});
    EXPECT_EQ(result.exitCode(), 0);
    EXPECT_EQ(result.output, "removed '/Users/ann/.Trash/a'\nremoved '/Users/ann/.Trash/d'\n");
    EXPECT_EQ(leftInTrash({"b ", "c"}), (Strings{"b ", "c"}));
}

TEST_P(StageNamesTest, WhatStandsInAFolderWhoseNameEndsInANewlineIsTakenForAPathFromTheRoot) {
    for (const char* program : {"Apple's", "GNU's"}) {
        makeFolder("/Volumes/Data/.Trashes/x\n", kAnn);
        write("/Volumes/Data/.Trashes/x\n/victim", "x", kAnn);
        write("/victim", "x");
        EXPECT_EQ(runAs({"feat"}).output, "removed '/victim'\n") << program;
        EXPECT_TRUE(exists("/Volumes/Data/.Trashes/x\n/victim")) << program;
        useGNUXargs();
    }
}

TEST_P(StageNamesTest, AnUnpairedQuoteEndsTheRemovalThere) {
    const std::array<const char*, 2> texts = {"xargs: unterminated quote\n", "xargs: unmatched single quote; "};
    for (const char* text : texts) {
        addToTrash({"a", "it's", "z"});
        const Result result = runAs({"feat"});
        EXPECT_EQ(result.exitCode(), 1);
        EXPECT_NE(result.output.find(text), std::string::npos) << result.output;
        // GNU's does not wait for the command that it has started.
        EXPECT_EQ(leftInTrash({"it's", "z"}), (Strings{"it's", "z"}));
        ::unlink("/Users/ann/.Trash/it's");
        useGNUXargs();
    }
}

TEST_P(StageNamesTest, PathsOfMoreThan254BytesStayAndAnotherNameIsTriedInTheirPlace) {
    const std::string most(254 - std::string(kTrash).size(), 'm');
    const std::string more = most + "m";
    write("/var/empty/__FILE__", "x");
    addToTrash({most, more});
    const Result result = runAs({"feat"});
    EXPECT_EQ(result.exitCode(), 0);
    EXPECT_EQ(result.output, "removed '" + (kTrash + most) + "'\nremoved '__FILE__'\n");
    EXPECT_EQ(leftInTrash({most, more}), Strings{more});
    useGNUXargs();
    EXPECT_EQ(runAs({"feat"}).output, "removed '" + (kTrash + more) + "'\n");
}

INSTANTIATE_TEST_SUITE_P(As, StageNamesTest, ::testing::Values(kRoot, kAnn), userName);

TEST(StageRunnerHardeningTest, TheCommandsOfARunnerTaskAreNotTheCallers) {
    ORVANE_NEEDS("suid");
    makeFolder("/Users/ann/evil", kAnn);
    for (const char* name : {"cat", "xargs", "rm", "grep", "sed"}) {
        write(std::string("/Users/ann/evil/") + name, "#!/bin/sh\ntouch /var/log/pwned\n", kAnn, 0755);
    }
    Start start;
    start.environment = Strings{"PATH=/Users/ann/evil:/usr/bin:/bin", "BASH_FUNC_rm%%=() { touch /var/log/pwned; }",
                                "BASH_FUNC_cat%%=() { touch /var/log/pwned; }"};
    fillTrash();
    for (const char* task : {"feat", "rpf", "cauc"}) {
        start.words = {task};
        EXPECT_EQ(run(start).exitCode(), 0) << task;
        EXPECT_FALSE(exists("/var/log/pwned")) << task;
    }
    expectTrashEmpty();
}

TEST(StageRunnerHardeningTest, ThePieceOfANameBehindANewlineNamesNothing) {
    ORVANE_NEEDS("suid");
    // Each line of the list is a path; this name makes two of one, the second without a folder.
    write("/Users/ann/.Trash/x\nLibrary", "x", kAnn);
    makeFolder("/Users/ann/Library/Caches/y\nUsers", kAnn);
    Start start;
    start.beforeExec = [] { EXPECT_EQ(::chdir("/"), 0); };
    for (const char* task : {"feat", "cauc", "secureEmptyTrash"}) {
        start.words = {task};
        run(start);
        EXPECT_TRUE(exists("/Library/Preferences")) << task;
        EXPECT_TRUE(exists("/Users/bob")) << task;
    }
}

TEST(StageRunnerHardeningTest, RootsOwnRunKeepsWhatLiesInTheFolderWhereItIsStarted) {
    makeFolder("/var/root/here");
    Start start;
    start.user = kRoot;
    start.beforeExec = [] { EXPECT_EQ(::chdir("/var/root/here"), 0); };
    for (const char* task : {"feat", "cauc", "secureEmptyTrash", "rpf"}) {
        write("/Users/ann/.Trash/x\nline", "x", kAnn);
        write("/Users/ann/Library/Caches/x\nline", "x", kAnn);
        makeFolder("/Users/ann/Library/Preferences", kAnn);
        write("/Users/ann/Library/Preferences/damaged line more.plist", "damaged", kAnn);
        write("/var/root/here/line", "x");
        write("/var/root/here/more.plist", "x");
        start.words = {task};
        run(start);
        EXPECT_TRUE(exists("/var/root/here/line")) << task;
        EXPECT_TRUE(exists("/var/root/here/more.plist")) << task;
    }
}

TEST(StageRunnerHardeningTest, WithoutAnEmptyFolderOfRootsNothingIsDeletedByNames) {
    ASSERT_EQ(::chmod("/var/empty", 0777), 0);
    fillTrash();
    write("/Users/ann/Library/Caches/kept", "x", kAnn);
    write("/Library/Preferences/damaged.plist", "damaged");
    for (const char* task : {"feat", "cauc", "secureEmptyTrash", "rpf"}) {
        const Result result = runTool(kRoot, {task});
        EXPECT_EQ(result.exitCode(), 1) << task;
        EXPECT_EQ(result.output, "") << task;
        EXPECT_NE(result.errors.find(std::string("] Command-line tool: ") + task +
                                     ": there is no empty folder of root's to work in, nothing was run\n"),
                  std::string::npos)
            << result.errors;
    }
    EXPECT_TRUE(exists("/Users/ann/.Trash/a folder/letter"));
    EXPECT_TRUE(exists("/Users/ann/Library/Caches/kept"));
    EXPECT_TRUE(exists("/Library/Preferences/damaged.plist"));
    EXPECT_EQ(runTool(kRoot, {"repairPermissions"}).exitCode(), 0) << "which deletes nothing by names";
}

TEST(StageRunnerHardeningTest, WithoutTheBitARunnerTaskFailsBeforeAnyOutput) {
    ORVANE_NEEDS("users");
    fillTrash();
    ASSERT_EQ(::chmod(kTool, 0755), 0);
    for (const Strings& words :
         {Strings{"feat"}, Strings{"secureEmptyTrash"}, Strings{"cauc"}, Strings{"rpf"}, Strings{"repairPermissions"},
          Strings{"repairVolume", "/Volumes/Data"}, Strings{"ejectVolume", "/Volumes/Data"},
          Strings{"secureEraseFreeSpace", "/Volumes/Data"}}) {
        const Result result = runTool(kAnn, words);
        EXPECT_EQ(result.exitCode(), 1) << words[0];
        EXPECT_EQ(result.output, "") << words[0];
    }
    EXPECT_TRUE(exists("/Users/ann/.Trash/a folder/letter"));
}

} // namespace
} // namespace orvane::stage
