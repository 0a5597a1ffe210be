#include "Tasks/OVTaskRunner.h"

#include "Support/OVPath.h"
#include "Tests/ChildOfTest.h"
#include "Tests/TaskRunnerTestSupport.h"

#include <algorithm>
#include <csignal>
#include <limits>
#include <pwd.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <variant>

namespace orvane {
namespace {

using Paths = std::vector<std::string>;
using Lines = std::vector<std::string>;

constexpr const char* kSecure = "/usr/bin/srm -v -f -r -m --";
constexpr const char* kForce = "rm -rfv";

using test::Recorded;
using RunCommand = Recorded;
using RunOnItems = Recorded;
using RunnerProperties = Recorded;
using VolumeTasks = Recorded;
using Deletion = Recorded;
using Preferences = Recorded;

// The frame.

TEST(OVTaskRunner, PropertiesStartAsNothing) {
    const OVTaskRunner runner;
    EXPECT_EQ(runner.delegate(), nullptr);
    EXPECT_EQ(runner.pasteboardServer(), nullptr);
}

/// Keeps what a runner leaks in sight of leak checkers.
template <typename Value> std::shared_ptr<Value>& keptForGood(std::shared_ptr<Value> value) {
    static auto* const kept = new std::vector<std::shared_ptr<Value>>;
    kept->reserve(100);
    return kept->emplace_back(std::move(value));
}

TEST(OVTaskRunner, DestructorReleasesNeitherProperty) {
    static test::RecordingDelegate owner;
    static int clipboard = 0;
    auto& delegate = keptForGood(std::shared_ptr<OVTaskDelegate>(&owner, [](OVTaskDelegate*) {}));
    auto& token = keptForGood(std::make_shared<int>(0));
    const std::shared_ptr<OVPasteboardServer> server(token, reinterpret_cast<OVPasteboardServer*>(&clipboard));
    ASSERT_EQ(delegate.use_count(), 1);
    ASSERT_EQ(token.use_count(), 2);
    {
        OVTaskRunner runner;
        runner.setDelegate(delegate);
        runner.setPasteboardServer(server);
        EXPECT_EQ(delegate.use_count(), 2);
        EXPECT_EQ(token.use_count(), 3);
    }
    EXPECT_EQ(delegate.use_count(), 2);
    EXPECT_EQ(token.use_count(), 3);
}

TEST_F(RunnerProperties, SetterRetainsTheNewAndReleasesTheOld) {
    const auto first = std::make_shared<test::RecordingDelegate>();
    const auto second = std::make_shared<test::RecordingDelegate>();
    runner.setDelegate(first);
    EXPECT_EQ(runner.delegate(), first);
    EXPECT_EQ(first.use_count(), 2);
    runner.setDelegate(second);
    EXPECT_EQ(first.use_count(), 1);
    EXPECT_EQ(second.use_count(), 2);
    runner.setDelegate(nullptr);
    EXPECT_EQ(second.use_count(), 1);
    EXPECT_EQ(runner.delegate(), nullptr);

    const auto token = std::make_shared<int>(0);
    int clipboard = 0;
    auto* const address = reinterpret_cast<OVPasteboardServer*>(&clipboard);
    runner.setPasteboardServer(std::shared_ptr<OVPasteboardServer>(token, address));
    EXPECT_EQ(runner.pasteboardServer().get(), address);
    EXPECT_EQ(token.use_count(), 2);
    runner.setPasteboardServer(nullptr);
    EXPECT_EQ(token.use_count(), 1);
}

TEST_F(RunnerProperties, ReleasedDelegateMayAskForTheProperty) {
    struct Curious final {
        Curious(OVTaskRunner& itsRunner, bool& itsAnswer) : runner(itsRunner), asked(itsAnswer) {}
        Curious(const Curious&) = delete;
        Curious& operator=(const Curious&) = delete;
        OVTaskRunner& runner;
        bool& asked;
        ~Curious() { asked = runner.delegate() == nullptr; }
    };
    bool asked = false;
    auto curious = std::make_shared<Curious>(runner, asked);
    runner.setDelegate(std::shared_ptr<OVTaskDelegate>(std::move(curious), &owner));
    runner.setDelegate(nullptr);
    EXPECT_TRUE(asked);
}

TEST_F(RunnerProperties, DelegateMayBeSetFromAnotherThread) {
    const auto first = std::make_shared<test::RecordingDelegate>();
    const auto second = std::make_shared<test::RecordingDelegate>();
    second->cancels = true;
    runner.setDelegate(first);
    constexpr int kRounds = 20000;
    std::thread setter([&] {
        for (int round = 0; round < kRounds; ++round) {
            runner.setDelegate(round % 2 == 0 ? second : first);
        }
    });
    int cancels = 0;
    for (int round = 0; round < kRounds; ++round) {
        cancels += runner.shellCommandShouldCancel() ? 1 : 0;
    }
    setter.join();
    EXPECT_EQ(first->cancelQuestions + second->cancelQuestions, kRounds);
    EXPECT_EQ(second->cancelQuestions, cancels);
    EXPECT_EQ(runner.delegate(), first);
    runner.setDelegate(nullptr);
    EXPECT_EQ(first.use_count(), 1);
    EXPECT_EQ(second.use_count(), 1);
}

// One program, one line.

TEST_F(RunCommand, PassesPathArgumentsAndItselfOn) {
    EXPECT_EQ(runner.runCommand("/bin/some program", {"a b", "", "-c"}), 0);
    ASSERT_EQ(commands.runs.size(), 1U);
    EXPECT_EQ(commands.runs[0], (test::RecordingCommands::Run{"/bin/some program", {"a b", "", "-c"}}));
    EXPECT_EQ(commands.delegates[0], &runner);
}

TEST_F(RunCommand, MapsResultsToTheTaskStatus) {
    const std::pair<NSInteger, int> expected[] = {{OVShellCommandSuccess, 0},
                                                  {OVShellCommandCancelled, 2},
                                                  {1, 1},
                                                  {2, 1},
                                                  {255, 1},
                                                  {-1, 1},
                                                  {-9997, 1},
                                                  {std::numeric_limits<NSInteger>::min(), 1}};
    for (const auto& [result, status] : expected) {
        commands.results = {result};
        EXPECT_EQ(runner.runCommand("/bin/x", {}), status) << result;
    }
    EXPECT_TRUE(log.messages.empty());
}

TEST_F(RunCommand, FailedCancelCountsAsCancelledAndIsLogged) {
    commands.results = {OVShellCommandCancelFailed};
    EXPECT_EQ(runner.runCommand("/bin/x y", {}), 2);
    ASSERT_EQ(log.messages.size(), 1U);
    const std::string& message = log.messages[0];
    EXPECT_TRUE(message.starts_with("-[OVTaskRunner runCommand:arguments:] [Line ")) << message;
    EXPECT_TRUE(message.ends_with("] ERROR: cancel unexpectedly failed for /bin/x y (pid: 4711)")) << message;
}

TEST_F(RunCommand, LineGoesToTheShellUnchanged) {
    EXPECT_EQ(runner.runBashCommand("echo \"a  b\"; false | cat"), 0);
    EXPECT_EQ(commands.lines(), Lines{"echo \"a  b\"; false | cat"});
    commands.results = {OVShellCommandCancelled};
    EXPECT_EQ(runner.runBashCommand("x"), 2);
}

TEST_F(RunCommand, OutputAndCancelQuestionsGoToTheDelegate) {
    owner.cancels = true;
    commands.during = [](OVShellCommandDelegate& delegate) {
        delegate.shellCommandHasOutputAvailable("one\ntw");
        delegate.shellCommandHasOutputAvailable(std::nullopt);
        delegate.shellCommandHasOutputAvailable("o\n");
        EXPECT_TRUE(delegate.shellCommandShouldCancel());
    };
    runner.runBashCommand("x");
    EXPECT_EQ(owner.chunks, (std::vector<std::optional<std::string>>{"one\ntw", std::nullopt, "o\n"}));
    EXPECT_EQ(owner.cancelQuestions, 1);
    EXPECT_EQ(owner.taskMessages, 0);
}

TEST_F(RunCommand, WithoutADelegateOutputIsDroppedAndNothingCancels) {
    runner.setDelegate(nullptr);
    commands.during = [](OVShellCommandDelegate& delegate) {
        delegate.shellCommandHasOutputAvailable("lost");
        EXPECT_FALSE(delegate.shellCommandShouldCancel());
    };
    EXPECT_EQ(runner.runBashCommand("x"), 0);
    EXPECT_TRUE(owner.chunks.empty());
}

TEST_F(RunCommand, AuthorizedTaskAlwaysFails) {
    EXPECT_EQ(runner.runAuthorizedTask(nullptr), 1);
    EXPECT_EQ(runner.runAuthorizedTask(&owner), 1);
    EXPECT_TRUE(commands.runs.empty());
}

TEST_F(RunCommand, AppleScriptYieldsZeroOrOne) {
    EXPECT_EQ(runner.runAppleScript("tell application \"Finder\" to quit"), 0);
    appleScript.result = false;
    EXPECT_EQ(runner.runAppleScript("not a script"), 1);
    EXPECT_EQ(appleScript.sources, (Lines{"tell application \"Finder\" to quit", "not a script"}));
    EXPECT_TRUE(commands.runs.empty() && owner.chunks.empty() && log.messages.empty());
    EXPECT_EQ(owner.cancelQuestions, 0);
}

/// The system's own scripting, with what stands at "osascript" on the search path.
class LinuxAppleScript : public ::testing::Test {
  protected:
    void SetUp() override { ::setenv("PATH", (folder.path + ":/usr/bin:/bin").c_str(), 1); }
    void TearDown() override { ::setenv("PATH", before_.c_str(), 1); }
    void script(const std::string& body) { ::chmod(folder.makeFile("osascript", "#!/bin/sh\n" + body).c_str(), 0755); }
    int run(const std::string& source) { return OVTaskRunner().runAppleScript(source); }

