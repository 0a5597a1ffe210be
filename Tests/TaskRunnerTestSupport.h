#pragma once

#include "Backends/Posix/PosixSystemCalls.h"
#include "Platform/AppleScript.h"
#include "Platform/ProcessInfo.h"
#include "Platform/Volumes.h"
#include "Tasks/OVShellCommand.h"
#include "Tasks/OVTaskDelegate.h"
#include "Tasks/OVTaskRunner.h"
#include "Tests/Fakes/FakeServices.h"
#include "Tests/Fakes/RecordingLog.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <ftw.h>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace orvane::test {

/// A folder that goes away with everything in it.
class Folder {
  public:
    Folder() {
        const char* const parent = std::getenv("TMPDIR"); // see OwnTemporaryFolder.cpp
        std::string pattern = std::string(parent != nullptr ? parent : "/tmp") + "/orvane-test-XXXXXX";
        if (::mkdtemp(pattern.data()) == nullptr) {
            std::abort();
        }
        path = pattern;
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() { ::nftw(path.c_str(), removeOne, 16, FTW_DEPTH | FTW_PHYS); }

    [[nodiscard]] std::string at(std::string_view name) const { return path + "/" + std::string(name); }

    std::string makeFolder(std::string_view name) const {
        std::string result = at(name);
        for (std::size_t slash = result.find('/', 1); slash != std::string::npos; slash = result.find('/', slash + 1)) {
            ::mkdir(result.substr(0, slash).c_str(), 0755);
        }
        EXPECT_TRUE(::mkdir(result.c_str(), 0755) == 0 || errno == EEXIST) << result;
        return result;
    }

    std::string makeFile(std::string_view name, std::string_view contents = "") const {
        std::string result = at(name);
        const int file = ::open(result.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        EXPECT_GE(file, 0) << result;
        EXPECT_EQ(::write(file, contents.data(), contents.size()), static_cast<ssize_t>(contents.size()));
        ::close(file);
        return result;
    }

    std::string path;

  private:
    static int removeOne(const char* entry, const struct stat* /*status*/, int /*type*/, FTW* /*place*/) {
        return ::remove(entry);
    }
};

inline bool exists(const std::string& path) {
    struct stat status = {};
    return ::lstat(path.c_str(), &status) == 0;
}

inline mode_t permissionsOf(const std::string& path) {
    struct stat status = {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777U;
}

inline std::string contentsOf(const std::string& path) {
    std::string text;
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    EXPECT_GE(file, 0) << path;
    std::array<char, 4096> buffer = {};
    ssize_t count = 0;
    while ((count = ::read(file, buffer.data(), buffer.size())) > 0) {
        text.append(buffer.data(), static_cast<std::size_t>(count));
    }
    ::close(file);
    return text;
}

/// The names in a folder, hidden ones too, in no order.
inline std::vector<std::string> namesIn(const std::string& folder) {
    std::vector<std::string> names;
    DIR* const directory = ::opendir(folder.c_str());
    EXPECT_NE(directory, nullptr) << folder;
    while (const dirent* const entry = directory != nullptr ? ::readdir(directory) : nullptr) {
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) {
            names.emplace_back(entry->d_name);
        }
    }
    if (directory != nullptr) {
        ::closedir(directory);
    }
    return names;
}

/// The real system calls, but for those that a test makes fail or watches. A hook that answers nothing lets
/// the real call happen.
class HookedCalls final : public PosixSystemCalls {
  public:
    /// `errno` to fail with; nothing lets the call through.
    using Failure = std::function<std::optional<int>()>;

    uid_t getuid() override { return userID ? *userID : PosixSystemCalls::getuid(); }
    int open(const char* path, int flags, mode_t mode) override {
        opened.emplace_back(flags, mode);
        return failed("open") ? -1 : PosixSystemCalls::open(path, flags, mode);
    }
    ssize_t read(int descriptor, void* bytes, std::size_t count) override {
        return failed("read") ? -1 : PosixSystemCalls::read(descriptor, bytes, count);
    }
    ssize_t write(int descriptor, const void* bytes, std::size_t count) override {
        if (failed("write")) {
            return writeResult;
        }
        return PosixSystemCalls::write(descriptor, bytes, std::min(count, longestWrite));
    }
    int fsync(int descriptor) override { return failed("fsync") ? -1 : PosixSystemCalls::fsync(descriptor); }
    int close(int descriptor) override {
        const bool fails = failed("close");
        const int result = PosixSystemCalls::close(descriptor); // a failing close closes all the same
        if (fails) {
            errno = failureError;
            return -1;
        }
        return result;
    }
    int rename(const char* from, const char* to) override {
        return failed("rename") ? -1 : PosixSystemCalls::rename(from, to);
    }
    int unlink(const char* path) override { return failed("unlink") ? -1 : PosixSystemCalls::unlink(path); }
    int lstat(const char* path, struct stat* status) override {
        return failed("lstat") ? -1 : PosixSystemCalls::lstat(path, status);
    }
    int mkdir(const char* path, mode_t mode) override {
        madeFolders.emplace_back(path, mode);
        if (beforeMkdir) {
            beforeMkdir(path);
        }
        return failed("mkdir") ? -1 : PosixSystemCalls::mkdir(path, mode);
    }
    int kill(pid_t processID, int signal) override {
        return sendSignal ? sendSignal(processID, signal) : PosixSystemCalls::kill(processID, signal);
    }
    int system(const char* line) override {
        systemLines.emplace_back(line);
        return systemResult;
    }

    /// Makes the call fail with the error, `times` times, after having let `passed` through.
    void fail(std::string_view call, int error, int times = 1000, int passed = 0) {
        failingCall = call;
        failureError = error;
        failuresLeft = times;
        passesLeft = passed;
    }

    std::optional<uid_t> userID;
    std::function<int(pid_t, int)> sendSignal; ///< in place of `kill`
    std::size_t longestWrite = static_cast<std::size_t>(-1);
    ssize_t writeResult = -1;
    int systemResult = 0;
    std::vector<std::string> order; ///< the calls made, by name
    std::vector<std::pair<int, mode_t>> opened;
    std::vector<std::pair<std::string, mode_t>> madeFolders;
    std::function<void(const std::string&)> beforeMkdir;
    std::vector<std::string> systemLines;

  private:
    bool failed(std::string_view call) {
        order.emplace_back(call);
        if (call != failingCall || failuresLeft == 0) {
            return false;
        }
        if (passesLeft > 0) {
            --passesLeft;
            return false;
        }
        --failuresLeft;
        errno = failureError;
        return true;
    }

    std::string failingCall;
    int failureError = 0;
    int failuresLeft = 0;
    int passesLeft = 0;
};

class FakeProcessInfo final : public ProcessInfo {
  public:
    explicit FakeProcessInfo(std::string folder) : folder_(std::move(folder)) {}
    std::string globallyUniqueString() override { return "unique-" + std::to_string(++count_); }
    std::string temporaryDirectory() override { return folder_; }

  private:
    std::string folder_;
    int count_ = 0;
};

class FakeVolumes final : public Volumes {
  public:
    std::optional<std::uint32_t> mountFlagsAtPath(const char* /*path*/) override { return std::nullopt; }
    std::optional<std::vector<MountedFileSystem>> mountedFileSystems() override { return mounted; }
    std::optional<std::vector<MountedFileSystem>> mounted;
};

class FakeAppleScript final : public AppleScript {
  public:
    explicit FakeAppleScript(Events& events) : events_(events) {}
    bool execute(const std::string& source) override {
        events_.emplace_back("script");
        sources.push_back(source);
        return result;
    }
    std::vector<std::string> sources;
    bool result = true;

  private:
    Events& events_;
};

/// Runs nothing and remembers what was to be run.
class RecordingCommands final : public CommandRunner {
  public:
    struct Run {
        std::string path;
        std::vector<std::string> arguments;
        bool operator==(const Run&) const = default;
    };

    explicit RecordingCommands(Events& events) : events_(events) {}

    Outcome runCommandAtPath(const std::string& path, const std::vector<std::string>& arguments,
                             OVShellCommandDelegate* delegate) override {
        events_.push_back("run " + path);
        runs.push_back({path, arguments});
        delegates.push_back(delegate);
        if (during) {
            during(*delegate);
        }
        const NSInteger result = results.empty() ? OVShellCommandSuccess : results.front();
        if (!results.empty()) {
            results.erase(results.begin());
        }
        return {.result = result, .processID = 4711};
    }

    /// The shell lines that were to be run; every run must be one.
    [[nodiscard]] std::vector<std::string> lines() const {
        std::vector<std::string> result;
        for (const Run& run : runs) {
            EXPECT_EQ(run.path, "/bin/sh");
            if (run.arguments.size() == 2 && run.arguments[0] == "-c") {
                result.push_back(run.arguments[1]);
            } else {
                ADD_FAILURE() << "no shell line";
            }
        }
        return result;
    }

    std::vector<NSInteger> results; ///< one for each run to come; success when used up
    std::function<void(OVShellCommandDelegate&)> during;
    std::vector<Run> runs;
    std::vector<OVShellCommandDelegate*> delegates;

  private:
    Events& events_;
};

class RecordingDelegate final : public OVTaskDelegate {
  public:
    void taskWillBegin(OVTask* /*task*/) override { ++taskMessages; }
    void task(OVTask* /*task*/, std::int32_t /*completedWithStatus*/) override { ++taskMessages; }
    void hasOutputAvailable(std::optional<std::string_view> chunk) override {
        chunks.push_back(chunk ? std::optional<std::string>(*chunk) : std::nullopt);
        output += chunk.value_or("");
    }
    bool shouldCancel() override {
        ++cancelQuestions;
        return cancels || (cancelsAfter != 0 && cancelQuestions > cancelsAfter);
    }
    std::optional<std::string> archiveDesktopPath() override { return archive; }
    std::uint64_t largeFilesSize() override { return size; }
    std::optional<std::vector<std::string>> inputPathsWithDirectoriesOnly(bool directoriesOnly,
                                                                          bool allowsMultipleSelection) override {
        prompts.emplace_back(directoriesOnly, allowsMultipleSelection);
        return input;
    }

    std::string output;
    std::vector<std::optional<std::string>> chunks;
    int cancelQuestions = 0;
    int taskMessages = 0;
    bool cancels = false;
    int cancelsAfter = 0; ///< how many cancel questions are answered with no before the first yes; 0 for all
    std::optional<std::string> archive;
    std::uint64_t size = 0;
    std::optional<std::vector<std::string>> input;
    std::vector<std::pair<bool, bool>> prompts;
};

/// A pointer that owns nothing: what a test has on its stack, as a property that is never released.
template <typename Value> std::shared_ptr<Value> unowned(Value& value) {
    return std::shared_ptr<Value>(std::shared_ptr<void>(), &value);
}

/// Everything that a task runner has from outside, recording and faked.
struct RecordingWorld {
    Folder folder;
    Events events; ///< what was asked of the fakes, in order
    HookedCalls calls;
    FakeVolumes volumes;
    FakeAppleScript appleScript{events};
    FakeProcessInfo processInfo{folder.path};
    RecordingCommands commands{events};
    FakeAlertPanel alertPanel{events};
    FakeBundle bundle;
    FakeClock clock{events};
    FakeFileManager fileManager{events};
    FakeGestalt gestalt;
    FakeHostMemory hostMemory;
    FakeLocale locale;
    FakeUserDefaultsFactory userDefaults{events};
    FakeWorkspace workspace{events};
    testing::RecordingLog log;

    [[nodiscard]] OVTaskRunnerServices services() {
        return {.calls = calls,
                .volumes = volumes,
                .appleScript = appleScript,
                .processInfo = processInfo,
                .commands = commands,
                .alertPanel = &alertPanel,
                .bundle = &bundle,
                .clock = &clock,
                .fileManager = &fileManager,
                .gestalt = &gestalt,
                .hostMemory = &hostMemory,
                .locale = &locale,
                .userDefaults = &userDefaults,
                .workspace = &workspace};
    }
};

/// A runner with a recording world around it.
class Recorded : public ::testing::Test, public RecordingWorld {
  protected:
    Recorded() { runner.setDelegate(unowned<OVTaskDelegate>(owner)); }

    [[nodiscard]] std::string listFile(int number = 1) const {
        return folder.at("unique-" + std::to_string(number)) + "/files-to-remove.txt";
    }
    [[nodiscard]] std::string deletionLine(const std::string& command, int number = 1) const {
        return "cat " + listFile(number) + " | xargs -I __FILE__ " + command + " '__FILE__'";
    }

    /// Without room for the list of files nothing is run; 0, or the number of the check that failed.
    int failsToWrite(std::string_view text) {
        if (runner.forceDeleteItemsAtPaths(std::vector<std::string>(20000, "/a/path")) != 1) {
            return 1;
        }
        if (!commands.runs.empty()) {
            return 2;
        }
        return log.messages.size() == 1 && log.messages[0].ends_with(text) ? 0 : 3;
    }

    RecordingDelegate owner;
    OVTaskRunner runner{services()};
};

} // namespace orvane::test
