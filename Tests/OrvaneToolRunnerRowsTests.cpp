#include "Helper Tool/OrvaneTool.h"

#include "Tests/TaskRunnerTestSupport.h"

#include <sys/wait.h>

namespace orvane {
namespace {

using Lines = std::vector<std::string>;
using Command = test::RecordingCommands::Run;

class OrvaneToolRunnerRows : public ::testing::Test, public test::RecordingWorld {
  protected:
    [[nodiscard]] std::string listFile() const { return folder.at("unique-1/files-to-remove.txt"); }

    OrvaneTool tool{services()};
};

TEST_F(OrvaneToolRunnerRows, DiskUtilityRows) {
    commands.results = {0, 1, OVShellCommandCancelled};
    EXPECT_EQ(tool.runTask("repairPermissions", {"ignored"}), 0);
    EXPECT_EQ(tool.runTask("repairVolume", {"/Volumes/My Disk", "ignored"}), 1);
    EXPECT_EQ(tool.runTask("ejectVolume", {"/Volumes/My Disk"}), 2);
    EXPECT_EQ(commands.runs, (std::vector<Command>{{"/usr/sbin/diskutil", {"repairPermissions", "/"}},
                                                   {"/usr/sbin/diskutil", {"repairVolume", "/Volumes/My Disk"}},
                                                   {"/usr/sbin/diskutil", {"unmount", "/Volumes/My Disk"}}}));
    EXPECT_TRUE(calls.systemLines.empty());
}

TEST_F(OrvaneToolRunnerRows, MissingArgumentIsTheEmptyText) {
    tool.runTask("repairVolume", {});
    tool.runTask("ejectVolume", {});
    EXPECT_EQ(commands.runs, (std::vector<Command>{{"/usr/sbin/diskutil", {"repairVolume", ""}},
                                                   {"/usr/sbin/diskutil", {"unmount", ""}}}));
    tool.runTask("secureEraseFreeSpace", {});
    ASSERT_EQ(calls.systemLines.size(), 1U);
    EXPECT_NE(calls.systemLines[0].find("of=\"secure-erase.temp\""), std::string::npos);
}

TEST_F(OrvaneToolRunnerRows, SecureEraseGoesThroughTheToolsOwnShell) {
    calls.systemResult = 256;
    EXPECT_EQ(tool.runTask("secureEraseFreeSpace", {"/Volumes/Data"}), 256);
    EXPECT_EQ(calls.systemLines,
              Lines{"/bin/date; (trap '/bin/rm -fv \"/Volumes/Data/secure-erase.temp\"' INT TERM EXIT; "
                    "/bin/dd if=/dev/zero of=\"/Volumes/Data/secure-erase.temp\" bs=1k; "
                    "/usr/bin/srm -vfmr -- \"/Volumes/Data/secure-erase.temp\"); /bin/echo; sleep 1; "
                    "/bin/date;"});
    EXPECT_TRUE(commands.runs.empty());
}

TEST_F(OrvaneToolRunnerRows, UnknownNameRunsNothing) {
    for (const char* const name : {"", "Feat", "feat ", "repairpermissions", "secureEmptyTrash2"}) {
        EXPECT_EQ(tool.runTask(name, {}), -1) << name;
    }
    EXPECT_TRUE(commands.runs.empty() && calls.systemLines.empty() && calls.order.empty());
}

TEST_F(OrvaneToolRunnerRows, OwnRowsRunNoCommandOfTheRunner) {
    EXPECT_EQ(tool.runTask("flushDNS", {}), 0);
    EXPECT_EQ(calls.systemLines.size(), 1U);
    EXPECT_TRUE(commands.runs.empty());
}

TEST_F(OrvaneToolRunnerRows, RunnersDelegateIsTheTool) {
    commands.during = [](OVShellCommandDelegate& delegate) {
        EXPECT_FALSE(delegate.shellCommandShouldCancel());
        delegate.shellCommandHasOutputAvailable("no newline");
        delegate.shellCommandHasOutputAvailable(std::nullopt);
        delegate.shellCommandHasOutputAvailable(" 100 %s\n%d");
    };
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(tool.runTask("repairPermissions", {}), 0);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "no newline 100 %s\n%d");
}

TEST_F(OrvaneToolRunnerRows, AnswersOfTheTool) {
    ::testing::internal::CaptureStdout();
    tool.taskWillBegin(nullptr);
    tool.task(nullptr, 1);
    EXPECT_FALSE(tool.shouldCancel());
    EXPECT_EQ(tool.archiveDesktopPath(), std::nullopt);
    EXPECT_EQ(tool.largeFilesSize(), 0U);
    EXPECT_EQ(tool.inputPathsWithDirectoriesOnly(false, true), std::nullopt);
    tool.hasOutputAvailable("");
    tool.hasOutputAvailable(std::nullopt);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
    EXPECT_TRUE(log.messages.empty());
}

TEST_F(OrvaneToolRunnerRows, OutputIsPrintedAsTextUpToANullCharacter) {
    ::testing::internal::CaptureStdout();
    tool.hasOutputAvailable(std::string_view("caf\xC3\xA9\0lost", 10));
    tool.hasOutputAvailable(std::string_view("part of a longer text", 4)); // not ended by a null character
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "caf\xC3\xA9part");
}