    test::Folder folder;

  private:
    std::string before_ = ::getenv("PATH");
};

TEST_F(LinuxAppleScript, RunsTheSourceWhereThereIsAProgramForIt) {
    script("printf '%s|' \"$@\" > " + folder.at("seen") + "\n");
    EXPECT_EQ(run("tell \"x\"\n  quit $HOME\nend"), 0);
    EXPECT_EQ(test::contentsOf(folder.at("seen")), "-e|tell \"x\"\n  quit $HOME\nend|");
}

TEST_F(LinuxAppleScript, FailsSilently) {
    const testing::RecordingLog log;
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(run("anything"), 1); // no such program
    script("echo output; echo complaint >&2; exit 3\n");
    EXPECT_EQ(run("does not compile"), 1);
    script("kill -9 $$\n");
    EXPECT_EQ(run("crashes"), 1);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    EXPECT_TRUE(log.messages.empty());
}

// One line for many paths.

TEST_F(RunOnItems, WritesTheListAndRunsXargsOnIt) {
    std::string list;
    mode_t mode = 0;
    commands.during = [&](OVShellCommandDelegate&) {
        list = test::contentsOf(listFile());
        mode = test::permissionsOf(listFile());
    };
    EXPECT_EQ(runner.runBashCommand("/bin/some -option --", Paths{"/a b", "/c", "/caf\xC3\xA9"}), 0);
    EXPECT_EQ(commands.lines(), Lines{deletionLine("/bin/some -option --")});
    EXPECT_EQ(list, "/a b\n/c\n/caf\xC3\xA9"); // no newline after the last
    EXPECT_EQ(mode, 0600U);
    EXPECT_EQ(calls.order, (Lines{"mkdir", "open", "write", "fsync", "close", "rename", "unlink"}));
    EXPECT_TRUE(log.messages.empty());
}

TEST_F(RunOnItems, FolderStaysBehindEmpty) {
    EXPECT_EQ(runner.runBashCommand("x", Paths{"/a"}), 0);
    ASSERT_EQ(test::namesIn(folder.path), Lines{"unique-1"});
    EXPECT_TRUE(test::namesIn(folder.at("unique-1")).empty());
}

TEST_F(RunOnItems, EmptyListIsAnEmptyFile) {
    std::string list = "?";
    commands.during = [&](OVShellCommandDelegate&) { list = test::contentsOf(listFile()); };
    EXPECT_EQ(runner.runBashCommand("x", Paths{}), 0);
    EXPECT_EQ(list, "");
    EXPECT_EQ(commands.runs.size(), 1U);
}

TEST_F(RunOnItems, StatusIsThatOfTheLine) {
    commands.results = {7, OVShellCommandCancelled, OVShellCommandCancelFailed};
    EXPECT_EQ(runner.runBashCommand("x", Paths{"/a"}), 1);
    EXPECT_EQ(runner.runBashCommand("x", Paths{"/a"}), 2);
    EXPECT_EQ(runner.runBashCommand("x", Paths{"/a"}), 2);
    EXPECT_FALSE(test::exists(listFile(3)));
}

TEST_F(RunOnItems, FolderThatCannotBeMadeIsAFailure) {
    calls.fail("mkdir", EACCES);
    EXPECT_EQ(runner.runBashCommand("x", Paths{"/a"}), 1);
    EXPECT_TRUE(commands.runs.empty());
    ASSERT_EQ(log.messages.size(), 1U);
    EXPECT_TRUE(log.messages[0].starts_with("-[OVTaskRunner runBashCommand:onItemsAtPaths:] [Line "));
    EXPECT_TRUE(log.messages[0].ends_with("] Error creating temporary directory for paths file"));
}

TEST_F(RunOnItems, ListThatCannotBeRemovedIsAFailureWhateverTheLineDid) {
    for (const NSInteger result : {NSInteger{0}, NSInteger{-9998}}) {
        log.messages.clear();
        commands.results = {result};
        calls.fail("unlink", EPERM);
        EXPECT_EQ(runner.runBashCommand("x", Paths{"/a"}), 1);
        ASSERT_EQ(log.messages.size(), 1U);
        EXPECT_TRUE(log.messages[0].starts_with("-[OVTaskRunner runBashCommand:onItemsAtPaths:] [Line "));
        EXPECT_TRUE(log.messages[0].ends_with("] Error removing temporary paths file: Operation not permitted"));
    }
    EXPECT_EQ(commands.runs.size(), 2U);
}

struct Injected {
    const char* call;
    int error;
    const char* text;
    int passed;
};

class ListFileFailure : public Recorded, public ::testing::WithParamInterface<Injected> {};

TEST_P(ListFileFailure, RunsNothing) {
    const auto [call, error, text, passed] = GetParam();
    calls.fail(call, error, 1000, passed);
    EXPECT_EQ(runner.forceDeleteItemsAtPaths(Paths(20000, "/a/path")), 1);
    EXPECT_TRUE(commands.runs.empty());
    EXPECT_TRUE(test::namesIn(folder.at("unique-1")).empty()); // no list, whole or not
    ASSERT_EQ(log.messages.size(), 1U);
    EXPECT_TRUE(log.messages[0].starts_with("-[OVTaskRunner runBashCommand:onItemsAtPaths:] [Line "));
    EXPECT_TRUE(log.messages[0].ends_with(std::string("] Error writing paths to file: ") + text)) << log.messages[0];
}

INSTANTIATE_TEST_SUITE_P(EveryCall, ListFileFailure,
                         ::testing::Values(Injected{"open", EMFILE, "Too many open files", 0},
                                           Injected{"write", ENOSPC, "No space left on device", 0},
                                           Injected{"write", ENOSPC, "No space left on device", 2},
                                           Injected{"fsync", EIO, "Input/output error", 0},
                                           Injected{"close", EIO, "Input/output error", 0},
                                           Injected{"rename", EROFS, "Read-only file system", 0}),
                         [](const auto& instance) {
                             return std::string(instance.param.call) + std::to_string(instance.param.passed);
                         });

TEST_F(RunOnItems, FileSizeLimitRunsNothing) {
    EXPECT_EQ(exitStatusOfChild([&] {
                  ::signal(SIGXFSZ, SIG_DFL);
                  const rlimit limit = {65536, 65536};
                  ::setrlimit(RLIMIT_FSIZE, &limit);
                  return failsToWrite(": File too large");
              }),
              0);
    EXPECT_TRUE(test::namesIn(folder.at("unique-1")).empty());
}

// Volumes and disks.

TEST_F(VolumeTasks, DiskUtilityCommands) {
    EXPECT_EQ(runner.repairDiskPermissions(), 0);
    EXPECT_EQ(runner.repairVolume("/Volumes/My Disk"), 0);
    EXPECT_EQ(runner.repairVolume(""), 0);
    EXPECT_EQ(runner.ejectVolume("/Volumes/My Disk"), 0);
    using Command = test::RecordingCommands::Run;
    EXPECT_EQ(commands.runs, (std::vector<Command>{{"/usr/sbin/diskutil", {"repairPermissions", "/"}},
                                                   {"/usr/sbin/diskutil", {"repairVolume", "/Volumes/My Disk"}},
                                                   {"/usr/sbin/diskutil", {"repairVolume", ""}},
                                                   {"/usr/sbin/diskutil", {"unmount", "/Volumes/My Disk"}}}));
    commands.results = {1};
    EXPECT_EQ(runner.repairVolume(""), 1);
}

TEST_F(VolumeTasks, SecureEraseLine) {
    const std::string line = "(trap '/bin/rm -fv \"/Volumes/My Disk/secure-erase.temp\"' INT TERM EXIT; "
                             "/bin/dd if=/dev/zero of=\"/Volumes/My Disk/secure-erase.temp\" bs=1k; "
                             "/usr/bin/srm -vfmr -- \"/Volumes/My Disk/secure-erase.temp\")";
    EXPECT_EQ(runner.secureEraseFreeSpaceCommand("/Volumes/My Disk"), line);
    EXPECT_EQ(runner.secureEraseFreeSpaceCommand("/Volumes/My Disk/"), line); // no doubled slash
    EXPECT_TRUE(commands.runs.empty());
    EXPECT_EQ(runner.secureEraseFreeSpace("/Volumes/My Disk"), 0);
    EXPECT_EQ(commands.lines(), Lines{line});
    EXPECT_STREQ(kOVSecureEraseFreeSpaceTempFilename, "secure-erase.temp");
}

TEST_F(VolumeTasks, SecureEraseLineDoesNotEscape) {
    EXPECT_EQ(runner.secureEraseFreeSpaceCommand("/a\"$b"),
              "(trap '/bin/rm -fv \"/a\"$b/secure-erase.temp\"' INT TERM EXIT; "
              "/bin/dd if=/dev/zero of=\"/a\"$b/secure-erase.temp\" bs=1k; "
              "/usr/bin/srm -vfmr -- \"/a\"$b/secure-erase.temp\")");
    EXPECT_NE(runner.secureEraseFreeSpaceCommand("").find("of=\"secure-erase.temp\""), std::string::npos);
}

MountedFileSystem volume(const std::string& place, std::uint32_t owner, std::uint32_t flags = kMountLocal) {
    return {
        .mountPoint = place, .owner = owner, .flags = flags, .blockSize = 4096, .blocks = 1000, .availableBlocks = 10};
}

TEST_F(VolumeTasks, KeysAreTheirOwnNames) {
    EXPECT_STREQ(OVVolumePath, "OVVolumePath");
    EXPECT_STREQ(OVVolumeOwner, "OVVolumeOwner");
    EXPECT_STREQ(OVVolumeIsLocal, "OVVolumeIsLocal");
    EXPECT_STREQ(OVVolumeFreeSpace, "OVVolumeFreeSpace");
    EXPECT_STREQ(OVVolumeTotalSpace, "OVVolumeTotalSpace");
}

TEST_F(VolumeTasks, ListsBrowsableVolumesInOrder) {
    volumes.mounted = {volume("/", 0, kMountRootFileSystem | kMountLocal), volume("/b", 501),
                       volume("/dev", 0, kMountDontBrowse), volume("/both", 0, kMountDontBrowse | kMountRootFileSystem),
                       volume("/a c", 4294967294U, kMountNoSetUserID)};
    volumes.mounted->at(4).blockSize = 4294967295U;
    volumes.mounted->at(4).blocks = std::uint64_t{1} << 31U;
    const auto list = runner.mountedBrowsableVolumes();
    ASSERT_TRUE(list);
    ASSERT_EQ(list->size(), 2U);
    EXPECT_EQ(list->at(0), (OVVolumeDictionary{"/b", 501, true, 4096000, 40960}));
    // Neither the block size nor the product is cut to 32 bits.
    EXPECT_EQ(list->at(1),
              (OVVolumeDictionary{"/a c", 4294967294U, false, std::uint64_t{4294967295U} << 31U, 42949672950U}));
    EXPECT_TRUE(log.messages.empty());
}

TEST_F(VolumeTasks, MountFlagsHaveThePlatformsValues) {
    // As numbers: the platform's own lists come with these.
    volumes.mounted = {volume("/local", 1, 0x00001000), volume("/start-up", 1, 0x00004000),
                       volume("/hidden", 1, 0x00100000), volume("/every other", 1, ~0x00105000U)};
    EXPECT_EQ(runner.mountedBrowsableVolumes(),
              (std::vector<OVVolumeDictionary>{{"/local", 1, true, 4096000, 40960},
                                               {"/every other", 1, false, 4096000, 40960}}));
}

TEST_F(VolumeTasks, DictionariesHoldFiveKeysAndNoOther) {
    const OVVolumeDictionary volume{"/b", 501, true, 4096000, 40960};
    std::vector<std::pair<std::string, std::variant<std::string, std::uint64_t, bool>>> objects;
    volume.forEachObject([&](const char* key, const auto& object) { objects.emplace_back(key, object); });
    EXPECT_EQ(objects, (decltype(objects){{"OVVolumeFreeSpace", std::uint64_t{40960}},
                                          {"OVVolumeIsLocal", true},
                                          {"OVVolumeOwner", std::uint64_t{501}},
                                          {"OVVolumePath", std::string("/b")},
                                          {"OVVolumeTotalSpace", std::uint64_t{4096000}}}));
}

TEST_F(VolumeTasks, StartUpVolumeAloneYieldsAnEmptyList) {
    volumes.mounted = {volume("/", 0, kMountRootFileSystem)};
    EXPECT_EQ(runner.mountedBrowsableVolumes(), std::vector<OVVolumeDictionary>{});
    EXPECT_EQ(runner.ejectAllVolumes(), 0);
    volumes.mounted = std::vector<MountedFileSystem>{};
    EXPECT_EQ(runner.mountedBrowsableVolumes(), std::vector<OVVolumeDictionary>{});
    EXPECT_TRUE(commands.runs.empty() && log.messages.empty());
}

TEST_F(VolumeTasks, NoMountsAtAllYieldNothing) {
    EXPECT_EQ(runner.mountedBrowsableVolumes(), std::nullopt);
    EXPECT_EQ(log.messages, Lines{"No volumes found"});
    EXPECT_EQ(runner.ejectAllVolumes(), 0);
    EXPECT_TRUE(commands.runs.empty());
}

TEST_F(VolumeTasks, EjectsTheRealUsersVolumesAlone) {
    calls.userID = 501;
    volumes.mounted = {volume("/root's", 0), volume("/one", 501), volume("/other", 502), volume("/two b", 501),
                       volume("/hidden", 501, kMountDontBrowse)};
    EXPECT_EQ(runner.ejectAllVolumes(), 0);
    using Command = test::RecordingCommands::Run;
    EXPECT_EQ(commands.runs, (std::vector<Command>{{"/usr/sbin/diskutil", {"unmount", "/one"}},
                                                   {"/usr/sbin/diskutil", {"unmount", "/two b"}}}));
}

TEST_F(VolumeTasks, FirstFailedEjectEndsTheWalk) {
    calls.userID = 501;
    volumes.mounted = {volume("/one", 501), volume("/two", 501), volume("/three", 501)};
    commands.results = {0, OVShellCommandCancelled};
    EXPECT_EQ(runner.ejectAllVolumes(), 2);
    EXPECT_EQ(commands.runs.size(), 2U);
    commands.results = {1};
    EXPECT_EQ(runner.ejectAllVolumes(), 1);
    EXPECT_EQ(commands.runs.size(), 3U);
}

// Deletion.

TEST_F(Deletion, CommandPrefixes) {
    EXPECT_EQ(runner.secureDeleteItemsAtPaths({"/a"}), 0);
    EXPECT_EQ(runner.forceDeleteItemsAtPaths({"/a"}), 0);
    EXPECT_EQ(commands.lines(), (Lines{deletionLine(kSecure, 1), deletionLine(kForce, 2)}));
}

TEST_F(Deletion, GlobsAreExpandedFirst) {
    folder.makeFile("x1");
    folder.makeFile("x2");
    std::string list;
    commands.during = [&](OVShellCommandDelegate&) { list = test::contentsOf(listFile()); };
    EXPECT_EQ(runner.forceDeleteItemsAtGlobs({folder.at("none*"), folder.at("x*")}), 0);
    EXPECT_EQ(list, folder.at("x1") + "\n" + folder.at("x2"));
    EXPECT_EQ(commands.lines(), Lines{deletionLine(kForce)});
}

TEST_F(Deletion, FilesAreThoseTheOwnerChooses) {
    owner.input = Paths{"/one", "/two"};
    std::string list;
    commands.during = [&](OVShellCommandDelegate&) {
        list = test::contentsOf(listFile(static_cast<int>(commands.runs.size())));
    };
    commands.results = {0, 1};
    EXPECT_EQ(runner.secureDeleteFiles(), 0);
    EXPECT_EQ(list, "/one\n/two");
    EXPECT_EQ(runner.forceDeleteFiles(), 1);
    EXPECT_EQ(commands.lines(), (Lines{deletionLine(kSecure, 1), deletionLine(kForce, 2)}));
    EXPECT_EQ(owner.prompts, (std::vector<std::pair<bool, bool>>{{false, true}, {false, true}}));
}

TEST_F(Deletion, NoChoiceIsACancel) {
    EXPECT_EQ(runner.secureDeleteFiles(), 2);
    EXPECT_EQ(runner.forceDeleteFiles(), 2);
    EXPECT_EQ(runner.removeDSStoreFilesInFolder(), 2);
    EXPECT_EQ(owner.prompts.size(), 3U);
    EXPECT_TRUE(commands.runs.empty());
}

TEST_F(Deletion, OwnerWhoCancelsIsNotPrompted) {
    owner.cancels = true;
    owner.input = Paths{"/one"};
    EXPECT_EQ(runner.secureDeleteFiles(), 2);
    EXPECT_EQ(runner.forceDeleteFiles(), 2);
    EXPECT_EQ(runner.removeDSStoreFilesInFolder(), 2);
    EXPECT_EQ(runner.promptForFiles(), std::nullopt);
    EXPECT_EQ(runner.promptForFolder(), std::nullopt);
    EXPECT_EQ(owner.cancelQuestions, 5);
    EXPECT_TRUE(owner.prompts.empty() && commands.runs.empty());
}

TEST_F(Deletion, WithoutAnOwnerNothingIsChosen) {
    runner.setDelegate(nullptr);
    EXPECT_EQ(runner.pathsWithDirectoriesOnly(true, true), std::nullopt);
    EXPECT_EQ(runner.forceDeleteFiles(), 2);
}

TEST_F(Deletion, EmptyChoiceIsNoCancel) {
    owner.input = Paths{};
    EXPECT_EQ(runner.promptForFiles(), Paths{});
    EXPECT_EQ(runner.secureDeleteFiles(), 0);
    EXPECT_EQ(runner.forceDeleteFiles(), 0);
    EXPECT_EQ(commands.lines(), (Lines{deletionLine(kSecure, 1), deletionLine(kForce, 2)})) << "on empty lists";
}

TEST_F(Deletion, FolderIsTheFirstOfTheAnswer) {
    owner.input = Paths{"/one", "/two"};
    EXPECT_EQ(runner.promptForFolder(), "/one");
    EXPECT_EQ(owner.prompts, (std::vector<std::pair<bool, bool>>{{true, false}}));
    EXPECT_EQ(runner.removeDSStoreFilesInFolder(), 0);
    EXPECT_EQ(commands.lines(), Lines{"/usr/bin/find \"/one\" -name .DS_Store -type f -print0 | "
                                      "/usr/bin/xargs -0 /bin/rm -fv"});
}

TEST_F(Deletion, EmptyAnswerToTheFolderPromptStopsTheProcess) {
    owner.input = Paths{};
    OVSetLogSink(nullptr);
    EXPECT_DEATH(runner.promptForFolder(), "promptForFolder");
    OVSetLogSink(&log);
}

TEST_F(Deletion, PromptPassesItsFlagsOn) {
    owner.input = Paths{"/x"};
    for (const bool directories : {false, true}) {
        for (const bool multiple : {false, true}) {
            EXPECT_EQ(runner.pathsWithDirectoriesOnly(directories, multiple), Paths{"/x"});
            EXPECT_EQ(owner.prompts.back(), std::make_pair(directories, multiple));
        }
    }
}

TEST_F(Deletion, TrashOperationsDeleteNothing) {
    EXPECT_EQ(runner.userTrashitems(), Paths{});
    Lines lists;
    commands.during = [&](OVShellCommandDelegate&) {
        lists.push_back(test::contentsOf(listFile(static_cast<int>(commands.runs.size()))));
    };
    EXPECT_EQ(runner.secureEmptyTrash(), 0);
    EXPECT_EQ(runner.forceEmptyTrash(), 0);
    EXPECT_EQ(lists, (Lines{"", ""}));
    EXPECT_EQ(commands.lines(), (Lines{deletionLine(kSecure, 1), deletionLine(kForce, 2)}));
}

TEST_F(Deletion, HomeIsTheRealUsersInThePasswordDatabase) {
    ::setenv("HOME", "/somewhere/else", 1);
    const std::string own = ::getpwuid(::getuid())->pw_dir;
    EXPECT_EQ(runner.homeDirectory(), own);
    ::setenv("HOME", own.c_str(), 1);
    calls.userID = 1;
    const std::string home = ::getpwuid(1)->pw_dir;
    EXPECT_EQ(runner.homeDirectory(), home);
    EXPECT_EQ(runner.userLibraryFolder(), home + "/Library");
    EXPECT_EQ(runner.removeDSStoreFilesInHomeFolder(), 0);
    EXPECT_EQ(commands.lines(),
              Lines{"/usr/bin/find \"" + home + "\" -name .DS_Store -type f -print0 | /usr/bin/xargs -0 /bin/rm -fv"});
}

TEST_F(Deletion, UnknownUserStopsTheProcess) {
    calls.userID = 3999999999U;
    OVSetLogSink(nullptr);
    EXPECT_DEATH(runner.homeDirectory(), "homeDirectory");
    OVSetLogSink(&log);
}

// Preferences and leftovers.

TEST_F(Preferences, RepairLine) {
    const std::string rest = " -path \"*/Preferences/*.plist\" -print0 | xargs -0 /usr/bin/plutil -lint -s | "
                             "grep 'plist:' | sed -e 's/plist:.*$/plist/' | xargs rm -fv";
    EXPECT_EQ(runner.removeCorruptPreferencesInPaths({"/Users/a b/Library", "/Library"}), 0);
    EXPECT_EQ(runner.removeCorruptPreferencesInPaths({}), 0);
    EXPECT_EQ(runner.removeCorruptPreferencesInPaths({"/a\"b"}), 0); // nothing is escaped
    calls.userID = 1;
    EXPECT_EQ(runner.removeCorruptUserPreferences(), 0);
    EXPECT_EQ(commands.lines(), (Lines{"/usr/bin/find \"/Users/a b/Library\" \"/Library\"" + rest,
                                       "/usr/bin/find" + rest, "/usr/bin/find \"/a\"b\"" + rest,
                                       "/usr/bin/find \"" + std::string(::getpwuid(1)->pw_dir) + "/Library\"" + rest}));
}

TEST_F(Preferences, StaleFilesLine) {
    commands.results = {OVShellCommandCancelled};
    EXPECT_EQ(runner.cleanStaleTemporaryFiles(), 2);
    EXPECT_EQ(commands.lines(),
              Lines{"find /var/folders -name 'secure-erase.temp' -print -delete 2>&1 | cat - > /dev/null; "
                    "find /Volumes/* -name 'secure-erase.temp' -maxdepth 1 -print -delete 2>&1 | cat - > "
                    "/dev/null; true"});
}

// With real commands.

/// Runs commands really, with some words of them replaced by ones that a test provides.
class ReplacingCommands final : public CommandRunner {
  public:
    Outcome runCommandAtPath(const std::string& path, const std::vector<std::string>& arguments,
                             OVShellCommandDelegate* delegate) override {
        std::vector<std::string> replaced;
        for (const std::string& argument : arguments) {
            replaced.push_back(withReplacements(argument));
        }
        return shellCommands().runCommandAtPath(withReplacements(path), replaced, delegate);
    }

    std::vector<std::pair<std::string, std::string>> replacements;

  private:
    [[nodiscard]] std::string withReplacements(std::string text) const {
        for (const auto& [from, to] : replacements) {
            for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
                text.replace(at, from.size(), to);
            }
        }
        return text;
    }
};

class Real : public ::testing::Test {
  protected:
    Real() {
        runner.setDelegate(test::unowned<OVTaskDelegate>(owner));
        temporary.makeFolder("lists");
    }

    /// Puts a shell script in a program's place.
    void program(const std::string& path, const std::string& body) {
        const std::string name = "program-" + lastPathComponent(path);
        ::chmod(temporary.makeFile(name, "#!/bin/sh\n" + body).c_str(), 0755);
        commands.replacements.emplace_back(path, temporary.at(name));
    }

    test::Folder folder;
    test::Folder temporary;
    test::FakeProcessInfo processInfo{temporary.at("lists")};
    ReplacingCommands commands;
    test::RecordingDelegate owner;
    testing::RecordingLog log;
    OVTaskRunner runner{OVTaskRunnerServices{.processInfo = processInfo, .commands = commands}};
};

using RealCommands = Real;

TEST_F(RealCommands, OnlyACancelYieldsTwo) {
    EXPECT_EQ(runner.runBashCommand("exit 0"), 0);
    EXPECT_EQ(runner.runBashCommand("exit 2"), 1);
    EXPECT_EQ(runner.runBashCommand("kill -9 $$"), 2);
    owner.cancels = true;
    EXPECT_EQ(runner.runBashCommand("echo never > " + folder.at("file")), 2);
    EXPECT_FALSE(test::exists(folder.at("file")));
}

TEST_F(RealCommands, OutputReachesTheDelegate) {
    EXPECT_EQ(runner.runBashCommand("printf 'no newline'; echo ' and errors' >&2"), 0);
    EXPECT_EQ(owner.output, "no newline and errors\n");
}

TEST_F(RealCommands, StatusIsThatOfThePipelinesLastCommand) {
    EXPECT_EQ(runner.runBashCommand("false | true"), 0);
    EXPECT_EQ(runner.runBashCommand("true | false"), 1);
}

TEST_F(RealCommands, EachPathIsOneArgumentInOrder) {
    program("/test/show", "printf '<%s>' \"$@\"\necho\n");
    EXPECT_EQ(runner.runBashCommand("/test/show -v --", Paths{"/z", "/a b c", "/caf\xC3\xA9", "/$HOME*;&"}), 0);
    EXPECT_EQ(owner.output, "<-v><--></z>\n<-v><--></a b c>\n<-v><--></caf\xC3\xA9>\n<-v><--></$HOME*;&>\n");
}

TEST_F(RealCommands, EmptyListRunsNothing) {
    program("/test/show", "echo ran\n");
    EXPECT_EQ(runner.runBashCommand("/test/show", Paths{}), 0);
    EXPECT_EQ(owner.output, "");
    EXPECT_EQ(test::namesIn(temporary.at("lists")), Lines{"unique-1"});
    EXPECT_TRUE(test::namesIn(temporary.at("lists/unique-1")).empty());
}

TEST_F(RealCommands, FailureOfOnePathFailsTheTask) {
    program("/test/some", "case \"$1\" in */bad) exit 1;; esac\necho \"$1\"\n");
    EXPECT_EQ(runner.runBashCommand("/test/some", Paths{"/good", "/bad", "/last"}), 1);
    EXPECT_EQ(owner.output, "/good\n/last\n");
}

TEST_F(RealCommands, NewlinesQuotesAndBackslashesAreNotProtected) {
    program("/test/show", "printf '<%s>' \"$1\"\n");
    runner.runBashCommand("/test/show", Paths{"/a\n/b", "/c\\d"});
    EXPECT_EQ(owner.output, "</a></b></cd>");
    owner.output.clear();
    EXPECT_EQ(runner.runBashCommand("/test/show", Paths{"/it's"}), 1); // an unmatched quote
    EXPECT_EQ(owner.output.find("</it's>"), std::string::npos);
}

TEST_F(RealCommands, TellWhichProcessRan) {
    const CommandRunner::Outcome outcome =
        CommandRunner::shellCommands().runCommandAtPath("/bin/sh", {"-c", "echo $$; exit 5"}, &runner);
    EXPECT_EQ(outcome.result, 5);
    EXPECT_EQ(owner.output, std::to_string(outcome.processID) + "\n");
}

TEST_F(RealCommands, ForcedDeletionRemovesFilesAndFolders) {
    folder.makeFile("a b.txt");
    folder.makeFolder("tree/deep");
    folder.makeFile("tree/deep/file");
    folder.makeFile("stays");
    EXPECT_EQ(runner.forceDeleteItemsAtPaths({folder.at("a b.txt"), folder.at("tree"), folder.at("missing")}), 0);
    EXPECT_EQ(test::namesIn(folder.path), Lines{"stays"});
    EXPECT_NE(owner.output.find("a b.txt"), std::string::npos);
    EXPECT_NE(owner.output.find("tree/deep/file"), std::string::npos);
}

TEST_F(RealCommands, ForcedDeletionByGlobs) {
    folder.makeFile("one.log");
    folder.makeFile("two.log");
    folder.makeFile("stays.txt");
    EXPECT_EQ(runner.forceDeleteItemsAtGlobs({folder.at("*.log"), folder.at("none*")}), 0);
    EXPECT_EQ(test::namesIn(folder.path), Lines{"stays.txt"});
    EXPECT_EQ(runner.forceDeleteItemsAtGlobs({folder.at("*.log")}), 0); // nothing left to expand to
}

TEST_F(RealCommands, ForcedDeletionReadsADashAsOptions) {
    const std::unique_ptr<char, void (*)(void*)> before(::getcwd(nullptr, 0), std::free);
    ASSERT_EQ(::chdir(folder.path.c_str()), 0);
    folder.makeFile("-x");
    EXPECT_EQ(runner.forceDeleteItemsAtPaths({"-x"}), 1);
    EXPECT_TRUE(test::exists(folder.at("-x")));
    program("/usr/bin/srm", "while [ \"$1\" != -- ]; do shift; done; shift; rm -f -- \"$1\"\n");
    EXPECT_EQ(runner.secureDeleteItemsAtPaths({"-x"}), 0);
    EXPECT_FALSE(test::exists(folder.at("-x")));
    ASSERT_EQ(::chdir(before.get()), 0);
}

TEST_F(RealCommands, CancelledDeletionRemovesTheListAllTheSame) {
    program("/test/slow", "sleep 30\n");
    owner.cancelsAfter = 3;
    EXPECT_EQ(runner.runBashCommand("/test/slow", Paths{"/a"}), 2);
    EXPECT_TRUE(test::namesIn(temporary.at("lists/unique-1")).empty());
}

TEST_F(RealCommands, DSStoreSweepTakesRegularFilesOfThatNameAlone) {
    folder.makeFolder("with blank/deep");
    folder.makeFolder("with blank/folder/.DS_Store");
    folder.makeFile("with blank/.DS_Store");
    folder.makeFile("with blank/deep/.DS_Store");
    folder.makeFile("with blank/folder/.DS_Store/inner");
    folder.makeFile("with blank/x.DS_Store");
    folder.makeFile("with blank/.DS_Store2");
    EXPECT_EQ(runner.removeDSStoreFilesInPath(folder.at("with blank")), 0);
    EXPECT_FALSE(test::exists(folder.at("with blank/.DS_Store")));
    EXPECT_FALSE(test::exists(folder.at("with blank/deep/.DS_Store")));
    EXPECT_TRUE(test::exists(folder.at("with blank/folder/.DS_Store/inner")));
    EXPECT_TRUE(test::exists(folder.at("with blank/x.DS_Store")));
    EXPECT_TRUE(test::exists(folder.at("with blank/.DS_Store2")));
    EXPECT_EQ(std::count(owner.output.begin(), owner.output.end(), '\n'), 2); // one line for each
}

TEST_F(RealCommands, DSStoreSweepOfAMissingFolderComplains) {
    EXPECT_EQ(runner.removeDSStoreFilesInPath(folder.at("missing")), 0); // rm -f with nothing to do
    EXPECT_NE(owner.output.find("missing"), std::string::npos);
}

TEST_F(RealCommands, RepairRemovesDamagedPreferencesAlone) {
    program("/usr/bin/plutil", "for file in \"$@\"; do case \"$file\" in -*) continue;; esac\n"
                               "grep -q '<plist' \"$file\" || echo \"$file: Unexpected character\"; done\n");
    for (const char* const name : {"Library/Preferences/ByHost", "Library/Other", "Second/Preferences"}) {
        folder.makeFolder(name);
    }
    const std::string good = folder.makeFile("Library/Preferences/good.plist", "<plist>");
    const std::string bad = folder.makeFile("Library/Preferences/bad.plist", "x");
    const std::string deep = folder.makeFile("Library/Preferences/ByHost/deep.plist", "x");
    const std::string blank = folder.makeFile("Library/Preferences/a b.plist", "x");
    const std::string outside = folder.makeFile("Library/Other/bad.plist", "x");
    const std::string text = folder.makeFile("Library/Preferences/bad.txt", "x");
    const std::string second = folder.makeFile("Second/Preferences/bad.plist", "x");
    EXPECT_EQ(runner.removeCorruptPreferencesInPaths({folder.at("Library"), folder.at("Second")}), 0);
    EXPECT_TRUE(test::exists(good) && test::exists(outside) && test::exists(text));
    EXPECT_TRUE(test::exists(blank)); // the last xargs splits it
    EXPECT_FALSE(test::exists(bad) || test::exists(deep) || test::exists(second));
    for (const std::string& path : {bad, deep, second}) {
        EXPECT_NE(owner.output.find(path), std::string::npos) << path;
    }
    EXPECT_EQ(owner.output.find("good"), std::string::npos);
}

TEST_F(RealCommands, StaleFilesAreRemovedWhereTheyAreLookedFor) {
    commands.replacements = {{"/var/folders", folder.at("folders")}, {"/Volumes/*", folder.at("Volumes/*")}};
    folder.makeFolder("folders/ab/cd/T");
    folder.makeFolder("Volumes/Data/inner");
    const std::string deep = folder.makeFile("folders/ab/cd/T/secure-erase.temp");
    const std::string top = folder.makeFile("Volumes/Data/secure-erase.temp");
    const std::string below = folder.makeFile("Volumes/Data/inner/secure-erase.temp");
    const std::string other = folder.makeFile("folders/ab/other.temp");
    EXPECT_EQ(runner.cleanStaleTemporaryFiles(), 0);
    EXPECT_FALSE(test::exists(deep) || test::exists(top));
    EXPECT_TRUE(test::exists(below) && test::exists(other));
    EXPECT_EQ(owner.output, "");
}

TEST_F(RealCommands, NothingStaleIsASuccess) {
    commands.replacements = {{"/var/folders", folder.at("none")}, {"/Volumes/*", folder.at("none/*")}};
    EXPECT_EQ(runner.cleanStaleTemporaryFiles(), 0);
    EXPECT_EQ(owner.output, "");
}

TEST_F(RealCommands, SecureEraseFillsOverwritesAndLeavesNothing) {
    program("/bin/dd", "for word in \"$@\"; do case \"$word\" in of=*) echo filling; head -c 4096 /dev/zero > "
                       "\"${word#of=}\"; esac; done; exit 1\n");
    program("/usr/bin/srm", "echo \"overwriting $(($(wc -c < \"$3\")))\"; exit 0\n"); // fails to remove
    folder.makeFolder("My Disk");
    EXPECT_EQ(runner.secureEraseFreeSpace(folder.at("My Disk")), 0);
    EXPECT_TRUE(test::namesIn(folder.at("My Disk")).empty()); // the trap removed it
    EXPECT_TRUE(owner.output.starts_with("filling\noverwriting 4096\n")) << owner.output;
}

TEST_F(RealCommands, DiskUtilityGetsAPathWithBlanksAsOneArgument) {
    program("/usr/sbin/diskutil", "printf '<%s>' \"$@\"\n[ -n \"$2\" ]\n");
    EXPECT_EQ(runner.repairVolume("/Volumes/My Disk"), 0);
    EXPECT_EQ(runner.repairVolume(""), 1);
    EXPECT_EQ(owner.output, "<repairVolume></Volumes/My Disk><repairVolume><>");
}

} // namespace
} // namespace orvane