TEST_F(OrvaneToolRunnerRows, OutputIsNotFlushed) {
    const test::Folder place;
    const std::string file = place.makeFile("output");
    const pid_t child = ::fork();
    if (child == 0) {
        if (std::freopen(file.c_str(), "w", stdout) == nullptr) {
            ::_exit(1);
        }
        tool.hasOutputAvailable("buffered\n");
        ::_exit(test::contentsOf(file).empty() ? 0 : 2); // the text goes with the process
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(test::contentsOf(file), "");
}

/// The tool with folders of its own at "/Users", "/Volumes" and "/Library", in a process of its own.
class OrvaneToolOnUserFolders : public OrvaneToolRunnerRows {
  protected:
    /// Runs the checks where `/Users` and its like are new empty folders; they return 0 or the number of the
    /// one that failed.
    int withUserFolders(const std::function<int()>& checks) {
        constexpr int kCannotMount = 254;
        const pid_t child = ::fork();
        if (child == 0) {
            ::_exit(enterOwnRoot() ? checks() : kCannotMount);
        }
        int status = 0;
        EXPECT_EQ(::waitpid(child, &status, 0), child);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    void SetUp() override {
        if (withUserFolders([] { return 0; }) != 0) {
            GTEST_SKIP() << "this needs the right to change the root folder";
        }
    }

    /// Makes an empty file with the folders above it.
    static void file(const std::string& path) {
        for (std::size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1)) {
            ::mkdir(path.substr(0, slash).c_str(), 0755);
        }
        ::close(::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
    }

    /// The task's status, its line and the list that the line would have read.
    struct Seen {
        std::int32_t status = 0;
        std::string line;
        std::string list;
    };
    Seen run(std::string_view task) {
        Seen seen;
        commands.during = [&](OVShellCommandDelegate&) {
            if (test::exists(list())) {
                seen.list = test::contentsOf(list());
            }
        };
        seen.status = tool.runTask(task, {});
        const auto lines = commands.lines();
        seen.line = lines.size() == 1 ? lines[0] : "not one line";
        return seen;
    }

    static std::string list() { return "/unique-1/files-to-remove.txt"; }
    static std::string deletion(const std::string& command) {
        return "cat " + list() + " | xargs -I __FILE__ " + command + " '__FILE__'";
    }

    test::FakeProcessInfo rootInfo{"/"};
    OrvaneTool tool{OVTaskRunnerServices{
        .calls = calls, .volumes = volumes, .appleScript = appleScript, .processInfo = rootInfo, .commands = commands}};

  private:
    bool enterOwnRoot() const { return ::chroot(folder.path.c_str()) == 0 && ::chdir("/") == 0; }
};

constexpr const char* kRepairRest =
    " -path \"*/Preferences/*.plist\" -print0 | xargs -0 /usr/bin/plutil -lint -s | grep 'plist:' | "
    "sed -e 's/plist:.*$/plist/' | xargs rm -fv";

TEST_F(OrvaneToolOnUserFolders, RepairChecksEveryUsersLibraryAndThenTheSystems) {
    EXPECT_EQ(withUserFolders([&] {
                  file("/Users/b c/Library/x");
                  file("/Users/a/Library/x");
                  file("/Users/none");
                  const Seen seen = run("rpf");
                  if (seen.status != 0) {
                      return 1;
                  }
                  return seen.line == std::string("/usr/bin/find \"/Users/a/Library\" \"/Users/b c/Library\" "
                                                  "\"/Library\"") +
                                          kRepairRest
                             ? 0
                             : 2;
              }),
              0);
}

TEST_F(OrvaneToolOnUserFolders, RepairWithoutUsersChecksTheSystemsLibrary) {
    EXPECT_EQ(withUserFolders([&] {
                  commands.results = {1};
                  const Seen seen = run("rpf");
                  if (seen.status != 1) {
                      return 1;
                  }
                  return seen.line == std::string("/usr/bin/find \"/Library\"") + kRepairRest ? 0 : 2;
              }),
              0);
}

TEST_F(OrvaneToolOnUserFolders, CachesOfAllUsersAreDeletedByForce) {
    EXPECT_EQ(withUserFolders([&] {
                  file("/Users/b/Library/Caches/two words");
                  file("/Users/a/Library/Caches/one");
                  file("/Users/a/Library/Caches/.hidden");
                  file("/Users/a/Library/other");
                  const Seen seen = run("cauc");
                  if (seen.status != 0 || seen.line != deletion("rm -rfv")) {
                      return 1;
                  }
                  return seen.list == "/Users/a/Library/Caches/one\n/Users/b/Library/Caches/two words" ? 0 : 2;
              }),
              0);
}

void fillTrashes(void (*file)(const std::string& path)) {
    file("/Users/ann/.Trash/home");
    file("/Volumes/Disk/.Trashes/501/two");
    file("/Volumes/Disk/.Trash/one");
    file("/Volumes/Disk/kept");
}

constexpr const char* kTrashed = "/Volumes/Disk/.Trash/one\n/Volumes/Disk/.Trashes/501/two\n/Users/ann/.Trash/home";

TEST_F(OrvaneToolOnUserFolders, TrashIsDeletedByForceInTheOrderOfItsGlobs) {
    EXPECT_EQ(withUserFolders([&] {
                  fillTrashes(file);
                  const Seen seen = run("feat");
                  if (seen.status != 0 || seen.line != deletion("rm -rfv")) {
                      return 1;
                  }
                  return seen.list == kTrashed ? 0 : 2;
              }),
              0);
}

TEST_F(OrvaneToolOnUserFolders, TrashIsDeletedSecurely) {
    EXPECT_EQ(withUserFolders([&] {
                  fillTrashes(file);
                  commands.results = {OVShellCommandCancelled};
                  const Seen seen = run("secureEmptyTrash");
                  if (seen.status != 2 || seen.line != deletion("/usr/bin/srm -v -f -r -m --")) {
                      return 1;
                  }
                  return seen.list == kTrashed ? 0 : 2;
              }),
              0);
}

TEST_F(OrvaneToolOnUserFolders, WithoutTrashTheStatusIsThatOfAnEmptyList) {
    EXPECT_EQ(withUserFolders([&] {
                  const Seen seen = run("feat");
                  return seen.status == 0 && seen.line == deletion("rm -rfv") && seen.list.empty() ? 0 : 1;
              }),
              0);
}

} // namespace
} // namespace orvane
